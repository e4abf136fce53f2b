#include "audio_file.h"

#include <sndfile.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <cmath>
#include <memory>

#include "audio/audio_resampler.h"

namespace {

struct SoundFileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

// Frames converted per call; the output gets room for the filter's delay.
const int kBlockFrames = 4096;
const int kDelayRoom = 1024;

bool resample(const std::vector<std::int16_t>& in, int inRate, int outRate, std::vector<std::int16_t>& out)
{
    AudioResampler resampler;
    resampler.setChannelLayouts(AV_CH_LAYOUT_MONO, AV_CH_LAYOUT_MONO);
    resampler.setSampleFormats(AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16);
    resampler.setRates(inRate, outRate);
    if (!resampler.init())
        return false;
    std::vector<std::int16_t> block(static_cast<std::size_t>(
        static_cast<long long>(kBlockFrames) * outRate / inRate + kDelayRoom));
    out.clear();
    out.reserve(static_cast<std::size_t>(static_cast<long long>(in.size()) * outRate / inRate + kDelayRoom));
    for (std::size_t at = 0; at < in.size(); at += kBlockFrames) {
        const int frames = static_cast<int>(std::min<std::size_t>(kBlockFrames, in.size() - at));
        const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(&in[at])};
        std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(block.data())};
        int produced = 0;
        if (!resampler.convert(inPlanes, frames, outPlanes, produced))
            return false;
        out.insert(out.end(), block.begin(), block.begin() + produced);
    }
    return true;
}

}  // namespace

bool loadAudioFile(const std::string& path, int rate, std::vector<std::int16_t>& samples, std::string& error)
{
    SF_INFO info{};
    std::unique_ptr<SNDFILE, SoundFileCloser> file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        error = sf_strerror(nullptr);
        return false;
    }
    if (info.channels < 1 || info.samplerate < 1 || info.frames < 1) {
        error = "no audio in it";
        return false;
    }
    std::vector<float> interleaved(static_cast<std::size_t>(info.frames) * static_cast<std::size_t>(info.channels));
    const sf_count_t frames = sf_readf_float(file.get(), interleaved.data(), info.frames);
    if (frames < 1) {
        error = sf_strerror(file.get());
        return false;
    }

    std::vector<std::int16_t> mono(static_cast<std::size_t>(frames));
    for (sf_count_t frame = 0; frame < frames; ++frame) {
        float sum = 0.0f;
        for (int channel = 0; channel < info.channels; ++channel)
            sum += interleaved[static_cast<std::size_t>(frame * info.channels + channel)];
        const float value = std::max(-1.0f, std::min(1.0f, sum / static_cast<float>(info.channels)));
        mono[static_cast<std::size_t>(frame)] = static_cast<std::int16_t>(std::lround(value * 32767.0f));
    }
    if (info.samplerate == rate) {
        samples.swap(mono);
        return true;
    }
    if (!resample(mono, info.samplerate, rate, samples)) {
        error = "cannot convert " + std::to_string(info.samplerate) + " Hz to " + std::to_string(rate) + " Hz";
        return false;
    }
    return true;
}
