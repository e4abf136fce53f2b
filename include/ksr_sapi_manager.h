#ifndef KSR_SAPI_MANAGER_H
#define KSR_SAPI_MANAGER_H

#include <functional>
#include <map>
#include <memory>
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

    // The engine's callbacks.
    void engineStateChanged(bool active);
    void mainHypothesisFunction(KSR::SRData data);
    void mainRecognitionFunction(KSR::SRData data);
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

    KSR_Engine* mp_engine = nullptr;
    std::map<KSR::GrammarId, std::shared_ptr<KSR_Grammar>> m_grammars;
    std::shared_ptr<KSR_Grammar> m_activationKeysGrammar;
    KSR::RuleId m_activationKeysRuleId = KSR::InvalidRuleId;
    std::vector<KSR::GrammarId> m_savedActiveGrammars;
    bool m_initialized = false;
    std::function<void(KSR::GrammarId, bool)> m_grammarActivationFunction;
};

#endif
