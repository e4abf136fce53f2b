// Rate indices, frame widths and the audio log line.

#include <gtest/gtest.h>

#include <AL/al.h>

#include <string>

#include "audio/audio_formats.h"
#include "audio/audio_log.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

TEST(AudioRates, HertzToIndexKeepsOnlyThreeRates)
{
    EXPECT_EQ(AudioFormats::rateIndex(16000), 0);
    EXPECT_EQ(AudioFormats::rateIndex(44100), 1);
    EXPECT_EQ(AudioFormats::rateIndex(48000), 2);
    // Every other rate is stored as 44100 Hz.
    EXPECT_EQ(AudioFormats::rateIndex(22050), 1);
    EXPECT_EQ(AudioFormats::rateIndex(8000), 1);
    EXPECT_EQ(AudioFormats::rateIndex(96000), 1);
    EXPECT_EQ(AudioFormats::rateIndex(0), 1);
    EXPECT_EQ(AudioFormats::rateIndex(-16000), 1);
}

TEST(AudioRates, IndexToHertz)
{
    EXPECT_EQ(AudioFormats::rateHertz(0), 16000);
    EXPECT_EQ(AudioFormats::rateHertz(1), 44100);
    EXPECT_EQ(AudioFormats::rateHertz(2), 48000);
    EXPECT_EQ(AudioFormats::rateHertz(3), 44100);
    EXPECT_EQ(AudioFormats::rateHertz(-1), 44100);
}

TEST(AudioRates, RoundTripIsLossy)
{
    EXPECT_EQ(AudioFormats::rateHertz(AudioFormats::rateIndex(22050)), 44100);
    EXPECT_EQ(AudioFormats::rateHertz(AudioFormats::rateIndex(8000)), 44100);
    EXPECT_EQ(AudioFormats::rateHertz(AudioFormats::rateIndex(16000)), 16000);
    EXPECT_EQ(AudioFormats::rateHertz(AudioFormats::rateIndex(48000)), 48000);
}

TEST(AudioFormatWidths, BytesPerFrame)
{
    EXPECT_EQ(AL_FORMAT_MONO8, 0x1100);
    EXPECT_EQ(AL_FORMAT_STEREO16, 0x1103);
    EXPECT_EQ(AudioFormats::frameBytes(AL_FORMAT_MONO8), 1);
    EXPECT_EQ(AudioFormats::frameBytes(AL_FORMAT_MONO16), 2);
    EXPECT_EQ(AudioFormats::frameBytes(AL_FORMAT_STEREO8), 2);
    EXPECT_EQ(AudioFormats::frameBytes(AL_FORMAT_STEREO16), 4);
    EXPECT_EQ(AudioFormats::frameBytes(0), 0);
    EXPECT_EQ(AudioFormats::frameBytes(0x1104), 0);
}

TEST(AudioFormatWidths, ChannelsAndDepth)
{
    EXPECT_FALSE(AudioFormats::isStereo(AL_FORMAT_MONO8));
    EXPECT_FALSE(AudioFormats::isStereo(AL_FORMAT_MONO16));
    EXPECT_TRUE(AudioFormats::isStereo(AL_FORMAT_STEREO8));
    EXPECT_TRUE(AudioFormats::isStereo(AL_FORMAT_STEREO16));
    EXPECT_FALSE(AudioFormats::is16Bit(AL_FORMAT_MONO8));
    EXPECT_TRUE(AudioFormats::is16Bit(AL_FORMAT_MONO16));
    EXPECT_FALSE(AudioFormats::is16Bit(AL_FORMAT_STEREO8));
    EXPECT_TRUE(AudioFormats::is16Bit(AL_FORMAT_STEREO16));
}

TEST(AudioLog, WritesTheFormattedLineToStandardError)
{
    CaptureStderr();
    audioLog("Could not open capturing device: %x\n", 0xa004);
    EXPECT_EQ(GetCapturedStderr(), "Could not open capturing device: a004\n");
}

TEST(AudioLog, WritesExactlyWhatItIsGiven)
{
    CaptureStderr();
    audioLog("Could not initialize resampler: Aborting!");
    audioLog("%s", "100% sure");
    EXPECT_EQ(GetCapturedStderr(), "Could not initialize resampler: Aborting!100% sure");
}

TEST(AudioLog, CutsALongMessageAt255Characters)
{
    const std::string longText(1000, 'x');
    CaptureStderr();
    audioLog("start %s end\n", longText.c_str());
    const std::string written = GetCapturedStderr();
    EXPECT_EQ(written.size(), 255u);
    EXPECT_EQ(written, "start " + std::string(249, 'x'));
}

TEST(AudioLog, MessageOfExactly255CharactersIsWhole)
{
    const std::string text(254, 'y');
    CaptureStderr();
    audioLog("%s\n", text.c_str());
    EXPECT_EQ(GetCapturedStderr(), text + "\n");
}
