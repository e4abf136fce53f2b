// The OpenAL test double itself: the answers OpenAL gives that the audio
// tests rely on, the scripting of microphone loss and of failing opens, and
// the books that make a leaked or misused handle fail a test.

#include <gtest/gtest.h>

#include <AL/al.h>
#include <AL/alc.h>
#include <AL/alext.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fake_openal.h"

using FakeOpenAl::Call;
using Strings = std::vector<std::string>;

namespace {

class FakeOpenAlTest : public testing::Test {
protected:
    void SetUp() override { FakeOpenAl::reset(); }

    static ALCdevice* openCapture(const char* name = nullptr)
    {
        return alcCaptureOpenDevice(name, 16000, AL_FORMAT_MONO16, 8000);
    }

    static ALCint query(ALCdevice* device, ALCenum param)
    {
        ALCint value = -1;
        alcGetIntegerv(device, param, 1, &value);
        return value;
    }
};

}  // namespace

TEST_F(FakeOpenAlTest, NullCaptureDeviceAnswersInvalidDeviceAsOpenAlDoes)
{
    alcCaptureStop(nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
    EXPECT_EQ(alcGetError(nullptr), ALC_NO_ERROR);  // reading clears it
    EXPECT_EQ(alcCaptureCloseDevice(nullptr), ALC_FALSE);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
}

TEST_F(FakeOpenAlTest, UnknownCaptureNameAnswersInvalidValue)
{
    EXPECT_EQ(openCapture("Nobody's Microphone"), nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_VALUE);
    EXPECT_TRUE(FakeOpenAl::captureDevices().empty());
}

TEST_F(FakeOpenAlTest, WithoutCurrentContextAlGetErrorAnswersInvalidOperation)
{
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    ALCdevice* device = alcOpenDevice(nullptr);
    ALCcontext* context = alcCreateContext(device, nullptr);
    ASSERT_EQ(alcMakeContextCurrent(context), ALC_TRUE);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    alListenerf(AL_GAIN, -1.0f);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alcMakeContextCurrent(nullptr);
    alcDestroyContext(context);
    EXPECT_EQ(alcCloseDevice(device), ALC_TRUE);
    EXPECT_EQ(FakeOpenAl::openHandles(), Strings{});
}

TEST_F(FakeOpenAlTest, ScriptedOutcomesAreTakenInOrderThenCallsSucceed)
{
    FakeOpenAl::script(Call::CaptureOpenDevice, {FakeOpenAl::fail(ALC_OUT_OF_MEMORY), FakeOpenAl::fail(0)});
    EXPECT_EQ(openCapture(), nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_OUT_OF_MEMORY);
    EXPECT_EQ(openCapture(), nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_NO_ERROR);
    ALCdevice* device = openCapture();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
    EXPECT_EQ(alcCaptureCloseDevice(device), ALC_TRUE);
    EXPECT_EQ(FakeOpenAl::callsStartingWith("alcCaptureOpenDevice"),
              (Strings{"alcCaptureOpenDevice(null, 16000, AL_FORMAT_MONO16, 8000) = null",
                       "alcCaptureOpenDevice(null, 16000, AL_FORMAT_MONO16, 8000) = null",
                       "alcCaptureOpenDevice(null, 16000, AL_FORMAT_MONO16, 8000) = cap1"}));
}

TEST_F(FakeOpenAlTest, DisconnectExtensionIsPresentAndCanBeRemoved)
{
    ALCdevice* device = openCapture();
    EXPECT_EQ(alcIsExtensionPresent(device, "ALC_EXT_disconnect"), ALC_TRUE);
    EXPECT_EQ(alcIsExtensionPresent(nullptr, "alc_ext_DISCONNECT"), ALC_TRUE);  // no case
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        FakeOpenAl::state().extensions.erase("ALC_EXT_disconnect");
    }
    EXPECT_EQ(alcIsExtensionPresent(device, "ALC_EXT_disconnect"), ALC_FALSE);
    alcCaptureCloseDevice(device);
}

TEST_F(FakeOpenAlTest, CaptureDeviceDisconnectsAfterTheScriptedQueries)
{
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        FakeOpenAl::state().connectedQueries = {2, -1};
    }
    ALCdevice* first = openCapture();
    alcCaptureStart(first);
    EXPECT_EQ(query(first, ALC_CONNECTED), ALC_TRUE);
    EXPECT_EQ(query(first, ALC_CONNECTED), ALC_TRUE);
    EXPECT_EQ(query(first, ALC_CONNECTED), ALC_FALSE);
    EXPECT_EQ(query(first, ALC_CONNECTED), ALC_FALSE);
    // A disconnected device gathers nothing more.
    EXPECT_TRUE(FakeOpenAl::deliver(100));
    EXPECT_EQ(query(first, ALC_CAPTURE_SAMPLES), 0);
    EXPECT_EQ(alcCaptureCloseDevice(first), ALC_TRUE);

    // Reopened, the microphone is there again (the second entry: for ever).
    ALCdevice* second = openCapture();
    ASSERT_NE(second, nullptr);
    alcCaptureStart(second);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(query(second, ALC_CONNECTED), ALC_TRUE);
    EXPECT_TRUE(FakeOpenAl::deliver(100));
    EXPECT_EQ(query(second, ALC_CAPTURE_SAMPLES), 100);
    alcCaptureStop(second);
    alcCaptureCloseDevice(second);
    const std::vector<FakeOpenAl::CaptureDevice> devices = FakeOpenAl::captureDevices();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].handle, "cap1");
    EXPECT_FALSE(devices[0].connected);
    EXPECT_EQ(devices[0].connectedQueries, 4);
    EXPECT_EQ(devices[1].handle, "cap2");
    EXPECT_TRUE(devices[1].connected);
}

TEST_F(FakeOpenAlTest, DisconnectNowKeepsWhatWasGatheredAndRefusesAStart)
{
    ALCdevice* device = openCapture();
    alcCaptureStart(device);
    EXPECT_TRUE(FakeOpenAl::deliver(10));
    EXPECT_TRUE(FakeOpenAl::disconnect());
    EXPECT_EQ(query(device, ALC_CONNECTED), ALC_FALSE);
    EXPECT_EQ(query(device, ALC_CAPTURE_SAMPLES), 10);
    std::vector<std::int16_t> samples(10, -1);
    alcCaptureSamples(device, samples.data(), 10);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
    EXPECT_EQ(samples, (std::vector<std::int16_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    alcCaptureStop(device);
    alcCaptureStart(device);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_DEVICE);
    alcCaptureCloseDevice(device);
    EXPECT_FALSE(FakeOpenAl::disconnect());  // nothing open any more
}

TEST_F(FakeOpenAlTest, ArrivalsComeWithTheSampleCountQueries)
{
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        FakeOpenAl::state().arrivals = {5, 0, 7};
    }
    ALCdevice* device = openCapture();
    alcCaptureStart(device);
    EXPECT_EQ(query(device, ALC_CAPTURE_SAMPLES), 5);
    EXPECT_EQ(query(device, ALC_CAPTURE_SAMPLES), 5);
    std::vector<std::int16_t> samples(20);
    alcCaptureSamples(device, samples.data(), 6);  // more than there is
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
    EXPECT_EQ(query(device, ALC_CAPTURE_SAMPLES), 12);
    alcCaptureSamples(device, samples.data(), 12);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
    EXPECT_EQ(query(device, ALC_CAPTURE_SAMPLES), 0);
    alcCaptureStop(device);
    alcCaptureCloseDevice(device);
}

TEST_F(FakeOpenAlTest, BooksNameWhatIsLeftOpenAndEveryUseAfterTheEnd)
{
    ALCdevice* output = alcOpenDevice(nullptr);
    ALCcontext* context = alcCreateContext(output, nullptr);
    ALCdevice* capture = openCapture();
    EXPECT_EQ(FakeOpenAl::openHandles(), (Strings{"out1", "cap1", "ctx1"}));
    EXPECT_EQ(alcCaptureCloseDevice(capture), ALC_TRUE);
    alcCaptureStop(capture);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
    // Closing a device whose context is alive destroys the context too.
    EXPECT_EQ(alcCloseDevice(output), ALC_TRUE);
    alcDestroyContext(context);
    EXPECT_EQ(FakeOpenAl::openHandles(), Strings{});
    EXPECT_EQ(FakeOpenAl::misuses(),
              (Strings{"alcCaptureStop(cap1) after cap1 was closed", "alcCloseDevice(out1) while ctx1 was alive",
                       "alcDestroyContext(ctx1) after ctx1 was destroyed"}));
}

TEST_F(FakeOpenAlTest, DeviceListsEndWithAnEmptyName)
{
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        FakeOpenAl::state().captureDevices = {"one", "two"};
    }
    const ALCchar* list = alcGetString(nullptr, ALC_CAPTURE_DEVICE_SPECIFIER);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(std::string(list, 9), std::string("one\0two\0\0", 9));
}

TEST_F(FakeOpenAlTest, ACaptureDeviceKeepsWhatItWasAskedForAndLosesTheRest)
{
    ALCdevice* device = openCapture();  // 8000 frames
    ASSERT_NE(device, nullptr);
    alcCaptureStart(device);
    EXPECT_TRUE(FakeOpenAl::deliver(7999));
    EXPECT_TRUE(FakeOpenAl::deliver(3));
    EXPECT_EQ(query(device, ALC_CAPTURE_SAMPLES), 8000);
    EXPECT_EQ(FakeOpenAl::captureDevices().at(0).framesLost, 2);
    alcCaptureStop(device);
    alcCaptureCloseDevice(device);
}
