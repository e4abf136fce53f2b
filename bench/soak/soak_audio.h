#ifndef KSR_BENCH_SOAK_AUDIO_H
#define KSR_BENCH_SOAK_AUDIO_H

// The sound the soak feeds: clips read once from their folders and kept as
// 16 kHz mono samples, and the quiet white noise a microphone hears between
// words (about -50 dBFS). After exact zeros the model turns a clip's own noise
// floor into a spurious leading word, so quiet noise, never zeros, fills every
// gap.

#include <sndfile.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace Soak {

// Every clip and recording of the soak: 16 kHz mono 16-bit, the model's rate.
constexpr int kSampleRate = 16000;
using Samples = std::vector<short>;

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

class QuietNoise {
public:
    explicit QuietNoise(unsigned seed) : m_random(seed) {}
    Samples make(double seconds);

private:
    std::mt19937 m_random;
};

class ClipBank {
public:
    // `dirs` are searched in order for every clip name.
    explicit ClipBank(std::vector<std::string> dirs);
    // Reads every named clip and mixes the quiet noise of a room into it,
    // as a microphone hears it: a clean clip ends in exact zeros, and the
    // step from them back to the noise floor would make the model hear a
    // word after the clip's own. False (with `problem` naming the first clip
    // that is missing or not 16 kHz mono) when one cannot be used.
    bool load(const std::vector<std::string>& names, QuietNoise& noise, std::string& problem);
    const Samples& clip(const std::string& name) const;

private:
    std::vector<std::string> m_dirs;
    std::map<std::string, Samples> m_clips;
};

}  // namespace Soak

#endif
