#include "host_recognizer.h"

#include "audio/audio_device.h"
#include "vosk_engine.h"

std::string HostRecognizer::captureDevice() const
{
    const std::string chosen = audioDevice()->captureDeviceName();
    return chosen.empty() ? audioDevice()->defaultCaptureDeviceName() : chosen;
}

int HostRecognizer::captureFrequency() const { return audioDevice()->frequency(false); }

int HostRecognizer::dictationRequiredConfidence()
{
    Vosk::Engine* voskEngine = engine();
    return voskEngine ? voskEngine->getDictationConfidenceThreshold() : -1;
}
