// Behaviour of the stand-in COM and Win32 functions (see windows_standin.h).

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "sapi/standin/com_runtime_control.h"
#include "sapi/standin/sapi_standin.h"

// ---- Interface and class identifiers (the published values) ---------------
const IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const CLSID CLSID_SpInprocRecognizer = {0x41b89b6b, 0x9399, 0x11d2, {0x96, 0x23, 0x00, 0xc0, 0x4f, 0x8e, 0xe6, 0x28}};
const CLSID CLSID_SpSharedRecognizer = {0x3bee4890, 0x4fe9, 0x4a37, {0x8c, 0x1e, 0x5e, 0x7e, 0x12, 0x79, 0x1c, 0x1f}};
const CLSID CLSID_SpObjectTokenCategory = {0xa910187f, 0x0c7a, 0x45ac, {0x92, 0xcc, 0x59, 0xed, 0xaf, 0xb7, 0x7b, 0x53}};
const CLSID CLSID_SpObjectToken = {0xef411752, 0x3736, 0x4cb4, {0x9c, 0x8c, 0x8e, 0xf4, 0xcc, 0xb5, 0x8e, 0xfe}};
const IID IID_ISpNotifySource = {0x5eff4aef, 0x8487, 0x11d2, {0x96, 0x1c, 0x00, 0xc0, 0x4f, 0x8e, 0xe6, 0x28}};
const IID IID_ISpEventSource = {0xbe7a9cce, 0x5f9e, 0x11d2, {0x96, 0x0f, 0x00, 0xc0, 0x4f, 0x8e, 0xe6, 0x28}};
const IID IID_ISpProperties = {0x5b4fb971, 0xb115, 0x4de1, {0xad, 0x97, 0xe4, 0x82, 0xe3, 0xbf, 0x6e, 0xe4}};
const IID IID_ISpRecognizer = {0xc2b5f241, 0xdaa0, 0x4507, {0x9e, 0x16, 0x5a, 0x1e, 0xaa, 0x2b, 0x7a, 0x5c}};
const IID IID_ISpRecoContext = {0xf740a62f, 0x7c15, 0x489e, {0x82, 0x34, 0x94, 0x0a, 0x33, 0xd9, 0x27, 0x2d}};
const IID IID_ISpGrammarBuilder = {0x8137828f, 0x591a, 0x4a42, {0xbe, 0x58, 0x49, 0xea, 0x7e, 0xba, 0xac, 0x68}};
const IID IID_ISpRecoGrammar = {0x2177db29, 0x7f45, 0x47d0, {0x85, 0x54, 0x06, 0x7e, 0x91, 0xc8, 0x05, 0x02}};
const IID IID_ISpPhrase = {0x1a5c0354, 0xb621, 0x4b5a, {0x87, 0x91, 0xd3, 0x06, 0xed, 0x37, 0x9e, 0x53}};
const IID IID_ISpRecoResult = {0x20b053be, 0xe235, 0x43cd, {0x9a, 0x2a, 0x8d, 0x17, 0xa4, 0x8b, 0x78, 0x42}};
const IID IID_ISpDataKey = {0x14056581, 0xe16c, 0x11d2, {0xbb, 0x90, 0x00, 0xc0, 0x4f, 0x8e, 0xe6, 0xc0}};
const IID IID_ISpObjectTokenCategory = {0x2d3d3845, 0x39af, 0x4850, {0xbb, 0xf9, 0x40, 0xb4, 0x97, 0x80, 0x01, 0x1d}};
const IID IID_ISpObjectToken = {0x14056589, 0xe16c, 0x11d2, {0xbb, 0x90, 0x00, 0xc0, 0x4f, 0x8e, 0xe6, 0xc0}};

namespace {

// A misuse of the runtime (freeing a block twice, waiting on a closed
// handle) is a bug of the caller that Windows would turn into heap
// corruption; here it stops the program at once with a clear line.
[[noreturn]] void misuse(const char* what)
{
    std::fprintf(stderr, "COM stand-in: %s\n", what);
    std::fflush(stderr);
    std::abort();
}

// ---- Apartments -----------------------------------------------------------
thread_local int t_initializations = 0;
thread_local DWORD t_mode = 0;

// ---- Class table ----------------------------------------------------------
struct Registration {
    CLSID clsid;
    IUnknown* object;
    DWORD context;
};

struct ClassTable {
    std::mutex mutex;
    std::map<DWORD, Registration> entries;
    DWORD nextCookie = 1;
};

ClassTable& classTable()
{
    static ClassTable table;
    return table;
}

// ---- Task memory ----------------------------------------------------------
struct TaskMemory {
    std::mutex mutex;
    std::set<void*> blocks;
};

TaskMemory& taskMemory()
{
    static TaskMemory memory;
    return memory;
}

// ---- Events ---------------------------------------------------------------
struct Event {
    std::mutex mutex;
    std::condition_variable signalled;
    bool manualReset = false;
    bool set = false;
};

struct HandleTable {
    std::mutex mutex;
    std::map<HANDLE, std::shared_ptr<Event>> events;
};

HandleTable& handles()
{
    static HandleTable table;
    return table;
}

std::shared_ptr<Event> findEvent(HANDLE handle)
{
    HandleTable& table = handles();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto it = table.events.find(handle);
    return it == table.events.end() ? nullptr : it->second;
}

}  // namespace

// ---- COM ------------------------------------------------------------------

HRESULT CoInitializeEx(LPVOID, DWORD dwCoInit)
{
    if (t_initializations > 0) {
        if (t_mode != dwCoInit)
            return RPC_E_CHANGED_MODE;
        ++t_initializations;
        return S_FALSE;
    }
    t_initializations = 1;
    t_mode = dwCoInit;
    return S_OK;
}

void CoUninitialize()
{
    if (t_initializations > 0)
        --t_initializations;
}

HRESULT CoRegisterClassObject(REFCLSID rclsid, LPUNKNOWN pUnk, DWORD dwClsContext, DWORD, LPDWORD lpdwRegister)
{
    if (!pUnk || !lpdwRegister)
        return E_INVALIDARG;
    if (t_initializations == 0)
        return CO_E_NOTINITIALIZED;
    pUnk->AddRef();
    ClassTable& table = classTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    const DWORD cookie = table.nextCookie++;
    table.entries[cookie] = Registration{rclsid, pUnk, dwClsContext};
    *lpdwRegister = cookie;
    return S_OK;
}

HRESULT CoRevokeClassObject(DWORD dwRegister)
{
    IUnknown* object = nullptr;
    {
        ClassTable& table = classTable();
        std::lock_guard<std::mutex> lock(table.mutex);
        auto it = table.entries.find(dwRegister);
        if (it == table.entries.end())
            return CO_E_OBJNOTREG;
        object = it->second.object;
        table.entries.erase(it);
    }
    object->Release();
    return S_OK;
}

HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (t_initializations == 0)
        return CO_E_NOTINITIALIZED;

    IUnknown* object = nullptr;
    {
        ClassTable& table = classTable();
        std::lock_guard<std::mutex> lock(table.mutex);
        for (const auto& entry : table.entries) {
            if (IsEqualCLSID(entry.second.clsid, rclsid) && (entry.second.context & dwClsContext)) {
                object = entry.second.object;
                object->AddRef();
                break;
            }
        }
    }
    if (!object)
        return REGDB_E_CLASSNOTREG;

    IClassFactory* factory = nullptr;
    HRESULT hr = object->QueryInterface(IID_IClassFactory, reinterpret_cast<void**>(&factory));
    object->Release();
    if (FAILED(hr))
        return hr;
    hr = factory->CreateInstance(pUnkOuter, riid, ppv);
    factory->Release();
    return hr;
}

LPVOID CoTaskMemAlloc(SIZE_T cb)
{
    void* block = std::malloc(cb ? cb : 1);
    if (!block)
        return nullptr;
    TaskMemory& memory = taskMemory();
    std::lock_guard<std::mutex> lock(memory.mutex);
    memory.blocks.insert(block);
    return block;
}

void CoTaskMemFree(LPVOID pv)
{
    if (!pv)
        return;
    {
        TaskMemory& memory = taskMemory();
        std::lock_guard<std::mutex> lock(memory.mutex);
        if (memory.blocks.erase(pv) == 0)
            misuse("CoTaskMemFree of a block that CoTaskMemAlloc did not hand out (or freed twice)");
    }
    std::free(pv);
}

// ---- VARIANT and BSTR -----------------------------------------------------

void VariantInit(VARIANTARG* pvarg)
{
    if (!pvarg)
        return;
    std::memset(pvarg, 0, sizeof(*pvarg));
    pvarg->vt = VT_EMPTY;
}

HRESULT VariantClear(VARIANTARG* pvarg)
{
    if (!pvarg)
        return E_INVALIDARG;
    if (pvarg->vt == VT_BSTR)
        SysFreeString(pvarg->bstrVal);
    else if (pvarg->vt == VT_UNKNOWN && pvarg->punkVal)
        pvarg->punkVal->Release();
    VariantInit(pvarg);
    return S_OK;
}

BSTR SysAllocString(const OLECHAR* psz)
{
    if (!psz)
        return nullptr;
    std::size_t length = 0;
    while (psz[length])
        ++length;
    auto* copy = static_cast<OLECHAR*>(CoTaskMemAlloc((length + 1) * sizeof(OLECHAR)));
    if (copy)
        std::memcpy(copy, psz, (length + 1) * sizeof(OLECHAR));
    return copy;
}

void SysFreeString(BSTR bstrString)
{
    CoTaskMemFree(bstrString);
}

// ---- Events ---------------------------------------------------------------

HANDLE CreateEventW(void*, BOOL bManualReset, BOOL bInitialState, LPCWSTR)
{
    auto event = std::make_shared<Event>();
    event->manualReset = bManualReset != FALSE;
    event->set = bInitialState != FALSE;
    HANDLE handle = event.get();
    HandleTable& table = handles();
    std::lock_guard<std::mutex> lock(table.mutex);
    table.events[handle] = std::move(event);
    return handle;
}

BOOL SetEvent(HANDLE hEvent)
{
    std::shared_ptr<Event> event = findEvent(hEvent);
    if (!event)
        return FALSE;
    {
        std::lock_guard<std::mutex> lock(event->mutex);
        event->set = true;
    }
    event->signalled.notify_all();
    return TRUE;
}

BOOL ResetEvent(HANDLE hEvent)
{
    std::shared_ptr<Event> event = findEvent(hEvent);
    if (!event)
        return FALSE;
    std::lock_guard<std::mutex> lock(event->mutex);
    event->set = false;
    return TRUE;
}

BOOL CloseHandle(HANDLE hObject)
{
    HandleTable& table = handles();
    std::lock_guard<std::mutex> lock(table.mutex);
    return table.events.erase(hObject) ? TRUE : FALSE;
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds)
{
    std::shared_ptr<Event> event = findEvent(hHandle);
    if (!event)
        return WAIT_FAILED;
    std::unique_lock<std::mutex> lock(event->mutex);
    const auto isSet = [&event] { return event->set; };
    if (dwMilliseconds == INFINITE)
        event->signalled.wait(lock, isSet);
    else if (!event->signalled.wait_for(lock, std::chrono::milliseconds(dwMilliseconds), isSet))
        return WAIT_TIMEOUT;
    if (!event->manualReset)
        event->set = false;
    return WAIT_OBJECT_0;
}

// ---- Introspection --------------------------------------------------------

namespace ComStandin {

std::size_t taskMemoryBlocksInUse()
{
    TaskMemory& memory = taskMemory();
    std::lock_guard<std::mutex> lock(memory.mutex);
    return memory.blocks.size();
}

std::size_t openHandles()
{
    HandleTable& table = handles();
    std::lock_guard<std::mutex> lock(table.mutex);
    return table.events.size();
}

std::size_t registeredClasses()
{
    ClassTable& table = classTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    return table.entries.size();
}

int comInitializationDepth()
{
    return t_initializations;
}

}  // namespace ComStandin
