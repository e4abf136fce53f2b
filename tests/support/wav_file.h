#ifndef KSR_TESTS_WAV_FILE_H
#define KSR_TESTS_WAV_FILE_H

// Reads a sound file into 16-bit samples with libsndfile.

#include <sndfile.h>

#include <string>
#include <vector>

struct WavFile {
    int rate = 0;
    int channels = 0;
    std::vector<short> samples;  // interleaved
    bool ok = false;
};

inline WavFile readWav(const std::string& path)
{
    WavFile wav;
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file)
        return wav;
    wav.rate = info.samplerate;
    wav.channels = info.channels;
    wav.samples.resize(static_cast<std::size_t>(info.frames) * static_cast<std::size_t>(info.channels));
    const sf_count_t read = sf_read_short(file, wav.samples.data(), static_cast<sf_count_t>(wav.samples.size()));
    wav.samples.resize(static_cast<std::size_t>(read));
    sf_close(file);
    wav.ok = true;
    return wav;
}

#endif
