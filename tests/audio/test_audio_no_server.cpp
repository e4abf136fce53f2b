// AudioDevice with no audio server at all: OpenAL restricted to its
// PulseAudio back end, pointed at a socket where nothing listens. Every
// operation fails with its own line on standard error and nothing crashes.

#include <gtest/gtest.h>

#include <AL/alc.h>

#include <memory>

#include "audio/audio_device.h"
#include "openal_environment.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

static const bool kEnvironment = OpenAlEnvironment::noAudioServer();

namespace {

// Builds a device while its construction line is captured.
std::unique_ptr<AudioDevice> quietlyBuiltDevice()
{
    CaptureStderr();
    std::unique_ptr<AudioDevice> device(new AudioDevice);
    GetCapturedStderr();
    return device;
}

}  // namespace

TEST(AudioNoServer, ConstructionLogsAndLeavesAUsableObject)
{
    ASSERT_TRUE(kEnvironment);
    CaptureStderr();
    AudioDevice device;
    EXPECT_EQ(GetCapturedStderr(), "Could not find a default device: a004\n");
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
    EXPECT_EQ(device.currentDevice(), nullptr);
    EXPECT_FALSE(device.isCapturing());
    // The defaults stay: 44100 Hz on both sides.
    EXPECT_EQ(device.frequency(false), 44100);
    EXPECT_EQ(device.frequency(true), 44100);
}

TEST(AudioNoServer, EnumerationFindsNothing)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    CaptureStderr();
    EXPECT_TRUE(device->availableCaptureDevices().empty());
    EXPECT_EQ(device->defaultCaptureDeviceName(), "");
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(AudioNoServer, StartFailsWithItsLine)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    CaptureStderr();
    EXPECT_FALSE(device->startCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not open capturing device: a004\n");
    EXPECT_FALSE(device->isCapturing());
}

TEST(AudioNoServer, StartWithResamplingFailsWithItsLine)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    device->setResampling(true);
    device->setFrequency(false, 48000);
    device->setFrequency(true, 16000);
    CaptureStderr();
    EXPECT_FALSE(device->startCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not open capturing device: a004\n");
}

TEST(AudioNoServer, NamedDeviceFailsTheSameWay)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    ASSERT_TRUE(device->setCaptureDeviceName("Remapped Monitor of Null Output"));
    CaptureStderr();
    EXPECT_FALSE(device->startCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not open capturing device: a004\n");
}

TEST(AudioNoServer, StopFailsWithItsLine)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    CaptureStderr();
    EXPECT_FALSE(device->stopCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not stop capturing device: a001\n");
}

TEST(AudioNoServer, ReadFailsWithItsLine)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    CaptureStderr();
    EXPECT_EQ(device->readSamples(), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "Capture device became NULL while getting audio data\n");
    EXPECT_EQ(device->readBytes(), 0u);
}

TEST(AudioNoServer, MakeCurrentOfADeviceWithoutContext)
{
    const std::unique_ptr<AudioDevice> device = quietlyBuiltDevice();
    CaptureStderr();
    // No context, and none is current: it "is already current".
    EXPECT_FALSE(device->makeCurrent(device.get()));
    EXPECT_TRUE(device->makeCurrent(nullptr));
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(AudioNoServer, RepeatedUseAndDestructionNeverCrash)
{
    CaptureStderr();
    for (int i = 0; i < 20; ++i) {
        AudioDevice device;
        device.setResampling(i % 2 == 0);
        EXPECT_FALSE(device.startCapture());
        EXPECT_EQ(device.readSamples(), nullptr);
        EXPECT_FALSE(device.stopCapture());
    }
    const std::string written = GetCapturedStderr();
    std::string expected;
    for (int i = 0; i < 20; ++i)
        expected += "Could not find a default device: a004\n"
                    "Could not open capturing device: a004\n"
                    "Capture device became NULL while getting audio data\n"
                    "Could not stop capturing device: a001\n";
    EXPECT_EQ(written, expected);
}
