#ifndef KSR_TESTS_SAPI_FAKE_RECOGNIZER_H
#define KSR_TESTS_SAPI_FAKE_RECOGNIZER_H

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "fake_com.h"
#include "ksr_com_ptr.h"

namespace SapiFakes {

class FakeContext;
struct Utterance;

// What a new recognizer starts with (its recognizer profile).
struct RecognizerSetup {
    std::vector<WORD> languages{0x0409};
    std::map<std::string, LONG> properties{
        {"LowConfidenceThreshold", 20}, {"NormalConfidenceThreshold", 50}, {"HighConfidenceThreshold", 80}};
    SPRECOSTATE state = SPRST_ACTIVE;
    BOOL uiSupported = TRUE;
};

// ISpRecognizer. Logs as "Recognizer". SetRecoState to a new state queues
// SPEI_RECO_STATE_CHANGE (wParam = the new state) on every context it made,
// as SAPI does. A test speaks to it with say().
class FakeRecognizer final : public FakeUnknown<ISpRecognizer> {
public:
    FakeRecognizer(bool shared, const RecognizerSetup& setup);
    ~FakeRecognizer() override;

    std::string logName() const { return "Recognizer"; }
    bool isShared() const { return m_shared; }
    SPRECOSTATE recoState() const;
    // Changes the state without a call or an event, as another program
    // sharing the recognizer would.
    void forceRecoState(SPRECOSTATE state);
    LONG property(const std::string& name) const;
    // What SetInput received; the token id when it is a token.
    std::string inputDescription() const;
    bool hasInput() const;

    // Hears `utterance` as SAPI does, against the grammars of the contexts
    // it made (findPhrase), and queues the events SAPI sends: nothing while
    // the recognizer is inactive or for no words; otherwise
    // SPEI_PHRASE_START on every context, the hypotheses asked for on the
    // context whose grammar holds them, then, once the utterance is
    // finished, SPEI_RECOGNITION there (SPEI_RECO_OTHER_CONTEXT on the
    // others) or, when nothing listens for the words, SPEI_FALSE_RECOGNITION
    // on every context. Each result is a FakeResult of its own. Acceptance
    // against the confidence thresholds is left to the application, which
    // reads the confidences from the result. Returns the event that ended
    // the phrase, or SPEI_UNDEFINED.
    SPEVENTENUM say(const Utterance& utterance);

    void contextCreated(FakeContext* context);
    void contextDestroyed(FakeContext* context);

    // ISpProperties
    HRESULT STDMETHODCALLTYPE SetPropertyNum(LPCWSTR pName, LONG lValue) override;
    HRESULT STDMETHODCALLTYPE GetPropertyNum(LPCWSTR pName, LONG* plValue) override;
    HRESULT STDMETHODCALLTYPE SetPropertyString(LPCWSTR, LPCWSTR) override KSR_FAKE_UNEXPECTED(SetPropertyString)
    HRESULT STDMETHODCALLTYPE GetPropertyString(LPCWSTR, LPWSTR*) override KSR_FAKE_UNEXPECTED(GetPropertyString)
    // ISpRecognizer
    HRESULT STDMETHODCALLTYPE SetRecognizer(ISpObjectToken*) override KSR_FAKE_UNEXPECTED(SetRecognizer)
    HRESULT STDMETHODCALLTYPE GetRecognizer(ISpObjectToken**) override KSR_FAKE_UNEXPECTED(GetRecognizer)
    HRESULT STDMETHODCALLTYPE SetInput(IUnknown* pUnkInput, BOOL fAllowFormatChanges) override;
    HRESULT STDMETHODCALLTYPE GetInputObjectToken(ISpObjectToken**) override KSR_FAKE_UNEXPECTED(GetInputObjectToken)
    HRESULT STDMETHODCALLTYPE GetInputStream(ISpStreamFormat**) override KSR_FAKE_UNEXPECTED(GetInputStream)
    HRESULT STDMETHODCALLTYPE CreateRecoContext(ISpRecoContext** ppNewCtxt) override;
    HRESULT STDMETHODCALLTYPE GetRecoProfile(ISpObjectToken**) override KSR_FAKE_UNEXPECTED(GetRecoProfile)
    HRESULT STDMETHODCALLTYPE SetRecoProfile(ISpObjectToken*) override KSR_FAKE_UNEXPECTED(SetRecoProfile)
    HRESULT STDMETHODCALLTYPE IsSharedInstance() override { return m_shared ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE GetRecoState(SPRECOSTATE* pState) override;
    HRESULT STDMETHODCALLTYPE SetRecoState(SPRECOSTATE NewState) override;
    HRESULT STDMETHODCALLTYPE GetStatus(SPRECOGNIZERSTATUS* pStatus) override;
    HRESULT STDMETHODCALLTYPE GetFormat(SPSTREAMFORMATTYPE, GUID*, WAVEFORMATEX**) override KSR_FAKE_UNEXPECTED(GetFormat)
    HRESULT STDMETHODCALLTYPE IsUISupported(LPCWSTR pszTypeOfUI, void* pvExtraData, ULONG cbExtraData,
                                            BOOL* pfSupported) override;
    HRESULT STDMETHODCALLTYPE DisplayUI(HWND hwndParent, LPCWSTR pszTitle, LPCWSTR pszTypeOfUI, void* pvExtraData,
                                        ULONG cbExtraData) override;
    HRESULT STDMETHODCALLTYPE EmulateRecognition(ISpPhrase*) override KSR_FAKE_UNEXPECTED(EmulateRecognition)

protected:
    bool implements(REFIID riid) const override;

private:
    HRESULT script(const std::string& method) const { return Script::next(logName(), method); }

    const bool m_shared;
    RecognizerSetup m_setup;
    mutable std::mutex m_mutex;
    SPRECOSTATE m_state;
    KSR::ComPtr<IUnknown> m_input;
    std::string m_inputDescription;
    std::vector<FakeContext*> m_contexts;
};

}  // namespace SapiFakes

#endif
