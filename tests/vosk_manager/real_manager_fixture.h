#ifndef KSR_TESTS_REAL_MANAGER_FIXTURE_H
#define KSR_TESTS_REAL_MANAGER_FIXTURE_H

// KSR_VoskManager with the real libvosk, the shared model and clips: audio
// fed through processAudio, the reports recorded as the host interface
// would receive them.
//
// The clips carry a noise floor; after exact zeros the model emits a leading
// [unk] that is no command phrase. So the stream starts with one second of
// quiet white noise (about -50 dBFS), and a pause of it follows every clip,
// long enough (1.5 s by default) for the decoder to end the utterance.
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "manager_fixture.h"
#include "test_data.h"
#include "wav_file.h"

using Strings = std::vector<std::string>;
using Activations = std::vector<std::pair<KSR::GrammarId, bool>>;

class RealManager : public testing::Test {
protected:
    void SetUp() override
    {
        KSR_REQUIRE_DATA(TestData::modelPath());
        KSR_REQUIRE_DATA(TestData::audioDir());
        manager.reset(new RecordingManager());
        ASSERT_TRUE(manager->initialize(TestData::modelPath()));
        manager->setGrammarActivationFunction(
            [this](KSR::GrammarId id, bool on) { activations.push_back({id, on}); });
        manager->setDictationActivatedFunction([this](bool on) { dictationCalls.push_back(on); });
        manager->setSpellingActivatedFunction([this](bool on) { spellingCalls.push_back(on); });
        manager->setNumeralsActivatedFunction([this](bool on) { numeralsCalls.push_back(on); });
        manager->setCapitalsActivatedFunction([this](bool on) { capitalsCalls.push_back(on); });
    }
    void TearDown() override { manager.reset(); }

    void noise(double seconds)
    {
        std::uniform_real_distribution<double> level(-1.0, 1.0);
        std::vector<short> samples(static_cast<std::size_t>(seconds * 16000));
        for (short& sample : samples)
            sample = static_cast<short>(level(random) * 0.003 * 32767);
        feed(samples);
    }

    // Quiet noise first (once), then the clip, then the pause that ends it.
    // A clip name with a slash is a path; else a shared clip.
    void hear(const std::string& clip, double pause = 1.5)
    {
        if (!started) {
            noise(1.0);
            started = true;
        }
        const WavFile wav = readWav(clip.find('/') == std::string::npos ? TestData::clip(clip) : clip);
        ASSERT_TRUE(wav.ok) << clip;
        ASSERT_EQ(wav.rate, 16000) << clip;
        ASSERT_EQ(wav.channels, 1) << clip;
        feed(wav.samples);
        noise(pause);
    }

    // The dictation grammar on, listening, and the lead-in heard. Switching
    // dictation on before the first chunk starts the command recognizer one
    // chunk after the dictation recognizer (the first chunk after a grammar
    // change and the flush of the mode switch both drop it), and the free
    // recognizer then ends every utterance one chunk before the command
    // recognizer: the words of a formatting phrase would be dictated before
    // the command arrives. A grammar change after the lead-in makes the
    // dictation recognizer skip one chunk while the command recognizer starts
    // afresh, which lines the two up again.
    KSR::GrammarId listenWithDictation()
    {
        const KSR::GrammarId dictation = manager->addDictationGrammar("");
        manager->setActivated(dictation, true);
        manager->startRecognizing();
        noise(1.0);
        started = true;
        manager->setRuleActivated(11, true);  // already on: only announces a change
        return dictation;
    }

    // In chunks of `chunkSamples`; the position after each chunk that
    // brought recognitions is kept for each of them.
    void feed(const std::vector<short>& samples)
    {
        for (std::size_t at = 0; at < samples.size(); at += chunkSamples) {
            const std::size_t n = std::min(chunkSamples, samples.size() - at);
            manager->processAudio(reinterpret_cast<const char*>(&samples[at]), static_cast<int>(n * 2));
            samplesFed += n;
            const std::size_t count = manager->recognitions().size();
            while (recognitionTimes.size() < count)
                recognitionTimes.push_back(samplesFed);
        }
    }

    Strings texts()
    {
        Strings out;
        for (const auto& data : manager->recognitions())
            out.push_back(data.text);
        return out;
    }

    Strings recognizedLines()
    {
        Strings out;
        for (const auto& line : log.logs())
            if (line.rfind("Recognized: ", 0) == 0)
                out.push_back(line);
        return out;
    }

    std::size_t chunkSamples = 1600;  // 100 ms at 16 kHz
    std::size_t samplesFed = 0;
    std::vector<std::size_t> recognitionTimes;
    LogCapture log;
    std::unique_ptr<RecordingManager> manager;
    std::mt19937 random{2024};
    bool started = false;
    Activations activations;
    std::vector<bool> dictationCalls, spellingCalls, numeralsCalls, capitalsCalls;
};


#endif
