// AudioDevice on the OpenAL test double: every OpenAL failure the capture
// code handles, with the exact line it writes, the value it returns and the
// handles it leaves behind. Every test ends with the double's books clean:
// each device opened is closed, each context created is destroyed, and no
// call used a handle after its end.

#include <gtest/gtest.h>

#include <AL/al.h>
#include <AL/alc.h>

extern "C" {
#include <libavutil/error.h>
}

#include <list>
#include <string>
#include <vector>

#include "audio/audio_device.h"
#include "fake_openal_fixture.h"
#include "swr_init_fault.h"

using FakeOpenAl::Call;

namespace {

class AudioOpenAlFailures : public AudioOnFakeOpenAl {};

}  // namespace

// --- construction -------------------------------------------------------------------

TEST_F(AudioOpenAlFailures, WithoutDefaultOutputDeviceConstructionLogsAndCaptureStillWorks)
{
    FakeOpenAl::script(Call::OpenDevice, {FakeOpenAl::fail(ALC_INVALID_VALUE)});
    EXPECT_EQ(build(), "Could not find a default device: a004\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCreateContext"), Strings{});
    EXPECT_EQ(device->currentDevice(), nullptr);
    EXPECT_EQ(device->frequency(false), 44100);
    // Enumeration and capture need no output device.
    EXPECT_EQ(device->availableCaptureDevices(), (std::list<std::string>{"Fake Microphone", "Fake Line In"}));
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->startCapture()); }), "");
    EXPECT_TRUE(device->isCapturing());
    EXPECT_EQ(destroy(), "");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCloseDevice"), Strings{});
}

TEST_F(AudioOpenAlFailures, OutputDeviceOpenedWithAnErrorIsClosedAgain)
{
    FakeOpenAl::script(Call::OpenDevice, {FakeOpenAl::succeedWithError(ALC_OUT_OF_MEMORY)});
    EXPECT_EQ(build(), "Could not find a default device: a005\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCloseDevice"), Strings{"alcCloseDevice(out1) = true"});
    EXPECT_EQ(FakeOpenAl::openHandles(), Strings{});
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCreateContext"), Strings{});
    EXPECT_EQ(destroy(), "");
    // Closed once only.
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCloseDevice").size(), 1u);
}

TEST_F(AudioOpenAlFailures, NoOutputDeviceAndNoErrorCodeLogsZero)
{
    FakeOpenAl::script(Call::OpenDevice, {FakeOpenAl::fail(ALC_NO_ERROR)});
    EXPECT_EQ(build(), "Could not find a default device: 0\n");
}

TEST_F(AudioOpenAlFailures, RefusedContextEndsTheSetUpAndTheDeviceIsClosedAtTeardown)
{
    modify([](FakeOpenAl::State& s) { s.outputAttributes = {ALC_FREQUENCY, 48000, 0}; });
    FakeOpenAl::script(Call::CreateContext, {FakeOpenAl::fail(ALC_INVALID_DEVICE)});
    EXPECT_EQ(build(), "Could not create audio context!\n");
    // Nothing after the context: no attributes read, no listener, nothing made current.
    EXPECT_EQ(device->frequency(false), 44100);
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcGetIntegerv"), Strings{});
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alListener"), Strings{});
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcMakeContextCurrent"), Strings{});
    EXPECT_EQ(device->currentDevice(), nullptr);
    EXPECT_EQ(FakeOpenAl::openHandles(), Strings{"out1"});
    EXPECT_EQ(destroy(), "");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcDestroyContext"), Strings{});
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCloseDevice"), Strings{"alcCloseDevice(out1) = true"});
}

TEST_F(AudioOpenAlFailures, ListenerIsSetOnTheNewContext)
{
    EXPECT_EQ(build(), "");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alListener"),
              (Strings{"alListenerfv(AL_POSITION 0 0 0) @ctx1", "alListenerfv(AL_VELOCITY 0 0 0) @ctx1",
                       "alListenerfv(AL_ORIENTATION 0 1 0 0 0 1) @ctx1", "alListenerf(AL_GAIN, 1) @ctx1"}));
    EXPECT_EQ(device->currentDevice(), device.get());
    EXPECT_EQ(FakeOpenAl::currentContext(), "ctx1");
}

namespace {

struct ListenerCase {
    Call call;
    const char* line;
};

std::ostream& operator<<(std::ostream& out, const ListenerCase& c) { return out << c.line; }

class ListenerFailure : public AudioOpenAlFailures, public testing::WithParamInterface<ListenerCase> {};

}  // namespace

TEST_P(ListenerFailure, LogsItsLineAndTheSetUpGoesOn)
{
    FakeOpenAl::script(GetParam().call, {FakeOpenAl::succeedWithError(AL_INVALID_VALUE)});
    EXPECT_EQ(build(), GetParam().line);
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alListener").size(), 4u);
    EXPECT_EQ(device->currentDevice(), device.get());
}

INSTANTIATE_TEST_SUITE_P(
    EachSetting, ListenerFailure,
    testing::Values(ListenerCase{Call::ListenerPosition, "Could not set Listener's position: a003\n"},
                    ListenerCase{Call::ListenerVelocity, "Could not set Listener's velocity: a003\n"},
                    ListenerCase{Call::ListenerOrientation, "Could not set Listener's orientation: a003\n"},
                    ListenerCase{Call::ListenerGain, "Could not set Listener's gain value: a003\n"}));

TEST_F(AudioOpenAlFailures, EveryListenerSettingFailingLogsFourLinesInOrder)
{
    FakeOpenAl::script(Call::ListenerPosition, {FakeOpenAl::succeedWithError(AL_INVALID_ENUM)});
    FakeOpenAl::script(Call::ListenerVelocity, {FakeOpenAl::succeedWithError(AL_INVALID_VALUE)});
    FakeOpenAl::script(Call::ListenerOrientation, {FakeOpenAl::succeedWithError(AL_INVALID_OPERATION)});
    FakeOpenAl::script(Call::ListenerGain, {FakeOpenAl::succeedWithError(AL_OUT_OF_MEMORY)});
    EXPECT_EQ(build(),
              "Could not set Listener's position: a002\n"
              "Could not set Listener's velocity: a003\n"
              "Could not set Listener's orientation: a004\n"
              "Could not set Listener's gain value: a005\n");
}

TEST_F(AudioOpenAlFailures, ContextRefusingToBecomeCurrentOnceIsMadeCurrentForTheListener)
{
    FakeOpenAl::script(Call::MakeContextCurrent, {FakeOpenAl::fail(ALC_INVALID_CONTEXT)});
    EXPECT_EQ(build(), "Could not make current context: a002\n");
    // The listener set-up makes the context current before its first call.
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcMakeContextCurrent"),
              (Strings{"alcMakeContextCurrent(ctx1) = false", "alcMakeContextCurrent(ctx1) = true"}));
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alListenerfv(AL_POSITION"),
              Strings{"alListenerfv(AL_POSITION 0 0 0) @ctx1"});
    EXPECT_EQ(device->currentDevice(), device.get());
}

TEST_F(AudioOpenAlFailures, ContextNeverBecomingCurrentLeavesTheListenerUnset)
{
    FakeOpenAl::script(Call::MakeContextCurrent,
                       std::vector<FakeOpenAl::Outcome>(5, FakeOpenAl::fail(ALC_INVALID_CONTEXT)));
    // Each listener call tries once more to make the context current; without
    // a current context each setting reports AL_INVALID_OPERATION.
    EXPECT_EQ(build(),
              "Could not make current context: a002\n"
              "Could not make current context: a002\n"
              "Could not set Listener's position: a004\n"
              "Could not make current context: a002\n"
              "Could not set Listener's velocity: a004\n"
              "Could not make current context: a002\n"
              "Could not set Listener's orientation: a004\n"
              "Could not make current context: a002\n"
              "Could not set Listener's gain value: a004\n");
    EXPECT_EQ(device->currentDevice(), nullptr);
    // Not current: teardown does not unset it.
    EXPECT_EQ(destroy(), "");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcMakeContextCurrent(null)"), Strings{});
}

TEST_F(AudioOpenAlFailures, MakeCurrentReturnsWhatOpenAlAnsweredAndLogsItsError)
{
    build();
    ASSERT_TRUE(device->makeCurrent(nullptr));
    FakeOpenAl::script(Call::MakeContextCurrent,
                       {FakeOpenAl::fail(ALC_INVALID_CONTEXT), FakeOpenAl::succeedWithError(ALC_INVALID_VALUE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->makeCurrent(device.get())); }),
              "Could not make current context: a002\n");
    EXPECT_EQ(FakeOpenAl::currentContext(), "null");
    // Made current, and the error OpenAL still reports is logged.
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->makeCurrent(device.get())); }),
              "Could not make current context: a004\n");
    EXPECT_EQ(FakeOpenAl::currentContext(), "ctx1");
}

TEST_F(AudioOpenAlFailures, UnsetThatFailsLogsAndReturnsFalse)
{
    build();
    FakeOpenAl::script(Call::MakeContextCurrent, {FakeOpenAl::fail(ALC_INVALID_VALUE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->makeCurrent(nullptr)); }), "Could not unset current context\n");
    EXPECT_EQ(FakeOpenAl::currentContext(), "ctx1");
    EXPECT_EQ(device->currentDevice(), device.get());
}

TEST_F(AudioOpenAlFailures, UnsetFailingAtTeardownStillDestroysContextAndDevice)
{
    build();
    FakeOpenAl::script(Call::MakeContextCurrent, {FakeOpenAl::fail(ALC_INVALID_VALUE)});
    EXPECT_EQ(destroy(), "Could not unset current context\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcDestroyContext"), Strings{"alcDestroyContext(ctx1)"});
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCloseDevice"), Strings{"alcCloseDevice(out1) = true"});
}

TEST_F(AudioOpenAlFailures, TeardownUnsetsDestroysAndClosesInThatOrder)
{
    build();
    FakeOpenAl::clearCalls();
    EXPECT_EQ(destroy(), "");
    const Strings calls = FakeOpenAl::calls();
    const Strings changes = {"alcMakeContextCurrent(null) = true", "alcDestroyContext(ctx1)",
                             "alcCloseDevice(out1) = true"};
    Strings seen;
    for (const auto& call : calls)
        for (const auto& change : changes)
            if (call == change)
                seen.push_back(call);
    EXPECT_EQ(seen, changes);
}

// --- opening and starting capture ---------------------------------------------------

TEST_F(AudioOpenAlFailures, CaptureOpenRefusedLogsItsCodeAndLeavesNothingOpen)
{
    build();
    FakeOpenAl::script(Call::CaptureOpenDevice, {FakeOpenAl::fail(ALC_OUT_OF_MEMORY)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not open capturing device: a005\n");
    EXPECT_FALSE(device->isCapturing());
    EXPECT_TRUE(captures().empty());
    EXPECT_EQ(written([&] { EXPECT_EQ(device->readSamples(), nullptr); }),
              "Capture device became NULL while getting audio data\n");
}

TEST_F(AudioOpenAlFailures, CaptureDeviceOpenedWithAnErrorIsClosedAgain)
{
    build();
    FakeOpenAl::script(Call::CaptureOpenDevice, {FakeOpenAl::succeedWithError(ALC_INVALID_VALUE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not open capturing device: a004\n");
    EXPECT_FALSE(device->isCapturing());
    ASSERT_EQ(captures().size(), 1u);
    EXPECT_FALSE(captures()[0].open);
}

TEST_F(AudioOpenAlFailures, UnknownCaptureDeviceNameFailsToOpen)
{
    build();
    ASSERT_TRUE(device->setCaptureDeviceName("Unplugged Headset"));
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not open capturing device: a004\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCaptureOpenDevice"),
              Strings{"alcCaptureOpenDevice(\"Unplugged Headset\", 44100, AL_FORMAT_MONO16, 22050) = null"});
}

TEST_F(AudioOpenAlFailures, CaptureOpenFailuresThatLaterSucceed)
{
    build();
    FakeOpenAl::script(Call::CaptureOpenDevice,
                       {FakeOpenAl::fail(ALC_INVALID_VALUE), FakeOpenAl::fail(ALC_OUT_OF_MEMORY)});
    device->setResampling(true);
    device->setFrequency(true, 16000);
    EXPECT_EQ(written([&] {
                  EXPECT_FALSE(device->startCapture());
                  EXPECT_FALSE(device->startCapture());
                  EXPECT_TRUE(device->startCapture());
              }),
              "Could not open capturing device: a004\n"
              "Could not open capturing device: a005\n");
    EXPECT_TRUE(device->isCapturing());
    ASSERT_EQ(captures().size(), 1u);
    EXPECT_TRUE(captures()[0].started);
    ASSERT_TRUE(FakeOpenAl::deliver(4410));
    EXPECT_NE(device->readSamples(), nullptr);
    EXPECT_GT(device->readBytes(), 0u);
}

TEST_F(AudioOpenAlFailures, StartRefusedLogsItsCodeAndKeepsTheOpenDeviceForStop)
{
    build();
    FakeOpenAl::script(Call::CaptureStart, {FakeOpenAl::fail(ALC_INVALID_DEVICE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not start capturing device: a001\n");
    // The device stays held, so a stop or the teardown closes it.
    EXPECT_TRUE(device->isCapturing());
    ASSERT_EQ(captures().size(), 1u);
    EXPECT_TRUE(captures()[0].open);
    EXPECT_FALSE(captures()[0].started);
    // Nothing arrives on a device that never started.
    ASSERT_TRUE(FakeOpenAl::deliver(100));
    EXPECT_EQ(captures()[0].available, 0);
    EXPECT_EQ(written([&] { EXPECT_EQ(device->readSamples(), nullptr); }), "");
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->stopCapture()); }), "");
    EXPECT_FALSE(captures()[0].open);
}

TEST_F(AudioOpenAlFailures, StartRefusedThenTeardownClosesTheDevice)
{
    build();
    FakeOpenAl::script(Call::CaptureStart, {FakeOpenAl::succeedWithError(ALC_INVALID_VALUE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not start capturing device: a004\n");
    EXPECT_EQ(destroy(), "");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCaptureCloseDevice"), Strings{"alcCaptureCloseDevice(cap1) = true"});
}

TEST_F(AudioOpenAlFailures, ResamplerRefusedAbortsBeforeOpeningTheDevice)
{
    build();
    device->setResampling(true);
    device->setFrequency(true, 16000);
    SwrInitFault::failNext(1, AVERROR(EINVAL));
    const int before = SwrInitFault::calls();
    // The line has no line feed of its own.
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not initialize resampler: Aborting!");
    EXPECT_EQ(SwrInitFault::calls(), before + 1);
    EXPECT_FALSE(device->isCapturing());
    EXPECT_TRUE(captures().empty());
    // The next start builds a fresh resampler and captures.
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->startCapture()); }), "");
    EXPECT_EQ(SwrInitFault::calls(), before + 2);
    ASSERT_TRUE(FakeOpenAl::deliver(441));
    EXPECT_NE(device->readSamples(), nullptr);
}

// --- stopping and closing -----------------------------------------------------------

namespace {

class Capturing : public CapturingOnFakeOpenAl {};

}  // namespace

TEST_F(Capturing, StopRefusedLogsItsCodeAndKeepsCapturing)
{
    FakeOpenAl::script(Call::CaptureStop, {FakeOpenAl::fail(ALC_INVALID_DEVICE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->stopCapture()); }), "Could not stop capturing device: a001\n");
    EXPECT_TRUE(device->isCapturing());
    EXPECT_TRUE(captures()[0].open);
    // The buffers are kept: reading goes on.
    ASSERT_TRUE(FakeOpenAl::deliver(10));
    EXPECT_NE(device->readSamples(), nullptr);
    EXPECT_EQ(device->readBytes(), 20u);
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->stopCapture()); }), "");
    EXPECT_FALSE(device->isCapturing());
}

TEST_F(Capturing, StopRefusedKeepsTheOldNameAndDevice)
{
    FakeOpenAl::script(Call::CaptureStop, {FakeOpenAl::succeedWithError(ALC_INVALID_VALUE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->setCaptureDeviceName("Fake Line In")); }),
              "Could not stop capturing device: a004\n");
    EXPECT_EQ(device->captureDeviceName(), "");
    EXPECT_TRUE(device->isCapturing());
    EXPECT_EQ(captures().size(), 1u);
}

TEST_F(Capturing, RestartWhoseStopIsRefusedOpensNothingNew)
{
    FakeOpenAl::script(Call::CaptureStop, {FakeOpenAl::fail(ALC_INVALID_DEVICE)});
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->startCapture()); }), "Could not stop capturing device: a001\n");
    EXPECT_TRUE(device->isCapturing());
    ASSERT_EQ(captures().size(), 1u);
    EXPECT_TRUE(captures()[0].open);
}

TEST_F(Capturing, StopRefusedAtTeardownStillClosesTheDevice)
{
    FakeOpenAl::script(Call::CaptureStop, {FakeOpenAl::fail(ALC_INVALID_DEVICE)});
    EXPECT_EQ(destroy(), "Could not stop capturing device: a001\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCaptureCloseDevice"), Strings{"alcCaptureCloseDevice(cap1) = true"});
}

TEST_F(Capturing, CloseRefusedLogsZeroAndKeepsTheDevice)
{
    FakeOpenAl::script(Call::CaptureCloseDevice, {FakeOpenAl::fail()});
    // The line carries 0: OpenAL's error is not read here.
    EXPECT_EQ(written([&] { EXPECT_FALSE(device->stopCapture()); }), "Could not close capturing device: 0\n");
    EXPECT_TRUE(device->isCapturing());
    EXPECT_TRUE(captures()[0].open);
    EXPECT_FALSE(captures()[0].started);
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->stopCapture()); }), "");
    EXPECT_FALSE(captures()[0].open);
}

TEST_F(Capturing, CloseRefusedAtTeardownIsTriedOnceMore)
{
    FakeOpenAl::script(Call::CaptureCloseDevice, {FakeOpenAl::fail()});
    EXPECT_EQ(destroy(), "Could not close capturing device: 0\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCaptureCloseDevice"),
              (Strings{"alcCaptureCloseDevice(cap1) = false", "alcCaptureCloseDevice(cap1) = true"}));
}

TEST_F(Capturing, ReadAfterStopLogsAndKeepsThePreviousSize)
{
    ASSERT_TRUE(FakeOpenAl::deliver(300));
    ASSERT_NE(device->readSamples(), nullptr);
    ASSERT_TRUE(device->stopCapture());
    EXPECT_EQ(written([&] { EXPECT_EQ(device->readSamples(), nullptr); }),
              "Capture device became NULL while getting audio data\n");
    EXPECT_EQ(device->readBytes(), 600u);
}

// --- enumeration ----------------------------------------------------------------------------

TEST_F(AudioOpenAlFailures, EnumerationListsEveryCaptureDeviceInOrder)
{
    build();
    modify([](FakeOpenAl::State& s) { s.captureDevices = {"A", "B", "C"}; s.defaultCaptureDevice = "B"; });
    EXPECT_EQ(written([&] {
                  EXPECT_EQ(device->availableCaptureDevices(), (std::list<std::string>{"A", "B", "C"}));
                  EXPECT_EQ(device->defaultCaptureDeviceName(), "B");
              }),
              "");
}

TEST_F(AudioOpenAlFailures, WithoutTheEnumerationExtensionTheListIsEmptyAndLogged)
{
    build();
    modify([](FakeOpenAl::State& s) { s.extensions.erase("ALC_ENUMERATION_EXT"); });
    EXPECT_EQ(written([&] { EXPECT_TRUE(device->availableCaptureDevices().empty()); }),
              "Enumeration extension is not available\n");
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcGetString"), Strings{});
}

TEST_F(AudioOpenAlFailures, NullAnswersGiveEmptyResultsWithoutALine)
{
    build();
    modify([](FakeOpenAl::State& s) {
        s.nullStrings = {ALC_CAPTURE_DEVICE_SPECIFIER, ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER};
    });
    EXPECT_EQ(written([&] {
                  EXPECT_TRUE(device->availableCaptureDevices().empty());
                  EXPECT_EQ(device->defaultCaptureDeviceName(), "");
              }),
              "");
}
