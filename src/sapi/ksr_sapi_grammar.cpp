#include "ksr_sapi_grammar.h"

#include <atomic>

#include "ksr_logger.h"
#include "sapi/ksr_utf16.h"
#include "sapi/pattern_rules.h"
#include "sapi/result_code.h"

namespace {

// Rule ids are unique across the grammars of the process and never reused.
// The counter is read when SAPI is asked for the rule and advanced only
// once SAPI accepted it; grammars are built from one thread (the host's).
std::atomic<KSR::RuleId> s_nextRuleId{10};

const WCHAR* defaultPropertyName()
{
    static const KSR::WideString name = KSR::utf8ToUtf16("Default_Property");
    return name.c_str();
}

// SAPI reads a leading "+" as "high confidence required" and "-" as "low".
// The low prefix is "-+" on purpose (low runs on into the high case).
std::string confidencePrefix(KSR::RequiredConfidence confidence)
{
    std::string prefix;
    switch (confidence) {
    case KSR::Low:
        prefix += "-";
        // fall through
    case KSR::High:
        prefix += "+";
        break;
    default:
        break;
    }
    return prefix;
}

SPRULESTATE ruleState(bool on) { return on ? SPRS_ACTIVE : SPRS_INACTIVE; }

}  // namespace

KSR_Grammar::CommandInfo::CommandInfo()
{
    property.pszName = nullptr;
    property.ulId = 0;
    property.pszValue = nullptr;
    VariantInit(&property.vValue);
}

KSR_Grammar::CommandInfo::~CommandInfo()
{
    VariantClear(&property.vValue);
}

KSR_Grammar::KSR_Grammar()
    : mp_slotRules(std::make_shared<KSR::SlotRules>())
{
}

KSR_Grammar::KSR_Grammar(const KSR_Grammar& other) = default;
KSR_Grammar& KSR_Grammar::operator=(const KSR_Grammar& other) = default;

KSR_Grammar::~KSR_Grammar()
{
    setActivated(false);
    releaseGrammar();
}

void KSR_Grammar::releaseGrammar()
{
    m_grammar.reset();
}

std::shared_ptr<KSR_Grammar::RuleInfo> KSR_Grammar::findRule(KSR::RuleId ruleId) const
{
    const auto it = m_rules.find(ruleId);
    return it == m_rules.end() ? nullptr : it->second;
}

KSR::RuleId KSR_Grammar::addRule(const std::string& name)
{
    const KSR::WideString wideName = KSR::utf8ToUtf16(name);
    const KSR::RuleId ruleId = s_nextRuleId.load();
    SPSTATEHANDLE state = nullptr;
    if (!m_grammar ||
        FAILED(m_grammar->GetRule(wideName.c_str(), ruleId, SPRAF_TopLevel | SPRAF_Active, TRUE, &state))) {
        KSR_Logger::Error("Could not create rule " + name + "!");
        return KSR::InvalidRuleId;
    }
    // With no name SAPI switches every rule of the grammar, so the new rule
    // starts inactive and so do all the others; the records follow.
    if (FAILED(m_grammar->SetRuleState(nullptr, nullptr, SPRS_INACTIVE))) {
        KSR_Logger::Error("Could not deactivate rule " + name + " on start up!");
        return KSR::InvalidRuleId;
    }
    for (auto& entry : m_rules)
        entry.second->active = false;

    s_nextRuleId.fetch_add(1);
    auto rule = std::make_shared<RuleInfo>();
    rule->ruleId = ruleId;
    rule->name = name;
    rule->state = state;
    m_rules[ruleId] = rule;
    return ruleId;
}

int KSR_Grammar::addCommand(KSR::RuleId ruleId, const std::string& text, KSR::RequiredConfidence confidence)
{
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule) {
        KSR_Logger::Error("You need to add a rule before you add a command!");
        return -1;
    }
    int known = -1;
    if (takeKnownCommand(*rule, text, known))
        return known;

    const std::shared_ptr<CommandInfo> command = newCommand(*rule, text);
    const KSR::WideString word = KSR::utf8ToUtf16(confidencePrefix(confidence) + text);
    const KSR::WideString separators = KSR::utf8ToUtf16(" ");
    if (!m_grammar || FAILED(m_grammar->AddWordTransition(rule->state, nullptr, word.c_str(), separators.c_str(),
                                                          SPWT_LEXICAL, 1.0f, &command->property))) {
        KSR_Logger::Error("Could not add command " + text + "!");
        return -1;
    }
    return commitCommand(*rule, text, command);
}

int KSR_Grammar::commitCommand(RuleInfo& rule, const std::string& text, const std::shared_ptr<CommandInfo>& command)
{
    const HRESULT committed = m_grammar->Commit(0);
    if (FAILED(committed)) {
        KSR_Logger::Error("Could not commit command " + text + " to grammar! (Error code:" +
                          KSR::resultCodeText(committed) + ")");
        return -1;
    }

    const int commandId = static_cast<int>(rule.nextCommandId++);
    command->active = true;
    rule.commands[text] = command;
    return commandId;
}

bool KSR_Grammar::takeKnownCommand(RuleInfo& rule, const std::string& text, int& commandId)
{
    const auto existing = rule.commands.find(text);
    if (existing == rule.commands.end())
        return false;
    if (existing->second->active) {
        KSR_Logger::Error("Command " + text + " has already been added to rule " + rule.name);
        commandId = -1;
        return true;
    }
    // Removed earlier: its words never left the SAPI grammar.
    existing->second->active = true;
    commandId = existing->second->property.vValue.lVal;
    return true;
}

std::shared_ptr<KSR_Grammar::CommandInfo> KSR_Grammar::newCommand(const RuleInfo& rule, const std::string& text) const
{
    auto command = std::make_shared<CommandInfo>();
    command->value = KSR::utf8ToUtf16(text);
    command->property.pszName = defaultPropertyName();
    command->property.ulId = rule.ruleId;
    command->property.pszValue = command->value.c_str();
    command->property.vValue.vt = VT_I4;
    command->property.vValue.lVal = static_cast<LONG>(rule.nextCommandId);
    return command;
}

bool KSR_Grammar::removeCommand(KSR::RuleId ruleId, int commandId)
{
    const std::shared_ptr<CommandInfo> command = getCommand(ruleId, commandId);
    if (!command)
        return false;
    command->active = false;
    return true;
}

std::shared_ptr<KSR_Grammar::CommandInfo> KSR_Grammar::getCommand(KSR::RuleId ruleId, const std::string& text) const
{
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule)
        return nullptr;
    const auto it = rule->commands.find(text);
    return it == rule->commands.end() ? nullptr : it->second;
}

std::shared_ptr<KSR_Grammar::CommandInfo> KSR_Grammar::getCommand(KSR::RuleId ruleId, int commandId) const
{
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule)
        return nullptr;
    for (const auto& entry : rule->commands)
        if (entry.second->property.vValue.lVal == commandId)
            return entry.second;
    return nullptr;
}

std::vector<int> KSR_Grammar::getAvailableCommandIds() const
{
    std::vector<int> ids;
    for (const auto& rule : m_rules) {
        if (!rule.second->active)
            continue;
        for (const auto& command : rule.second->commands)
            if (command.second->active)
                ids.push_back(command.second->property.vValue.lVal);
    }
    return ids;
}

std::vector<std::string> KSR_Grammar::getAvailableCommandNames() const
{
    std::vector<std::string> names;
    for (const auto& rule : m_rules) {
        if (!rule.second->active)
            continue;
        for (const auto& command : rule.second->commands)
            if (command.second->active)
                names.push_back(command.first);
    }
    return names;
}

std::vector<KSR::RuleId> KSR_Grammar::getRuleIds() const
{
    std::vector<KSR::RuleId> ids;
    ids.reserve(m_rules.size());
    for (const auto& rule : m_rules)
        ids.push_back(rule.first);
    return ids;
}

bool KSR_Grammar::ruleExists(KSR::RuleId ruleId) const
{
    return m_rules.count(ruleId) != 0;
}

bool KSR_Grammar::isRuleActivated(KSR::RuleId ruleId) const
{
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    return rule && rule->active;
}

bool KSR_Grammar::isActive() const
{
    SPGRAMMARSTATE state = SPGS_DISABLED;
    return m_grammar && SUCCEEDED(m_grammar->GetGrammarState(&state)) && state == SPGS_ENABLED;
}

bool KSR_Grammar::setActivated(bool on)
{
    if (!m_grammar) {
        KSR_Logger::Error("Grammar does not exist");
        return false;
    }
    if (FAILED(m_grammar->SetGrammarState(on ? SPGS_ENABLED : SPGS_DISABLED))) {
        KSR_Logger::Error("Could not change grammar state");
        return false;
    }
    if (m_dictationEnabled) {
        if (FAILED(m_grammar->SetDictationState(ruleState(on)))) {
            KSR_Logger::Error("Could not change activation state of dictation grammar");
            return false;
        }
    } else if (!m_rules.empty()) {
        if (FAILED(m_grammar->SetRuleState(nullptr, nullptr, ruleState(on)))) {
            KSR_Logger::Error("Could not change activation state of command grammar");
            return false;
        }
    }
    for (auto& rule : m_rules)
        rule.second->active = on;
    return true;
}

bool KSR_Grammar::setRuleActivated(KSR::RuleId ruleId, bool on)
{
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule)
        return false;
    const KSR::WideString name = KSR::utf8ToUtf16(rule->name);
    const HRESULT hr = m_grammar ? m_grammar->SetRuleState(name.c_str(), nullptr, ruleState(on)) : E_POINTER;
    if (FAILED(hr)) {
        KSR_Logger::Error(std::string("Could not ") + (on ? "activate" : "deactivate") + " rule " + rule->name +
                          ". (Error code:" + KSR::resultCodeText(hr) + ")");
        return false;
    }
    rule->active = on;
    return true;
}

bool KSR_Grammar::setDictationEnabled(bool on)
{
    if (m_dictationEnabled == on)
        return true;
    HRESULT hr = E_POINTER;
    if (m_grammar)
        hr = on ? m_grammar->LoadDictation(nullptr, SPLO_STATIC) : m_grammar->UnloadDictation();
    if (FAILED(hr)) {
        // Unloading reports the same line, deliberately.
        KSR_Logger::Error("Could not load dictation!");
        return false;
    }
    m_dictationEnabled = on;
    return true;
}
