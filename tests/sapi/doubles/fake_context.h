#ifndef KSR_TESTS_SAPI_FAKE_CONTEXT_H
#define KSR_TESTS_SAPI_FAKE_CONTEXT_H

#include <atomic>
#include <deque>
#include <mutex>
#include <string>

#include "fake_com.h"
#include "ksr_com_ptr.h"

namespace SapiFakes {

class FakeRecognizer;
class FakeResult;

// ISpRecoContext. Logs as "Context". A test queues events on it as SAPI
// would: only events in the queued interest are kept (SetInterest), each
// queued event sets the notification event (SetNotifyWin32Event makes an
// auto-reset event), and GetEvents hands them out in order, passing the
// ownership of their parameters to the caller. Events left in the queue are
// freed with the context. It keeps its recognizer alive, as SAPI's does.
class FakeContext final : public FakeUnknown<ISpRecoContext> {
public:
    explicit FakeContext(FakeRecognizer* recognizer);
    ~FakeContext() override;

    std::string logName() const { return "Context"; }

    // Queue an event; false (and the parameter freed) when the interest
    // does not include it.
    bool push(const SPEVENT& event);
    bool pushResult(SPEVENTENUM id, FakeResult* result);
    bool pushStateChange(SPRECOSTATE state);
    bool pushSimple(SPEVENTENUM id, WPARAM wParam = 0);
    std::size_t queued() const;
    void dropQueuedEvents();
    ULONGLONG eventInterest() const;
    ULONGLONG queuedInterest() const;
    HANDLE eventHandle() const;
    int getEventsCalls() const { return m_getEventsCalls.load(); }

    // ISpNotifySource
    HRESULT STDMETHODCALLTYPE SetNotifySink(ISpNotifySink*) override KSR_FAKE_UNEXPECTED(SetNotifySink)
    HRESULT STDMETHODCALLTYPE SetNotifyWindowMessage(HWND, UINT, WPARAM, LPARAM) override
        KSR_FAKE_UNEXPECTED(SetNotifyWindowMessage)
    HRESULT STDMETHODCALLTYPE SetNotifyCallbackFunction(SPNOTIFYCALLBACK*, WPARAM, LPARAM) override
        KSR_FAKE_UNEXPECTED(SetNotifyCallbackFunction)
    HRESULT STDMETHODCALLTYPE SetNotifyCallbackInterface(ISpNotifyCallback*, WPARAM, LPARAM) override
        KSR_FAKE_UNEXPECTED(SetNotifyCallbackInterface)
    HRESULT STDMETHODCALLTYPE SetNotifyWin32Event() override;
    HRESULT STDMETHODCALLTYPE WaitForNotifyEvent(DWORD) override KSR_FAKE_UNEXPECTED(WaitForNotifyEvent)
    HANDLE STDMETHODCALLTYPE GetNotifyEventHandle() override;
    // ISpEventSource
    HRESULT STDMETHODCALLTYPE SetInterest(ULONGLONG ullEventInterest, ULONGLONG ullQueuedInterest) override;
    HRESULT STDMETHODCALLTYPE GetEvents(ULONG ulCount, SPEVENT* pEventArray, ULONG* pulFetched) override;
    HRESULT STDMETHODCALLTYPE GetInfo(SPEVENTSOURCEINFO*) override KSR_FAKE_UNEXPECTED(GetInfo)
    // ISpRecoContext
    HRESULT STDMETHODCALLTYPE GetRecognizer(ISpRecognizer** ppRecognizer) override;
    HRESULT STDMETHODCALLTYPE CreateGrammar(ULONGLONG ullGrammarId, ISpRecoGrammar** ppGrammar) override;
    HRESULT STDMETHODCALLTYPE GetStatus(SPRECOCONTEXTSTATUS*) override KSR_FAKE_UNEXPECTED(GetStatus)
    HRESULT STDMETHODCALLTYPE GetMaxAlternates(ULONG*) override KSR_FAKE_UNEXPECTED(GetMaxAlternates)
    HRESULT STDMETHODCALLTYPE SetMaxAlternates(ULONG) override KSR_FAKE_UNEXPECTED(SetMaxAlternates)
    HRESULT STDMETHODCALLTYPE SetAudioOptions(SPAUDIOOPTIONS, const GUID*, const WAVEFORMATEX*) override
        KSR_FAKE_UNEXPECTED(SetAudioOptions)
    HRESULT STDMETHODCALLTYPE GetAudioOptions(SPAUDIOOPTIONS*, GUID*, WAVEFORMATEX**) override
        KSR_FAKE_UNEXPECTED(GetAudioOptions)
    HRESULT STDMETHODCALLTYPE DeserializeResult(const SPSERIALIZEDRESULT*, ISpRecoResult**) override
        KSR_FAKE_UNEXPECTED(DeserializeResult)
    HRESULT STDMETHODCALLTYPE Bookmark(SPBOOKMARKOPTIONS, ULONGLONG, LPARAM) override KSR_FAKE_UNEXPECTED(Bookmark)
    HRESULT STDMETHODCALLTYPE SetAdaptationData(LPCWSTR, const ULONG) override KSR_FAKE_UNEXPECTED(SetAdaptationData)
    HRESULT STDMETHODCALLTYPE Pause(DWORD) override KSR_FAKE_UNEXPECTED(Pause)
    HRESULT STDMETHODCALLTYPE Resume(DWORD) override KSR_FAKE_UNEXPECTED(Resume)
    HRESULT STDMETHODCALLTYPE SetVoice(ISpVoice*, BOOL) override KSR_FAKE_UNEXPECTED(SetVoice)
    HRESULT STDMETHODCALLTYPE GetVoice(ISpVoice**) override KSR_FAKE_UNEXPECTED(GetVoice)
    HRESULT STDMETHODCALLTYPE SetVoicePurgeEvent(ULONGLONG) override KSR_FAKE_UNEXPECTED(SetVoicePurgeEvent)
    HRESULT STDMETHODCALLTYPE GetVoicePurgeEvent(ULONGLONG*) override KSR_FAKE_UNEXPECTED(GetVoicePurgeEvent)
    HRESULT STDMETHODCALLTYPE SetContextState(SPCONTEXTSTATE) override KSR_FAKE_UNEXPECTED(SetContextState)
    HRESULT STDMETHODCALLTYPE GetContextState(SPCONTEXTSTATE*) override KSR_FAKE_UNEXPECTED(GetContextState)

protected:
    bool implements(REFIID riid) const override;

private:
    HRESULT script(const std::string& method) const { return Script::next(logName(), method); }

    KSR::ComPtr<FakeRecognizer> m_recognizer;
    mutable std::mutex m_mutex;
    std::deque<SPEVENT> m_events;
    HANDLE m_event = nullptr;
    ULONGLONG m_eventInterest = 0;
    ULONGLONG m_queuedInterest = 0;
    std::atomic<int> m_getEventsCalls{0};
};

// Frees the parameter of an event that nobody will take.
void freeFakeEventParameter(SPEVENT& event);

}  // namespace SapiFakes

#endif
