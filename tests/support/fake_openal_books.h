#ifndef KSR_TESTS_FAKE_OPENAL_BOOKS_H
#define KSR_TESTS_FAKE_OPENAL_BOOKS_H

// Inside the OpenAL test double: the records behind the handles it gives out
// and the helpers its functions share. Every function here expects the
// double's lock (FakeOpenAl::mutex()) to be held.

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fake_openal.h"

namespace FakeOpenAl {
namespace internal {

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
    std::deque<short> heard;  // capture: frames of played sound gathered and not yet read
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
    // Answers of alcGetString about a device, and the extension string, kept
    // until the same question is asked again (device lists and default names
    // have process-wide buffers of their own, see fake_openal_alc.cpp).
    std::map<std::pair<std::string, int>, std::string> strings;
};

Books& books();
// Adds the call to State::calls (unless recording is off).
void record(const std::string& call);
// The call's next scripted outcome; success when none is left.
Outcome next(Call call);
// "\"name\"", or "null".
std::string quoted(const ALCchar* text);
// The device behind a handle: null for null or foreign handles; a closed
// device is found (so that its use can be named) with `stale` set.
Device* findDevice(const ALCdevice* handle, bool* stale);
std::string deviceName(const ALCdevice* handle);
// A live device of the wanted kind, or null after setting OpenAL's answer to
// an invalid device (on the device itself when it is a live device of the
// other kind, else on the null-device slot). `call` names a stale use.
Device* liveDevice(const ALCdevice* handle, bool capture, const std::string& call);
// The same for contexts; an unknown or destroyed one sets ALC_INVALID_CONTEXT.
Context* findContext(const ALCcontext* handle, bool* stale);
Context* liveContext(const ALCcontext* handle, const std::string& call);
std::string contextName(const ALCcontext* handle);
// A non-zero error goes on the device, or on the null-device slot.
void setDeviceError(Device* device, int error);
// A non-zero error goes on the current context, if there is one.
void setContextError(int error);
// " @ctx1": the context an AL call acted on.
std::string currentSuffix();
std::string hex(int value);
int frameBytes(int format);
bool listed(const std::vector<std::string>& names, const std::string& name);
// The capture device that is open now, or null.
Device* openCaptureDevice();
// Frames arrive on a device that is started and connected.
void arrive(Device& device, int frames);
// Played sound arrives on a started, connected capture device (State::sound).
void gatherSound(Device& device);
// Books a new device and answers its handle.
ALCdevice* book(std::unique_ptr<Device> device, const std::string& call);
// The device a close call closes, or null after its failure answer.
Device* closable(ALCdevice* handle, bool capture, Call which, const std::string& call);

}  // namespace internal
}  // namespace FakeOpenAl

#endif
