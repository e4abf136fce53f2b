#ifndef KSR_SAPI_MANAGER_H
#define KSR_SAPI_MANAGER_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ksr_export.h"
#include "ksr_sapi_engine.h"
#include "ksr_sapi_grammar.h"
#include "ksr_types.h"

// The SAPI back end's public face: owns one in-process KSR_Engine, keeps the
// registry of KSR_Grammar objects by grammar id and the built-in grammar
// whose rule "Activation Keys" holds the spoken keys of the other grammars,
// drops results for removed commands, switches grammars when a key is heard
// and hands every other result to the virtual reporting operations, which
// only log here (the host interface turns them into signals).
//
// When the engine cannot be set up the manager stays alive without one:
// every later operation that needs it fails or does nothing. The manager
// never initialises COM; the host does, on its own threads.
class KSR_EXPORT KSR_Manager {
public:
    KSR_Manager();
    // The copy shares the grammars and the SAPI objects and gets an engine
    // of its own whose callbacks lead to the copy.
    KSR_Manager(const KSR_Manager& other);
    KSR_Manager& operator=(const KSR_Manager& other);
    // Drops the registry, deletes the engine and tears the shared logger
    // down (KSR_Logger::Destroy).
    virtual ~KSR_Manager();

    virtual bool isInitialized();

    // Grammar registry.
    std::shared_ptr<KSR_Grammar> createGrammar();
    bool registerGrammar(std::shared_ptr<KSR_Grammar> grammar);
    bool unregisterGrammar(std::shared_ptr<KSR_Grammar> grammar);
    // Only drops the reference passed in; the grammar stays registered.
    bool destroyGrammar(std::shared_ptr<KSR_Grammar> grammar);
    std::shared_ptr<KSR_Grammar> getGrammar(KSR::GrammarId grammarId);
    std::vector<KSR::GrammarId> getActiveGrammars();
    bool isDictationGrammar(KSR::GrammarId grammarId);

    // Building grammars.
    KSR::GrammarId addCommandGrammar(const std::string& activationKey);
    KSR::GrammarId addDictationGrammar(const std::string& activationKey);
    KSR::RuleId addRule(KSR::GrammarId grammarId, const std::string& name);
    KSR::CommandId addCommand(KSR::RuleId ruleId, const std::string& phrase);
    bool removeCommand(KSR::RuleId ruleId, KSR::CommandId commandId);
    std::vector<KSR::CommandId> getAvailableCommandIds(KSR::GrammarId grammarId);
    std::vector<std::string> getAvailableCommandNames(KSR::GrammarId grammarId);
    std::vector<KSR::RuleId> getRuleIds(KSR::GrammarId grammarId);
    bool isRuleActivated(KSR::RuleId ruleId);
    bool setRuleActivated(KSR::RuleId ruleId, bool on);
    // True when the recognizer can pronounce every word of the phrase.
    bool phraseExists(const std::string& phrase);
    bool setActivated(KSR::GrammarId grammarId, bool on);

    // Commands with arguments: a command said with values in it, written as
    // a pattern:
    //   go to line <line:number 1..10000>     select <n:number 1..20> words
    //   turn <colour:list colours>            spell <word:letters 1..12>
    //   call <code:digits 3..6>               find <query:text> [now]
    // Words outside the slots are lower-cased; as for addCommand, SAPI is
    // not asked whether it knows them. The recognized command arrives like
    // any other, its text the words heard, with the slots' values in
    // SRData::arguments; words SAPI proposes that the pattern does not
    // accept ("go to line" past the range's end) are a failed recognition.
    // Returns the command id (shared with the rule's commands, removed with
    // removeCommand), or -1 with one log line that names the problem. See
    // KSR::CommandPattern for the whole syntax.
    KSR::CommandId addCommandPattern(KSR::RuleId ruleId, const std::string& pattern);
    // Sets or replaces the host list NAME of list slots: each spoken form
    // (lower-cased) with the value that comes back for it. Every grammar
    // whose patterns use the list hears the new one at once, listening or
    // not. False with one log line for an empty name, an empty spoken form
    // or a grammar SAPI refused the list for.
    bool setList(const std::string& name, const KSR::SpokenList& items);
    // The list as set (empty when none is).
    KSR::SpokenList list(const std::string& name);

    // Activation keys.
    bool initActivationKeysGrammar();
    bool setActivationKey(std::shared_ptr<KSR_Grammar> grammar, const std::string& key);
    bool setActivationKey(KSR::GrammarId grammarId, const std::string& key);
    bool removeActivationKey(const std::string& key);
    void setGrammarActivationFunction(const std::function<void(KSR::GrammarId, bool)>& function);

    // Confidence in percent, through the engine's thresholds; without an
    // engine the getters give -1 and the setters false.
    int getCommandMinimumRequiredConfidence();
    int getCommandMaximumRequiredConfidence();
    int getCommandRequiredConfidence();
    bool setCommandRequiredConfidence(int value);
    bool setDictationRequiredConfidence(int value);

    // The engine's callbacks. Those with the words heard read the values
    // of a command with arguments; without them such a command is no
    // recognition (and a hypothesis of one comes without values).
    void engineStateChanged(bool active);
    void mainHypothesisFunction(KSR::SRData data);
    void mainHypothesisFunction(KSR::SRData data, const KSR_Engine::HeardWords& heard);
    void mainRecognitionFunction(KSR::SRData data);
    void mainRecognitionFunction(KSR::SRData data, const KSR_Engine::HeardWords& heard);
    void mainRecognitionFailedFunction();

    // Null when the engine could not be set up.
    KSR_Engine* engine() const { return mp_engine; }
    // The grammar of the rule "Activation Keys"; empty when there is none.
    std::shared_ptr<KSR_Grammar> activationKeysGrammar() const { return m_activationKeysGrammar; }

protected:
    // Reporting operations; these log with KSR_Logger::Log only.
    virtual void processRecognition(KSR::SRData data);
    virtual void processRecognitionFailed();
    virtual void processHypothesis(KSR::SRData data);

private:
    void installEngineCallbacks();
    void copyFrom(const KSR_Manager& other);
    void clear();
    std::shared_ptr<KSR_Grammar> registered(KSR::GrammarId grammarId) const;
    std::shared_ptr<KSR_Grammar> grammarWithRule(KSR::RuleId ruleId) const;
    bool isRemovedCommand(const KSR::SRData& data) const;
    // Matches the words of a command with arguments against its pattern and
    // fills in its text and arguments; false when they are not the command
    // (a hypothesis always passes). Other results are left as they are.
    bool readArguments(KSR::SRData& data, const KSR_Engine::HeardWords& heard, bool hypothesis) const;
    std::shared_ptr<const KSR::SpokenLists> currentLists() const;

    KSR_Engine* mp_engine = nullptr;
    std::map<KSR::GrammarId, std::shared_ptr<KSR_Grammar>> m_grammars;
    std::shared_ptr<KSR_Grammar> m_activationKeysGrammar;
    KSR::RuleId m_activationKeysRuleId = KSR::InvalidRuleId;
    std::vector<KSR::GrammarId> m_savedActiveGrammars;
    bool m_initialized = false;
    std::function<void(KSR::GrammarId, bool)> m_grammarActivationFunction;
    // The host's lists: replaced whole by setList on the host's thread and
    // read by the polling thread, which matches results against them.
    mutable std::mutex m_listsMutex;
    std::shared_ptr<const KSR::SpokenLists> mp_lists = std::make_shared<const KSR::SpokenLists>();
};

#endif
