#ifndef KSR_TESTS_SAPI_FAKE_REGISTRY_H
#define KSR_TESTS_SAPI_FAKE_REGISTRY_H

// The doubles alive right now, by kind, so that a test can reach the objects
// the back end created (the registry holds no references: a double leaves it
// when its last reference goes).

#include <algorithm>
#include <mutex>
#include <vector>

namespace SapiFakes {

template <class T>
class Registry {
public:
    static void add(T* object)
    {
        std::lock_guard<std::mutex> lock(mutex());
        objects().push_back(object);
    }
    static void remove(T* object)
    {
        std::lock_guard<std::mutex> lock(mutex());
        auto& list = objects();
        list.erase(std::remove(list.begin(), list.end(), object), list.end());
    }
    static std::vector<T*> all()
    {
        std::lock_guard<std::mutex> lock(mutex());
        return objects();
    }
    // Calls `visit` with each one, holding the registry: none of them can
    // leave it (its destructor waits) while it is visited.
    template <class Visitor>
    static void forEach(Visitor visit)
    {
        std::lock_guard<std::mutex> lock(mutex());
        for (T* object : objects())
            visit(object);
    }
    // The most recently created one still alive, or null.
    static T* last()
    {
        std::lock_guard<std::mutex> lock(mutex());
        return objects().empty() ? nullptr : objects().back();
    }

private:
    static std::mutex& mutex()
    {
        static std::mutex m;
        return m;
    }
    static std::vector<T*>& objects()
    {
        static std::vector<T*> list;
        return list;
    }
};

}  // namespace SapiFakes

#endif
