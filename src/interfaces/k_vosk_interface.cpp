// K_VoskInterface: construction, teardown, the manager's callbacks and
// reports turned into signals, and what the host may ask of the microphone.
// The model search, the capture loop and the microphone changes live in the
// files beside.
#include "k_vosk_interface.h"

#include "audio/audio_device.h"

namespace {

const int kModelFrequency = 16000;

}  // namespace

K_VoskInterface::K_VoskInterface(QWidget* parent)
    : K_SRInterface(parent)
    , KSR_VoskManager()
    , audio(new AudioDevice)
    , m_listeningPace(0)
    , m_silenceSkipping(false)
    , m_startSettled(false)
{
    // The recognizer takes mono 16-bit audio at the model's rate, whatever
    // the microphone delivers.
    audio->setResampling(true);
    audio->setChannels(true, 0);
    audio->setFrequency(true, kModelFrequency);

    m_modelPath = findModelPath();
    if (KSR_VoskManager::initialize(m_modelPath))
        bindManagerCallbacks();
    else if (!m_modelPath.empty())
        m_modelProblem = "the acoustic model at \"" + m_modelPath + "\" could not be loaded";
}

// The worker goes first: it is the only other user of the microphone and
// the engine.
K_VoskInterface::~K_VoskInterface()
{
    stop();
    audio.reset();
    microphoneSetupFunction = nullptr;
}

// Each callback goes through the virtual, so a subclass's override is called.
void K_VoskInterface::bindManagerCallbacks()
{
    setGrammarActivationFunction([this](KSR::GrammarId id, bool on) { grammarActivated(id, on); });
    setDictationActivatedFunction([this](bool on) { dictationChanged(on); });
    setNumeralsActivatedFunction([this](bool on) { numeralsModeChanged(on); });
    setSpellingActivatedFunction([this](bool on) { spellingModeChanged(on); });
    setCapitalsActivatedFunction([this](bool on) { capitalsModeChanged(on); });
}

QList<int> K_VoskInterface::availableFrequencies() const { return QList<int>{16000, 44100, 48000}; }

std::list<std::string> K_VoskInterface::availableMicrophones() const
{
    return audio ? audio->availableCaptureDevices() : std::list<std::string>();
}

void K_VoskInterface::setMicrophoneSetupFunction(const MicrophoneSetupFunction& function)
{
    microphoneSetupFunction = function;
}

bool K_VoskInterface::openVoiceTraining() { return false; }

AudioDevice* K_VoskInterface::audioDevice() const { return audio.get(); }

void K_VoskInterface::processRecognition(KSR::SRData data) { reportResult(data); }

void K_VoskInterface::processRecognitionFailed() { reportFailure(); }

void K_VoskInterface::processHypothesis(KSR::SRData data) { reportHypothesis(data); }

void K_VoskInterface::setListeningPace(int milliseconds) { m_listeningPace = milliseconds > 0 ? milliseconds : 0; }

int K_VoskInterface::listeningPace() const { return m_listeningPace; }

bool K_VoskInterface::setMicrophoneBuffer(int milliseconds)
{
    return audio && audio->setCaptureBufferMilliseconds(milliseconds);
}

int K_VoskInterface::microphoneBuffer() const { return audio ? audio->captureBufferMilliseconds() : 0; }

void K_VoskInterface::setSilenceSkipping(bool on) { m_silenceSkipping = on; }

bool K_VoskInterface::silenceSkipping() const { return m_silenceSkipping; }

void K_VoskInterface::dictationChanged(bool activated) { emit dictationActivated(activated); }

void K_VoskInterface::numeralsModeChanged(bool activated) { emit numeralsModeActivated(activated); }

void K_VoskInterface::spellingModeChanged(bool activated) { emit spellingModeActivated(activated); }

void K_VoskInterface::capitalsModeChanged(bool activated) { emit capitalsModeActivated(activated); }
