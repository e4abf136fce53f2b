#ifndef KSR_VOSK_MANAGER_H
#define KSR_VOSK_MANAGER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ksr_export.h"
#include "ksr_types.h"
#include "ksr_vosk_grammar.h"
#include "vosk_engine.h"

class KSR_NumeralConverter;
namespace KSR {
class CommandPattern;
class CommandPatternSet;
}


// The Vosk back end's public face. Owns the Vosk::Engine, keeps the registry
// of grammars, hands the available commands of all grammars to the engine as
// its phrase list, routes recognized phrases back to grammar, rule and
// command ids, switches grammars by spoken activation keys and post-processes
// dictated text (formatting phrases, spelling, numerals and capitals modes).
//
// Ids: grammar ids come from a process-wide counter whose first value is 100
// (the activation-key grammar made by initialize takes it); rule and command
// ids are the grammars' own.
//
// Threads: the host thread may call any operation while the recognition
// thread runs processAudio, which calls commandRecognized and
// dictationRecognized from inside the engine. The registry, the phrase map,
// the mode flags and the ids are guarded by one recursive lock (grammar
// notifications re-enter the manager through grammarChanged). The lock is
// never held while the manager calls out: the virtual reporting operations,
// the host's callbacks and the logger always run after it is released, and
// processAudio forwards to the engine without it. Phrase-list rebuilds hold
// it, so a rebuild always works from the latest grammars and two rebuilds
// never interleave; they call only engine setters, which never call back.
// Callbacks of two threads may therefore reach the host in either order when
// the two threads switch the same mode at the same moment.
// Not thread-safe against itself: initialize and destruction must not overlap
// processAudio (the host interface initializes once, before audio starts, and
// stops its thread before destroying the manager).
//
// Non-copyable: the manager owns the engine, which owns library handles.
class KSR_EXPORT KSR_VoskManager {
public:
    KSR_VoskManager();
    // Drops the registry, the engine and the converter, and ends the shared
    // logger's console (KSR_Logger::Destroy).
    virtual ~KSR_VoskManager();
    KSR_VoskManager(const KSR_VoskManager&) = delete;
    KSR_VoskManager& operator=(const KSR_VoskManager&) = delete;

    // --- Set-up and recognition -----------------------------------------
    bool initialize(const std::string& modelPath);
    virtual bool isInitialized() const;
    // Hands the available commands of the active rules of every registered
    // grammar to the engine and switches it on.
    void startRecognizing();
    void stopRecognizing();
    // Forwards to Vosk::Engine::processAudio; only after a successful initialize.
    void processAudio(const char* data, int size);

    // --- Grammar registry -----------------------------------------------
    std::shared_ptr<KSR_VoskGrammar> createGrammar();
    bool registerGrammar(std::shared_ptr<KSR_VoskGrammar> grammar);
    bool unregisterGrammar(std::shared_ptr<KSR_VoskGrammar> grammar);
    // Only drops the reference passed in; callers unregister first.
    bool destroyGrammar(std::shared_ptr<KSR_VoskGrammar> grammar);
    std::shared_ptr<KSR_VoskGrammar> getGrammar(KSR::GrammarId grammarId);
    std::vector<KSR::GrammarId> getActiveGrammars();
    bool isDictationGrammar(KSR::GrammarId grammarId);

    // --- Building grammars ------------------------------------------------
    // A new command grammar is registered, keyed and switched off.
    KSR::GrammarId addCommandGrammar(const std::string& activationKey);
    KSR::GrammarId addDictationGrammar(const std::string& activationKey);
    KSR::RuleId addRule(KSR::GrammarId grammarId, const std::string& name);
    // The phrase is lower-cased and every word must be in the model's
    // vocabulary (a phrase with an empty word, such as "" or a double blank,
    // never is).
    KSR::CommandId addCommand(KSR::RuleId ruleId, const std::string& phrase);
    bool removeCommand(KSR::RuleId ruleId, KSR::CommandId commandId);

    // --- Commands with arguments ------------------------------------------
    // A command said with values in it, written as a pattern:
    //   go to line <line:number 1..10000>     select <n:number 1..20> words
    //   turn <colour:list colours>            spell <word:letters 1..12>
    //   call <code:digits 3..6>               (open | show) [the] file
    // Words outside the slots are lower-cased and must be known to the
    // model, as a phrase's are. The recognized command arrives like any
    // other, its text the words heard, with the slots' values in
    // SRData::arguments. Returns the command id (shared with the rule's
    // phrases, removed with removeCommand), or -1 with one log line that
    // names the problem. See KSR::CommandPattern for the whole syntax.
    KSR::CommandId addCommandPattern(KSR::RuleId ruleId, const std::string& pattern);
    // Sets or replaces the host list NAME of list slots: each spoken form
    // (lower-cased; every word known to the model) with the value that comes
    // back for it. While listening, the grammar follows at once. False with
    // one log line for an empty name, an empty spoken form or an unknown word.
    bool setList(const std::string& name, const KSR::SpokenList& items);
    // The list as set (empty when none is).
    KSR::SpokenList list(const std::string& name);
    // Why addCommandPattern or setList would refuse these, in the words of
    // their log line; empty when they would not (a pattern that its rule
    // has already is refused all the same). For a host that shows the
    // reason itself.
    std::string patternProblem(const std::string& pattern);
    std::string listProblem(const std::string& name, const KSR::SpokenList& items);

    std::vector<int> getAvailableCommandIds(KSR::GrammarId grammarId);
    std::vector<std::string> getAvailableCommandNames(KSR::GrammarId grammarId);
    std::vector<unsigned long> getRuleIds(KSR::GrammarId grammarId);
    bool isRuleActivated(KSR::RuleId ruleId);
    bool setRuleActivated(KSR::RuleId ruleId, bool activated);
    bool phraseExists(const std::string& phrase);
    bool setActivated(KSR::GrammarId grammarId, bool activated);
    // The grammar-changed function of every grammar made by createGrammar:
    // restarts the engine with a fresh phrase list while it is listening.
    void grammarChanged(KSR::GrammarId grammarId);

    // --- Activation keys ---------------------------------------------------
    bool setActivationKey(std::shared_ptr<KSR_VoskGrammar> grammar, const std::string& key);
    bool setActivationKey(KSR::GrammarId grammarId, const std::string& key);
    bool removeActivationKey(const std::string& key);
    void setGrammarActivationFunction(const KSR::GrammarActivationFunction& function);

    // --- Confidence (whole per cent) ------------------------------------
    int getCommandMinimumRequiredConfidence();
    int getCommandMaximumRequiredConfidence();
    int getCommandRequiredConfidence();
    bool setCommandRequiredConfidence(int confidence);
    bool setDictationRequiredConfidence(int confidence);

    // --- Fast commands (host settings, both off by default) ---------------
    // Early end of a command: quiet after a command phrase ends the
    // utterance instead of the decoder's own end (about a second). A phrase
    // that no longer active phrase begins with ends after the short quiet
    // (setFastCommandsShortQuiet); a phrase that a longer one begins with
    // ("page" while "page down" is on) after `quietMilliseconds`, the long
    // quiet, which must outlast a pause inside the longer phrase. With
    // dictation on, dictated text is held while the command recognizer
    // decides, so that the words of a command are not also dictated. 0
    // switches it off; negative values are refused (false), as is any value
    // without an engine. Safe to call while audio flows.
    bool setFastCommands(int quietMilliseconds);
    int fastCommands();
    // The short quiet, 120 ms unless set; the long quiet caps it. Negative
    // values and a missing engine are refused (false). Safe while audio flows.
    bool setFastCommandsShortQuiet(int quietMilliseconds);
    int fastCommandsShortQuiet();
    static constexpr int DefaultFastCommandsShortQuiet = 120;
    // The long quiet that the demo programs set: half a second outlasts the
    // pauses people make inside a phrase (about 350 ms).
    static constexpr int RecommendedFastCommandsQuiet = 500;
    // The quiet of the first fast commands, which waited it after every
    // phrase; kept for hosts that name it.
    static constexpr int DefaultFastCommandsQuiet = 250;
    // Chained commands: phrases said in one breath ("north open file", "new
    // line new line") are delivered one by one, as if said alone. A key in
    // the chain switches grammars before the next phrase is routed. While
    // listening, the phrase list is rebuilt at once. False without an engine.
    bool setCommandChaining(bool enabled);
    bool commandChaining();

    // --- Results from the engine ------------------------------------------
    void commandRecognized(const std::string& phrase, KSR::RecognitionState state);
    // The same with the confidence of each word (whole per cent), which
    // becomes the confidence of the slots of a command with arguments.
    void commandRecognized(const std::string& phrase, const std::vector<int>& wordConfidences,
                           KSR::RecognitionState state);
    // Edits the text in place before reporting it.
    void dictationRecognized(std::string& text, KSR::RecognitionState state);

    // --- Reporting: the manager's own versions only log --------------------
    virtual void processRecognition(KSR::SRData data);
    virtual void processRecognitionFailed();
    virtual void processHypothesis(KSR::SRData data);

    // --- Dictation modes, forced words --------------------------------------
    void setSpellingModeEnabled(bool enabled);
    void setNumeralModeEnabled(bool enabled);
    void setCapitalsModeEnabled(bool enabled);
    bool spellingModeEnabled();
    bool numeralModeEnabled();
    bool capitalsModeEnabled();
    bool isDictationModeEnabled();
    bool setForcedWordsKeyword(const std::string& keyword);
    bool setForcedWords(std::vector<std::string> words);
    bool wordsExist(const std::string& phrase);

    void setDictationActivatedFunction(const KSR::BoolFunction& function);
    void setSpellingActivatedFunction(const KSR::BoolFunction& function);
    void setNumeralsActivatedFunction(const KSR::BoolFunction& function);
    void setCapitalsActivatedFunction(const KSR::BoolFunction& function);

    // The 22 spoken formatting phrases of the dictation grammar, in order.
    static const std::vector<std::string>& formattingPhrases();

protected:
    // For the host interface, which feeds audio to the engine and flushes it.
    Vosk::Engine* engine();
    // The grammar of the spoken activation keys (empty before initialize);
    // the host interface switches it on and off with recognition.
    std::shared_ptr<KSR_VoskGrammar> activationKeysGrammar();
    bool initActivationKeysGrammar();

private:
    // The activation-key grammar and its rule, read together under the lock;
    // false when either is missing.
    bool activationKeysRule(std::shared_ptr<KSR_VoskGrammar>& grammar, KSR::RuleId& ruleId);

    static constexpr std::size_t kFormattingCount = 22;

    // Calls collected while the lock is held and made after it is released.
    using Callouts = std::vector<std::function<void()>>;
    static void runCallouts(const Callouts& callouts);

    // These expect the lock to be held and queue the mode callbacks.
    void switchSpellingLocked(bool enabled, Callouts& callouts);
    void switchNumeralsLocked(bool enabled, Callouts& callouts);
    void switchCapitalsLocked(bool enabled, Callouts& callouts);
    // Applies the formatting phrase at `index` and returns the text it writes.
    std::string applyFormattingLocked(std::size_t index, Callouts& callouts);

    std::vector<std::shared_ptr<KSR_VoskGrammar>> registeredGrammars();
    // The pattern parsed and checked against the model and the lists; null
    // with `error` when it is refused.
    std::shared_ptr<const KSR::CommandPattern> parsePattern(const std::string& pattern, std::string& error);
    // The list with its spoken forms lower-cased and their blanks made
    // single; false with `error` when it is refused.
    bool normalizeList(const std::string& name, const KSR::SpokenList& items, KSR::SpokenList& normalized,
                       std::string& error);
    // The patterns among the available commands go to the engine as one
    // set; the lock is held.
    void setPatternsLocked(const std::vector<std::shared_ptr<KSR_VoskGrammar::CommandInfo>>& commands);
    // The pattern record and slots that `phrase` is, with the lock held;
    // null when it is none.
    std::shared_ptr<KSR_VoskGrammar::CommandInfo> matchPatternLocked(const std::string& phrase,
                                                                     const std::vector<int>& wordConfidences,
                                                                     std::vector<KSR::Argument>& arguments);
    std::vector<Vosk::Engine::KeyedPhrases> keyedPhrasesLocked();
    std::shared_ptr<KSR_VoskGrammar> grammarWithRule(KSR::RuleId ruleId);

    std::unique_ptr<Vosk::Engine> mp_engine;
    std::shared_ptr<KSR_VoskGrammar> m_activationKeysGrammar;
    std::atomic<bool> m_initialized;
    KSR::RuleId m_activationKeysRuleId;
    std::map<KSR::GrammarId, std::shared_ptr<KSR_VoskGrammar>> m_grammars;
    KSR::GrammarId m_dictationGrammarId;
    std::uint64_t m_dictationRuleId;  // compared as a 32-bit rule id
    KSR_VoskGrammar::CommandMap m_phraseMap;
    // The host's lists, and the available patterns with their records in
    // the order of the set the engine was given.
    KSR::SpokenLists m_lists;
    std::shared_ptr<const KSR::CommandPatternSet> mp_patternSet;
    std::vector<std::shared_ptr<KSR_VoskGrammar::CommandInfo>> m_patternRecords;
    std::unique_ptr<KSR_NumeralConverter> mp_numeralConverter;
    bool m_numeralsMode;
    bool m_capitalsMode;
    bool m_separator;       // one blank goes before the next dictated text
    bool m_capitaliseNext;  // the next dictated text starts with a capital
    // Said once: commands cannot be heard before a dictation grammar exists.
    bool m_toldDictationGrammarMissing = false;
    std::array<KSR::CommandId, kFormattingCount> m_formattingCommandIds;
    KSR::GrammarActivationFunction m_grammarActivationFunction;
    KSR::BoolFunction m_dictationActivatedFunction;
    KSR::BoolFunction m_numeralsActivatedFunction;
    KSR::BoolFunction m_spellingActivatedFunction;
    KSR::BoolFunction m_capitalsActivatedFunction;

    mutable std::recursive_mutex m_mutex;
    // Grammars outlive the manager when the host holds them; their last
    // notification (from their destructor) must not reach a manager that is
    // gone. The grammar-changed functions hold this token weakly.
    std::shared_ptr<int> m_lifeToken;
};

#endif
