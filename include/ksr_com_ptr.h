#ifndef KSR_COM_PTR_H
#define KSR_COM_PTR_H

#include <cstddef>
#include <utility>

namespace KSR {

// Owns one reference to a COM object. Copying adds a reference, destruction
// and reset() release it, so a COM object held this way is released exactly
// once on every path. put() hands the slot to a COM call that returns a new
// reference (CoCreateInstance, CreateRecoContext, ...), releasing what the
// pointer held before.
template <class T>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    ComPtr(const ComPtr& other) noexcept : m_object(other.m_object)
    {
        if (m_object)
            m_object->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : m_object(other.m_object) { other.m_object = nullptr; }
    ~ComPtr() { reset(); }

    ComPtr& operator=(const ComPtr& other) noexcept
    {
        ComPtr(other).swap(*this);
        return *this;
    }
    ComPtr& operator=(ComPtr&& other) noexcept
    {
        ComPtr(std::move(other)).swap(*this);
        return *this;
    }

    // Takes over a reference the caller already owns.
    static ComPtr adopt(T* object) noexcept
    {
        ComPtr pointer;
        pointer.m_object = object;
        return pointer;
    }
    // Adds a reference of its own to an object the caller only borrows.
    static ComPtr share(T* object) noexcept
    {
        if (object)
            object->AddRef();
        return adopt(object);
    }

    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    // The slot for an out-parameter; empties the pointer first.
    T** put() noexcept
    {
        reset();
        return &m_object;
    }
    void** putVoid() noexcept { return reinterpret_cast<void**>(put()); }

    // Empties the pointer, then releases the object: the pointer no longer
    // names an object whose last reference may be going away.
    void reset() noexcept
    {
        T* object = m_object;
        m_object = nullptr;
        if (object)
            object->Release();
    }
    // Gives the reference to the caller.
    T* detach() noexcept
    {
        T* object = m_object;
        m_object = nullptr;
        return object;
    }
    void swap(ComPtr& other) noexcept { std::swap(m_object, other.m_object); }

private:
    T* m_object = nullptr;
};

}  // namespace KSR

#endif
