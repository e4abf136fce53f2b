// KSR_Engine: creation of the recognizer and its context, thresholds,
// on/off state and the SAPI dialogs. Event handling is in
// ksr_sapi_engine_events.cpp.

#include "ksr_sapi_engine.h"

#include "ksr_logger.h"
#include "sapi/co_task_memory.h"

KSR_Engine::KSR_Engine(bool shared)
    : m_shared(shared)
    , m_interest(interestMask())
{
}

KSR_Engine::KSR_Engine(const KSR_Engine& other) = default;

KSR_Engine::~KSR_Engine()
{
    m_context.reset();
    m_recognizer.reset();
    m_recoStateChangedFunction = nullptr;
    m_hypothesisFunction = nullptr;
    m_recognitionFunction = nullptr;
    m_recognitionFailedFunction = nullptr;
    m_recognitionWordsFunction = nullptr;
    m_hypothesisWordsFunction = nullptr;
}

bool KSR_Engine::initialize()
{
    if (m_initialized)
        return true;
    m_initialized = initEngine();
    if (!m_initialized)
        return false;
    m_initialized = m_initialized && initContext();
    return m_initialized;
}

bool KSR_Engine::initEngine()
{
    if (m_shared) {
        // A shared recognizer keeps the audio input the system chose.
        if (FAILED(CoCreateInstance(CLSID_SpSharedRecognizer, nullptr, CLSCTX_ALL, IID_ISpRecognizer,
                                    m_recognizer.putVoid()))) {
            KSR_Logger::Error("Could not create shared Speech Recognition engine!");
            return false;
        }
    } else {
        if (FAILED(CoCreateInstance(CLSID_SpInprocRecognizer, nullptr, CLSCTX_ALL, IID_ISpRecognizer,
                                    m_recognizer.putVoid()))) {
            KSR_Logger::Error("Could not create inproc Speech Recognition engine!");
            return false;
        }
        if (!bindDefaultAudioInput())
            return false;
    }

    SPRECOGNIZERSTATUS status = {};
    if (FAILED(m_recognizer->GetStatus(&status))) {
        KSR_Logger::Error("Could not get status of Speech Recognition engine!");
        return false;
    }
    if (!languageSupported(status)) {
        KSR_Logger::Error("Only english language is supported!");
        return false;
    }
    return readThresholds();
}

bool KSR_Engine::bindDefaultAudioInput()
{
    KSR::ComPtr<ISpObjectTokenCategory> category;
    KSR::ComPtr<ISpObjectToken> token;
    HRESULT hr = CoCreateInstance(CLSID_SpObjectTokenCategory, nullptr, CLSCTX_ALL,
                                  IID_ISpObjectTokenCategory, category.putVoid());
    if (SUCCEEDED(hr))
        hr = category->SetId(SPCAT_AUDIOIN, TRUE);
    if (SUCCEEDED(hr)) {
        WCHAR* rawId = nullptr;
        hr = category->GetDefaultTokenId(&rawId);
        const KSR::CoTaskMemPtr<WCHAR> tokenId(rawId);
        if (SUCCEEDED(hr))
            hr = CoCreateInstance(CLSID_SpObjectToken, nullptr, CLSCTX_ALL, IID_ISpObjectToken,
                                  token.putVoid());
        if (SUCCEEDED(hr))
            hr = token->SetId(nullptr, tokenId.get(), FALSE);
    }
    if (FAILED(hr)) {
        KSR_Logger::Error("Could not get default Audio token!");
        return false;
    }
    if (FAILED(m_recognizer->SetInput(token.get(), TRUE))) {
        KSR_Logger::Error("Could not set Audio input!");
        return false;
    }
    return true;
}

// Passes at the first language whose low byte shares a bit with 0x09, the
// primary id of English. This is a bit test, not an equality: other
// languages pass too, and that is kept as it is.
bool KSR_Engine::languageSupported(const SPRECOGNIZERSTATUS& status) const
{
    const ULONG capacity = sizeof(status.aLangID) / sizeof(status.aLangID[0]);
    const ULONG count = status.cLangIDs < capacity ? status.cLangIDs : capacity;
    for (ULONG i = 0; i < count; ++i)
        if ((status.aLangID[i] & 0xFF) & 0x09)
            return true;
    return false;
}

bool KSR_Engine::readThresholds()
{
    LONG value = -1;
    if (FAILED(m_recognizer->GetPropertyNum(SPPROP_LOW_CONFIDENCE_THRESHOLD, &value))) {
        KSR_Logger::Error("Undetermined low confidence threshold!");
        return false;
    }
    m_lowThreshold = value;

    value = -1;
    if (FAILED(m_recognizer->GetPropertyNum(SPPROP_NORMAL_CONFIDENCE_THRESHOLD, &value))) {
        KSR_Logger::Error("Undetermined normal confidence threshold!");
        return false;
    }
    m_normalThreshold = value;

    // The high threshold starts from the normal property on purpose; the
    // setter writes "HighConfidenceThreshold".
    value = -1;
    if (FAILED(m_recognizer->GetPropertyNum(SPPROP_NORMAL_CONFIDENCE_THRESHOLD, &value))) {
        KSR_Logger::Error("Undetermined high confidence threshold!");
        return false;
    }
    m_highThreshold = value;
    return true;
}

bool KSR_Engine::initContext()
{
    if (!m_recognizer || FAILED(m_recognizer->CreateRecoContext(m_context.put()))) {
        KSR_Logger::Error("Could not create recoContext!");
        return false;
    }
    if (FAILED(m_context->SetNotifyWin32Event())) {
        KSR_Logger::Error("Could not use Win32 events.");
        return false;
    }
    m_eventHandle = m_context->GetNotifyEventHandle();
    if (FAILED(m_context->SetInterest(m_interest, m_interest))) {
        KSR_Logger::Error("Could not set context interest.");
        return false;
    }
    return true;
}

int KSR_Engine::getConfidenceThreshold(KSR::RequiredConfidence level) const
{
    switch (level) {
    case KSR::Low:
        return m_lowThreshold;
    case KSR::High:
        return m_highThreshold;
    default:
        return m_normalThreshold;
    }
}

bool KSR_Engine::setConfidenceThreshold(KSR::RequiredConfidence level, int value)
{
    if (!m_recognizer)
        return false;
    SPRECOSTATE state = SPRST_INACTIVE;
    if (FAILED(m_recognizer->GetRecoState(&state))) {
        KSR_Logger::Error("Could not get state of the recognition engine");
        return false;
    }
    if (state == SPRST_ACTIVE && FAILED(m_recognizer->SetRecoState(SPRST_INACTIVE))) {
        KSR_Logger::Error("Failed to change the state of the recognition engine");
        return false;
    }

    const WCHAR* property = SPPROP_NORMAL_CONFIDENCE_THRESHOLD;
    if (level == KSR::Low)
        property = SPPROP_LOW_CONFIDENCE_THRESHOLD;
    else if (level == KSR::High)
        property = SPPROP_HIGH_CONFIDENCE_THRESHOLD;
    // A refused value counts as success and leaves the recognizer off:
    // callers rely on this result, so it is kept.
    if (FAILED(m_recognizer->SetPropertyNum(property, value)))
        return true;

    if (!setEngineActivated(true))
        return false;
    switch (level) {
    case KSR::Low:
        m_lowThreshold = value;
        break;
    case KSR::Normal:
        m_normalThreshold = value;
        break;
    case KSR::High:
        m_highThreshold = value;
        break;
    }
    return true;
}

bool KSR_Engine::setEngineActivated(bool on)
{
    if (!m_recognizer) {
        KSR_Logger::Error("Recognition engine does not exist!");
        return false;
    }
    SPRECOSTATE state = SPRST_INACTIVE;
    if (FAILED(m_recognizer->GetRecoState(&state))) {
        KSR_Logger::Error("Could not get state of the recognition engine");
        return false;
    }
    HRESULT hr = S_OK;
    if (!on && state == SPRST_ACTIVE)
        hr = m_recognizer->SetRecoState(SPRST_INACTIVE);
    else if (on && state == SPRST_INACTIVE)
        hr = m_recognizer->SetRecoState(SPRST_ACTIVE);
    if (FAILED(hr)) {
        KSR_Logger::Error("Failed to change the state of the recognition engine");
        return false;
    }
    return true;
}

void KSR_Engine::setRecoStateChangedFunction(const std::function<void(bool)>& function)
{
    m_recoStateChangedFunction = function;
}

void KSR_Engine::setHypothesisFunction(const std::function<void(KSR::SRData)>& function)
{
    m_hypothesisFunction = function;
}

void KSR_Engine::setRecognitionFunction(const std::function<void(KSR::SRData)>& function)
{
    m_recognitionFunction = function;
}

void KSR_Engine::setRecognitionFailedFunction(const std::function<void()>& function)
{
    m_recognitionFailedFunction = function;
}

void KSR_Engine::setRecognitionWordsFunction(const HeardFunction& function)
{
    m_recognitionWordsFunction = function;
}

void KSR_Engine::setHypothesisWordsFunction(const HeardFunction& function)
{
    m_hypothesisWordsFunction = function;
}

bool KSR_Engine::isUISupported(const WCHAR* typeOfUI)
{
    if (!m_recognizer)
        return false;
    BOOL supported = FALSE;
    return SUCCEEDED(m_recognizer->IsUISupported(typeOfUI, nullptr, 0, &supported));
}

void KSR_Engine::displayUI(HWND parent, const WCHAR* typeOfUI)
{
    if (!parent || !m_recognizer)
        return;
    m_recognizer->DisplayUI(parent, nullptr, typeOfUI, nullptr, 0);
}

bool KSR_Engine::microphoneSetupSupported() { return isUISupported(SPDUI_MicTraining); }
bool KSR_Engine::voiceTrainingSupported() { return isUISupported(SPDUI_UserTraining); }
void KSR_Engine::openMicrophoneSetup(HWND parent) { displayUI(parent, SPDUI_MicTraining); }
void KSR_Engine::openVoiceTraining(HWND parent) { displayUI(parent, SPDUI_UserTraining); }
