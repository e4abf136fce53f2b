// The demo's sound-file reader: files come back block by block, in whole
// 10 ms frames, mono at 16 kHz, and a long recording is read in the memory
// of one block.
#include <gtest/gtest.h>

#include <sndfile.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "audio_file.h"

namespace {

const int kRate = 16000;
const std::size_t kFrame = kRate / 100;

class ReaderFiles : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/ksr-reader-test-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        folder = pattern;
    }
    void TearDown() override { std::system(("rm -rf '" + folder + "'").c_str()); }

    // Writes a 16-bit WAV file of `frames` frames; `sample(frame, channel)`
    // gives each value. Written in blocks, so that writing a long file does
    // not raise the process's peak memory.
    template <typename Sample>
    std::string writeWav(const std::string& name, int rate, int channels, long frames, Sample sample)
    {
        const std::string path = folder + "/" + name;
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = channels;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        EXPECT_NE(file, nullptr) << sf_strerror(nullptr);
        if (!file)
            return path;
        std::vector<short> block;
        for (long at = 0; at < frames; at += 8192) {
            const long count = std::min<long>(8192, frames - at);
            block.resize(static_cast<std::size_t>(count * channels));
            for (long frame = 0; frame < count; ++frame)
                for (int channel = 0; channel < channels; ++channel)
                    block[static_cast<std::size_t>(frame * channels + channel)] = sample(at + frame, channel);
            sf_writef_short(file, block.data(), count);
        }
        sf_close(file);
        return path;
    }

    // Reads the whole file; the sizes of the blocks it came in go to `blocks`.
    std::vector<std::int16_t> readAll(const std::string& path, std::vector<std::size_t>& blocks)
    {
        AudioFileReader reader(kRate);
        std::string error;
        EXPECT_TRUE(reader.open(path, error)) << error;
        std::vector<std::int16_t> all;
        std::vector<std::int16_t> block;
        while (reader.read(block, error) && !block.empty()) {
            blocks.push_back(block.size());
            all.insert(all.end(), block.begin(), block.end());
        }
        EXPECT_TRUE(error.empty()) << error;
        return all;
    }

    std::string folder;
};

long peakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

TEST_F(ReaderFiles, AFileAtTheModelsRateComesBackSampleForSampleInWholeFrames)
{
    const long frames = 3 * 4096 + 1234;  // blocks of the file and of frames do not line up
    auto ramp = [](long frame, int) { return static_cast<short>((frame * 37) % 65536 - 32768); };
    std::vector<std::size_t> blocks;
    const std::vector<std::int16_t> samples = readAll(writeWav("ramp.wav", kRate, 1, frames, ramp), blocks);
    ASSERT_EQ(samples.size(), static_cast<std::size_t>(frames));
    for (long frame = 0; frame < frames; ++frame) {
        // libsndfile hands 16-bit samples over as s / 32768; the reader
        // scales them back by 32767.
        const long expected = std::lround(ramp(frame, 0) / 32768.0f * 32767.0f);
        ASSERT_EQ(samples[static_cast<std::size_t>(frame)], expected) << "frame " << frame;
    }
    ASSERT_GT(blocks.size(), 1u);
    for (std::size_t i = 0; i + 1 < blocks.size(); ++i)
        EXPECT_EQ(blocks[i] % kFrame, 0u) << "block " << i << " of " << blocks[i] << " samples";
    EXPECT_EQ(blocks.back(), static_cast<std::size_t>(frames) % kFrame);
}

TEST_F(ReaderFiles, StereoAt48000IsAveragedAndConvertedTo16000)
{
    const long frames = 48000 * 2;
    // The same 440 Hz tone on both channels, at half scale, plus opposite
    // noise that averaging removes.
    auto tone = [](long frame, int channel) {
        const double value = 0.5 * std::sin(2 * M_PI * 440.0 * frame / 48000.0);
        const double noise = ((frame * 7919) % 200 - 100) / 32768.0;
        return static_cast<short>(std::lround((value + (channel == 0 ? noise : -noise)) * 32767));
    };
    std::vector<std::size_t> blocks;
    const std::vector<std::int16_t> samples = readAll(writeWav("tone.wav", 48000, 2, frames, tone), blocks);
    // Two seconds at 16 kHz, less what the filter still holds at the end.
    EXPECT_LE(samples.size(), 32000u);
    EXPECT_GE(samples.size(), 32000u - 64u);
    double sum = 0;
    for (std::size_t i = 1000; i < samples.size() - 1000; ++i)
        sum += double(samples[i]) * samples[i];
    const double rms = std::sqrt(sum / double(samples.size() - 2000));
    EXPECT_NEAR(rms, 0.5 / std::sqrt(2.0) * 32767, 0.02 * 32767 * 0.5);
    for (std::size_t i = 0; i + 1 < blocks.size(); ++i)
        EXPECT_EQ(blocks[i] % kFrame, 0u) << "block " << i;
}

// Half an hour at 16 kHz would be 115 MB read whole as floats; read block by
// block, the peak memory of the process does not move.
TEST_F(ReaderFiles, HalfAnHourIsReadInTheMemoryOfOneBlock)
{
    const long frames = 30L * 60 * kRate;
    const std::string path = writeWav("long.wav", kRate, 1, frames, [](long frame, int) {
        return static_cast<short>((frame % 400) * 40 - 8000);
    });
    const long before = peakResidentKiB();
    AudioFileReader reader(kRate);
    std::string error;
    ASSERT_TRUE(reader.open(path, error)) << error;
    std::vector<std::int16_t> block;
    long total = 0;
    std::size_t largest = 0;
    while (reader.read(block, error) && !block.empty()) {
        total += static_cast<long>(block.size());
        largest = std::max(largest, block.size());
    }
    EXPECT_TRUE(error.empty()) << error;
    EXPECT_EQ(total, frames);
    EXPECT_LE(largest, 4096u + kFrame);
    EXPECT_LT(peakResidentKiB() - before, 8 * 1024) << "KiB more at the peak while reading";
}

TEST_F(ReaderFiles, WhatCannotBeReadIsRefusedAtOpening)
{
    std::string error;
    AudioFileReader missing(kRate);
    EXPECT_FALSE(missing.open(folder + "/missing.wav", error));
    EXPECT_FALSE(error.empty());

    std::ofstream(folder + "/notes.wav") << "this is no sound file\n";
    AudioFileReader text(kRate);
    error.clear();
    EXPECT_FALSE(text.open(folder + "/notes.wav", error));
    EXPECT_FALSE(error.empty());

    const std::string empty = writeWav("empty.wav", kRate, 1, 0, [](long, int) { return short(0); });
    AudioFileReader nothing(kRate);
    EXPECT_FALSE(nothing.open(empty, error));
    EXPECT_EQ(error, "no audio in it");

    std::vector<std::int16_t> block;
    EXPECT_FALSE(nothing.read(block, error)) << "a reader that did not open reads nothing";
    EXPECT_TRUE(block.empty());
}
