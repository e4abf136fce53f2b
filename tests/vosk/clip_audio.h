#ifndef KSR_TESTS_CLIP_AUDIO_H
#define KSR_TESTS_CLIP_AUDIO_H

// The shared clips as a microphone would deliver them: quiet white noise
// (about -50 dBFS) before and after the speech instead of exact zeros. After
// digital silence the jump to a clip's noise floor makes the model emit a
// leading "[unk]"; and the decoder only ends an utterance after about a
// second of trailing quiet, which the clips alone do not have.

#include <cstdint>
#include <string>
#include <vector>

#include "wav_file.h"

namespace ClipAudio {

const int kRate = 16000;

// Deterministic noise: the same samples in every run.
inline void appendQuietNoise(std::vector<short>& samples, std::size_t count, std::uint32_t seed)
{
    std::uint32_t state = seed;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525u + 1013904223u;
        samples.push_back(static_cast<short>(static_cast<int>((state >> 16) % 197) - 98));
    }
}

// 1 s of noise, the clip, 2 s of noise. Empty when the file cannot be read or
// is not 16 kHz mono.
inline std::vector<short> padded(const std::string& path)
{
    const WavFile wav = readWav(path);
    std::vector<short> samples;
    if (!wav.ok || wav.rate != kRate || wav.channels != 1)
        return samples;
    appendQuietNoise(samples, kRate, 1);
    samples.insert(samples.end(), wav.samples.begin(), wav.samples.end());
    appendQuietNoise(samples, 2 * kRate, 2);
    return samples;
}

}  // namespace ClipAudio

#endif
