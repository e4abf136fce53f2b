// The double's books: its records, their lookups and the answers OpenAL
// gives to a handle it does not know.
#include "fake_openal_books.h"

#include <algorithm>
#include <cstdio>

namespace FakeOpenAl {
namespace internal {

Books& books()
{
    static Books b;
    return b;
}

std::string hex(int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(value));
    return text;
}

int frameBytes(int format)
{
    switch (format) {
    case AL_FORMAT_MONO8: return 1;
    case AL_FORMAT_MONO16: return 2;
    case AL_FORMAT_STEREO8: return 2;
    case AL_FORMAT_STEREO16: return 4;
    default: return 0;
    }
}

void record(const std::string& call)
{
    if (state().recordCalls)
        state().calls.push_back(call);
}

Outcome next(Call call)
{
    std::deque<Outcome>& queue = state().outcomes[static_cast<int>(call)];
    if (queue.empty())
        return Outcome{};
    const Outcome outcome = queue.front();
    queue.pop_front();
    return outcome;
}

std::string quoted(const ALCchar* text) { return text ? "\"" + std::string(text) + "\"" : "null"; }

Device* findDevice(const ALCdevice* handle, bool* stale)
{
    *stale = false;
    if (!handle)
        return nullptr;
    for (const auto& device : books().devices) {
        if (reinterpret_cast<const ALCdevice*>(device.get()) == handle) {
            *stale = !device->open;
            return device.get();
        }
    }
    return nullptr;
}

std::string deviceName(const ALCdevice* handle)
{
    bool stale = false;
    const Device* device = findDevice(handle, &stale);
    if (device)
        return device->handle;
    return handle ? "unknown" : "null";
}

Device* liveDevice(const ALCdevice* handle, bool capture, const std::string& call)
{
    bool stale = false;
    Device* device = findDevice(handle, &stale);
    if (stale)
        books().misuses.push_back(call + " after " + device->handle + " was closed");
    if (!device || stale) {
        books().nullDeviceError = ALC_INVALID_DEVICE;
        return nullptr;
    }
    if (device->capture != capture) {
        device->error = ALC_INVALID_DEVICE;
        return nullptr;
    }
    return device;
}

Context* findContext(const ALCcontext* handle, bool* stale)
{
    *stale = false;
    if (!handle)
        return nullptr;
    for (const auto& context : books().contexts) {
        if (reinterpret_cast<const ALCcontext*>(context.get()) == handle) {
            *stale = !context->alive;
            return context.get();
        }
    }
    return nullptr;
}

Context* liveContext(const ALCcontext* handle, const std::string& call)
{
    bool stale = false;
    Context* context = findContext(handle, &stale);
    if (stale)
        books().misuses.push_back(call + " after " + context->handle + " was destroyed");
    if (!context || stale) {
        books().nullDeviceError = ALC_INVALID_CONTEXT;
        return nullptr;
    }
    return context;
}

std::string contextName(const ALCcontext* handle)
{
    bool stale = false;
    const Context* context = findContext(handle, &stale);
    if (context)
        return context->handle;
    return handle ? "unknown" : "null";
}

void setDeviceError(Device* device, int error)
{
    if (error == ALC_NO_ERROR)
        return;
    if (device)
        device->error = error;
    else
        books().nullDeviceError = error;
}

void setContextError(int error)
{
    if (error != AL_NO_ERROR && books().current)
        books().current->error = error;
}

std::string currentSuffix() { return " @" + (books().current ? books().current->handle : std::string("null")); }

bool listed(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

Device* openCaptureDevice()
{
    for (const auto& device : books().devices)
        if (device->capture && device->open)
            return device.get();
    return nullptr;
}

// Frames beyond what the device keeps are dropped, the newest first.
void keepWithinBuffer(Device& device)
{
    const int limit = state().captureBufferLimit > 0 ? state().captureBufferLimit : device.info.bufferSize;
    const int excess = device.info.available - limit;
    if (excess <= 0)
        return;
    device.info.available = limit;
    device.info.framesLost += excess;
    for (int i = 0; i < excess && !device.heard.empty(); ++i)
        device.heard.pop_back();
}

void arrive(Device& device, int frames)
{
    if (device.info.started && device.info.connected && frames > 0) {
        device.info.available += frames;
        keepWithinBuffer(device);
    }
}

void gatherSound(Device& device)
{
    const std::vector<short>& sound = state().sound;
    const long long rate = device.info.frequency;
    if (!device.info.started || !device.info.connected || sound.empty() || rate == 0)
        return;
    // Frame n of the device lies at n * 16000 / rate samples into the sound,
    // in exact integer steps so that whole 10 ms pieces give whole frames.
    const int limit = state().framesPerQuery > 0 ? state().framesPerQuery : static_cast<int>(rate / 100);
    int frames = 0;
    for (; frames < limit; ++frames) {
        const long long at = device.info.soundFrames * 16000;
        const std::size_t index = static_cast<std::size_t>(device.info.soundStart + at / rate);
        if (index >= sound.size())
            break;
        const double fraction = static_cast<double>(at % rate) / static_cast<double>(rate);
        const double next = index + 1 < sound.size() ? sound[index + 1] : sound[index];
        device.heard.push_back(static_cast<short>(sound[index] + fraction * (next - sound[index])));
        ++device.info.soundFrames;
    }
    device.info.available += frames;
    keepWithinBuffer(device);
}

ALCdevice* book(std::unique_ptr<Device> device, const std::string& call)
{
    record(call + " = " + device->handle);
    books().devices.push_back(std::move(device));
    return reinterpret_cast<ALCdevice*>(books().devices.back().get());
}

Device* closable(ALCdevice* handle, bool capture, Call which, const std::string& call)
{
    Device* device = liveDevice(handle, capture, call);
    const Outcome outcome = next(which);
    if (!device || outcome.fails) {
        setDeviceError(device, outcome.error);
        record(call + " = false");
        return nullptr;
    }
    return device;
}

}  // namespace internal
}  // namespace FakeOpenAl
