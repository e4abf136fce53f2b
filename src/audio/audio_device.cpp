#include "audio/audio_device.h"

#include <AL/al.h>

#include <cstring>
#include <mutex>
#include <vector>

#include "audio/audio_formats.h"
#include "audio/audio_log.h"
#include "audio/audio_module_state.h"
#include "audio/audio_resampler.h"

AudioDevice::AudioDevice()
    : m_listenerOwner(nullptr),
      mp_device(nullptr),
      mp_context(nullptr),
      mp_captureDevice(nullptr),
      m_captureCapacity(0),
      m_deviceBufferFrames(0),
      m_sampleCount(0),
      m_resampledBufferSize(0),
      m_captureFormat(AL_FORMAT_MONO16),
      m_outputFormat(AL_FORMAT_MONO16),
      m_captureRate(AudioFormats::Rate44100),
      m_outputRate(AudioFormats::Rate44100),
      m_playbackFormat(AL_FORMAT_MONO16),
      m_playbackRate(AudioFormats::Rate44100),
      m_resampling(false),
      m_captureReportsConnection(false)
{
    openOutput();
}

// Opens the default output device and its context; the device's mixing rate
// becomes the starting rate of every side. Each failure ends the set-up
// early and leaves a usable object.
void AudioDevice::openOutput()
{
    mp_device = alcOpenDevice(nullptr);
    const ALCenum openError = alcGetError(mp_device);
    if (!mp_device || openError != ALC_NO_ERROR) {
        audioLog("Could not find a default device: %x\n", openError);
        if (mp_device)
            alcCloseDevice(mp_device);
        mp_device = nullptr;
        return;
    }

    mp_context = alcCreateContext(mp_device, nullptr);
    if (!mp_context) {
        audioLog("Could not create audio context!\n");
        return;
    }

    ALCint attributeCount = 0;
    alcGetIntegerv(mp_device, ALC_ATTRIBUTES_SIZE, 1, &attributeCount);
    if (attributeCount > 0) {
        std::vector<ALCint> attributes(2 * static_cast<std::size_t>(attributeCount), 0);
        alcGetIntegerv(mp_device, ALC_ALL_ATTRIBUTES, static_cast<ALCsizei>(attributes.size()),
                       attributes.data());
        for (std::size_t i = 0; i + 1 < attributes.size() && attributes[i] != 0; i += 2) {
            if (attributes[i] == ALC_FREQUENCY) {
                const int index = AudioFormats::rateIndex(attributes[i + 1]);
                m_playbackRate = index;
                m_captureRate = index;
                m_outputRate = index;
                break;
            }
        }
    }

    // Called before this context is made current, so the model goes to the
    // context current at this moment (none for the first device). Kept in
    // this order; nothing here plays sources, so no sound depends on it.
    alDistanceModel(AL_LINEAR_DISTANCE_CLAMPED);
    AudioModuleState::registerContext(mp_context, this);
    makeCurrent(this);
    m_listenerOwner = this;
    setUpListener();
}

// The listener belongs to the current context, which another device may
// have taken meanwhile.
void AudioDevice::keepListenerContextCurrent()
{
    if (currentDevice() != m_listenerOwner)
        makeCurrent(m_listenerOwner);
}

void AudioDevice::setUpListener()
{
    const ALfloat origin[] = {0.0f, 0.0f, 0.0f};
    // "At" (0, 1, 0) followed by "up" (0, 0, 1).
    const ALfloat orientation[] = {0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 1.0f};
    ALenum error;

    keepListenerContextCurrent();
    alListenerfv(AL_POSITION, origin);
    if ((error = alGetError()) != AL_NO_ERROR)
        audioLog("Could not set Listener's position: %x\n", error);

    keepListenerContextCurrent();
    alListenerfv(AL_VELOCITY, origin);
    if ((error = alGetError()) != AL_NO_ERROR)
        audioLog("Could not set Listener's velocity: %x\n", error);

    keepListenerContextCurrent();
    alListenerfv(AL_ORIENTATION, orientation);
    if ((error = alGetError()) != AL_NO_ERROR)
        audioLog("Could not set Listener's orientation: %x\n", error);

    keepListenerContextCurrent();
    alListenerf(AL_GAIN, 1.0f);
    if ((error = alGetError()) != AL_NO_ERROR)
        audioLog("Could not set Listener's gain value: %x\n", error);
}

AudioDevice::~AudioDevice()
{
    if (mp_captureDevice && !stopCapture()) {
        // Stop has logged its line; the handle is still released.
        alcCaptureCloseDevice(mp_captureDevice);
        mp_captureDevice = nullptr;
    }
    if (mp_context && alcGetCurrentContext() == mp_context)
        makeCurrent(nullptr);
    mp_resampler.reset();
    closeOutput();
    // The context map keeps its entry: entries are never removed.
}

// openOutput's counterpart, for the destructor only. OpenAL's mixer thread
// may still be reading the context's mixing state while the context goes;
// OpenAL orders the two with atomics of its own, which ThreadSanitizer does
// not see. Its reports then name the destructor, the caller of this
// function (an uninstrumented library's frames have no names), which is
// what tests/sanitizers/tsan.supp names.
void AudioDevice::closeOutput()
{
    if (mp_context)
        alcDestroyContext(mp_context);
    if (mp_device)
        alcCloseDevice(mp_device);
}

bool AudioDevice::makeCurrent(AudioDevice* device)
{
    if (!device) {
        const bool unset = alcMakeContextCurrent(nullptr) == ALC_TRUE;
        if (!unset)
            audioLog("Could not unset current context\n");
        return unset;
    }
    if (alcGetCurrentContext() == device->mp_context)
        return false;
    const bool made = alcMakeContextCurrent(device->mp_context) == ALC_TRUE;
    const ALCenum error = alcGetError(device->mp_device);
    if (error != ALC_NO_ERROR)
        audioLog("Could not make current context: %x\n", error);
    return made;
}

AudioDevice* AudioDevice::currentDevice() const
{
    return AudioModuleState::deviceForContext(alcGetCurrentContext());
}

std::list<std::string> AudioDevice::availableCaptureDevices() const
{
    return deviceList(ALC_CAPTURE_DEVICE_SPECIFIER);
}

// OpenAL answers a device list as a run of NUL-terminated names closed by
// an empty one. The names are copied before the enumeration lock is
// released (see AudioModuleState::enumerationMutex); the log line waits
// until then.
std::list<std::string> AudioDevice::deviceList(ALCenum which) const
{
    std::list<std::string> names;
    bool enumerates;
    {
        std::lock_guard<std::mutex> lock(AudioModuleState::enumerationMutex());
        enumerates = alcIsExtensionPresent(nullptr, "ALC_ENUMERATION_EXT") == ALC_TRUE;
        if (enumerates) {
            if (which == ALC_DEVICE_SPECIFIER && alcIsExtensionPresent(nullptr, "ALC_ENUMERATE_ALL_EXT") == ALC_TRUE)
                which = ALC_ALL_DEVICES_SPECIFIER;
            names = namesOf(alcGetString(nullptr, which));
        }
    }
    if (!enumerates)
        audioLog("Enumeration extension is not available\n");
    return names;
}

std::list<std::string> AudioDevice::namesOf(const ALCchar* list)
{
    std::list<std::string> names;
    for (const ALCchar* name = list; name && *name != '\0'; name += std::strlen(name) + 1)
        names.emplace_back(name);
    return names;
}

// Unlike the device lists, this answers a single name, copied under the
// same lock.
std::string AudioDevice::defaultCaptureDeviceName() const
{
    std::lock_guard<std::mutex> lock(AudioModuleState::enumerationMutex());
    const ALCchar* name = alcGetString(nullptr, ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER);
    return name ? std::string(name) : std::string();
}

std::string AudioDevice::captureDeviceName() const { return m_captureDeviceName; }

bool AudioDevice::setCaptureDeviceName(const std::string& name)
{
    if (name == m_captureDeviceName)
        return true;
    if (mp_captureDevice && !stopCapture())
        return false;
    m_captureDeviceName = name;
    return true;
}

int AudioDevice::frequency(bool output) const
{
    return AudioFormats::rateHertz(output ? m_outputRate : m_captureRate);
}

void AudioDevice::setFrequency(bool output, int hertz)
{
    (output ? m_outputRate : m_captureRate) = AudioFormats::rateIndex(hertz);
}

bool AudioDevice::setChannels(bool output, int stereo)
{
    int format;
    if (stereo == 0)
        format = AL_FORMAT_MONO16;
    else if (stereo == 1)
        format = AL_FORMAT_STEREO16;
    else
        return false;
    (output ? m_outputFormat : m_captureFormat) = format;
    return true;
}

void AudioDevice::setResampling(bool resampling) { m_resampling = resampling; }

bool AudioDevice::setCaptureBufferMilliseconds(int milliseconds)
{
    if (milliseconds < 100)
        return false;
    m_captureBufferMs = milliseconds;
    return true;
}

int AudioDevice::captureBufferMilliseconds() const { return m_captureBufferMs; }

bool AudioDevice::isCapturing() const { return mp_captureDevice != nullptr; }

std::uint32_t AudioDevice::readBytes() const
{
    return static_cast<std::uint32_t>(m_sampleCount) *
           static_cast<std::uint32_t>(AudioFormats::frameBytes(m_outputFormat));
}
