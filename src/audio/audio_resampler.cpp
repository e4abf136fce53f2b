#include "audio/audio_resampler.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
#include <libavutil/samplefmt.h>
#include <libavutil/version.h>
#include <libswresample/swresample.h>
#include <libswresample/version.h>
}

// Which channel-layout API to call. The mask-based calls
// (swr_alloc_set_opts, av_get_channel_layout_nb_channels) are the ones this
// code was written against; FFmpeg 5.1 deprecates them and FFmpeg 7 removes
// them in favour of AVChannelLayout (swr_alloc_set_opts2,
// av_channel_layout_*). Both give the same context for the same masks.
// KSR_AUDIO_CHANNEL_LAYOUT_API=1 forces the newer API where both exist (the
// tests build it that way to compare the two).
#if defined(KSR_AUDIO_CHANNEL_LAYOUT_API) && KSR_AUDIO_CHANNEL_LAYOUT_API
#define KSR_AUDIO_MASK_API 0
#elif defined(FF_API_OLD_CHANNEL_LAYOUT)
#define KSR_AUDIO_MASK_API FF_API_OLD_CHANNEL_LAYOUT
#else
#define KSR_AUDIO_MASK_API (LIBAVUTIL_VERSION_MAJOR < 59 && LIBSWRESAMPLE_VERSION_MAJOR < 5)
#endif

namespace {

#if KSR_AUDIO_MASK_API

// The deprecated calls are used on purpose where they still exist; keep the
// warning local to them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

int channelCount(std::uint64_t layout)
{
    return av_get_channel_layout_nb_channels(layout);
}

// swr_alloc_set_opts frees the context it was given when it fails, so the
// owner's pointer is nulled in that case.
bool configure(SwrContext*& context, std::uint64_t outLayout, int outFormat, int outRate,
               std::uint64_t inLayout, int inFormat, int inRate)
{
    SwrContext* configured = swr_alloc_set_opts(
        context, static_cast<std::int64_t>(outLayout), static_cast<AVSampleFormat>(outFormat),
        outRate, static_cast<std::int64_t>(inLayout), static_cast<AVSampleFormat>(inFormat),
        inRate, 0, nullptr);
    context = configured;
    return configured != nullptr;
}

#pragma GCC diagnostic pop

#else

int channelCount(std::uint64_t layout)
{
    AVChannelLayout channels;
    if (av_channel_layout_from_mask(&channels, layout) < 0)
        return 0;
    const int count = channels.nb_channels;
    av_channel_layout_uninit(&channels);
    return count;
}

// swr_alloc_set_opts2 frees and nulls the context itself when it fails.
bool configure(SwrContext*& context, std::uint64_t outLayout, int outFormat, int outRate,
               std::uint64_t inLayout, int inFormat, int inRate)
{
    AVChannelLayout out;
    AVChannelLayout in;
    if (av_channel_layout_from_mask(&out, outLayout) < 0)
        return false;
    if (av_channel_layout_from_mask(&in, inLayout) < 0) {
        av_channel_layout_uninit(&out);
        return false;
    }
    const int result = swr_alloc_set_opts2(&context, &out, static_cast<AVSampleFormat>(outFormat),
                                           outRate, &in, static_cast<AVSampleFormat>(inFormat),
                                           inRate, 0, nullptr);
    av_channel_layout_uninit(&out);
    av_channel_layout_uninit(&in);
    return result >= 0 && context != nullptr;
}

#endif

}  // namespace

AudioResampler::AudioResampler()
    : mp_context(swr_alloc()),
      mp_dstData(nullptr),
      m_inChannels(1),
      m_outChannels(1),
      m_maxDstSamples(0),
      m_inLayout(AV_CH_LAYOUT_MONO),
      m_outLayout(AV_CH_LAYOUT_MONO),
      m_inFormat(-1),
      m_outFormat(-1),
      m_inRate(-1),
      m_outRate(-1)
{
}

// The scratch planes are only ever a size record and never reach a caller,
// so releasing them here changes nothing anyone can see and keeps repeated
// capture starts from leaking them.
AudioResampler::~AudioResampler()
{
    if (mp_context)
        swr_free(&mp_context);
    releaseDstData();
}

void AudioResampler::releaseDstData()
{
    if (!mp_dstData)
        return;
    av_freep(&mp_dstData[0]);
    av_freep(&mp_dstData);
}

void AudioResampler::setChannelLayouts(std::uint64_t in, std::uint64_t out)
{
    m_inLayout = in;
    m_outLayout = out;
}

void AudioResampler::setSampleFormats(int in, int out)
{
    m_inFormat = in;
    m_outFormat = out;
}

void AudioResampler::setRates(int in, int out)
{
    m_inRate = in;
    m_outRate = out;
}

bool AudioResampler::init()
{
    m_maxDstSamples = static_cast<int>(av_rescale_rnd(1024, m_outRate, m_inRate, AV_ROUND_UP));
    m_inChannels = channelCount(m_inLayout);
    m_outChannels = channelCount(m_outLayout);

    // A second init() replaces the planes of the first.
    releaseDstData();
    int linesize = 0;
    if (av_samples_alloc_array_and_samples(&mp_dstData, &linesize, m_outChannels, m_maxDstSamples,
                                           static_cast<AVSampleFormat>(m_outFormat), 0) < 0)
        return false;

    if (!mp_context)
        mp_context = swr_alloc();
    if (!mp_context)
        return false;
    if (m_inFormat == -1 || m_outFormat == -1 || m_inRate == -1 || m_outRate == -1)
        return false;
    if (!configure(mp_context, m_outLayout, m_outFormat, m_outRate, m_inLayout, m_inFormat,
                   m_inRate))
        return false;
    return swr_init(mp_context) >= 0;
}

bool AudioResampler::convert(const std::uint8_t** inPlanes, int inSamples, std::uint8_t** outPlanes,
                             int& outSamples)
{
    if (!mp_context || !mp_dstData)
        return false;
    const std::int64_t dst = av_rescale_rnd(swr_get_delay(mp_context, m_inRate) + inSamples,
                                            m_outRate, m_inRate, AV_ROUND_UP);
    if (dst > m_maxDstSamples) {
        av_freep(&mp_dstData[0]);
        int linesize = 0;
        if (av_samples_alloc(mp_dstData, &linesize, m_outChannels, static_cast<int>(dst),
                             static_cast<AVSampleFormat>(m_outFormat), 1) < 0)
            return false;
        m_maxDstSamples = static_cast<int>(dst);
    }
    const int converted = swr_convert(mp_context, outPlanes, static_cast<int>(dst), inPlanes, inSamples);
    if (converted < 0)
        return false;
    outSamples = converted;
    return true;
}
