#include "fake_context.h"

#include "fake_grammar.h"
#include "fake_recognizer.h"
#include "fake_registry.h"
#include "fake_result.h"

namespace SapiFakes {

void freeFakeEventParameter(SPEVENT& event)
{
    if (event.elParamType == SPET_LPARAM_IS_OBJECT || event.elParamType == SPET_LPARAM_IS_TOKEN) {
        if (event.lParam)
            reinterpret_cast<IUnknown*>(event.lParam)->Release();
    } else if (event.elParamType == SPET_LPARAM_IS_POINTER || event.elParamType == SPET_LPARAM_IS_STRING) {
        CoTaskMemFree(reinterpret_cast<void*>(event.lParam));
    }
    event.lParam = 0;
    event.elParamType = SPET_LPARAM_IS_UNDEFINED;
}

FakeContext::FakeContext(FakeRecognizer* recognizer)
    : m_recognizer(KSR::ComPtr<FakeRecognizer>::share(recognizer))
{
    m_recognizer->contextCreated(this);
    Registry<FakeContext>::add(this);
}

FakeContext::~FakeContext()
{
    Registry<FakeContext>::remove(this);
    m_recognizer->contextDestroyed(this);
    dropQueuedEvents();
    if (m_event)
        CloseHandle(m_event);
    CallLog::add("Context destroyed");
}

bool FakeContext::implements(REFIID riid) const
{
    return IsEqualIID(riid, IID_ISpRecoContext) || IsEqualIID(riid, IID_ISpEventSource) ||
           IsEqualIID(riid, IID_ISpNotifySource);
}

bool FakeContext::push(const SPEVENT& event)
{
    bool kept = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (event.eEventId < 64 && (m_queuedInterest & (1ull << event.eEventId))) {
            m_events.push_back(event);
            kept = true;
            if (m_event)
                SetEvent(m_event);
        }
    }
    if (!kept) {
        SPEVENT dropped = event;
        freeFakeEventParameter(dropped);
    }
    return kept;
}

bool FakeContext::pushResult(SPEVENTENUM id, FakeResult* result)
{
    SPEVENT event = {};
    event.eEventId = id;
    event.elParamType = SPET_LPARAM_IS_OBJECT;
    event.lParam = reinterpret_cast<LPARAM>(static_cast<ISpRecoResult*>(result));
    if (result)
        result->AddRef();
    return push(event);
}

bool FakeContext::pushStateChange(SPRECOSTATE state)
{
    return pushSimple(SPEI_RECO_STATE_CHANGE, static_cast<WPARAM>(state));
}

bool FakeContext::pushSimple(SPEVENTENUM id, WPARAM wParam)
{
    SPEVENT event = {};
    event.eEventId = id;
    event.elParamType = SPET_LPARAM_IS_UNDEFINED;
    event.wParam = wParam;
    return push(event);
}

std::size_t FakeContext::queued() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events.size();
}

void FakeContext::dropQueuedEvents()
{
    std::deque<SPEVENT> events;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        events.swap(m_events);
    }
    for (SPEVENT& event : events)
        freeFakeEventParameter(event);
}

ULONGLONG FakeContext::eventInterest() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_eventInterest;
}

ULONGLONG FakeContext::queuedInterest() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_queuedInterest;
}

HANDLE FakeContext::eventHandle() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_event;
}

HRESULT FakeContext::SetNotifyWin32Event()
{
    CallLog::add("Context.SetNotifyWin32Event");
    const HRESULT result = script("SetNotifyWin32Event");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_event)
        m_event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    return S_OK;
}

HANDLE FakeContext::GetNotifyEventHandle()
{
    CallLog::add("Context.GetNotifyEventHandle");
    return eventHandle();
}

HRESULT FakeContext::SetInterest(ULONGLONG ullEventInterest, ULONGLONG ullQueuedInterest)
{
    CallLog::add("Context.SetInterest(" + hex(ullEventInterest) + ", " + hex(ullQueuedInterest) + ")");
    const HRESULT result = script("SetInterest");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_eventInterest = ullEventInterest;
    m_queuedInterest = ullQueuedInterest;
    return S_OK;
}

HRESULT FakeContext::GetEvents(ULONG ulCount, SPEVENT* pEventArray, ULONG* pulFetched)
{
    ++m_getEventsCalls;
    const HRESULT result = script("GetEvents");
    if (FAILED(result))
        return result;
    if (!pEventArray)
        return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    ULONG fetched = 0;
    while (fetched < ulCount && !m_events.empty()) {
        pEventArray[fetched++] = m_events.front();
        m_events.pop_front();
    }
    if (pulFetched)
        *pulFetched = fetched;
    return fetched == ulCount ? S_OK : S_FALSE;
}

HRESULT FakeContext::GetRecognizer(ISpRecognizer** ppRecognizer)
{
    if (!ppRecognizer)
        return E_POINTER;
    *ppRecognizer = m_recognizer.get();
    m_recognizer->AddRef();
    return S_OK;
}

HRESULT FakeContext::CreateGrammar(ULONGLONG ullGrammarId, ISpRecoGrammar** ppGrammar)
{
    CallLog::add("Context.CreateGrammar(" + std::to_string(ullGrammarId) + ")");
    const HRESULT result = script("CreateGrammar");
    if (FAILED(result))
        return result;
    if (!ppGrammar)
        return E_POINTER;
    *ppGrammar = new FakeGrammar(ullGrammarId, this);
    return S_OK;
}

}  // namespace SapiFakes
