// An output device that mixes at 22050 Hz (OpenAL configured so): the rate
// is stored as index 1, so capture opens at 44100 Hz.

#include <gtest/gtest.h>

#include <AL/alc.h>

#include "audio/audio_device.h"
#include "openal_environment.h"
#include "virtual_mic.h"

static const bool kEnvironment =
    VirtualMic::configure() && OpenAlEnvironment::withConfig("[general]\nfrequency = 22050\n");

TEST(AudioRate22050, IsStoredAsIndex1AndOpenedAs44100)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    ASSERT_TRUE(kEnvironment);
    AudioDevice device;
    ALCint mixing = 0;
    alcGetIntegerv(alcGetContextsDevice(alcGetCurrentContext()), ALC_FREQUENCY, 1, &mixing);
    ASSERT_EQ(mixing, 22050);

    EXPECT_EQ(device.frequency(false), 44100);
    EXPECT_EQ(device.frequency(true), 44100);
    ASSERT_TRUE(device.startCapture());
    const std::vector<VirtualMic::Stream> streams = VirtualMic::ourStreams();
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(streams[0].sampleSpec, "s16le 1ch 44100Hz");
}
