#ifndef KSR_CLIP_CHECK_SESSION_H
#define KSR_CLIP_CHECK_SESSION_H

// One listening session of ksr-clip-check: the module's Vosk manager (and
// through it the engine) with the end-to-end tests' grammars, fed as the
// host interface's capture loop feeds it, and what a host would receive,
// written down as text.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "check_plan.h"
#include "ksr_vosk_manager.h"

namespace ClipCheck {

class CheckManager : public KSR_VoskManager {
public:
    CheckManager();
    ~CheckManager() override;

    // The grammars of the end-to-end tests and, with `fast`, the early end
    // of a command (250 ms) with chaining, set as a host sets them before it
    // listens. False when the model or a grammar is refused.
    bool setUp(const std::string& modelPath, Mode mode, bool fast);
    // What the host interface does when listening starts.
    void listen();

    // What reached the host since the last clear, one entry per signal:
    // results, grammar switches and mode switches. Failures are counted.
    const std::vector<std::string>& events() const { return m_events; }
    int failures() const { return m_failures; }
    void clear();
    // Whether "close window" of "files" arrived (at any time).
    bool heardCloseWindow() const { return m_closeWindow; }
    bool spellingSwitchedOn() const { return m_spellingOn; }

    using KSR_VoskManager::engine;

    void processRecognition(KSR::SRData data) override;
    void processRecognitionFailed() override;
    void processHypothesis(KSR::SRData) override {}

private:
    std::string grammarName(KSR::GrammarId id);
    void mode(const char* name, bool on);

    KSR::GrammarId m_dictation = KSR::InvalidGrammarId;
    KSR::GrammarId m_files = KSR::InvalidGrammarId;
    KSR::GrammarId m_edit = KSR::InvalidGrammarId;
    KSR::RuleId m_filesRule = KSR::InvalidRuleId;
    KSR::RuleId m_formatRule = KSR::InvalidRuleId;
    std::vector<std::string> m_events;
    int m_failures = 0;
    bool m_closeWindow = false;
    bool m_spellingOn = false;
};

// The microphone's side: quiet white noise all the time (the virtual
// microphone's keep-alive, sox "whitenoise vol 0.003", about -60 dBFS RMS)
// with clips mixed into it, handed to the manager in chunks of whole 10 ms
// frames as the capture loop does. A partial chunk waits for more audio.
class Stream {
public:
    Stream(KSR_VoskManager& manager, std::uint64_t noiseSeed, std::uint64_t chunkSeed, Chunking chunking);

    void noise(std::size_t samples);
    // The clip with the noise under it, as the audio server mixes them.
    void clip(const std::vector<std::int16_t>& samples);
    // Noise until `done` holds and at least `least` samples were added, or
    // `most` samples were added; true when `done` held.
    template <typename Done>
    bool noiseUntil(Done done, std::size_t least, std::size_t most)
    {
        std::size_t added = 0;
        while (added < most) {
            if (added >= least && done())
                return true;
            noise(kFrameSamples);
            added += kFrameSamples;
        }
        return done();
    }

    static constexpr std::size_t kFrameSamples = 160;  // 10 ms at 16 kHz

private:
    std::int16_t noiseSample();
    void add(int sample);
    void deliver();

    KSR_VoskManager& m_manager;
    Random m_noise;
    Random m_chunks;
    Chunking m_chunking;
    std::size_t m_nextChunk = 0;  // samples
    std::vector<std::int16_t> m_pending;
};

}  // namespace ClipCheck

#endif
