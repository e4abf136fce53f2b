#include "demo_recognizer.h"

#include <algorithm>

#include "audio_file.h"
#include "vosk_engine.h"

namespace {

const int kRate = 16000;
const std::size_t kFrame = kRate / 100;  // 10 ms
const double kNoiseLevel = 0.0015;       // peaks at about -56 dBFS
const double kLeadIn = 0.5;
const double kTrail = 1.5;

}  // namespace

void DemoRecognizer::noise(double seconds)
{
    std::uniform_real_distribution<double> level(-1.0, 1.0);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * kRate));
    for (std::int16_t& sample : samples)
        sample = static_cast<std::int16_t>(level(m_random) * kNoiseLevel * 32767);
    feed(samples);
}

void DemoRecognizer::feed(const std::vector<std::int16_t>& samples)
{
    for (std::size_t at = 0; at < samples.size(); at += kFrame) {
        const std::size_t count = std::min(kFrame, samples.size() - at);
        processAudio(reinterpret_cast<const char*>(&samples[at]), static_cast<int>(count * sizeof(std::int16_t)));
    }
}

void DemoRecognizer::flush()
{
    if (Vosk::Engine* voskEngine = engine())
        voskEngine->processFinalAudio();
}

bool DemoRecognizer::hearFile(AudioFileReader& file, std::string& error)
{
    noise(kLeadIn);
    flush();
    std::vector<std::int16_t> block;
    bool read = false;
    while ((read = file.read(block, error)) && !block.empty())
        feed(block);
    noise(kTrail);
    flush();
    return read;
}
