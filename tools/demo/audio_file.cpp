#include "audio_file.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <cmath>

#include "audio/audio_resampler.h"

namespace {

// Frames read from the file at a time; the converted block gets room for
// the filter's delay.
const int kBlockFrames = 4096;
const int kDelayRoom = 1024;

}  // namespace

AudioFileReader::AudioFileReader(int rate) : m_rate(rate), m_frameSamples(static_cast<std::size_t>(rate / 100)) {}

AudioFileReader::~AudioFileReader() = default;

bool AudioFileReader::open(const std::string& path, std::string& error)
{
    // A reader that did not open reads nothing.
    auto refuse = [this, &error](const std::string& why) {
        m_file.reset();
        error = why;
        return false;
    };
    m_info = SF_INFO{};
    m_file.reset(sf_open(path.c_str(), SFM_READ, &m_info));
    if (!m_file)
        return refuse(sf_strerror(nullptr));
    if (m_info.channels < 1 || m_info.samplerate < 1 || m_info.frames < 1)
        return refuse("no audio in it");
    m_resampler.reset();
    if (m_info.samplerate != m_rate) {
        m_resampler.reset(new AudioResampler);
        m_resampler->setChannelLayouts(AV_CH_LAYOUT_MONO, AV_CH_LAYOUT_MONO);
        m_resampler->setSampleFormats(AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16);
        m_resampler->setRates(m_info.samplerate, m_rate);
        if (!m_resampler->init())
            return refuse(conversionError());
        m_converted.resize(static_cast<std::size_t>(static_cast<long long>(kBlockFrames) * m_rate / m_info.samplerate +
                                                    kDelayRoom));
    }
    m_interleaved.resize(static_cast<std::size_t>(kBlockFrames) * static_cast<std::size_t>(m_info.channels));
    m_mono.resize(kBlockFrames);
    m_ready.clear();
    m_ended = false;
    std::string readError;
    if (!readBlock(readError))
        return refuse(readError);
    if (m_ended)
        return refuse("no audio in it");
    return true;
}

std::string AudioFileReader::conversionError() const
{
    return "cannot convert " + std::to_string(m_info.samplerate) + " Hz to " + std::to_string(m_rate) + " Hz";
}

bool AudioFileReader::read(std::vector<std::int16_t>& samples, std::string& error)
{
    samples.clear();
    while (!m_ended && m_ready.size() < m_frameSamples) {
        if (!readBlock(error))
            return false;
    }
    const std::size_t count = m_ended ? m_ready.size() : m_ready.size() / m_frameSamples * m_frameSamples;
    samples.assign(m_ready.begin(), m_ready.begin() + static_cast<std::ptrdiff_t>(count));
    m_ready.erase(m_ready.begin(), m_ready.begin() + static_cast<std::ptrdiff_t>(count));
    return true;
}

bool AudioFileReader::readBlock(std::string& error)
{
    if (!m_file) {
        error = "not open";
        return false;
    }
    const sf_count_t frames = sf_readf_float(m_file.get(), m_interleaved.data(), kBlockFrames);
    if (sf_error(m_file.get()) != SF_ERR_NO_ERROR) {
        error = sf_strerror(m_file.get());
        return false;
    }
    if (frames <= 0) {
        m_ended = true;
        return true;
    }
    const int channels = m_info.channels;
    for (sf_count_t frame = 0; frame < frames; ++frame) {
        float sum = 0.0f;
        for (int channel = 0; channel < channels; ++channel)
            sum += m_interleaved[static_cast<std::size_t>(frame * channels + channel)];
        const float value = std::max(-1.0f, std::min(1.0f, sum / static_cast<float>(channels)));
        m_mono[static_cast<std::size_t>(frame)] = static_cast<std::int16_t>(std::lround(value * 32767.0f));
    }
    if (!m_resampler) {
        m_ready.insert(m_ready.end(), m_mono.begin(), m_mono.begin() + frames);
        return true;
    }
    const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(m_mono.data())};
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(m_converted.data())};
    int produced = 0;
    if (!m_resampler->convert(inPlanes, static_cast<int>(frames), outPlanes, produced)) {
        error = conversionError();
        return false;
    }
    m_ready.insert(m_ready.end(), m_converted.begin(), m_converted.begin() + produced);
    return true;
}
