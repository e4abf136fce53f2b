// The OpenAL test double: capture devices.
#include <cstring>
#include <memory>

#include "fake_openal_books.h"

using namespace FakeOpenAl;
using namespace FakeOpenAl::internal;

namespace {

std::string formatName(int format)
{
    switch (format) {
    case AL_FORMAT_MONO8: return "AL_FORMAT_MONO8";
    case AL_FORMAT_MONO16: return "AL_FORMAT_MONO16";
    case AL_FORMAT_STEREO8: return "AL_FORMAT_STEREO8";
    case AL_FORMAT_STEREO16: return "AL_FORMAT_STEREO16";
    default: return hex(format);
    }
}

}  // namespace

ALCdevice* alcCaptureOpenDevice(const ALCchar* devicename, ALCuint frequency, ALCenum format, ALCsizei buffersize)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCaptureOpenDevice(" + quoted(devicename) + ", " + std::to_string(frequency) +
                             ", " + formatName(format) + ", " + std::to_string(buffersize) + ")";
    const Outcome outcome = next(Call::CaptureOpenDevice);
    State& s = state();
    const std::string name = devicename ? devicename : s.defaultCaptureDevice;
    int error = ALC_NO_ERROR;
    if (outcome.fails)
        error = outcome.error;
    else if (!listed(s.captureDevices, name) || buffersize <= 0 || frequency == 0)
        error = ALC_INVALID_VALUE;
    else if (frameBytes(format) == 0)
        error = ALC_INVALID_ENUM;
    if (outcome.fails || error != ALC_NO_ERROR) {
        books().nullDeviceError = error;
        record(call + " = null");
        return nullptr;
    }
    auto device = std::make_unique<Device>();
    device->capture = true;
    device->handle = "cap" + std::to_string(++books().captures);
    device->name = name;
    device->error = outcome.error;
    if (!s.connectedQueries.empty()) {
        device->connectedLimit = s.connectedQueries.front();
        s.connectedQueries.pop_front();
    }
    device->info.handle = device->handle;
    device->info.name = name;
    device->info.frequency = frequency;
    device->info.format = format;
    device->info.bufferSize = buffersize;
    device->info.open = true;
    // A microphone hears what is played after it opened.
    device->info.soundStart = static_cast<long long>(s.sound.size());
    return book(std::move(device), call);
}

ALCboolean alcCaptureCloseDevice(ALCdevice* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCaptureCloseDevice(" + deviceName(handle) + ")";
    Device* device = closable(handle, true, Call::CaptureCloseDevice, call);
    if (!device)
        return ALC_FALSE;
    device->open = false;
    device->info.open = false;
    device->info.started = false;
    record(call + " = true");
    return ALC_TRUE;
}

void alcCaptureStart(ALCdevice* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCaptureStart(" + deviceName(handle) + ")";
    record(call);
    Device* device = liveDevice(handle, true, call);
    const Outcome outcome = next(Call::CaptureStart);
    if (!device)
        return;
    setDeviceError(device, outcome.error);
    if (outcome.fails)
        return;
    if (!device->info.connected) {
        device->error = ALC_INVALID_DEVICE;
        return;
    }
    device->info.started = true;
}

void alcCaptureStop(ALCdevice* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCaptureStop(" + deviceName(handle) + ")";
    record(call);
    Device* device = liveDevice(handle, true, call);
    const Outcome outcome = next(Call::CaptureStop);
    if (!device)
        return;
    setDeviceError(device, outcome.error);
    if (!outcome.fails)
        device->info.started = false;
}

void alcCaptureSamples(ALCdevice* handle, ALCvoid* buffer, ALCsizei samples)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCaptureSamples(" + deviceName(handle) + ", " + std::to_string(samples) + ")";
    record(call);
    Device* device = liveDevice(handle, true, call);
    const Outcome outcome = next(Call::CaptureSamples);
    if (!device)
        return;
    setDeviceError(device, outcome.error);
    if (outcome.fails)
        return;
    if (samples < 0 || samples > device->info.available || (samples > 0 && !buffer)) {
        device->error = ALC_INVALID_VALUE;
        return;
    }
    const bool eightBit = device->info.format == AL_FORMAT_MONO8 || device->info.format == AL_FORMAT_STEREO8;
    const bool stereo = device->info.format == AL_FORMAT_STEREO8 || device->info.format == AL_FORMAT_STEREO16;
    const int sampleBytes = eightBit ? 1 : 2;
    auto* bytes = static_cast<unsigned char*>(buffer);
    for (ALCsizei frame = 0; frame < samples; ++frame) {
        short value = sampleValue(device->info.framesRead + frame);
        if (!device->heard.empty()) {
            value = device->heard.front();
            device->heard.pop_front();
        }
        const short right = state().rightChannelNegated ? static_cast<short>(-value) : value;
        for (int channel = 0; channel < (stereo ? 2 : 1); ++channel) {
            const short sample = channel == 0 ? value : right;
            unsigned char* at = bytes + (static_cast<std::size_t>(frame) * (stereo ? 2 : 1) + channel) * sampleBytes;
            if (eightBit)
                *at = static_cast<unsigned char>(sample & 0xff);
            else
                std::memcpy(at, &sample, 2);
        }
    }
    device->info.framesRead += samples;
    device->info.available -= samples;
}
