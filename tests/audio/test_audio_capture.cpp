// AudioDevice against a real audio server: the virtual microphone
// (scripts/virtual_mic.sh), whose default source "vmic" idles on quiet
// noise. These tests open, read and close capture devices and look at the
// recording streams the server sees; the clip tests are in
// test_audio_capture_clips.cpp.

#include <gtest/gtest.h>

#include <AL/alc.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include "audio/audio_device.h"
#include "capture_reader.h"
#include "virtual_mic.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using namespace std::chrono_literals;

static const bool kEnvironment = VirtualMic::configure();

namespace {

// The capture device that is not the system default ("Monitor of Null
// Output", the sink's own monitor).
std::string otherCaptureDevice(const AudioDevice& device)
{
    const std::string fallback = device.defaultCaptureDeviceName();
    for (const std::string& name : device.availableCaptureDevices())
        if (name != fallback)
            return name;
    return std::string();
}

}  // namespace

TEST(AudioCapture, OutputDeviceRateOf16000IsStoredAsIndex0)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    ASSERT_TRUE(kEnvironment);
    CaptureStderr();
    AudioDevice device;
    EXPECT_EQ(GetCapturedStderr(), "");
    // The sink runs at 16000 Hz and OpenAL mixes at the sink's rate.
    EXPECT_EQ(device.frequency(false), 16000);
    EXPECT_EQ(device.frequency(true), 16000);
    EXPECT_EQ(device.currentDevice(), &device);
}

TEST(AudioCapture, EnumerationListsTheServersSources)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    CaptureStderr();
    const std::list<std::string> names = device.availableCaptureDevices();
    const std::string fallback = device.defaultCaptureDeviceName();
    EXPECT_EQ(GetCapturedStderr(), "");
    ASSERT_GE(names.size(), 2u);  // "vmic" and the sink's monitor
    EXPECT_FALSE(fallback.empty());
    EXPECT_NE(std::find(names.begin(), names.end(), fallback), names.end()) << fallback;
    for (const std::string& name : names)
        EXPECT_FALSE(name.empty());
}

TEST(AudioCapture, EmptyNameOpensTheSystemDefaultCaptureDevice)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    ASSERT_EQ(device.captureDeviceName(), "");
    CaptureStderr();
    ASSERT_TRUE(device.startCapture());
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_TRUE(device.isCapturing());

    const std::vector<VirtualMic::Stream> streams = VirtualMic::ourStreams();
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(VirtualMic::sourceName(streams[0].source), VirtualMic::defaultSource());
    EXPECT_EQ(VirtualMic::defaultSource(), "vmic");

    CaptureReader reader;
    reader.readFor(device, 200ms);
    EXPECT_GT(reader.samples.size(), 1000u);
    EXPECT_TRUE(device.stopCapture());
}

TEST(AudioCapture, NamedDeviceOpensThatDevice)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    const std::string other = otherCaptureDevice(device);
    ASSERT_FALSE(other.empty());
    ASSERT_TRUE(device.setCaptureDeviceName(other));
    ASSERT_TRUE(device.startCapture());
    const std::vector<VirtualMic::Stream> streams = VirtualMic::ourStreams();
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(VirtualMic::sourceName(streams[0].source), "vspk.monitor");
    EXPECT_TRUE(device.stopCapture());
}

TEST(AudioCapture, SameNameWhileCapturingDoesNotStop)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    ASSERT_TRUE(device.startCapture());
    const std::vector<VirtualMic::Stream> before = VirtualMic::ourStreams();
    ASSERT_EQ(before.size(), 1u);

    CaptureStderr();
    EXPECT_TRUE(device.setCaptureDeviceName(""));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_TRUE(device.isCapturing());
    const std::vector<VirtualMic::Stream> after = VirtualMic::ourStreams();
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(after[0].id, before[0].id);  // the very same stream

    CaptureReader reader;
    reader.readFor(device, 150ms);
    EXPECT_GT(reader.reads, 0);
}

TEST(AudioCapture, SameNonEmptyNameWhileCapturingDoesNotStop)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    const std::string name = device.defaultCaptureDeviceName();
    ASSERT_TRUE(device.setCaptureDeviceName(name));
    ASSERT_TRUE(device.startCapture());
    const std::vector<VirtualMic::Stream> before = VirtualMic::ourStreams();
    ASSERT_EQ(before.size(), 1u);
    EXPECT_TRUE(device.setCaptureDeviceName(name));
    EXPECT_TRUE(device.isCapturing());
    const std::vector<VirtualMic::Stream> after = VirtualMic::ourStreams();
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(after[0].id, before[0].id);
}

TEST(AudioCapture, OtherNameWhileCapturingStopsAndClosesFirst)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    const std::string other = otherCaptureDevice(device);
    ASSERT_FALSE(other.empty());
    ASSERT_TRUE(device.startCapture());
    CaptureStderr();
    EXPECT_TRUE(device.setCaptureDeviceName(other));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_FALSE(device.isCapturing());
    EXPECT_EQ(device.captureDeviceName(), other);
    EXPECT_TRUE(VirtualMic::ourStreams().empty());
}

TEST(AudioCapture, NoSamplesWaitingReturnsNullAndKeepsReadBytes)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    ASSERT_TRUE(device.startCapture());
    // A read drains the device, so a read right after it finds nothing,
    // unless the server delivered in between (then try again).
    bool sawEmptyRead = false;
    CaptureReader reader;
    for (int attempt = 0; attempt < 200 && !sawEmptyRead; ++attempt) {
        if (!reader.readOnce(device)) {
            std::this_thread::sleep_for(2ms);
            continue;
        }
        const std::uint32_t previous = device.readBytes();
        ASSERT_GT(previous, 0u);
        if (device.readSamples() == nullptr) {
            sawEmptyRead = true;
            EXPECT_EQ(device.readBytes(), previous);
        }
    }
    EXPECT_TRUE(sawEmptyRead);
}

TEST(AudioCapture, ReadsWithoutResamplingHandOutCaptureFrames)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    device.setFrequency(false, 48000);
    ASSERT_TRUE(device.startCapture());
    ASSERT_EQ(VirtualMic::ourStreams().at(0).sampleSpec, "s16le 1ch 48000Hz");
    CaptureReader reader;
    const double rate = reader.steadyRate(device, 300ms, 1000ms);
    EXPECT_GT(reader.reads, 10);
    // About 48000 frames a second of wall time.
    EXPECT_NEAR(rate, 48000.0, 48000.0 * 0.25);
}

TEST(AudioCapture, ReadsWithResamplingHandOutOutputFrames)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    device.setResampling(true);
    device.setFrequency(false, 48000);
    device.setFrequency(true, 16000);
    ASSERT_TRUE(device.startCapture());
    CaptureReader reader;
    const double rate = reader.steadyRate(device, 300ms, 1000ms);
    EXPECT_GT(reader.reads, 10);
    EXPECT_NEAR(rate, 16000.0, 16000.0 * 0.25);
}

// The mix itself is checked on known frames in test_audio_capture_fake.cpp
// (the virtual microphone's two channels are the same).
TEST(AudioCapture, StereoCaptureOpensTwoChannelsAndHandsOutMonoAtTheOutputRate)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    device.setResampling(true);
    ASSERT_TRUE(device.setChannels(false, 1));
    ASSERT_TRUE(device.setChannels(true, 0));
    device.setFrequency(false, 44100);
    device.setFrequency(true, 16000);
    ASSERT_TRUE(device.startCapture());
    ASSERT_EQ(VirtualMic::ourStreams().at(0).sampleSpec, "s16le 2ch 44100Hz");
    CaptureReader reader;
    const double rate = reader.steadyRate(device, 300ms, 1000ms);
    EXPECT_GT(reader.reads, 10);
    // readBytes counts mono 16-bit output frames: about 16000 a second.
    EXPECT_NEAR(rate, 16000.0, 16000.0 * 0.25);
}

TEST(AudioCapture, StartWhileCapturingReopens)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    ASSERT_TRUE(device.startCapture());
    const std::string first = VirtualMic::ourStreams().at(0).id;
    ASSERT_TRUE(device.startCapture());
    const std::vector<VirtualMic::Stream> streams = VirtualMic::ourStreams();
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_NE(streams[0].id, first);
}

TEST(AudioCapture, StopClosesTheStreamAndASecondStopLogs)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    ASSERT_TRUE(device.startCapture());
    CaptureStderr();
    EXPECT_TRUE(device.stopCapture());
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_FALSE(device.isCapturing());
    EXPECT_TRUE(VirtualMic::ourStreams().empty());
    CaptureStderr();
    EXPECT_FALSE(device.stopCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not stop capturing device: a001\n");
}

TEST(AudioCapture, DestructionWhileCapturingClosesTheStream)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    {
        AudioDevice device;
        ASSERT_TRUE(device.startCapture());
        ASSERT_EQ(VirtualMic::ourStreams().size(), 1u);
    }
    EXPECT_TRUE(VirtualMic::ourStreams().empty());
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
}

TEST(AudioCapture, UnknownDeviceNameFailsToOpen)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    ASSERT_TRUE(device.setCaptureDeviceName("No Such Microphone"));
    CaptureStderr();
    EXPECT_FALSE(device.startCapture());
    EXPECT_EQ(GetCapturedStderr(), "Could not open capturing device: a004\n");
    EXPECT_FALSE(device.isCapturing());
}

// 200 start/stop cycles, resampling on, with a read in between: every call
// succeeds silently. The AddressSanitizer build checks for leaks at exit.
TEST(AudioCaptureCycles, TwoHundredStartStopCycles)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    AudioDevice device;
    device.setResampling(true);
    device.setFrequency(false, 48000);
    device.setFrequency(true, 16000);
    CaptureStderr();
    int failures = 0;
    for (int i = 0; i < 200; ++i) {
        if (!device.startCapture())
            ++failures;
        device.readSamples();
        if (!device.stopCapture())
            ++failures;
    }
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(failures, 0);
    EXPECT_FALSE(device.isCapturing());
    EXPECT_TRUE(VirtualMic::ourStreams().empty());
}

TEST(AudioCaptureCycles, HundredConstructionsAndDestructions)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    CaptureStderr();
    int unset = 0;
    for (int i = 0; i < 100; ++i) {
        std::unique_ptr<AudioDevice> device(new AudioDevice);
        if (device->currentDevice() != device.get())
            ++unset;
        if (i % 10 == 0) {
            device->setResampling(true);
            device->startCapture();
        }
    }
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(unset, 0);
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
    EXPECT_TRUE(VirtualMic::ourStreams().empty());
}
