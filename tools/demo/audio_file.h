#ifndef KSR_DEMO_AUDIO_FILE_H
#define KSR_DEMO_AUDIO_FILE_H

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class AudioResampler;

// Reads a sound file of any format libsndfile knows, at any rate and with
// any number of channels, block by block, as mono signed 16-bit samples at
// the rate it was made for: channels are averaged and the rate is converted
// with the module's AudioResampler (libswresample), whose filter state runs
// on from block to block. Only a block is held at a time, so a recording of
// hours is read in the memory of a short clip.
class AudioFileReader {
public:
    explicit AudioFileReader(int rate);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    // Opens the file and reads its first block, so that a file that cannot
    // be read is known before any of it is heard. False with `error` set
    // when the file cannot be opened or read, holds no audio, or its rate
    // cannot be converted.
    bool open(const std::string& path, std::string& error);

    // The next samples: whole 10 ms frames, except for the file's last few
    // samples; empty once the file is over. False with `error` set when the
    // rest of the file cannot be read.
    bool read(std::vector<std::int16_t>& samples, std::string& error);

private:
    struct FileCloser {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    bool readBlock(std::string& error);
    std::string conversionError() const;

    const int m_rate;
    const std::size_t m_frameSamples;
    std::unique_ptr<SNDFILE, FileCloser> m_file;
    SF_INFO m_info{};
    std::unique_ptr<AudioResampler> m_resampler;
    std::vector<float> m_interleaved;
    std::vector<std::int16_t> m_mono;
    std::vector<std::int16_t> m_converted;
    std::vector<std::int16_t> m_ready;  // converted, not handed out yet
    bool m_ended = false;
};

#endif
