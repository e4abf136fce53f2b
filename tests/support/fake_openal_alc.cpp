// The OpenAL test double: ALC devices, contexts and queries.
#include <AL/alext.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>

#include "fake_openal_books.h"

using namespace FakeOpenAl;
using namespace FakeOpenAl::internal;

namespace {

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
        {ALC_CONNECTED, "ALC_CONNECTED"},
    };
    const auto it = names.find(value);
    return it == names.end() ? hex(value) : it->second;
}

bool equalsIgnoringCase(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
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

// OpenAL Soft keeps each device list and default name in one process-wide
// string, rebuilt by every alcGetString that asks for it, and hands the
// caller a pointer to it after releasing its own lock: a reader in another
// thread may still be copying the previous answer while it is emptied,
// rewritten or freed. The double does the same: it empties the previous
// answer and replaces it by a fresh allocation, so that a caller that does
// not serialize these queries reads cut names in any build, and freed memory
// that AddressSanitizer and ThreadSanitizer report. The buffers live for the
// whole process, across reset(), as OpenAL's do.
const ALCchar* rebuildEnumeration(int param, const std::string& text)
{
    static std::map<int, std::vector<char>>& answers = *new std::map<int, std::vector<char>>;
    std::vector<char>& answer = answers[param];
    // Lists hold NULs of their own; the std::string's terminator closes them.
    std::vector<char> rebuilt(text.c_str(), text.c_str() + text.size() + 1);
    std::fill(answer.begin(), answer.end(), '\0');
    answer = std::move(rebuilt);
    return answer.data();
}

std::string joinedExtensions()
{
    std::string joined;
    for (const auto& extension : state().extensions)
        joined += (joined.empty() ? "" : " ") + extension;
    return joined;
}

void captureAnswer(Device& device, ALCenum param, ALCint* value)
{
    if (param == ALC_CAPTURE_SAMPLES) {
        if (!state().arrivals.empty()) {
            arrive(device, state().arrivals.front());
            state().arrivals.pop_front();
        }
        gatherSound(device);
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

}  // namespace

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

namespace {

// alcGetString's answer, under the double's lock.
const ALCchar* stringAnswer(ALCdevice* handle, ALCenum param)
{
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
    case ALC_DEVICE_SPECIFIER: return rebuildEnumeration(param, nameList(s.outputDevices));
    case ALC_ALL_DEVICES_SPECIFIER: return rebuildEnumeration(param, nameList(s.allOutputDevices));
    case ALC_CAPTURE_DEVICE_SPECIFIER: return rebuildEnumeration(param, nameList(s.captureDevices));
    case ALC_DEFAULT_DEVICE_SPECIFIER:
    case ALC_DEFAULT_ALL_DEVICES_SPECIFIER: return rebuildEnumeration(param, s.defaultOutputDevice);
    case ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER: return rebuildEnumeration(param, s.defaultCaptureDevice);
    default: books().nullDeviceError = ALC_INVALID_ENUM; return nullptr;
    }
}

}  // namespace

const ALCchar* alcGetString(ALCdevice* handle, ALCenum param)
{
    const ALCchar* answer;
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        answer = stringAnswer(handle, param);
    }
    // Read by the caller with the lock released, as OpenAL Soft's answers are.
    return answer;
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
    const bool known = device->capture ? param == ALC_CAPTURE_SAMPLES || param == ALC_CONNECTED
                                       : param == ALC_ATTRIBUTES_SIZE || param == ALC_ALL_ATTRIBUTES ||
                                             param == ALC_FREQUENCY || param == ALC_CONNECTED;
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
