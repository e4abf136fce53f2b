#ifndef KSR_TESTS_WAV_FILE_H
#define KSR_TESTS_WAV_FILE_H

// Reads a sound file into 16-bit samples: with libsndfile, or, in the
// Windows build, which has no libsndfile, from a WAV file of 16-bit PCM (the
// format of every clip the tests use).

#ifdef _WIN32
#include <cstdint>
#include <cstring>
#include <fstream>
#else
#include <sndfile.h>
#endif

#include <string>
#include <vector>

struct WavFile {
    int rate = 0;
    int channels = 0;
    std::vector<short> samples;  // interleaved
    bool ok = false;
};

#ifdef _WIN32
namespace WavFileDetail {

inline std::uint32_t little(const unsigned char* bytes, int count)
{
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = (value << 8) | bytes[i];
    return value;
}

}  // namespace WavFileDetail

inline WavFile readWav(const std::string& path)
{
    WavFile wav;
    std::ifstream file(path, std::ios::binary);
    unsigned char header[12];
    if (!file.read(reinterpret_cast<char*>(header), sizeof header) || std::memcmp(header, "RIFF", 4) != 0 ||
        std::memcmp(header + 8, "WAVE", 4) != 0)
        return wav;
    bool pcm16 = false;
    unsigned char chunk[8];
    while (file.read(reinterpret_cast<char*>(chunk), sizeof chunk)) {
        const std::uint32_t size = WavFileDetail::little(chunk + 4, 4);
        std::vector<unsigned char> body(size);
        if (!file.read(reinterpret_cast<char*>(body.data()), static_cast<std::streamsize>(size)))
            return wav;
        if (size % 2 == 1)
            file.ignore(1);
        if (std::memcmp(chunk, "fmt ", 4) == 0 && size >= 16) {
            pcm16 = WavFileDetail::little(body.data(), 2) == 1 && WavFileDetail::little(body.data() + 14, 2) == 16;
            wav.channels = static_cast<int>(WavFileDetail::little(body.data() + 2, 2));
            wav.rate = static_cast<int>(WavFileDetail::little(body.data() + 4, 4));
        } else if (std::memcmp(chunk, "data", 4) == 0 && pcm16) {
            wav.samples.resize(size / 2);
            for (std::size_t i = 0; i < wav.samples.size(); ++i)
                wav.samples[i] = static_cast<short>(WavFileDetail::little(body.data() + 2 * i, 2));
            wav.ok = true;
            return wav;
        }
    }
    return wav;
}
#else
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

#endif
