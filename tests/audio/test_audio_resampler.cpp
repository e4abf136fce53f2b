// AudioResampler against libswresample: set-up rules, scratch-plane sizing,
// conversion quality and the two channel-layout APIs.
//
// This file is built twice: once as the library is built for this FFmpeg,
// and once with KSR_AUDIO_CHANNEL_LAYOUT_API=1, which makes the resampler use
// the AVChannelLayout calls. Each build compares its output with a context
// configured by hand through the other API.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
#include <libavutil/version.h>
#include <libswresample/swresample.h>
}

#include "audio/audio_resampler.h"
#include "signal_analysis.h"

// Distinct suite names for the two builds, so that ctest sees distinct tests.
#if defined(KSR_AUDIO_CHANNEL_LAYOUT_API) && KSR_AUDIO_CHANNEL_LAYOUT_API
#define KSR_SUITE(name) AudioResamplerLayoutApi##name
#else
#define KSR_SUITE(name) AudioResampler##name
#endif

namespace {

struct Converted {
    bool ok = true;
    std::vector<std::int16_t> samples;  // interleaved
};

// Feeds `input` in chunks of `chunkFrames`, the way capture reads arrive.
Converted convertAll(AudioResampler& resampler, const std::vector<std::int16_t>& input, int inChannels,
                     int outChannels, int chunkFrames)
{
    Converted result;
    const int frames = static_cast<int>(input.size()) / inChannels;
    std::vector<std::int16_t> out(static_cast<std::size_t>(chunkFrames) * 4 * outChannels + 4096);
    for (int start = 0; start < frames; start += chunkFrames) {
        const int count = std::min(chunkFrames, frames - start);
        const std::uint8_t* in[] = {reinterpret_cast<const std::uint8_t*>(input.data() + start * inChannels)};
        std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
        int produced = -1;
        if (!resampler.convert(in, count, outPlanes, produced)) {
            result.ok = false;
            return result;
        }
        result.samples.insert(result.samples.end(), out.begin(), out.begin() + produced * outChannels);
    }
    return result;
}

void setUp(AudioResampler& resampler, int inRate, int outRate, std::uint64_t inLayout = AV_CH_LAYOUT_MONO,
           std::uint64_t outLayout = AV_CH_LAYOUT_MONO, int inFormat = AV_SAMPLE_FMT_S16)
{
    resampler.setChannelLayouts(inLayout, outLayout);
    resampler.setSampleFormats(inFormat, AV_SAMPLE_FMT_S16);
    resampler.setRates(inRate, outRate);
}

}  // namespace

TEST(KSR_SUITE(Init), FailsBeforeRatesAreSet)
{
    AudioResampler resampler;
    resampler.setChannelLayouts(AV_CH_LAYOUT_MONO, AV_CH_LAYOUT_MONO);
    resampler.setSampleFormats(AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16);
    EXPECT_FALSE(resampler.init());
}

TEST(KSR_SUITE(Init), FailsWithOnlyOneRateSet)
{
    AudioResampler resampler;
    resampler.setSampleFormats(AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16);
    resampler.setRates(44100, -1);
    EXPECT_FALSE(resampler.init());
    resampler.setRates(-1, 16000);
    EXPECT_FALSE(resampler.init());
}

TEST(KSR_SUITE(Init), FailsBeforeFormatsAreSet)
{
    AudioResampler resampler;
    resampler.setRates(44100, 16000);
    EXPECT_FALSE(resampler.init());
}

TEST(KSR_SUITE(Init), FailsWithInputFormatUnset)
{
    AudioResampler resampler;
    resampler.setSampleFormats(-1, AV_SAMPLE_FMT_S16);
    resampler.setRates(44100, 16000);
    EXPECT_FALSE(resampler.init());
}

TEST(KSR_SUITE(Init), StartsWithoutScratchPlanes)
{
    AudioResampler resampler;
    EXPECT_EQ(resampler.maxDstSamples(), 0);
    EXPECT_EQ(resampler.dstData(), nullptr);
}

TEST(KSR_SUITE(Init), SizesScratchFor1024InputSamplesFrom44100To16000)
{
    AudioResampler resampler;
    setUp(resampler, 44100, 16000);
    ASSERT_TRUE(resampler.init());
    EXPECT_EQ(resampler.maxDstSamples(), 372);  // 1024 * 16000 / 44100 = 371.5, rounded up
    ASSERT_NE(resampler.dstData(), nullptr);
    EXPECT_NE(resampler.dstData()[0], nullptr);
}

TEST(KSR_SUITE(Init), SizesScratchForOtherRatePairs)
{
    AudioResampler down48;
    setUp(down48, 48000, 16000);
    ASSERT_TRUE(down48.init());
    EXPECT_EQ(down48.maxDstSamples(), 342);  // 341.33 rounded up

    AudioResampler same;
    setUp(same, 16000, 16000);
    ASSERT_TRUE(same.init());
    EXPECT_EQ(same.maxDstSamples(), 1024);

    AudioResampler up;
    setUp(up, 16000, 48000);
    ASSERT_TRUE(up.init());
    EXPECT_EQ(up.maxDstSamples(), 3072);
}

TEST(KSR_SUITE(Init), CanBeRepeated)
{
    AudioResampler resampler;
    setUp(resampler, 44100, 16000);
    ASSERT_TRUE(resampler.init());
    setUp(resampler, 48000, 16000);
    ASSERT_TRUE(resampler.init());
    EXPECT_EQ(resampler.maxDstSamples(), 342);
}

TEST(KSR_SUITE(Convert), FailsBeforeInit)
{
    AudioResampler resampler;
    std::vector<std::int16_t> in(100, 0);
    std::vector<std::int16_t> out(100, 0);
    const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(in.data())};
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
    int produced = -7;
    EXPECT_FALSE(resampler.convert(inPlanes, 100, outPlanes, produced));
    EXPECT_EQ(produced, -7);
}

TEST(KSR_SUITE(Convert), LargerEstimateGrowsScratchPlanes)
{
    AudioResampler resampler;
    setUp(resampler, 44100, 16000);
    ASSERT_TRUE(resampler.init());
    ASSERT_EQ(resampler.maxDstSamples(), 372);

    // 4410 input samples: the estimate is at least 1600 output samples.
    const std::vector<std::int16_t> in = Signal::sine16(44100, 1000.0, 8000.0, 4410);
    std::vector<std::int16_t> out(4000, 0);
    const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(in.data())};
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
    int produced = 0;
    ASSERT_TRUE(resampler.convert(inPlanes, 4410, outPlanes, produced));
    EXPECT_GE(resampler.maxDstSamples(), 1600);
    EXPECT_LE(resampler.maxDstSamples(), 1700);
    ASSERT_NE(resampler.dstData(), nullptr);
    EXPECT_NE(resampler.dstData()[0], nullptr);
    EXPECT_GT(produced, 1500);
    EXPECT_LE(produced, resampler.maxDstSamples());
}

TEST(KSR_SUITE(Convert), SmallerEstimateKeepsScratchPlanes)
{
    AudioResampler resampler;
    setUp(resampler, 44100, 16000);
    ASSERT_TRUE(resampler.init());
    const std::uint8_t* planeBefore = resampler.dstData()[0];

    const std::vector<std::int16_t> in = Signal::sine16(44100, 1000.0, 8000.0, 441);
    std::vector<std::int16_t> out(1000, 0);
    const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(in.data())};
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
    int produced = 0;
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(resampler.convert(inPlanes, 441, outPlanes, produced));
    EXPECT_EQ(resampler.maxDstSamples(), 372);
    EXPECT_EQ(resampler.dstData()[0], planeBefore);
}

TEST(KSR_SUITE(Convert), WritesIntoTheCallersPlanes)
{
    AudioResampler resampler;
    setUp(resampler, 16000, 16000);
    ASSERT_TRUE(resampler.init());
    const std::vector<std::int16_t> in = Signal::sine16(16000, 1000.0, 8000.0, 800);
    const Converted out = convertAll(resampler, in, 1, 1, 160);
    ASSERT_TRUE(out.ok);
    // Equal rates and formats: a plain copy, sample for sample.
    EXPECT_EQ(out.samples, in);
}

namespace {

// Converts one second of a 1 kHz sine (amplitude 0.5 of full scale) from
// `rate` to 16000 Hz in 10 ms chunks and fits a 1 kHz sine to the output,
// leaving out the first 20 ms while the filter fills and the last 20 ms.
Signal::SineFit downsampledSineFit(int rate, int* outFrames)
{
    AudioResampler resampler;
    setUp(resampler, rate, 16000);
    EXPECT_TRUE(resampler.init());
    const std::vector<std::int16_t> in = Signal::sine16(rate, 1000.0, 16384.0, rate);
    const Converted out = convertAll(resampler, in, 1, 1, rate / 100);
    EXPECT_TRUE(out.ok);
    *outFrames = static_cast<int>(out.samples.size());
    const std::vector<double> samples = Signal::toDouble(out.samples);
    if (samples.size() < 1000)
        return {};
    return Signal::fitSine(samples, 16000, 1000.0, 320, samples.size() - 320);
}

}  // namespace

TEST(KSR_SUITE(Quality), Sine1kHzFrom44100To16000)
{
    int frames = 0;
    const Signal::SineFit fit = downsampledSineFit(44100, &frames);
    EXPECT_NEAR(frames, 16000, 40);
    EXPECT_GT(fit.snrDb, 60.0);
    EXPECT_NEAR(20.0 * std::log10(fit.amplitude / 16384.0), 0.0, 0.1);  // amplitude kept within 0.1 dB
}

TEST(KSR_SUITE(Quality), Sine1kHzFrom48000To16000)
{
    int frames = 0;
    const Signal::SineFit fit = downsampledSineFit(48000, &frames);
    EXPECT_NEAR(frames, 16000, 40);
    EXPECT_GT(fit.snrDb, 60.0);
    EXPECT_NEAR(20.0 * std::log10(fit.amplitude / 16384.0), 0.0, 0.1);
}

TEST(KSR_SUITE(Quality), WrongFrequencyWouldNotFit)
{
    // The fit itself must be able to fail: the same output measured against
    // 1010 Hz is far below the bar.
    AudioResampler resampler;
    setUp(resampler, 48000, 16000);
    ASSERT_TRUE(resampler.init());
    const Converted out = convertAll(resampler, Signal::sine16(48000, 1000.0, 16384.0, 48000), 1, 1, 480);
    const std::vector<double> samples = Signal::toDouble(out.samples);
    ASSERT_GT(samples.size(), 1000u);
    EXPECT_LT(Signal::fitSine(samples, 16000, 1010.0, 320, samples.size() - 320).snrDb, 10.0);
}

TEST(KSR_SUITE(Quality), StereoToMonoMixesBothChannels)
{
    // Same sine on both channels: the mono mix is that sine.
    AudioResampler same;
    setUp(same, 48000, 16000, AV_CH_LAYOUT_STEREO, AV_CH_LAYOUT_MONO);
    ASSERT_TRUE(same.init());
    const Converted mixed = convertAll(same, Signal::sine16(48000, 1000.0, 16384.0, 48000, 2), 2, 1, 480);
    ASSERT_TRUE(mixed.ok);
    EXPECT_NEAR(static_cast<double>(mixed.samples.size()), 16000.0, 40.0);
    const std::vector<double> samples = Signal::toDouble(mixed.samples);
    const Signal::SineFit fit = Signal::fitSine(samples, 16000, 1000.0, 320, samples.size() - 320);
    EXPECT_GT(fit.snrDb, 60.0);
    EXPECT_GT(fit.amplitude, 16384.0 * 0.5);

    // Opposite signs on the two channels cancel: both channels are mixed,
    // not one of them taken.
    std::vector<std::int16_t> opposite = Signal::sine16(48000, 1000.0, 16384.0, 48000, 2);
    for (std::size_t i = 1; i < opposite.size(); i += 2)
        opposite[i] = static_cast<std::int16_t>(-opposite[i]);
    AudioResampler cancel;
    setUp(cancel, 48000, 16000, AV_CH_LAYOUT_STEREO, AV_CH_LAYOUT_MONO);
    ASSERT_TRUE(cancel.init());
    const Converted silent = convertAll(cancel, opposite, 2, 1, 480);
    ASSERT_TRUE(silent.ok);
    const std::vector<double> residue = Signal::toDouble(silent.samples);
    EXPECT_LT(Signal::rms(residue, 0, residue.size()), 2.0);
}

TEST(KSR_SUITE(Quality), Unsigned8BitInputBecomesSigned16Bit)
{
    std::vector<std::int16_t> wide = Signal::sine16(16000, 1000.0, 100.0, 16000);
    std::vector<std::uint8_t> narrow(wide.size());
    for (std::size_t i = 0; i < wide.size(); ++i)
        narrow[i] = static_cast<std::uint8_t>(wide[i] + 128);
    AudioResampler resampler;
    setUp(resampler, 16000, 16000, AV_CH_LAYOUT_MONO, AV_CH_LAYOUT_MONO, AV_SAMPLE_FMT_U8);
    ASSERT_TRUE(resampler.init());
    std::vector<std::int16_t> out(20000, 0);
    const std::uint8_t* inPlanes[] = {narrow.data()};
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
    int produced = 0;
    ASSERT_TRUE(resampler.convert(inPlanes, 16000, outPlanes, produced));
    ASSERT_EQ(produced, 16000);
    for (int i = 0; i < 16000; i += 97)
        EXPECT_EQ(out[i], wide[i] * 256) << "at " << i;
}

// --- the other channel-layout API, configured by hand ------------------------

namespace {

#if defined(KSR_AUDIO_CHANNEL_LAYOUT_API) && KSR_AUDIO_CHANNEL_LAYOUT_API
#if defined(FF_API_OLD_CHANNEL_LAYOUT) && FF_API_OLD_CHANNEL_LAYOUT
#define KSR_TEST_OTHER_API "mask"
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
SwrContext* otherApiContext(std::uint64_t outLayout, int outRate, std::uint64_t inLayout, int inRate)
{
    return swr_alloc_set_opts(nullptr, static_cast<std::int64_t>(outLayout), AV_SAMPLE_FMT_S16, outRate,
                              static_cast<std::int64_t>(inLayout), AV_SAMPLE_FMT_S16, inRate, 0, nullptr);
}
#pragma GCC diagnostic pop
#endif
#elif LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 24, 100)
#define KSR_TEST_OTHER_API "AVChannelLayout"
SwrContext* otherApiContext(std::uint64_t outLayout, int outRate, std::uint64_t inLayout, int inRate)
{
    AVChannelLayout out;
    AVChannelLayout in;
    av_channel_layout_from_mask(&out, outLayout);
    av_channel_layout_from_mask(&in, inLayout);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &out, AV_SAMPLE_FMT_S16, outRate, &in, AV_SAMPLE_FMT_S16, inRate, 0, nullptr);
    av_channel_layout_uninit(&out);
    av_channel_layout_uninit(&in);
    return context;
}
#endif

}  // namespace

TEST(KSR_SUITE(Api), OutputIdenticalToTheOtherChannelLayoutApi)
{
#ifndef KSR_TEST_OTHER_API
    GTEST_SKIP() << "this FFmpeg offers only one channel-layout API";
#else
    struct Case {
        int inRate;
        std::uint64_t inLayout;
    };
    for (const Case c : {Case{44100, AV_CH_LAYOUT_MONO}, Case{48000, AV_CH_LAYOUT_STEREO}}) {
        const int channels = c.inLayout == AV_CH_LAYOUT_STEREO ? 2 : 1;
        const std::vector<std::int16_t> in = Signal::sine16(c.inRate, 440.0, 12000.0, c.inRate / 2, channels);

        AudioResampler resampler;
        setUp(resampler, c.inRate, 16000, c.inLayout, AV_CH_LAYOUT_MONO);
        ASSERT_TRUE(resampler.init());
        const Converted ours = convertAll(resampler, in, channels, 1, c.inRate / 100);
        ASSERT_TRUE(ours.ok);

        SwrContext* context = otherApiContext(AV_CH_LAYOUT_MONO, 16000, c.inLayout, c.inRate);
        ASSERT_NE(context, nullptr);
        ASSERT_GE(swr_init(context), 0);
        std::vector<std::int16_t> theirs;
        std::vector<std::int16_t> out(4096);
        const int frames = static_cast<int>(in.size()) / channels;
        for (int start = 0; start < frames; start += c.inRate / 100) {
            const int count = std::min(c.inRate / 100, frames - start);
            const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(in.data() + start * channels)};
            std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
            const int produced = swr_convert(context, outPlanes, 4096, inPlanes, count);
            ASSERT_GE(produced, 0);
            theirs.insert(theirs.end(), out.begin(), out.begin() + produced);
        }
        swr_free(&context);
        EXPECT_EQ(ours.samples, theirs) << "against the " << KSR_TEST_OTHER_API << " API, from " << c.inRate;
    }
#endif
}
