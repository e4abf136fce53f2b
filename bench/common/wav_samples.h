#ifndef KSR_BENCH_WAV_SAMPLES_H
#define KSR_BENCH_WAV_SAMPLES_H

// A whole sound file as 16-bit samples, for benchmarks that feed clips.

#include <sndfile.h>

#include <string>
#include <vector>

namespace Bench {

// False unless the file is mono at `rate` and read whole.
inline bool readMonoSamples(const std::string& path, int rate, std::vector<short>& samples)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file)
        return false;
    samples.resize(static_cast<std::size_t>(info.frames));
    const sf_count_t read = sf_readf_short(file, samples.data(), info.frames);
    sf_close(file);
    return read == info.frames && info.samplerate == rate && info.channels == 1;
}

}  // namespace Bench

#endif
