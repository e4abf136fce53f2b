#include "k_sapi_interface.h"

K_SapiInterface::K_SapiInterface(QWidget* parent)
    : K_SRInterface(parent)
    , KSR_Manager()
{
    if (parent)
        m_hostWindow = parent->window()->winId();
    setGrammarActivationFunction([this](KSR::GrammarId grammarId, bool on) { grammarActivated(grammarId, on); });
}

K_SapiInterface::~K_SapiInterface()
{
    stop();
}

HWND K_SapiInterface::dialogOwner() const
{
    return reinterpret_cast<HWND>(m_hostWindow);
}

bool K_SapiInterface::openMicrophoneSetup()
{
    KSR_Engine* sapiEngine = engine();
    if (!sapiEngine || !sapiEngine->microphoneSetupSupported())
        return false;
    sapiEngine->openMicrophoneSetup(dialogOwner());
    return true;
}

bool K_SapiInterface::openVoiceTraining()
{
    KSR_Engine* sapiEngine = engine();
    if (!sapiEngine || !sapiEngine->voiceTrainingSupported())
        return false;
    sapiEngine->openVoiceTraining(dialogOwner());
    return true;
}

// Runs in the worker thread when it starts. processSREvents paces the loop:
// without an event it waits on SAPI's notification event for a moment.
void K_SapiInterface::speechRecognitionStarted()
{
    KSR_Engine* sapiEngine = engine();
    if (!sapiEngine)
        return;
    const bool recognizerOn = sapiEngine->setEngineActivated(true);
    if (const std::shared_ptr<KSR_Grammar> keys = activationKeysGrammar())
        keys->setActivated(true);
    if (!beginLoop())  // stopped while the thread was starting
        return;
    if (recognizerOn)
        listeningBegan();
    while (active)
        sapiEngine->processSREvents();
}

// The worker thread's finished().
void K_SapiInterface::speechRecognitionEnded()
{
    if (const std::shared_ptr<KSR_Grammar> keys = activationKeysGrammar())
        keys->setActivated(false);
    active = false;
    if (KSR_Engine* sapiEngine = engine())
        sapiEngine->setEngineActivated(false);
}

void K_SapiInterface::processRecognition(KSR::SRData data)
{
    reportResult(data);
}

void K_SapiInterface::processRecognitionFailed()
{
    reportFailure();
}

void K_SapiInterface::processHypothesis(KSR::SRData data)
{
    reportHypothesis(data);
}
