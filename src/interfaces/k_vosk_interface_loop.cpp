// K_VoskInterface: the capture loop of the worker thread and its end.
#include "k_vosk_interface.h"

#include "audio/audio_device.h"
#include "interfaces/capture_run.h"
#include "vosk_engine.h"

// Runs in the worker thread when it starts; the passes themselves are
// CaptureRun's. Polling (the default) reads the microphone as fast as it
// can, without sleeping: audio reaches the engine as soon as the device has
// a frame of it, and if capture could not start the loop turns without work
// until stopped, keeping `active` meaningful for the host.
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
    const bool captureOpen = audio->startCapture();
    m_startSettled = true;
    if (captureOpen)
        listeningBegan();

    CaptureRun(*this, *audio, *voskEngine).run(captureOpen, m_startMicrophoneName);
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
