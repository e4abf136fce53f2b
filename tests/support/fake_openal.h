#ifndef KSR_TESTS_FAKE_OPENAL_H
#define KSR_TESTS_FAKE_OPENAL_H

// Test double of the OpenAL functions the audio code calls. A test program
// links ksr_openal_fake (through ksr_audio_on_fake_openal) in place of
// libopenal; a call the double does not define fails to link.
//
// It behaves like a small OpenAL: output devices with contexts, one current
// context, capture devices that gather frames while started, per-device ALC
// errors (a null or unknown device uses the null-device slot), per-context AL
// errors, and the answers OpenAL gives to misuse (ALC_INVALID_DEVICE for a
// null capture device, ALC_INVALID_VALUE for an unknown device name, ...).
// On top of that a test scripts what goes wrong:
//
//   FakeOpenAl::script(FakeOpenAl::Call::CaptureOpenDevice,
//                      {FakeOpenAl::fail(ALC_INVALID_VALUE), FakeOpenAl::fail(ALC_OUT_OF_MEMORY)});
//
// makes the next two capture opens fail with those codes and the third
// succeed. Device lists, default names, extensions, the output device's
// attributes, arriving frames and the capture device's connection
// (ALC_CONNECTED of ALC_EXT_disconnect) are scripted through state().
//
// Every call is recorded in a readable form ("alcCaptureStart(cap1)"), and
// every handle is kept in the double's books: openHandles() names what was
// opened or created and never closed or destroyed, misuses() every call
// that passed a handle after it was closed or destroyed and every device
// closed while one of its contexts was alive.
//
// Handles are named by kind and order of creation: output devices out1,
// out2, ..., capture devices cap1, ..., contexts ctx1, ...; a null handle is
// "null". Thread-safe: every function takes the double's lock. Like OpenAL
// Soft, though, alcGetString answers a device list or a default device name
// (null device) from a process-wide buffer that each such call rebuilds, and
// the caller reads it after the lock is released: code that asks from two
// threads at once without a lock of its own reads freed memory.

#include <AL/al.h>
#include <AL/alc.h>

#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace FakeOpenAl {

// The calls whose outcome a test can script.
enum class Call {
    OpenDevice,           // alcOpenDevice
    CloseDevice,          // alcCloseDevice
    CreateContext,        // alcCreateContext
    DestroyContext,       // alcDestroyContext
    MakeContextCurrent,   // alcMakeContextCurrent (with a context or null)
    CaptureOpenDevice,    // alcCaptureOpenDevice
    CaptureCloseDevice,   // alcCaptureCloseDevice
    CaptureStart,         // alcCaptureStart
    CaptureStop,          // alcCaptureStop
    CaptureSamples,       // alcCaptureSamples
    DistanceModel,        // alDistanceModel
    ListenerPosition,     // alListenerfv(AL_POSITION, ...)
    ListenerVelocity,     // alListenerfv(AL_VELOCITY, ...)
    ListenerOrientation,  // alListenerfv(AL_ORIENTATION, ...)
    ListenerGain,         // alListenerf(AL_GAIN, ...)
};
constexpr int kCallCount = 15;

// What one scripted call does.
struct Outcome {
    // The call gives its failure answer (null, ALC_FALSE) and changes nothing.
    bool fails = false;
    // The code the call leaves for the next alcGetError (ALC calls: on the
    // device concerned, or the null-device slot) or alGetError (AL calls: on
    // the current context); 0 leaves none.
    int error = 0;
};

inline Outcome fail(int error = 0) { return Outcome{true, error}; }
// The call does its work and still reports an error.
inline Outcome succeedWithError(int error) { return Outcome{false, error}; }
inline Outcome succeed() { return Outcome{}; }

// A capture device as the double keeps it.
struct CaptureDevice {
    std::string handle;  // "cap1", ...
    std::string name;
    unsigned frequency = 0;
    int format = 0;
    int bufferSize = 0;  // frames, as asked at opening
    bool open = false;
    bool started = false;
    bool connected = true;
    int available = 0;          // frames gathered and not yet read
    long long framesLost = 0;   // frames that arrived while the buffer was full
    long long framesRead = 0;   // frames handed out by alcCaptureSamples
    int connectedQueries = 0;   // ALC_CONNECTED queries answered so far
    long long soundStart = 0;   // where in State::sound the device began to listen
    long long soundFrames = 0;  // frames of played sound gathered since
};

struct State {
    // Enumeration. Lists answer as OpenAL does: names separated by NUL and
    // closed by an empty name.
    std::vector<std::string> outputDevices = {"Fake Speakers"};
    std::vector<std::string> allOutputDevices = {"Fake Speakers", "Fake Headphones"};
    std::vector<std::string> captureDevices = {"Fake Microphone", "Fake Line In"};
    std::string defaultOutputDevice = "Fake Speakers";
    std::string defaultCaptureDevice = "Fake Microphone";
    // alcGetString answers null for these parameters.
    std::set<int> nullStrings;
    // Extensions alcIsExtensionPresent reports (compared without case).
    std::set<std::string> extensions = {"ALC_ENUMERATION_EXT", "ALC_ENUMERATE_ALL_EXT", "ALC_EXT_CAPTURE",
                                        "ALC_EXT_disconnect"};
    // Attributes of every output device (ALC_ALL_ATTRIBUTES, closed by 0).
    std::vector<int> outputAttributes = {ALC_FREQUENCY, 44100, ALC_REFRESH, 50, ALC_SYNC, ALC_FALSE, 0};

    // Frames a capture device finds at each ALC_CAPTURE_SAMPLES query: the
    // front entry arrives (if the device is started and connected) just
    // before the query answers. Empty: nothing arrives.
    std::deque<int> arrivals;
    // A capture device keeps at most the frames asked for at opening, as
    // OpenAL does: what arrives while it is full is lost (the newest frames).
    // A positive value keeps this many instead, for an implementation that
    // holds more than it was asked to.
    int captureBufferLimit = 0;
    // ALC_CONNECTED queries a capture device answers with ALC_TRUE before it
    // reports itself disconnected, one entry per capture device in the order
    // they are opened; -1, or no entry, never disconnects. A disconnected
    // device gathers nothing more; frames it holds can still be read.
    std::deque<int> connectedQueries;

    // Stereo frames carry the sample value on the left and its negation on
    // the right (false: the same value on both).
    bool rightChannelNegated = false;

    // Played sound, for tests that recognize real audio faster than real
    // time (see play()). While `sound` is not empty, every ALC_CAPTURE_SAMPLES
    // query of a started, connected device gathers up to `framesPerQuery`
    // frames of what was played and not yet gathered, at the device's rate
    // (the 16 kHz sound interpolated; 10 ms of it are exactly 441 frames at
    // 44.1 kHz, 480 at 48 kHz), and reading hands out those values
    // instead of the counting ramp. When all of it is gathered nothing
    // more arrives: the listener's time stands still until more is played.
    std::vector<short> sound;  // 16 kHz mono, everything played so far
    int framesPerQuery = 0;  // 0: 10 ms at the device's rate

    // Scripted outcomes per call, taken front first; an empty queue succeeds.
    std::deque<Outcome> outcomes[kCallCount];
    // False keeps `calls` from growing during long runs.
    bool recordCalls = true;
    std::vector<std::string> calls;
};

// Every access to the state must hold this lock.
std::mutex& mutex();
State& state();
// Forgets every handle and restores the defaults (call at the start of each
// test). Handle names start again from 1.
void reset();

// Convenience (each takes the lock).
void script(Call call, const std::vector<Outcome>& outcomes);
std::vector<std::string> calls();
void clearCalls();
// Calls recorded so far whose text starts with `prefix`.
std::vector<std::string> callsStartingWith(const std::string& prefix);
// Handles opened or created and not closed or destroyed, e.g. {"out1", "ctx1"}.
std::vector<std::string> openHandles();
// Calls that passed a handle after it was closed or destroyed, and devices
// closed with a context still alive (OpenAL destroys it, so does the double).
std::vector<std::string> misuses();
// The current context ("ctx1", or "null").
std::string currentContext();
// Capture devices in the order they were opened (closed ones included).
std::vector<CaptureDevice> captureDevices();
// Frames arrive on the open capture device now (if it is started and
// connected); returns false if no capture device is open.
bool deliver(int frames);
// The open capture device reports itself disconnected from now on; returns
// false if no capture device is open.
bool disconnect();
// Plays 16 kHz mono samples into the capture devices (State::sound).
void play(const std::vector<short>& samples);
// Whether the open capture device has gathered and handed out everything
// played so far (true when nothing was played or no device is open).
bool soundConsumed();
// The sample value of frame `index` of a capture stream: frames are numbered
// from 0 per device, counting up and wrapping at 32768; every channel of a
// frame carries it (but see State::rightChannelNegated), 8-bit formats its
// low byte.
short sampleValue(long long index);

}  // namespace FakeOpenAl

#endif
