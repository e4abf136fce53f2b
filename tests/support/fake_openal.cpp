#include "fake_openal.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace FakeOpenAl {

namespace {

struct Context;

// One device record, output or capture. Handles given to the code are the
// records' addresses; they are looked up in the books, never dereferenced
// blindly, so a stale or foreign handle is recognised.
struct Device {
    bool capture = false;
    std::string handle;
    std::string name;
    bool open = true;
    int error = ALC_NO_ERROR;
    int connectedLimit = -1;  // capture: ALC_CONNECTED queries answered ALC_TRUE, -1 for ever
    CaptureDevice info;       // capture only
};

struct Context {
    std::string handle;
    Device* device = nullptr;
    bool alive = true;
    int error = AL_NO_ERROR;
};

struct Books {
    std::vector<std::unique_ptr<Device>> devices;
    std::vector<std::unique_ptr<Context>> contexts;
    int outputs = 0;
    int captures = 0;
    int contextCount = 0;
    int nullDeviceError = ALC_NO_ERROR;
    Context* current = nullptr;
    std::vector<std::string> misuses;
    // Answers of alcGetString, kept until the same question is asked again.
    std::map<std::pair<std::string, int>, std::string> strings;
};

Books& books()
{
    static Books b;
    return b;
}

// Records of earlier tests run in the same process are kept, never freed, so
// that no later record can take the address of a handle still held by code.
std::vector<std::unique_ptr<Device>>& retiredDevices()
{
    static std::vector<std::unique_ptr<Device>> retired;
    return retired;
}

std::vector<std::unique_ptr<Context>>& retiredContexts()
{
    static std::vector<std::unique_ptr<Context>> retired;
    return retired;
}

std::string hex(int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(value));
    return text;
}

std::string enumName(int value)
{
    static const std::map<int, const char*> names = {
        {ALC_FREQUENCY, "ALC_FREQUENCY"},
        {ALC_ATTRIBUTES_SIZE, "ALC_ATTRIBUTES_SIZE"},
        {ALC_ALL_ATTRIBUTES, "ALC_ALL_ATTRIBUTES"},
        {ALC_DEFAULT_DEVICE_SPECIFIER, "ALC_DEFAULT_DEVICE_SPECIFIER"},
        {ALC_DEVICE_SPECIFIER, "ALC_DEVICE_SPECIFIER"},
        {ALC_EXTENSIONS, "ALC_EXTENSIONS"},
        {ALC_CAPTURE_DEVICE_SPECIFIER, "ALC_CAPTURE_DEVICE_SPECIFIER"},
        {ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER, "ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER"},
        {ALC_CAPTURE_SAMPLES, "ALC_CAPTURE_SAMPLES"},
        {ALC_DEFAULT_ALL_DEVICES_SPECIFIER, "ALC_DEFAULT_ALL_DEVICES_SPECIFIER"},
        {ALC_ALL_DEVICES_SPECIFIER, "ALC_ALL_DEVICES_SPECIFIER"},
        {0x313, "ALC_CONNECTED"},
    };
    const auto it = names.find(value);
    return it == names.end() ? hex(value) : it->second;
}

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

// The device behind a handle: null for null or foreign handles; a closed
// device is found (so that its use can be named) with `stale` set.
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

// A live device of the wanted kind, or null after setting OpenAL's answer to
// an invalid device (on the device itself when it is a live device of the
// other kind, else on the null-device slot). `call` names a stale use.
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

bool equalsIgnoringCase(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

bool listed(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// NUL after every name, and the std::string's own terminator closes the list.
std::string nameList(const std::vector<std::string>& names)
{
    std::string list;
    for (const auto& name : names) {
        list += name;
        list += '\0';
    }
    return list;
}

const ALCchar* keep(const std::string& owner, int param, const std::string& text)
{
    std::string& kept = books().strings[{owner, param}];
    kept = text;
    return kept.c_str();
}

std::string joinedExtensions()
{
    std::string joined;
    for (const auto& extension : state().extensions)
        joined += (joined.empty() ? "" : " ") + extension;
    return joined;
}

Device* openCaptureDevice()
{
    for (const auto& device : books().devices)
        if (device->capture && device->open)
            return device.get();
    return nullptr;
}

void arrive(Device& device, int frames)
{
    if (device.info.started && device.info.connected && frames > 0)
        device.info.available += frames;
}

void captureAnswer(Device& device, ALCenum param, ALCint* value)
{
    if (param == ALC_CAPTURE_SAMPLES) {
        if (!state().arrivals.empty()) {
            arrive(device, state().arrivals.front());
            state().arrivals.pop_front();
        }
        *value = device.info.available;
    } else {
        if (device.info.connected && device.connectedLimit >= 0 &&
            device.info.connectedQueries >= device.connectedLimit)
            device.info.connected = false;
        ++device.info.connectedQueries;
        *value = device.info.connected ? ALC_TRUE : ALC_FALSE;
    }
}

void outputAnswer(Device& device, ALCenum param, ALCsizei size, ALCint* values)
{
    const std::vector<int>& attributes = state().outputAttributes;
    if (param == ALC_ATTRIBUTES_SIZE) {
        values[0] = static_cast<ALCint>(attributes.size());
    } else if (param == ALC_ALL_ATTRIBUTES) {
        if (static_cast<std::size_t>(size) < attributes.size()) {
            device.error = ALC_INVALID_VALUE;
            return;
        }
        std::copy(attributes.begin(), attributes.end(), values);
    } else if (param == ALC_FREQUENCY) {
        values[0] = 0;
        for (std::size_t i = 0; i + 1 < attributes.size(); i += 2)
            if (attributes[i] == ALC_FREQUENCY)
                values[0] = attributes[i + 1];
    } else {
        values[0] = ALC_TRUE;  // ALC_CONNECTED: output devices never go away
    }
}

// Books a new device and answers its handle.
ALCdevice* book(std::unique_ptr<Device> device, const std::string& call)
{
    record(call + " = " + device->handle);
    books().devices.push_back(std::move(device));
    return reinterpret_cast<ALCdevice*>(books().devices.back().get());
}

// The device a close call closes, or null after its failure answer.
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

}  // namespace

std::mutex& mutex()
{
    static std::mutex m;
    return m;
}

State& state()
{
    static State s;
    return s;
}

void reset()
{
    std::lock_guard<std::mutex> lock(mutex());
    state() = State();
    Books& b = books();
    for (auto& device : b.devices)
        retiredDevices().push_back(std::move(device));
    for (auto& context : b.contexts)
        retiredContexts().push_back(std::move(context));
    b = Books();
}

void script(Call call, const std::vector<Outcome>& outcomes)
{
    std::lock_guard<std::mutex> lock(mutex());
    std::deque<Outcome>& queue = state().outcomes[static_cast<int>(call)];
    queue.insert(queue.end(), outcomes.begin(), outcomes.end());
}

std::vector<std::string> calls()
{
    std::lock_guard<std::mutex> lock(mutex());
    return state().calls;
}

void clearCalls()
{
    std::lock_guard<std::mutex> lock(mutex());
    state().calls.clear();
}

std::vector<std::string> callsStartingWith(const std::string& prefix)
{
    std::lock_guard<std::mutex> lock(mutex());
    std::vector<std::string> found;
    for (const auto& call : state().calls)
        if (call.compare(0, prefix.size(), prefix) == 0)
            found.push_back(call);
    return found;
}

std::vector<std::string> openHandles()
{
    std::lock_guard<std::mutex> lock(mutex());
    std::vector<std::string> open;
    for (const auto& device : books().devices)
        if (device->open)
            open.push_back(device->handle);
    for (const auto& context : books().contexts)
        if (context->alive)
            open.push_back(context->handle);
    return open;
}

std::vector<std::string> misuses()
{
    std::lock_guard<std::mutex> lock(mutex());
    return books().misuses;
}

std::string currentContext()
{
    std::lock_guard<std::mutex> lock(mutex());
    return books().current ? books().current->handle : "null";
}

std::vector<CaptureDevice> captureDevices()
{
    std::lock_guard<std::mutex> lock(mutex());
    std::vector<CaptureDevice> devices;
    for (const auto& device : books().devices)
        if (device->capture)
            devices.push_back(device->info);
    return devices;
}

bool deliver(int frames)
{
    std::lock_guard<std::mutex> lock(mutex());
    Device* device = openCaptureDevice();
    if (!device)
        return false;
    arrive(*device, frames);
    return true;
}

bool disconnect()
{
    std::lock_guard<std::mutex> lock(mutex());
    Device* device = openCaptureDevice();
    if (!device)
        return false;
    device->info.connected = false;
    return true;
}

short sampleValue(long long index) { return static_cast<short>(index % 32768); }

}  // namespace FakeOpenAl

using namespace FakeOpenAl;

// --- ALC: devices and contexts ----------------------------------------------

ALCdevice* alcOpenDevice(const ALCchar* devicename)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcOpenDevice(" + quoted(devicename) + ")";
    const Outcome outcome = next(Call::OpenDevice);
    const State& s = state();
    const std::string name = devicename ? devicename : s.defaultOutputDevice;
    if (outcome.fails || (!listed(s.outputDevices, name) && !listed(s.allOutputDevices, name))) {
        books().nullDeviceError = outcome.fails ? outcome.error : ALC_INVALID_VALUE;
        record(call + " = null");
        return nullptr;
    }
    auto device = std::make_unique<Device>();
    device->handle = "out" + std::to_string(++books().outputs);
    device->name = name;
    device->error = outcome.error;
    return book(std::move(device), call);
}

ALCboolean alcCloseDevice(ALCdevice* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCloseDevice(" + deviceName(handle) + ")";
    Device* device = closable(handle, false, Call::CloseDevice, call);
    if (!device)
        return ALC_FALSE;
    // OpenAL destroys what the code left alive, and so does the double; it is
    // still a mistake of the code's.
    for (const auto& context : books().contexts) {
        if (context->alive && context->device == device) {
            books().misuses.push_back(call + " while " + context->handle + " was alive");
            context->alive = false;
            if (books().current == context.get())
                books().current = nullptr;
        }
    }
    device->open = false;
    record(call + " = true");
    return ALC_TRUE;
}

ALCcontext* alcCreateContext(ALCdevice* handle, const ALCint*)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcCreateContext(" + deviceName(handle) + ")";
    Device* device = liveDevice(handle, false, call);
    const Outcome outcome = next(Call::CreateContext);
    if (!device || outcome.fails) {
        setDeviceError(device, outcome.error);
        record(call + " = null");
        return nullptr;
    }
    auto context = std::make_unique<Context>();
    context->handle = "ctx" + std::to_string(++books().contextCount);
    context->device = device;
    setDeviceError(device, outcome.error);
    record(call + " = " + context->handle);
    books().contexts.push_back(std::move(context));
    return reinterpret_cast<ALCcontext*>(books().contexts.back().get());
}

void alcDestroyContext(ALCcontext* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcDestroyContext(" + contextName(handle) + ")";
    record(call);
    Context* context = liveContext(handle, call);
    const Outcome outcome = next(Call::DestroyContext);
    if (!context)
        return;
    setDeviceError(context->device, outcome.error);
    if (outcome.fails)
        return;
    context->alive = false;
    // As OpenAL does, a destroyed current context is no longer current.
    if (books().current == context)
        books().current = nullptr;
}

ALCboolean alcMakeContextCurrent(ALCcontext* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcMakeContextCurrent(" + contextName(handle) + ")";
    const Outcome outcome = next(Call::MakeContextCurrent);
    Context* context = nullptr;
    if (handle) {
        context = liveContext(handle, call);
        if (!context) {
            record(call + " = false");
            return ALC_FALSE;
        }
    }
    setDeviceError(context ? context->device : nullptr, outcome.error);
    if (outcome.fails) {
        record(call + " = false");
        return ALC_FALSE;
    }
    books().current = context;
    record(call + " = true");
    return ALC_TRUE;
}

ALCcontext* alcGetCurrentContext(void)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    record("alcGetCurrentContext() = " + (books().current ? books().current->handle : std::string("null")));
    return reinterpret_cast<ALCcontext*>(books().current);
}

ALCenum alcGetError(ALCdevice* handle)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    bool stale = false;
    Device* device = findDevice(handle, &stale);
    const std::string call = "alcGetError(" + deviceName(handle) + ")";
    if (stale)
        books().misuses.push_back(call + " after " + device->handle + " was closed");
    int& slot = device && !stale ? device->error : books().nullDeviceError;
    const int error = slot;
    slot = ALC_NO_ERROR;
    record(call + " = " + hex(error));
    return error;
}

// --- ALC: queries -------------------------------------------------------------

ALCboolean alcIsExtensionPresent(ALCdevice* handle, const ALCchar* extname)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call =
        "alcIsExtensionPresent(" + deviceName(handle) + ", " + (extname ? extname : "null") + ")";
    bool present = false;
    if (!extname) {
        books().nullDeviceError = ALC_INVALID_VALUE;
    } else {
        for (const auto& extension : state().extensions)
            present = present || equalsIgnoringCase(extension, extname);
    }
    record(call + " = " + (present ? "true" : "false"));
    return present ? ALC_TRUE : ALC_FALSE;
}

const ALCchar* alcGetString(ALCdevice* handle, ALCenum param)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcGetString(" + deviceName(handle) + ", " + enumName(param) + ")";
    record(call);
    const State& s = state();
    if (s.nullStrings.count(param))
        return nullptr;
    if (param == ALC_EXTENSIONS)
        return keep("", param, joinedExtensions());
    if (handle) {
        bool stale = false;
        Device* device = findDevice(handle, &stale);
        if (!device || stale) {
            liveDevice(handle, false, call);
            return nullptr;
        }
        const bool nameAsked = device->capture ? param == ALC_CAPTURE_DEVICE_SPECIFIER
                                               : param == ALC_DEVICE_SPECIFIER || param == ALC_ALL_DEVICES_SPECIFIER;
        if (!nameAsked) {
            device->error = ALC_INVALID_ENUM;
            return nullptr;
        }
        return keep(device->handle, param, device->name);
    }
    switch (param) {
    case ALC_DEVICE_SPECIFIER: return keep("", param, nameList(s.outputDevices));
    case ALC_ALL_DEVICES_SPECIFIER: return keep("", param, nameList(s.allOutputDevices));
    case ALC_CAPTURE_DEVICE_SPECIFIER: return keep("", param, nameList(s.captureDevices));
    case ALC_DEFAULT_DEVICE_SPECIFIER:
    case ALC_DEFAULT_ALL_DEVICES_SPECIFIER: return keep("", param, s.defaultOutputDevice);
    case ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER: return keep("", param, s.defaultCaptureDevice);
    default: books().nullDeviceError = ALC_INVALID_ENUM; return nullptr;
    }
}

void alcGetIntegerv(ALCdevice* handle, ALCenum param, ALCsizei size, ALCint* values)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    const std::string call = "alcGetIntegerv(" + deviceName(handle) + ", " + enumName(param) + ")";
    if (!values || size <= 0) {
        books().nullDeviceError = ALC_INVALID_VALUE;
        record(call);
        return;
    }
    bool stale = false;
    Device* device = findDevice(handle, &stale);
    if (!device || stale) {
        liveDevice(handle, false, call);
        record(call);
        return;
    }
    const bool known = device->capture ? param == ALC_CAPTURE_SAMPLES || param == 0x313
                                       : param == ALC_ATTRIBUTES_SIZE || param == ALC_ALL_ATTRIBUTES ||
                                             param == ALC_FREQUENCY || param == 0x313;
    if (!known) {
        device->error = ALC_INVALID_ENUM;
        record(call);
        return;
    }
    if (device->capture)
        captureAnswer(*device, param, values);
    else
        outputAnswer(*device, param, size, values);
    record(call + " = " + std::to_string(values[0]));
}

// --- ALC: capture ---------------------------------------------------------------

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
        const short value = sampleValue(device->info.framesRead + frame);
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

// --- AL: the listener, on the current context --------------------------------------

void alDistanceModel(ALenum distanceModel)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    record("alDistanceModel(" + std::string(distanceModel == AL_LINEAR_DISTANCE_CLAMPED ? "AL_LINEAR_DISTANCE_CLAMPED"
                                                                                         : hex(distanceModel)) +
           ")" + currentSuffix());
    const Outcome outcome = next(Call::DistanceModel);
    setContextError(outcome.error);
}

void alListenerfv(ALenum param, const ALfloat* values)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    Call call;
    const char* name;
    int count;
    switch (param) {
    case AL_POSITION: call = Call::ListenerPosition; name = "AL_POSITION"; count = 3; break;
    case AL_VELOCITY: call = Call::ListenerVelocity; name = "AL_VELOCITY"; count = 3; break;
    case AL_ORIENTATION: call = Call::ListenerOrientation; name = "AL_ORIENTATION"; count = 6; break;
    default:
        record("alListenerfv(" + hex(param) + ")" + currentSuffix());
        setContextError(AL_INVALID_ENUM);
        return;
    }
    std::string text = std::string("alListenerfv(") + name;
    for (int i = 0; values && i < count; ++i) {
        char number[32];
        std::snprintf(number, sizeof number, " %g", static_cast<double>(values[i]));
        text += number;
    }
    record(text + ")" + currentSuffix());
    const Outcome outcome = next(call);
    if (!values)
        setContextError(AL_INVALID_VALUE);
    setContextError(outcome.error);
}

void alListenerf(ALenum param, ALfloat value)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    char number[32];
    std::snprintf(number, sizeof number, "%g", static_cast<double>(value));
    if (param != AL_GAIN) {
        record("alListenerf(" + hex(param) + ", " + number + ")" + currentSuffix());
        setContextError(AL_INVALID_ENUM);
        return;
    }
    record(std::string("alListenerf(AL_GAIN, ") + number + ")" + currentSuffix());
    const Outcome outcome = next(Call::ListenerGain);
    if (value < 0.0f)
        setContextError(AL_INVALID_VALUE);
    setContextError(outcome.error);
}

ALenum alGetError(void)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    // Without a current context OpenAL answers AL_INVALID_OPERATION.
    int error = AL_INVALID_OPERATION;
    if (books().current) {
        error = books().current->error;
        books().current->error = AL_NO_ERROR;
    }
    record("alGetError() = " + hex(error) + currentSuffix());
    return error;
}
