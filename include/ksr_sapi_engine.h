#ifndef KSR_SAPI_ENGINE_H
#define KSR_SAPI_ENGINE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ksr_com_ptr.h"
#include "ksr_export.h"
#include "ksr_sapi_com.h"
#include "ksr_types.h"

// The Speech API recognizer of the SAPI back end: a shared or in-process
// recognizer with the default audio input, its three confidence thresholds
// (kept in the recognizer's profile properties), one recognition context
// that signals a Win32 event, and the turning of that context's events into
// results, hypotheses, failures and state changes through four callbacks.
//
// The engine never initialises COM: the threads that call it (construction
// and set-up on the host's thread, processSREvents on the polling thread)
// must have done so. Failures are logged as errors and reported by the
// result; nothing throws.
class KSR_EXPORT KSR_Engine {
public:
    explicit KSR_Engine(bool shared);
    // Shares the COM objects (adding references), the event handle, the
    // callbacks and the thresholds of `other`.
    KSR_Engine(const KSR_Engine& other);
    KSR_Engine& operator=(const KSR_Engine&) = delete;
    // Releases the context, then the recognizer.
    virtual ~KSR_Engine();

    // initEngine then initContext; true at once when already initialised.
    bool initialize();
    // Creates the recognizer, binds the default audio input (in-process
    // only), checks the language and reads the thresholds.
    bool initEngine();
    // Creates the recognition context with its event notification and
    // interest.
    bool initContext();
    bool isInitialized() const { return m_initialized; }

    // Percent; Low gives the low threshold, High the high one, anything
    // else the normal one. -1 until initEngine has read them.
    int getConfidenceThreshold(KSR::RequiredConfidence level) const;
    // Writes the recognizer property of the level ("LowConfidenceThreshold",
    // "HighConfidenceThreshold", else "NormalConfidenceThreshold") with the
    // recognizer switched off, then switches it on.
    bool setConfidenceThreshold(KSR::RequiredConfidence level, int value);
    // Switches the recognizer between SPRST_ACTIVE and SPRST_INACTIVE; the
    // two other states are left alone.
    bool setEngineActivated(bool on);

    // Handles at most one waiting event. Without one, waits on the context's
    // notification event for up to idleWaitMilliseconds before returning:
    // that is how a thread that calls this in a loop is paced, and SAPI sets
    // the event as soon as something arrives.
    void processSREvents();
    static constexpr DWORD idleWaitMilliseconds = 50;

    void setRecoStateChangedFunction(const std::function<void(bool)>& function);
    void setHypothesisFunction(const std::function<void(KSR::SRData)>& function);
    void setRecognitionFunction(const std::function<void(KSR::SRData)>& function);
    void setRecognitionFailedFunction(const std::function<void()>& function);

    // The words of a result as the recognizer heard them (the lexical form
    // of each phrase element, split at blanks), with its confidence in
    // each in whole per cent (SREngineConfidence, 0 to 100).
    struct HeardWords {
        std::vector<std::string> words;
        std::vector<int> confidences;
    };
    using HeardFunction = std::function<void(KSR::SRData, const HeardWords&)>;
    // When set, recognitions (hypotheses) go to these with their words
    // instead of to the recognition (hypothesis) function.
    void setRecognitionWordsFunction(const HeardFunction& function);
    void setHypothesisWordsFunction(const HeardFunction& function);

    // Whether SAPI answers the question about its set-up and training
    // dialogs at all; the "supported" flag it returns is not consulted.
    bool microphoneSetupSupported();
    bool voiceTrainingSupported();
    // Open the dialogs owned by `parent`; nothing happens for a null window.
    void openMicrophoneSetup(HWND parent);
    void openVoiceTraining(HWND parent);

    // The recognition context; the manager creates its grammars on it.
    // Null until initContext has succeeded.
    ISpRecoContext* recoContext() const { return m_context.get(); }

    // The events the context queues: phrase start, recognition, hypothesis,
    // false recognition, interference, recognizer state change and
    // recognition for another context, in SAPI's flagged form.
    static constexpr std::uint64_t interestMask()
    {
        return SPFEI(SPEI_PHRASE_START) | SPFEI(SPEI_RECOGNITION) | SPFEI(SPEI_HYPOTHESIS) |
               SPFEI(SPEI_FALSE_RECOGNITION) | SPFEI(SPEI_INTERFERENCE) |
               SPFEI(SPEI_RECO_STATE_CHANGE) | SPFEI(SPEI_RECO_OTHER_CONTEXT);
    }

private:
    bool bindDefaultAudioInput();
    bool languageSupported(const SPRECOGNIZERSTATUS& status) const;
    bool readThresholds();
    void handleEvent(const SPEVENT& event);
    void handleResult(const SPEVENT& event);
    bool isUISupported(const WCHAR* typeOfUI);
    void displayUI(HWND parent, const WCHAR* typeOfUI);

    bool m_initialized = false;
    bool m_shared;
    KSR::ComPtr<ISpRecognizer> m_recognizer;
    KSR::ComPtr<ISpRecoContext> m_context;
    std::uint64_t m_interest;
    // Owned by the context; never closed here.
    HANDLE m_eventHandle = nullptr;
    std::function<void(bool)> m_recoStateChangedFunction;
    std::function<void(KSR::SRData)> m_hypothesisFunction;
    std::function<void(KSR::SRData)> m_recognitionFunction;
    std::function<void()> m_recognitionFailedFunction;
    HeardFunction m_recognitionWordsFunction;
    HeardFunction m_hypothesisWordsFunction;
    // -1 stands for "not read yet".
    int m_lowThreshold = -1;
    int m_normalThreshold = -1;
    int m_highThreshold = -1;
};

#endif
