#ifndef KSR_BENCH_SOAK_DESK_H
#define KSR_BENCH_SOAK_DESK_H

// The host application of the soak's working day: a KSR_VoskManager on the
// real libvosk with the grammars a desktop program would register, the
// host's operations on them (focus changes, commands added and removed, keys,
// dictation and its modes, thresholds, start and stop), and what each spoken
// clip must then bring. Everything the manager reports is recorded, so that
// the day can compare it with what was expected, utterance by utterance.

#include <map>
#include <mutex>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ksr_vosk_manager.h"

namespace Soak {

// What one utterance must bring.
struct Expected {
    enum Kind { Nothing, Result, Activation };
    // How a result's text is compared: exactly; as words (no leading blank,
    // case ignored: capitals and blanks depend on what came before); or as
    // upper-case words (capitals mode).
    enum Match { Exact, Words, UpperWords };
    Kind kind = Nothing;
    KSR::SRData data;  // Result: the ids and the text
    Match match = Exact;
    KSR::GrammarId activated = KSR::InvalidGrammarId;  // Activation: the grammar the key switches on
    // Spelled letters: the letters recognizer now and then hears a clip's
    // noise floor as a leading [unk], and spelling drops words it is unsure
    // of, so such a clip may bring nothing without anything being lost.
    bool letters = false;
};

// What the manager reported while one utterance was heard.
struct Heard {
    std::vector<KSR::SRData> results;
    std::vector<std::pair<KSR::GrammarId, bool>> activations;
    int failures = 0;
};

class RecordingManager : public KSR_VoskManager {
public:
    RecordingManager();
    void processRecognition(KSR::SRData data) override;
    void processRecognitionFailed() override;
    // Hypotheses are only counted: a host shows them and forgets them.
    void processHypothesis(KSR::SRData data) override;
    void recordActivation(KSR::GrammarId grammar, bool on);
    // What was reported since the last call.
    Heard take();
    long hypotheses() const;

private:
    mutable std::mutex m_mutex;
    Heard m_heard;
    long m_hypotheses = 0;
};

class Desk {
public:
    // The command phrases of the spoken command clips, and their clips.
    static const std::vector<std::pair<std::string, std::string>>& commandClips();

    // Loads the model, registers the grammars and sets the early end of
    // commands (0: off); false with the reason.
    bool setUp(const std::string& modelDir, int fastCommands, std::string& problem);
    RecordingManager& manager() { return m_manager; }

    // A focus change that makes `phrase` available and switches another
    // grammar or rule on or off; the command it must bring.
    Expected focusFor(const std::string& phrase, std::mt19937& random);
    // The editor's key, spoken while the editor is off.
    Expected prepareKey();

    // Dictation blocks: every command grammar off, dictation on, and back.
    void beginDictation();
    void endDictation();
    // A dictated clip's words; in capitals mode they come upper-cased.
    Expected dictated(const std::string& words) const;
    Expected spelled(const std::string& letters) const;
    // A spoken formatting phrase and the text it writes.
    Expected formatting(const std::string& phrase, const std::string& text) const;
    void setNumerals(bool on) { m_manager.setNumeralModeEnabled(on); }
    void setCapitals(bool on);
    void setSpelling(bool on) { m_manager.setSpellingModeEnabled(on); }
    bool capitals() const { return m_capitals; }
    // "capitals on" was heard: dictated words come upper-cased until the
    // host switches the mode off.
    void capitalsSpoken() { m_capitals = true; }

    // Once a minute of audio: one command never spoken is added (the oldest
    // of them removed once there are five), and one spoken command removed
    // and added again under a new id.
    void churn(std::mt19937& random);
    void changeThresholds(std::mt19937& random);
    void restartListening();

    // Commands registered now (the rules' own, and the never-spoken ones).
    std::size_t commandCount() const;

private:
    struct Command {
        KSR::GrammarId grammar;
        KSR::RuleId rule;
        KSR::CommandId id;
    };
    struct Grammar {
        KSR::GrammarId id;
        std::vector<KSR::RuleId> rules;
    };

    // Switches a grammar the way a host does, only when it changes.
    void activate(KSR::GrammarId grammar, bool on);
    bool active(KSR::GrammarId grammar);
    // A phrase some grammar already has, or a key.
    bool taken(const std::string& phrase) const;

    RecordingManager m_manager;
    std::vector<std::string> m_words;           // of the model, for never-spoken commands
    std::map<std::string, Command> m_commands;  // spoken ones, by phrase
    std::vector<std::pair<std::string, KSR::CommandId>> m_unspoken;
    Grammar m_editor, m_browser, m_scratch;
    KSR::GrammarId m_dictation = KSR::InvalidGrammarId;
    KSR::RuleId m_formattingRule = KSR::InvalidRuleId;
    bool m_capitals = false;
};

}  // namespace Soak

#endif
