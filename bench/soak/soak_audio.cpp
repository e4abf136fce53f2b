#include "soak_audio.h"

#include <algorithm>
#include <memory>

namespace Soak {

namespace {

bool readMono16k(const std::string& path, Samples& out)
{
    SF_INFO info{};
    std::unique_ptr<SNDFILE, SndfileCloser> file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file || info.samplerate != kSampleRate || info.channels != 1)
        return false;
    out.resize(static_cast<std::size_t>(info.frames));
    const sf_count_t read = sf_read_short(file.get(), out.data(), static_cast<sf_count_t>(out.size()));
    out.resize(static_cast<std::size_t>(read));
    return read > 0;
}

}  // namespace

ClipBank::ClipBank(std::vector<std::string> dirs) : m_dirs(std::move(dirs)) {}

bool ClipBank::load(const std::vector<std::string>& names, QuietNoise& noise, std::string& problem)
{
    for (const std::string& name : names) {
        if (m_clips.count(name))
            continue;
        Samples samples;
        bool found = false;
        for (const std::string& dir : m_dirs)
            if ((found = readMono16k(dir + "/" + name, samples)))
                break;
        if (!found) {
            problem = "no 16 kHz mono clip " + name + " in the clip folders";
            return false;
        }
        const Samples floor = noise.make(static_cast<double>(samples.size()) / kSampleRate + 1.0);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<short>(std::max(-32768, std::min(32767, samples[i] + floor[i])));
        m_clips.emplace(name, std::move(samples));
    }
    return true;
}

const Samples& ClipBank::clip(const std::string& name) const
{
    static const Samples none;
    const auto found = m_clips.find(name);
    return found == m_clips.end() ? none : found->second;
}

Samples QuietNoise::make(double seconds)
{
    std::uniform_real_distribution<double> level(-1.0, 1.0);
    Samples samples(static_cast<std::size_t>(seconds * kSampleRate));
    for (short& sample : samples)
        sample = static_cast<short>(level(m_random) * 0.003 * 32767);
    return samples;
}

}  // namespace Soak
