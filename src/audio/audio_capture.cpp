// AudioDevice: opening, draining and closing the capture device.

#include <AL/al.h>
#include <AL/alext.h>

#include <algorithm>
#include <list>
#include <mutex>
#include <new>
#include <string>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

#include "audio/audio_device.h"
#include "audio/audio_formats.h"
#include "audio/audio_log.h"
#include "audio/audio_module_state.h"
#include "audio/audio_resampler.h"

namespace {

// Null instead of an exception when memory runs out. Buffers are zeroed only
// where a read replaces its capture buffer; the others are written before
// they are read.
std::unique_ptr<char[]> bytes(long long size)
{
    if (size <= 0)
        return nullptr;
    return std::unique_ptr<char[]>(new (std::nothrow) char[static_cast<std::size_t>(size)]);
}

std::unique_ptr<char[]> zeroedBytes(long long size)
{
    if (size <= 0)
        return nullptr;
    return std::unique_ptr<char[]>(new (std::nothrow) char[static_cast<std::size_t>(size)]());
}

// Whole output frames per input frame, rounded up (1 when downsampling).
int rateRatioCeiling(int outHertz, int inHertz) { return (outHertz + inHertz - 1) / inHertz; }

std::uint64_t channelLayout(int format)
{
    return AudioFormats::isStereo(format) ? AV_CH_LAYOUT_STEREO : AV_CH_LAYOUT_MONO;
}

// The capture buffer receives frames in the capture format and is counted
// in frames of the output format; it is sized by the wider of the two so
// that a stereo capture handed out as mono still fits.
int captureBufferFrameBytes(int captureFormat, int outputFormat)
{
    const int capture = AudioFormats::frameBytes(captureFormat);
    const int output = AudioFormats::frameBytes(outputFormat);
    return capture > output ? capture : output;
}

}  // namespace

bool AudioDevice::startCapture() { return openCapture(true); }

bool AudioDevice::retryCapture() { return openCapture(false); }

bool AudioDevice::openCapture(bool logOpenFailure)
{
    if (mp_captureDevice && !stopCapture())
        return false;

    const int captureHertz = AudioFormats::rateHertz(m_captureRate);
    // Sixteen seconds of audio: far more than a read ever finds waiting.
    m_captureCapacity = captureHertz * 16;
    m_deviceBufferFrames = static_cast<int>(static_cast<long long>(captureHertz) * m_captureBufferMs / 1000);
    mp_captureBuffer =
        bytes(static_cast<long long>(m_captureCapacity) * captureBufferFrameBytes(m_captureFormat, m_outputFormat));
    if (!mp_captureBuffer)
        return false;

    if (m_resampling && !setUpResampler()) {
        audioLog("Could not initialize resampler: Aborting!");
        return false;
    }

    // The device's own ring buffer holds m_captureBufferMs, half a second
    // unless the host asked for more: what arrives while it is full is lost.
    // A final result, a grammar rebuild or a busy machine can keep the
    // listening thread from reading for a while; half a second can be too
    // little to ride that out (a dictated word went missing on a slow
    // machine), and a larger buffer costs a little memory and no latency
    // (the device still hands audio over every few milliseconds). OpenAL's back end
    // looks a device name up in the capture list that enumeration rebuilds,
    // so the open takes the enumeration lock too
    // (AudioModuleState::enumerationMutex). A list made while the chosen
    // device was out (a host's microphone menu, a retry of a lost
    // microphone) does not have it: when it is listed once the list is made
    // again, it is back, and the open is tried once more instead of taking it
    // for lost.
    {
        std::lock_guard<std::mutex> lock(AudioModuleState::enumerationMutex());
        const auto open = [&] {
            return alcCaptureOpenDevice(m_captureDeviceName.empty() ? nullptr : m_captureDeviceName.c_str(),
                                        static_cast<ALCuint>(captureHertz), m_captureFormat, m_deviceBufferFrames);
        };
        const auto listedNow = [&] {
            if (alcIsExtensionPresent(nullptr, "ALC_ENUMERATION_EXT") != ALC_TRUE)
                return false;
            const std::list<std::string> names = namesOf(alcGetString(nullptr, ALC_CAPTURE_DEVICE_SPECIFIER));
            return std::find(names.begin(), names.end(), m_captureDeviceName) != names.end();
        };
        mp_captureDevice = open();
        if (!mp_captureDevice && !m_captureDeviceName.empty() && listedNow()) {
            alcGetError(nullptr);  // the first open's failure is not this one's
            mp_captureDevice = open();
        }
    }
    const ALCenum openError = alcGetError(mp_captureDevice);
    if (!mp_captureDevice || openError != ALC_NO_ERROR) {
        if (logOpenFailure)
            audioLog("Could not open capturing device: %x\n", openError);
        if (mp_captureDevice)
            alcCaptureCloseDevice(mp_captureDevice);
        mp_captureDevice = nullptr;
        return false;
    }

    alcCaptureStart(mp_captureDevice);
    const ALCenum startError = alcGetError(mp_captureDevice);
    if (startError != ALC_NO_ERROR) {
        audioLog("Could not start capturing device: %x\n", startError);
        return false;
    }
    m_captureReportsConnection = alcIsExtensionPresent(mp_captureDevice, "ALC_EXT_disconnect") == ALC_TRUE;
    return true;
}

bool AudioDevice::isCaptureConnected() const
{
    if (!mp_captureDevice)
        return false;
    if (!m_captureReportsConnection)
        return true;
    ALCint connected = ALC_TRUE;
    alcGetIntegerv(mp_captureDevice, ALC_CONNECTED, 1, &connected);
    return connected != ALC_FALSE;
}

int AudioDevice::waitingSamples() const
{
    if (!mp_captureDevice)
        return 0;
    ALCint waiting = 0;
    alcGetIntegerv(mp_captureDevice, ALC_CAPTURE_SAMPLES, 1, &waiting);
    return waiting;
}

// A fresh resampler for each capture: capture side in, output side out,
// always to signed 16-bit. The output buffer starts at ten bytes per capture
// frame scaled by the rate ratio, which is more than a conversion of the
// whole capture buffer can produce, filter delay included.
bool AudioDevice::setUpResampler()
{
    mp_resampler.reset();
    mp_resampler.reset(new (std::nothrow) AudioResampler);
    if (!mp_resampler)
        return false;

    mp_resampler->setChannelLayouts(channelLayout(m_captureFormat), channelLayout(m_outputFormat));
    const bool sixteenBit = AudioFormats::is16Bit(m_captureFormat) && AudioFormats::is16Bit(m_outputFormat);
    mp_resampler->setSampleFormats(sixteenBit ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_U8, AV_SAMPLE_FMT_S16);
    const int inHertz = AudioFormats::rateHertz(m_captureRate);
    const int outHertz = AudioFormats::rateHertz(m_outputRate);
    mp_resampler->setRates(inHertz, outHertz);
    if (!mp_resampler->init())
        return false;

    m_resampledBufferSize = rateRatioCeiling(outHertz, inHertz) * m_captureCapacity * 10;
    mp_resampledBuffer = bytes(m_resampledBufferSize);
    return mp_resampledBuffer != nullptr;
}

const char* AudioDevice::readSamples()
{
    if (!mp_captureDevice) {
        audioLog("Capture device became NULL while getting audio data\n");
        return nullptr;
    }

    ALCint waiting = 0;
    alcGetIntegerv(mp_captureDevice, ALC_CAPTURE_SAMPLES, 1, &waiting);
    if (waiting < 1)
        return nullptr;

    // A full buffer has been dropping what arrived since it filled up.
    if (waiting >= m_deviceBufferFrames)
        audioLog("The capture buffer of %d ms was full: listening fell behind and audio was lost\n",
                 m_deviceBufferFrames * 1000 / AudioFormats::rateHertz(m_captureRate));

    if (waiting > m_captureCapacity) {
        std::unique_ptr<char[]> larger = zeroedBytes(
            static_cast<long long>(waiting) * captureBufferFrameBytes(m_captureFormat, m_outputFormat));
        if (!larger)
            return nullptr;
        mp_captureBuffer = std::move(larger);
        m_captureCapacity = waiting;
    }

    // One call drains everything the device has gathered.
    m_sampleCount = waiting;
    alcCaptureSamples(mp_captureDevice, mp_captureBuffer.get(), waiting);
    if (!m_resampling)
        return mp_captureBuffer.get();
    return resample(waiting) ? mp_resampledBuffer.get() : nullptr;
}

// Grows the output buffer when the estimate for this read outgrows it. The
// new size is the old one plus the estimate (not the estimate alone), so the
// room set aside at start for the filter delay is never given back.
bool AudioDevice::resample(int frames)
{
    if (!mp_resampler || !mp_resampledBuffer)
        return false;
    const int inHertz = AudioFormats::rateHertz(m_captureRate);
    const int outHertz = AudioFormats::rateHertz(m_outputRate);
    const long long estimateBytes = static_cast<long long>(rateRatioCeiling(outHertz, inHertz)) * frames *
                                    AudioFormats::frameBytes(m_outputFormat);
    if (m_resampledBufferSize < estimateBytes) {
        const long long grown = m_resampledBufferSize + estimateBytes;
        std::unique_ptr<char[]> larger = bytes(grown);
        if (!larger)
            return false;
        mp_resampledBuffer = std::move(larger);
        m_resampledBufferSize = static_cast<int>(grown);
    }

    const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(mp_captureBuffer.get())};
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(mp_resampledBuffer.get())};
    int produced = 0;
    if (!mp_resampler->convert(inPlanes, frames, outPlanes, produced))
        return false;
    m_sampleCount = produced;
    return true;
}

bool AudioDevice::stopCapture()
{
    alcCaptureStop(mp_captureDevice);
    const ALCenum stopError = alcGetError(mp_captureDevice);
    if (stopError != ALC_NO_ERROR) {
        audioLog("Could not stop capturing device: %x\n", stopError);
        return false;
    }
    if (alcCaptureCloseDevice(mp_captureDevice) != ALC_TRUE) {
        audioLog("Could not close capturing device: %x\n", 0);
        return false;
    }
    mp_captureBuffer.reset();
    mp_resampledBuffer.reset();
    mp_captureDevice = nullptr;
    return true;
}
