#ifndef KSR_SAPI_GRAMMAR_H
#define KSR_SAPI_GRAMMAR_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ksr_com_ptr.h"
#include "ksr_export.h"
#include "ksr_sapi_com.h"
#include "ksr_types.h"

namespace KSR {
class CommandPattern;
struct SlotRules;
}  // namespace KSR

// One SAPI command grammar (ISpRecoGrammar) made by the SAPI manager on the
// engine's context. Each rule is a top-level dynamic SAPI rule; each command
// is one word transition of its rule that carries the command id as its
// property value, so a recognition names grammar, rule and command by
// itself. A grammar may carry free dictation instead, and it keeps the text
// of its activation key for the manager.
//
// A command with arguments (addCommandPattern) is a rule of its own that
// one transition of its rule refers to, carrying the command's property the
// way a command's word does; its slots refer to rules the grammar shares
// between its patterns (number words, digits, letters, free words, and one
// rule per host list).
//
// The grammar's own maps change only after SAPI accepted a change. Rule ids
// come from one counter shared by every grammar of the process (from 10);
// command ids count from 0 in each rule, a failed addition taking none.
class KSR_EXPORT KSR_Grammar {
public:
    struct KSR_EXPORT CommandInfo {
        CommandInfo();
        ~CommandInfo();
        CommandInfo(const CommandInfo&) = delete;
        CommandInfo& operator=(const CommandInfo&) = delete;

        // False once removed. SAPI keeps the word of a removed command.
        bool active = false;
        // "Default_Property", the rule id, the command text (UTF-16, held
        // in `value`) and VT_I4 = the command id.
        SPPROPERTYINFO property;
        KSR::WideString value;
        // A command with arguments: its pattern, whose text is the
        // command's. Null for a plain command.
        std::shared_ptr<const KSR::CommandPattern> pattern;
    };

    struct RuleInfo {
        std::uint32_t nextCommandId = 0;
        KSR::RuleId ruleId = KSR::InvalidRuleId;
        // Mirror of the SAPI rule state.
        bool active = false;
        std::string name;
        // The rule's initial state, from GetRule.
        SPSTATEHANDLE state = nullptr;
        // By command text.
        std::map<std::string, std::shared_ptr<CommandInfo>> commands;
    };

    KSR_Grammar();
    // Copies share the SAPI grammar (adding a reference) and the rule and
    // command records.
    KSR_Grammar(const KSR_Grammar& other);
    KSR_Grammar& operator=(const KSR_Grammar& other);
    // Switches the grammar off (logging "Grammar does not exist" when there
    // is no SAPI grammar), then releases it.
    virtual ~KSR_Grammar();

    KSR::GrammarId id() const { return m_id; }
    void setId(KSR::GrammarId id) { m_id = id; }
    const std::string& activationKey() const { return m_activationKey; }
    void setActivationKey(const std::string& key) { m_activationKey = key; }
    bool isDictationEnabled() const { return m_dictationEnabled; }

    // The SAPI grammar, given by the manager.
    ISpRecoGrammar* sapiGrammar() const { return m_grammar.get(); }
    void setSapiGrammar(const KSR::ComPtr<ISpRecoGrammar>& grammar) { m_grammar = grammar; }
    // Empties the field, then releases the SAPI grammar.
    void releaseGrammar();

    // A new top-level rule, inactive; adding it switches every rule of the
    // grammar off. All bits set on failure.
    KSR::RuleId addRule(const std::string& name);
    // -1 on failure. A removed command of the same text comes back with its
    // old id, without a SAPI call.
    int addCommand(KSR::RuleId ruleId, const std::string& text, KSR::RequiredConfidence confidence);
    // A command with arguments, built with the host's `lists` as they are
    // now; ids, the "already added" check and removal as for addCommand,
    // the pattern's text standing for the command's. Its words ask for high
    // confidence. A pattern with a text slot loads SAPI's dictation topic
    // into the grammar (without activating free dictation), which SAPI
    // needs to hear dictated words inside a rule. -1 on failure.
    int addCommandPattern(KSR::RuleId ruleId, const std::shared_ptr<const KSR::CommandPattern>& pattern,
                          const KSR::SpokenLists& lists);
    // Gives the rule of the list NAME the spoken forms of `items` and
    // commits, when a pattern of this grammar uses the list; true when none
    // does.
    bool setList(const std::string& name, const KSR::SpokenList& items);
    // Marks the command removed; SAPI keeps recognising it.
    bool removeCommand(KSR::RuleId ruleId, int commandId);
    std::shared_ptr<CommandInfo> getCommand(KSR::RuleId ruleId, const std::string& text) const;
    std::shared_ptr<CommandInfo> getCommand(KSR::RuleId ruleId, int commandId) const;

    // Active rules in ascending id, and in each its commands not removed,
    // in command-text order.
    std::vector<int> getAvailableCommandIds() const;
    std::vector<std::string> getAvailableCommandNames() const;
    std::vector<KSR::RuleId> getRuleIds() const;
    bool ruleExists(KSR::RuleId ruleId) const;
    bool isRuleActivated(KSR::RuleId ruleId) const;
    // True when SAPI reports the grammar SPGS_ENABLED.
    bool isActive() const;

    bool setActivated(bool on);
    bool setRuleActivated(KSR::RuleId ruleId, bool on);
    // Loads (SPLO_STATIC) or unloads SAPI's dictation topic; loading does
    // not activate it, setActivated does.
    bool setDictationEnabled(bool on);

private:
    std::shared_ptr<RuleInfo> findRule(KSR::RuleId ruleId) const;
    // True when the rule knows the text: `commandId` is then -1 (an error
    // said) for an active command, and the old id for a removed one, which
    // is active again.
    bool takeKnownCommand(RuleInfo& rule, const std::string& text, int& commandId);
    // The record of the rule's next command, its property filled in.
    std::shared_ptr<CommandInfo> newCommand(const RuleInfo& rule, const std::string& text) const;
    // Commits the command's transitions and gives it its id; -1 with the
    // error line when SAPI refuses the commit.
    int commitCommand(RuleInfo& rule, const std::string& text, const std::shared_ptr<CommandInfo>& command);
    bool loadFreeWords();

    KSR::GrammarId m_id = KSR::InvalidGrammarId;
    KSR::ComPtr<ISpRecoGrammar> m_grammar;
    bool m_dictationEnabled = false;
    std::string m_activationKey;
    std::map<KSR::RuleId, std::shared_ptr<RuleInfo>> m_rules;
    // Shared by copies, as the rules are.
    std::shared_ptr<KSR::SlotRules> mp_slotRules;
};

#endif
