// AudioDevice on OpenAL's null back end: an output device and context
// without any sound server, and no capture devices. Covers construction and
// the listener, the context map, the setters and capture failures.

#include <gtest/gtest.h>

#include <AL/al.h>
#include <AL/alc.h>

#include <memory>

#include "audio/audio_device.h"
#include "openal_environment.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

static const bool kEnvironment = OpenAlEnvironment::offline();

namespace {

ALCint deviceFrequency()
{
    ALCdevice* device = alcGetContextsDevice(alcGetCurrentContext());
    ALCint hertz = 0;
    alcGetIntegerv(device, ALC_FREQUENCY, 1, &hertz);
    return hertz;
}

}  // namespace

TEST(AudioDeviceConstruction, OpensOutputAndMakesItsContextCurrent)
{
    ASSERT_TRUE(kEnvironment);
    CaptureStderr();
    AudioDevice device;
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_NE(alcGetCurrentContext(), nullptr);
    EXPECT_EQ(device.currentDevice(), &device);
}

TEST(AudioDeviceConstruction, SetsTheListenerUp)
{
    AudioDevice device;
    ALfloat position[3] = {9, 9, 9};
    ALfloat velocity[3] = {9, 9, 9};
    ALfloat orientation[6] = {9, 9, 9, 9, 9, 9};
    ALfloat gain = 0;
    alGetListenerfv(AL_POSITION, position);
    alGetListenerfv(AL_VELOCITY, velocity);
    alGetListenerfv(AL_ORIENTATION, orientation);
    alGetListenerf(AL_GAIN, &gain);
    ASSERT_EQ(alGetError(), AL_NO_ERROR);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(position[i], 0.0f);
        EXPECT_EQ(velocity[i], 0.0f);
    }
    const ALfloat expected[6] = {0, 1, 0, 0, 0, 1};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(orientation[i], expected[i]) << i;
    EXPECT_EQ(gain, 1.0f);
}

// The distance model is set before the new context is made current, so it
// lands on the context that was current then (none for a first device).
TEST(AudioDeviceConstruction, DistanceModelGoesToThePreviouslyCurrentContext)
{
    AudioDevice first;
    EXPECT_EQ(alGetInteger(AL_DISTANCE_MODEL), AL_INVERSE_DISTANCE_CLAMPED);  // OpenAL's default
    AudioDevice second;
    EXPECT_EQ(alGetInteger(AL_DISTANCE_MODEL), AL_INVERSE_DISTANCE_CLAMPED);
    ASSERT_TRUE(second.makeCurrent(&first));
    EXPECT_EQ(alGetInteger(AL_DISTANCE_MODEL), AL_LINEAR_DISTANCE_CLAMPED);
}

TEST(AudioDeviceConstruction, StartsFromTheOutputDeviceRate)
{
    AudioDevice device;
    // The null back end mixes at 44100 Hz, stored as index 1.
    ASSERT_EQ(deviceFrequency(), 44100);
    EXPECT_EQ(device.frequency(false), 44100);
    EXPECT_EQ(device.frequency(true), 44100);
}

TEST(AudioDeviceConstruction, Defaults)
{
    AudioDevice device;
    EXPECT_EQ(device.captureDeviceName(), "");
    EXPECT_FALSE(device.isCapturing());
    EXPECT_EQ(device.readBytes(), 0u);
}

TEST(AudioDeviceContexts, EachNewDeviceTakesTheCurrentContext)
{
    AudioDevice first;
    AudioDevice second;
    EXPECT_EQ(first.currentDevice(), &second);
    EXPECT_EQ(second.currentDevice(), &second);
}

TEST(AudioDeviceContexts, MakeCurrentSwitchesAndRefusesTheCurrentOne)
{
    AudioDevice first;
    AudioDevice second;
    EXPECT_FALSE(first.makeCurrent(&second));  // already current
    EXPECT_TRUE(first.makeCurrent(&first));
    EXPECT_EQ(second.currentDevice(), &first);
    EXPECT_FALSE(second.makeCurrent(&first));
    EXPECT_TRUE(first.makeCurrent(&second));
    EXPECT_EQ(first.currentDevice(), &second);
}

TEST(AudioDeviceContexts, MakeCurrentWithNullUnsets)
{
    AudioDevice device;
    CaptureStderr();
    EXPECT_TRUE(device.makeCurrent(nullptr));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
    EXPECT_EQ(device.currentDevice(), nullptr);
}

TEST(AudioDeviceContexts, DestroyingTheCurrentDeviceUnsetsItsContext)
{
    AudioDevice survivor;
    {
        AudioDevice gone;
        ASSERT_EQ(survivor.currentDevice(), &gone);
    }
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
    EXPECT_EQ(survivor.currentDevice(), nullptr);
}

TEST(AudioDeviceContexts, DestroyingAnotherDeviceKeepsTheCurrentContext)
{
    AudioDevice keeper;
    {
        AudioDevice other;
        ASSERT_TRUE(keeper.makeCurrent(&keeper));
    }
    EXPECT_EQ(keeper.currentDevice(), &keeper);
}

TEST(AudioDeviceSettings, FrequencyIsStoredAsARateIndex)
{
    AudioDevice device;
    device.setFrequency(false, 16000);
    device.setFrequency(true, 48000);
    EXPECT_EQ(device.frequency(false), 16000);
    EXPECT_EQ(device.frequency(true), 48000);
    device.setFrequency(false, 22050);
    device.setFrequency(true, 8000);
    EXPECT_EQ(device.frequency(false), 44100);
    EXPECT_EQ(device.frequency(true), 44100);
}

TEST(AudioDeviceSettings, ChannelsAcceptOnlyMonoAndStereo)
{
    AudioDevice device;
    EXPECT_TRUE(device.setChannels(true, 0));
    EXPECT_TRUE(device.setChannels(false, 1));
    EXPECT_FALSE(device.setChannels(true, 2));
    EXPECT_FALSE(device.setChannels(false, -1));
}

TEST(AudioDeviceSettings, NameChangesWhileNotCapturing)
{
    AudioDevice device;
    EXPECT_TRUE(device.setCaptureDeviceName("Some Microphone"));
    EXPECT_EQ(device.captureDeviceName(), "Some Microphone");
    EXPECT_TRUE(device.setCaptureDeviceName("Some Microphone"));
    EXPECT_TRUE(device.setCaptureDeviceName(""));
    EXPECT_EQ(device.captureDeviceName(), "");
}

TEST(AudioDeviceCapture, WithoutCaptureBackendStartFailsWithItsLine)
{
    AudioDevice device;
    device.setResampling(true);
    device.setFrequency(true, 16000);
    CaptureStderr();
    EXPECT_FALSE(device.startCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not open capturing device: a004\n");
    EXPECT_FALSE(device.isCapturing());
}

TEST(AudioDeviceCapture, NoCaptureDevicesListed)
{
    AudioDevice device;
    CaptureStderr();
    EXPECT_TRUE(device.availableCaptureDevices().empty());
    EXPECT_EQ(device.defaultCaptureDeviceName(), "");
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(AudioDeviceCapture, ReadWithoutCaptureDeviceLogs)
{
    AudioDevice device;
    CaptureStderr();
    EXPECT_EQ(device.readSamples(), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "Capture device became NULL while getting audio data\n");
    EXPECT_EQ(device.readBytes(), 0u);
}

TEST(AudioDeviceCapture, StopWithoutCaptureDeviceLogs)
{
    AudioDevice device;
    CaptureStderr();
    EXPECT_FALSE(device.stopCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not stop capturing device: a001\n");
}

TEST(AudioDeviceLifetime, HundredConstructionsAndDestructions)
{
    CaptureStderr();
    for (int i = 0; i < 100; ++i) {
        std::unique_ptr<AudioDevice> device(new AudioDevice);
        ASSERT_EQ(device->currentDevice(), device.get()) << "cycle " << i;
    }
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
}
