#ifndef KSR_VOSK_GRAMMAR_H
#define KSR_VOSK_GRAMMAR_H

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

namespace KSR {
class CommandPattern;
}

// The host's unit of voice commands for the Vosk back end: rules holding
// command phrases with integer ids. A plain in-memory registry that never
// talks to the recognizer; every change that can alter the phrases to listen
// for is announced through the grammar-changed function (the manager installs
// it to rebuild the engine's phrase list).
//
// Ids: rule ids come from one process-wide counter (first value 10) shared by
// every grammar; command ids count from 0 within each rule and stay with
// their phrase for good (a removed command is only marked unavailable).
//
// Threads: the host and the recognition thread may use one grammar at the
// same time. Every operation holds the grammar's lock; the grammar-changed
// function is always called after the lock is released, so it may call back
// into the grammar. Copies share the rule records with their source and
// therefore also the lock that guards them.
class KSR_EXPORT KSR_VoskGrammar {
public:
    // One command phrase of a rule. Records are shared (std::shared_ptr) so
    // that a record handed out stays valid after its command is removed or
    // its grammar is gone. Everything but `available` is fixed at creation.
    struct CommandInfo {
        KSR::CommandId commandId = KSR::InvalidCommandId;
        KSR::RuleId ruleId = KSR::InvalidRuleId;
        KSR::GrammarId grammarId = KSR::InvalidGrammarId;
        std::string phrase;
        // A command with arguments (addCommandPattern): its parsed pattern,
        // whose text is `phrase`. Null for a plain phrase.
        std::shared_ptr<const KSR::CommandPattern> pattern;
        // Cleared by removeCommand, set again when the phrase is re-added;
        // atomic because holders of a record read it while the grammar
        // changes it.
        std::atomic<bool> available{false};

        CommandInfo() = default;
        CommandInfo(const CommandInfo& other);
        CommandInfo& operator=(const CommandInfo& other);
    };

    using CommandMap = std::map<std::string, std::shared_ptr<CommandInfo>>;

    struct RuleInfo {
        std::uint32_t nextCommandId = 0;
        KSR::RuleId ruleId = KSR::InvalidRuleId;
        bool active = false;
        std::string name;
        CommandMap commands;  // by phrase, byte-wise order
    };

    KSR_VoskGrammar();
    KSR_VoskGrammar(const KSR_VoskGrammar& other);
    KSR_VoskGrammar& operator=(const KSR_VoskGrammar& other);
    // Switches the grammar off first, so an installed grammar-changed
    // function hears of it one last time.
    virtual ~KSR_VoskGrammar();

    KSR::GrammarId id() const;
    void setId(KSR::GrammarId id);
    std::string activationKey() const;
    void setActivationKey(const std::string& key);

    // 4294967295 when a rule of that name exists already.
    KSR::RuleId addRule(const std::string& name);
    // The confidence is accepted and ignored: one global command threshold
    // applies to every Vosk command.
    KSR::CommandId addCommand(KSR::RuleId ruleId, const std::string& phrase, KSR::RequiredConfidence confidence);
    // A command with arguments, keyed by the pattern's text like a phrase
    // (the two share the rule's command ids and its "already added" rule).
    KSR::CommandId addCommandPattern(KSR::RuleId ruleId, std::shared_ptr<const KSR::CommandPattern> pattern);
    bool removeCommand(KSR::RuleId ruleId, KSR::CommandId commandId);
    std::shared_ptr<CommandInfo> getCommand(KSR::RuleId ruleId, const std::string& phrase) const;
    std::shared_ptr<CommandInfo> getCommand(KSR::RuleId ruleId, KSR::CommandId commandId) const;
    std::vector<unsigned long> getRuleIds() const;
    bool ruleExists(KSR::RuleId ruleId) const;
    bool isRuleActivated(KSR::RuleId ruleId) const;
    bool setRuleActivated(KSR::RuleId ruleId, bool activated);
    bool setActivated(bool activated);
    bool isActive() const;
    bool setDictationEnabled(bool enabled);
    bool isDictationEnabled() const;
    void setGrammarChangedFunction(const KSR::GrammarChangedFunction& function);

    // The available commands of the active rules: rules in ascending id,
    // commands in phrase order.
    std::vector<int> getAvailableCommandIds() const;
    std::vector<std::string> getAvailableCommandNames() const;
    // Keyed by phrase; when two active rules hold one phrase the rule with
    // the higher id wins.
    CommandMap getAvailableCommands() const;
    // Appends the records of the available commands of the active rules,
    // rules in ascending id, commands in phrase order: getAvailableCommands
    // and getAvailableCommandNames in one step, so that the two agree while
    // another thread changes the grammar.
    void collectAvailableCommands(std::vector<std::shared_ptr<CommandInfo>>& commands) const;
    // The same for every rule, active or not: what switching the grammar on
    // would make available.
    void collectCommandsOfAllRules(std::vector<std::shared_ptr<CommandInfo>>& commands) const;

private:
    using RuleMap = std::map<KSR::RuleId, std::shared_ptr<RuleInfo>>;

    // Calls the grammar-changed function (if any) with the id; never called
    // with the lock held.
    void notify() const;
    std::shared_ptr<RuleInfo> findRule(KSR::RuleId ruleId) const;
    KSR::CommandId addRecord(KSR::RuleId ruleId, const std::string& phrase,
                             std::shared_ptr<const KSR::CommandPattern> pattern);
    void collectCommands(std::vector<std::shared_ptr<CommandInfo>>& commands, bool activeRulesOnly) const;

    KSR::GrammarId m_id;
    bool m_dictationEnabled;
    bool m_active;
    std::string m_activationKey;
    KSR::GrammarChangedFunction m_grammarChangedFunction;
    RuleMap m_rules;

    std::shared_ptr<std::mutex> m_mutex;
};

#endif
