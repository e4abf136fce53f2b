// K_VoskInterface: the host's microphone changes. Each stops a running
// worker before touching the microphone and restarts it afterwards.
#include "k_vosk_interface.h"

#include "audio/audio_device.h"
#include "audio/audio_formats.h"

// The worker sets `active` before it marks its start settled, so the mark
// is read first: a settled start then shows its `active` to the read after.
bool K_VoskInterface::isListeningOrStarting() const
{
    const bool starting = thread && thread->isRunning() && !m_startSettled;
    return starting || isActive();
}

// A running worker (QThread::start then does nothing) is still reading the
// name it started with, so it is left alone; a worker without a model ends
// at once and needs none.
void K_VoskInterface::start()
{
    if (audio && isInitialized() && !(thread && thread->isRunning())) {
        m_startMicrophoneName = audio->captureDeviceName();
        if (m_startMicrophoneName.empty())
            m_startMicrophoneName = audio->defaultCaptureDeviceName();
    }
    K_SRInterface::start();
}

bool K_VoskInterface::openMicrophoneSetup()
{
    if (!audio || !microphoneSetupFunction)
        return false;
    const bool wasActive = isListeningOrStarting();
    if (wasActive)
        stop();

    std::string device = audio->captureDeviceName();
    if (device.empty())
        device = audio->defaultCaptureDeviceName();
    int frequency = audio->frequency(false);

    if (microphoneSetupFunction(this, device, frequency)) {
        // Device names are 8-bit text, UTF-8 in OpenAL.
        audio->setCaptureDeviceName(device);
        emit microphoneDeviceChanged(QString::fromUtf8(device.c_str()));
        audio->setFrequency(false, frequency);
        emit microphoneFrequencyChanged(frequency);
    }

    if (wasActive)
        start();
    return true;
}

void K_VoskInterface::microphoneDeviceChangedSlot(QString device)
{
    if (!audio || device.isEmpty())
        return;
    const std::string name = device.toUtf8().toStdString();
    const std::string old = audio->captureDeviceName();
    if (name == old)
        return;

    const bool wasActive = isListeningOrStarting();
    if (wasActive)
        stop();
    bool changed = audio->setCaptureDeviceName(name);
    if (!changed)
        changed = audio->setCaptureDeviceName(old);
    if (wasActive && changed)
        start();
}

void K_VoskInterface::microphoneFrequencyChangedSlot(int freq)
{
    if (!audio || freq < 0)
        return;
    // Compared as the microphone stores rates: 16000, 48000, else 44100 Hz.
    const int hertz = AudioFormats::rateHertz(AudioFormats::rateIndex(freq));
    if (hertz == audio->frequency(false))
        return;

    const bool wasActive = isListeningOrStarting();
    if (wasActive)
        stop();
    audio->setFrequency(false, hertz);
    if (wasActive)
        start();
}
