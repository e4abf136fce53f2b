// K_VoskInterface: the capture loop of the worker thread and its end.
#include "k_vosk_interface.h"

#include "audio/audio_device.h"
#include "vosk_engine.h"

// Runs in the worker thread when it starts. The loop polls the capture
// device as fast as it can, without sleeping: a chunk reaches the engine as
// soon as the device has it. If capture could not start it spins without
// work until stopped, keeping `active` meaningful for the host.
void K_VoskInterface::speechRecognitionStarted()
{
    Vosk::Engine* voskEngine = engine();
    if (!voskEngine || !audio || !isInitialized()) {
        m_startSettled = true;
        return;
    }

    if (const std::shared_ptr<KSR_VoskGrammar> keys = activationKeysGrammar())
        keys->setActivated(true);
    if (!beginLoop()) {  // stopped while the thread was starting
        m_startSettled = true;
        return;
    }
    startRecognizing();
    audio->startCapture();
    m_startSettled = true;

    while (active) {
        if (audio->isCapturing()) {
            const char* data = audio->readSamples();
            const int bytes = static_cast<int>(audio->readBytes());
            voskEngine->processAudio(data, bytes);  // ignores a null chunk
        }
    }
    voskEngine->processFinalAudio();
}

// The thread's finished(), in the worker thread. Capture is stopped even if
// it never opened (OpenAL then reports the null device).
void K_VoskInterface::speechRecognitionEnded()
{
    if (const std::shared_ptr<KSR_VoskGrammar> keys = activationKeysGrammar())
        keys->setActivated(false);
    active = false;
    audio->stopCapture();
    if (isInitialized())
        stopRecognizing();
    m_startSettled = false;
}
