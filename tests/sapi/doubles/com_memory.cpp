#include "com_memory.h"

#include "ksr_sapi_com.h"

#if defined(_WIN32)

#include <mutex>
#include <set>

namespace SapiFakes {

namespace {

// Watches COM's task allocator: every block it hands out and takes back.
class CountingSpy final : public IMallocSpy {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IMallocSpy)) {
            *ppv = static_cast<IMallocSpy*>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T cbRequest) override { return cbRequest; }
    void* STDMETHODCALLTYPE PostAlloc(void* pActual) override
    {
        if (pActual) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_blocks.insert(pActual);
        }
        return pActual;
    }
    void* STDMETHODCALLTYPE PreFree(void* pRequest, BOOL) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_blocks.erase(pRequest);
        return pRequest;
    }
    void STDMETHODCALLTYPE PostFree(BOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* pRequest, SIZE_T cbRequest, void** ppNewRequest, BOOL) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_blocks.erase(pRequest);
        *ppNewRequest = pRequest;
        return cbRequest;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* pActual, BOOL) override { return PostAlloc(pActual); }
    void* STDMETHODCALLTYPE PreGetSize(void* pRequest, BOOL) override { return pRequest; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T cbActual, BOOL) override { return cbActual; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* pRequest, BOOL) override { return pRequest; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int fActual) override { return fActual; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}

    std::size_t count()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_blocks.size();
    }

private:
    std::mutex m_mutex;
    std::set<void*> m_blocks;
};

CountingSpy& spy()
{
    static CountingSpy instance;
    return instance;
}

}  // namespace

TaskMemoryWatch::TaskMemoryWatch()
{
    CoRegisterMallocSpy(&spy());
    m_baseline = spy().count();
}

TaskMemoryWatch::~TaskMemoryWatch()
{
    CoRevokeMallocSpy();
}

std::size_t TaskMemoryWatch::blocksInUse() const
{
    return spy().count() - m_baseline;
}

}  // namespace SapiFakes

#else

#include "sapi/standin/com_runtime_control.h"

namespace SapiFakes {

TaskMemoryWatch::TaskMemoryWatch()
    : m_baseline(ComStandin::taskMemoryBlocksInUse())
{
}

TaskMemoryWatch::~TaskMemoryWatch() = default;

std::size_t TaskMemoryWatch::blocksInUse() const
{
    return ComStandin::taskMemoryBlocksInUse() - m_baseline;
}

}  // namespace SapiFakes

#endif
