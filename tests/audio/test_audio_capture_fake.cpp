// AudioDevice's capture paths on the OpenAL test double, where the frames
// are known: what a read hands out, a full device buffer, a read larger than
// the module's buffer, and the mix of a stereo capture into mono output.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fake_openal_fixture.h"

namespace {

class CaptureOnFakeOpenAl : public CapturingOnFakeOpenAl {};

std::vector<std::int16_t> samplesOf(const char* data, std::uint32_t bytes)
{
    const auto* samples = reinterpret_cast<const std::int16_t*>(data);
    return std::vector<std::int16_t>(samples, samples + bytes / 2);
}

}  // namespace

TEST_F(CaptureOnFakeOpenAl, ReadHandsOutTheCapturedFramesInOrder)
{
    ASSERT_TRUE(FakeOpenAl::deliver(3));
    const char* first = device->readSamples();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(device->readBytes(), 6u);
    EXPECT_EQ(samplesOf(first, device->readBytes()), (std::vector<std::int16_t>{0, 1, 2}));
    ASSERT_TRUE(FakeOpenAl::deliver(2));
    const char* second = device->readSamples();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(samplesOf(second, device->readBytes()), (std::vector<std::int16_t>{3, 4}));
    EXPECT_EQ(captures()[0].available, 0);
}

TEST_F(CaptureOnFakeOpenAl, TheDeviceKeepsHalfASecondUnlessAskedForMore)
{
    EXPECT_EQ(captures()[0].bufferSize, 22050);
    EXPECT_EQ(device->captureBufferMilliseconds(), AudioDevice::DefaultCaptureBufferMs);
    EXPECT_FALSE(device->setCaptureBufferMilliseconds(99));
    EXPECT_EQ(device->captureBufferMilliseconds(), AudioDevice::DefaultCaptureBufferMs);
    ASSERT_TRUE(device->stopCapture());
    ASSERT_TRUE(device->setCaptureBufferMilliseconds(AudioDevice::RecommendedCaptureBufferMs));
    ASSERT_TRUE(device->startCapture());
    EXPECT_EQ(captures().back().bufferSize, 44100 * 4);
    // A listening thread that fell behind by nearly four seconds loses nothing.
    const int frames = 44100 * 4 - 1;
    ASSERT_TRUE(FakeOpenAl::deliver(frames));
    std::string logged = written([&] { ASSERT_NE(device->readSamples(), nullptr); });
    EXPECT_EQ(logged, "");
    EXPECT_EQ(device->readBytes(), static_cast<std::uint32_t>(frames) * 2u);
    EXPECT_EQ(captures().back().framesLost, 0);
}

TEST_F(CaptureOnFakeOpenAl, AFullDeviceBufferSaysThatAudioWasLost)
{
    ASSERT_TRUE(FakeOpenAl::deliver(22050 + 441));
    EXPECT_EQ(captures()[0].framesLost, 441);
    std::string logged = written([&] { ASSERT_NE(device->readSamples(), nullptr); });
    EXPECT_EQ(logged, "The capture buffer of 500 ms was full: listening fell behind and audio was lost\n");
    EXPECT_EQ(device->readBytes(), 22050u * 2u);
    // Reads in time say nothing more.
    ASSERT_TRUE(FakeOpenAl::deliver(441));
    logged = written([&] { ASSERT_NE(device->readSamples(), nullptr); });
    EXPECT_EQ(logged, "");
}

TEST_F(CaptureOnFakeOpenAl, ReadLargerThanTheBufferGrowsIt)
{
    // An OpenAL that keeps more than it was asked to: sixteen seconds at
    // 44100 Hz fit the module's buffer; one frame more does not.
    modify([](FakeOpenAl::State& s) { s.captureBufferLimit = 44100 * 20; });
    const int frames = 44100 * 16 + 1;
    ASSERT_TRUE(FakeOpenAl::deliver(frames));
    const char* data = device->readSamples();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(device->readBytes(), static_cast<std::uint32_t>(frames) * 2u);
    const std::vector<std::int16_t> samples = samplesOf(data, device->readBytes());
    EXPECT_EQ(samples.front(), 0);
    EXPECT_EQ(samples.back(), FakeOpenAl::sampleValue(frames - 1));
    EXPECT_EQ(captures()[0].framesRead, frames);
}

namespace {

// Stereo capture handed out as mono, both at 44100 Hz: only the channel mix
// stands between the frames captured and those read.
class StereoToMono : public AudioOnFakeOpenAl {
protected:
    std::vector<std::int16_t> readMono(bool rightNegated, int frames)
    {
        modify([rightNegated](FakeOpenAl::State& s) { s.rightChannelNegated = rightNegated; });
        build();
        device->setResampling(true);
        EXPECT_TRUE(device->setChannels(false, 1));
        EXPECT_TRUE(device->setChannels(true, 0));
        EXPECT_TRUE(device->startCapture());
        EXPECT_EQ(captures().at(0).format, AL_FORMAT_STEREO16);
        EXPECT_TRUE(FakeOpenAl::deliver(frames));
        const char* data = device->readSamples();
        if (!data)
            return {};
        return samplesOf(data, device->readBytes());
    }
};

}  // namespace

TEST_F(StereoToMono, EqualChannelsKeepTheirValue)
{
    const std::vector<std::int16_t> mono = readMono(false, 1000);
    ASSERT_EQ(mono.size(), 1000u);
    for (int i = 0; i < 1000; ++i)
        ASSERT_LE(std::abs(mono[i] - FakeOpenAl::sampleValue(i)), 1) << "frame " << i;
}

TEST_F(StereoToMono, OppositeChannelsCancel)
{
    // Both channels are mixed: taking one of them would hand out the ramp.
    const std::vector<std::int16_t> mono = readMono(true, 1000);
    ASSERT_EQ(mono.size(), 1000u);
    for (int i = 0; i < 1000; ++i)
        ASSERT_LE(std::abs(mono[i]), 1) << "frame " << i;
}
