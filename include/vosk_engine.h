#ifndef KSR_VOSK_ENGINE_H
#define KSR_VOSK_ENGINE_H

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ksr_export.h"
#include "ksr_types.h"

namespace KSR {
class CommandPatternSet;
}

namespace Vosk {

class Model;
class Recognizer;
class PhraseIndex;
enum class PhraseMatch;
struct FastCommandState;

// The recognition core of the Vosk back end. Owns the model and three
// recognizers: free dictation, a command recognizer restricted to the JSON
// phrase list, and a spelling recognizer restricted to the 26 letters.
//
// Threads: the host thread changes the grammar inputs (command list,
// keywords, forced words, thresholds, modes, activation) while the worker
// thread feeds audio. Flags are atomic; the lists, keywords and phrase text
// are guarded by one mutex, which is never held while the registered
// functions run (they re-enter the engine on the same thread, for instance
// an activation key rebuilds the phrase list from inside the command
// function). The recognizers belong to the worker thread: only processAudio
// and processFinalAudio touch them, and initialize, which replaces the model
// and the free recognizers, must not overlap those two (the manager calls it
// once, before audio starts). processAudio must not be re-entered from a
// registered function.
// Non-copyable: the engine owns library handles.
class KSR_EXPORT Engine {
public:
    enum RecognitionMode { Command = 0, Dictation = 1 };

    Engine();
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    bool initialize(const std::string& modelPath);
    const Vosk::Model* model();

    void setCommandsList(const std::vector<std::string>& commands);
    void setForcedWordsList(const std::vector<std::string>& words);
    void setLiteralKeyword(const std::string& keyword);
    void setForcedWordsKeyword(const std::string& keyword);

    void setCommandConfidenceThreshold(int threshold);
    void setDictationConfidenceThreshold(int threshold);
    int getCommandConfidenceThreshold();
    int getDictationConfidenceThreshold();

    // Command patterns (commands with arguments) heard beside the phrase
    // list: their grammar phrases join the command recognizer's grammar, and
    // a result that a pattern of the set says is a command is delivered like
    // a phrase (and split from its neighbours in a chain, and waited for
    // while its slot could still go on). Null or an empty set: none. Takes
    // effect with the next phrase-list build, like the command list.
    void setCommandPatterns(std::shared_ptr<const KSR::CommandPatternSet> patterns);

    void setCommandRecognizedFunction(const KSR::CommandRecognizedFunction& function);
    // The command function with the confidence of each word of the command
    // (whole per cent, in the text's order; empty for hypotheses, whose
    // partial results carry none). When set it is called instead of the
    // plain command function.
    using CommandWordsFunction =
        std::function<void(const std::string& text, const std::vector<int>& wordConfidences, KSR::RecognitionState)>;
    void setCommandWordsFunction(const CommandWordsFunction& function);
    void setDictationRecognizedFunction(const KSR::DictationRecognizedFunction& function);

    bool dictationModeEnabled() const;
    bool spellingEnabled() const;
    bool isActivated();
    bool microphoneSetupSupported();
    bool voiceTrainingSupported();

    void processAudio(const char* data, int length);
    void processFinalAudio();
    // For a capture loop that holds quiet back from the recognizers (silence
    // skipping). endUtterance ends every recognizer's utterance now and
    // delivers what it heard, as if the decoder had found the end itself: the
    // command recognizer's final result first (a confident command keeps its
    // words from dictation), then the dictation or spelling recognizer's.
    // applyPendingChanges applies a grammar or mode change made while no
    // audio flowed, so that the first chunk after the pause is heard by the
    // new grammar and mode instead of being spent on the change. Worker
    // thread, like processAudio; nothing happens while the engine is off.
    void endUtterance();
    void applyPendingChanges();
    bool setActivated(bool active);
    void setDictationModeEnabled(bool enabled);
    void setSpellingEnabled(bool enabled);

    // Early end of a command (0, the default: off). When on, a command
    // recognizer whose partial result is exactly an available phrase ends
    // the utterance at once after enough quiet since that partial last
    // changed; its final result is then delivered like any other. A phrase
    // that no longer phrase begins with waits the short quiet; a phrase that
    // a longer one begins with ("page" while "page down" is on) waits
    // `quietMilliseconds`, the long quiet, because the speaker may only be
    // pausing inside the longer one. With dictation on, dictated text that
    // arrives while the command recognizer is still deciding on a phrase is
    // held until it has decided (see processAudio). Negative values count
    // as 0.
    void setEarlyEnd(int quietMilliseconds);
    int earlyEnd() const;
    // The short quiet; 0 (the default) waits the long quiet after every
    // phrase. Never longer than the long quiet: a host that sets the long
    // one below it gets the long one for both. Negative counts as 0.
    void setEarlyEndShortQuiet(int quietMilliseconds);
    int earlyEndShortQuiet() const;
    // Chained commands (off by default): a final command text that splits
    // completely into phrases of the list is delivered phrase by phrase.
    void setChaining(bool enabled);
    bool chaining() const;
    // A grammar that a spoken key switches on: its key and its phrases. With
    // chaining on they join the command recognizer's grammar, so that a key
    // and a command of its grammar can be said in one breath; they count as
    // commands only after their key in a chain.
    struct KeyedPhrases {
        KeyedPhrases(std::string grammarKey = std::string(), std::vector<std::string> grammarPhrases = {},
                     std::shared_ptr<const KSR::CommandPatternSet> grammarPatterns = nullptr)
            : key(std::move(grammarKey)), phrases(std::move(grammarPhrases)), patterns(std::move(grammarPatterns))
        {
        }
        std::string key;
        std::vector<std::string> phrases;
        // The grammar's commands with arguments; null when it has none.
        std::shared_ptr<const KSR::CommandPatternSet> patterns;
    };
    void setKeyedPhrases(const std::vector<KeyedPhrases>& grammars);

private:
    void init();
    std::string createCommandsPhrases();
    std::string commandToText(const std::string& command);
    std::string jsonToString(const std::string& json);
    bool isConfident(const std::string& json, RecognitionMode mode);
    std::string resultToCommand(const std::string& json);
    std::string resultToSpelling(const std::string& json);
    // A final result that began like a command with arguments and is none
    // (a number out of range, words left over, a slot missing): delivered
    // as a failure. `mayGoOn`: the early end ended the utterance, and words
    // that could still become a command wait for the speaker's next words.
    bool missedPattern(const std::string& json, bool mayGoOn);
    std::shared_ptr<const KSR::CommandPatternSet> patternSet() const;
    // The utterance heard again with libvosk's alternatives: the final
    // result of the likeliest one that is a command (or a chain), nearly as
    // likely as the best; empty when there is none (see
    // vosk_engine_alternatives.cpp).
    std::string reconsiderAlternatives(const std::string& json);

    // The phrase-list build; the caller holds m_mutex.
    std::string buildCommandsPhrasesLocked();
    bool createModelAndRecognizers(const std::string& modelPath);
    void releaseFreeRecognizers();
    // The stages of processAudio, each on the worker thread. runCommandStage
    // sets commandTaken when it delivered a confident final result.
    void runCommandStage(const char* data, int length, bool& commandTaken);
    // Delivers a final or partial result of the command recognizer; true
    // when it delivered a final one (the recognizer then goes). With
    // `flushed`, `json` came from finalResult() and needs no discarded one.
    bool deliverCommandResult(const std::string& json, bool accepted, bool flushed, bool& commandTaken);
    // Commands with a text slot (see vosk_engine_text.cpp): when the
    // command recognizer's words are such a command with words it could not
    // name ("find [unk]"), a recognizer of free speech takes the utterance
    // over; true when it did.
    bool beginTextStage(const std::string& json, bool accepted);
    void runTextStage(const char* data, int length, bool& commandTaken);
    // Chaining: a final text that is no phrase but a sequence of them; true
    // when it was one (and was delivered).
    bool deliverChain(const std::string& json, bool& commandTaken);
    bool chainConfident(const std::string& json, const std::vector<std::string>& phrases);
    // Early end: follows the command recognizer's partial and the quiet, and
    // ends the utterance when both say it is over.
    void followCommandPartial(const std::string& json, bool accepted, bool& commandTaken);
    std::string withoutTalkAround(const std::string& json);
    int quietAfter(PhraseMatch wholeCommand) const;
    bool speakerEndedAmidTalk();
    // After an early end the next command recognizer starts with the next
    // voice (see vosk_engine_fast.cpp); false while this chunk is kept for it.
    bool commandStageWanted(const char* data, int length, bool voiced, std::string& withPreRoll);
    std::shared_ptr<const PhraseIndex> phraseIndex();
    // Dictated text held while the command recognizer decides.
    // `onset`: when the dictation recognizer's utterance began, -1 if unknown.
    bool holdDictation(const std::string& text, KSR::RecognitionState state, long long onset);
    // Delivers the held text that the latest verdict or the hold limit lets go.
    void settleHeldDictation();
    // The command recognizer's utterance ends now: its final result is
    // delivered (or it is dropped as stale), and the recognizer goes. An
    // `early` end whose final words are only the beginning of a phrase is
    // kept for the speaker's next words (see vosk_engine_fast.cpp).
    void finishCommandUtterance(bool& commandTaken, bool early = false);
    void finishDictationUtterance(bool commandTaken);
    // The command recognizer goes without a command: its utterance is over.
    void dropCommandRecognizer();
    bool ensureCommandRecognizer();
    // `voiced`: the chunk held voice (the dictation recognizer may be asleep
    // after a command took its words, see fast_command_state.h).
    void runDictationStage(const char* data, int length, bool voiced, bool commandTaken);
    void runSpellingStage(const char* data, int length, bool commandTaken);
    bool hasDictationFunction() const;
    // Hands a command to the words function, else to the plain one; false
    // when neither is set.
    bool deliverCommand(const std::string& text, const std::vector<int>& wordConfidences,
                        KSR::RecognitionState state);
    // The confidence of each word of a final result, in whole per cent.
    static std::vector<int> wordConfidences(const std::string& json);
    KSR::CommandRecognizedFunction commandFunction() const;
    KSR::DictationRecognizedFunction dictationFunction() const;

    friend class EngineTestAccess;  // not installed: the module's tests reach the private steps

    std::unique_ptr<Vosk::Recognizer> mp_dictationRecognizer;
    std::unique_ptr<Vosk::Recognizer> mp_commandRecognizer;
    std::unique_ptr<Vosk::Recognizer> mp_spellingRecognizer;
    std::vector<std::string> m_commandsList;
    std::vector<std::string> m_forcedWordsList;
    std::string m_literalKeyword;
    int m_literalKeywordWords;
    std::string m_forcedWordsKeyword;
    int m_forcedWordsKeywordWords;
    std::string m_commandsPhrases;
    std::atomic<int> m_commandConfidenceThreshold;
    std::atomic<int> m_dictationConfidenceThreshold;
    std::atomic<bool> m_initialized;
    std::atomic<bool> m_dictationModeEnabled;
    std::atomic<bool> m_spellingEnabled;
    std::atomic<bool> m_commandsChanged;
    std::atomic<bool> m_activated;
    std::atomic<bool> m_modeChanged;
    std::unique_ptr<Vosk::Model> mp_model;
    KSR::CommandRecognizedFunction m_commandRecognizedFunction;
    CommandWordsFunction m_commandWordsFunction;
    // Guarded by m_mutex, like the command list: the patterns and their
    // grammar phrases, made once when the set is handed over.
    std::shared_ptr<const KSR::CommandPatternSet> mp_patterns;
    std::vector<std::string> m_patternPhrases;
    // The last text resultToCommand matched against the patterns.
    struct PatternVerdict {
        std::shared_ptr<const KSR::CommandPatternSet> set;
        std::string text;
        bool matches = false;
    } m_patternVerdict;
    KSR::DictationRecognizedFunction m_dictationRecognizedFunction;

    // Set by setCommandsList, cleared by the next phrase build: a list that
    // no build has consumed yet. It keeps a host-thread grammar change from
    // being lost when a chunk clears m_commandsChanged between the host's
    // setCommandsList and setActivated(true). Guarded by m_mutex.
    bool m_commandsListPending;

    std::atomic<int> m_earlyEndMilliseconds;
    std::atomic<int> m_earlyEndShortMilliseconds;
    std::atomic<bool> m_chaining;
    // Guarded by m_mutex: the phrases of keyed grammars, and whether the
    // phrase index must be rebuilt from the lists.
    std::vector<KeyedPhrases> m_keyedPhrases;
    bool m_phraseIndexStale;
    std::unique_ptr<FastCommandState> mp_fast;  // worker thread only
    // The free recognizer of a command with a text slot, and what it heard;
    // worker thread only.
    std::unique_ptr<Vosk::Recognizer> mp_textRecognizer;
    std::size_t m_textBytes = 0;
    long long m_textBegan = 0;  // in samples heard by the voice detector

    // Guards the lists, keywords, phrase text and the two functions.
    mutable std::mutex m_mutex;
};

}  // namespace Vosk

#endif
