#include "ksr_vosk_grammar.h"

#include "common/command_pattern.h"
#include "ksr_logger.h"

namespace {

// Shared by every grammar of the process, so rule ids are unique across
// grammars and never reused.
std::atomic<KSR::RuleId> g_nextRuleId{10};

}  // namespace

KSR_VoskGrammar::CommandInfo::CommandInfo(const CommandInfo& other)
    : commandId(other.commandId),
      ruleId(other.ruleId),
      grammarId(other.grammarId),
      phrase(other.phrase),
      pattern(other.pattern),
      available(other.available.load())
{
}

KSR_VoskGrammar::CommandInfo& KSR_VoskGrammar::CommandInfo::operator=(const CommandInfo& other)
{
    commandId = other.commandId;
    ruleId = other.ruleId;
    grammarId = other.grammarId;
    phrase = other.phrase;
    pattern = other.pattern;
    available = other.available.load();
    return *this;
}

KSR_VoskGrammar::KSR_VoskGrammar()
    : m_id(KSR::InvalidGrammarId),
      m_dictationEnabled(false),
      m_active(false),
      m_mutex(std::make_shared<std::mutex>())
{
}

KSR_VoskGrammar::KSR_VoskGrammar(const KSR_VoskGrammar& other)
{
    std::lock_guard<std::mutex> lock(*other.m_mutex);
    m_id = other.m_id;
    m_dictationEnabled = other.m_dictationEnabled;
    m_active = other.m_active;
    m_activationKey = other.m_activationKey;
    m_grammarChangedFunction = other.m_grammarChangedFunction;
    m_rules = other.m_rules;
    m_mutex = other.m_mutex;
}

KSR_VoskGrammar& KSR_VoskGrammar::operator=(const KSR_VoskGrammar& other)
{
    if (this == &other)
        return *this;
    // Taken apart so that the two locks are never held together (they may be
    // the same lock when one grammar is a copy of the other).
    KSR_VoskGrammar copy(other);
    m_id = copy.m_id;
    m_dictationEnabled = copy.m_dictationEnabled;
    m_active = copy.m_active;
    m_activationKey = std::move(copy.m_activationKey);
    m_grammarChangedFunction = std::move(copy.m_grammarChangedFunction);
    m_rules = std::move(copy.m_rules);
    copy.m_rules.clear();
    m_mutex = copy.m_mutex;
    // The temporary must not announce a switch-off of the grammar it was
    // copied from.
    copy.m_grammarChangedFunction = nullptr;
    return *this;
}

KSR_VoskGrammar::~KSR_VoskGrammar()
{
    setActivated(false);
}

void KSR_VoskGrammar::notify() const
{
    KSR::GrammarChangedFunction function;
    KSR::GrammarId id;
    {
        std::lock_guard<std::mutex> lock(*m_mutex);
        function = m_grammarChangedFunction;
        id = m_id;
    }
    if (function)
        function(id);
}

std::shared_ptr<KSR_VoskGrammar::RuleInfo> KSR_VoskGrammar::findRule(KSR::RuleId ruleId) const
{
    const auto it = m_rules.find(ruleId);
    return it == m_rules.end() ? nullptr : it->second;
}

KSR::GrammarId KSR_VoskGrammar::id() const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    return m_id;
}

void KSR_VoskGrammar::setId(KSR::GrammarId id)
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    m_id = id;
}

std::string KSR_VoskGrammar::activationKey() const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    return m_activationKey;
}

void KSR_VoskGrammar::setActivationKey(const std::string& key)
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    m_activationKey = key;
}

KSR::RuleId KSR_VoskGrammar::addRule(const std::string& name)
{
    KSR::RuleId ruleId;
    {
        std::lock_guard<std::mutex> lock(*m_mutex);
        for (const auto& entry : m_rules)
            if (entry.second->name == name)
                return KSR::InvalidRuleId;
        // A new rule leaves the grammar without an active rule until the
        // caller switches one on again.
        for (auto& entry : m_rules)
            entry.second->active = false;
        ruleId = g_nextRuleId++;
        auto rule = std::make_shared<RuleInfo>();
        rule->ruleId = ruleId;
        rule->name = name;
        m_rules[ruleId] = rule;
    }
    notify();
    return ruleId;
}

KSR::CommandId KSR_VoskGrammar::addCommand(KSR::RuleId ruleId, const std::string& phrase,
                                           KSR::RequiredConfidence /*confidence*/)
{
    return addRecord(ruleId, phrase, nullptr);
}

KSR::CommandId KSR_VoskGrammar::addCommandPattern(KSR::RuleId ruleId,
                                                  std::shared_ptr<const KSR::CommandPattern> pattern)
{
    if (!pattern)
        return KSR::InvalidCommandId;
    const std::string text = pattern->text();
    return addRecord(ruleId, text, std::move(pattern));
}

KSR::CommandId KSR_VoskGrammar::addRecord(KSR::RuleId ruleId, const std::string& phrase,
                                          std::shared_ptr<const KSR::CommandPattern> pattern)
{
    KSR::CommandId commandId;
    {
        std::unique_lock<std::mutex> lock(*m_mutex);
        const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
        if (!rule) {
            lock.unlock();
            KSR_Logger::Error("You need to add a rule before you add a command!");
            return KSR::InvalidCommandId;
        }
        const auto existing = rule->commands.find(phrase);
        if (existing != rule->commands.end()) {
            if (existing->second->available) {
                const std::string message =
                    "Command " + phrase + " has already been added to rule " + rule->name + "!";
                lock.unlock();
                KSR_Logger::Log(message);
                return KSR::InvalidCommandId;
            }
            existing->second->available = true;
            commandId = existing->second->commandId;
        } else {
            auto command = std::make_shared<CommandInfo>();
            command->commandId = static_cast<KSR::CommandId>(rule->nextCommandId++);
            command->ruleId = ruleId;
            command->grammarId = m_id;
            command->phrase = phrase;
            command->pattern = std::move(pattern);
            command->available = true;
            commandId = command->commandId;
            rule->commands.emplace(phrase, std::move(command));
        }
    }
    notify();
    return commandId;
}

bool KSR_VoskGrammar::removeCommand(KSR::RuleId ruleId, KSR::CommandId commandId)
{
    const std::shared_ptr<CommandInfo> command = getCommand(ruleId, commandId);
    if (!command)
        return false;
    command->available = false;
    notify();
    return true;
}

std::shared_ptr<KSR_VoskGrammar::CommandInfo> KSR_VoskGrammar::getCommand(KSR::RuleId ruleId,
                                                                          const std::string& phrase) const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule)
        return nullptr;
    const auto it = rule->commands.find(phrase);
    return it == rule->commands.end() ? nullptr : it->second;
}

std::shared_ptr<KSR_VoskGrammar::CommandInfo> KSR_VoskGrammar::getCommand(KSR::RuleId ruleId,
                                                                          KSR::CommandId commandId) const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule)
        return nullptr;
    for (const auto& entry : rule->commands)
        if (entry.second->commandId == commandId)
            return entry.second;
    return nullptr;
}

std::vector<unsigned long> KSR_VoskGrammar::getRuleIds() const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    std::vector<unsigned long> ids;
    ids.reserve(m_rules.size());
    for (const auto& entry : m_rules)
        ids.push_back(entry.first);
    return ids;
}

bool KSR_VoskGrammar::ruleExists(KSR::RuleId ruleId) const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    return m_rules.count(ruleId) != 0;
}

bool KSR_VoskGrammar::isRuleActivated(KSR::RuleId ruleId) const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    return rule && rule->active;
}

bool KSR_VoskGrammar::setRuleActivated(KSR::RuleId ruleId, bool activated)
{
    {
        std::lock_guard<std::mutex> lock(*m_mutex);
        const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
        if (!rule)
            return false;
        rule->active = activated;
    }
    notify();
    return true;
}

bool KSR_VoskGrammar::setActivated(bool activated)
{
    {
        std::lock_guard<std::mutex> lock(*m_mutex);
        m_active = activated;
        for (auto& entry : m_rules)
            entry.second->active = activated;
    }
    notify();
    return true;
}

bool KSR_VoskGrammar::isActive() const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    return m_active;
}

bool KSR_VoskGrammar::setDictationEnabled(bool enabled)
{
    {
        std::lock_guard<std::mutex> lock(*m_mutex);
        m_dictationEnabled = enabled;
    }
    notify();
    return true;
}

bool KSR_VoskGrammar::isDictationEnabled() const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    return m_dictationEnabled;
}

void KSR_VoskGrammar::setGrammarChangedFunction(const KSR::GrammarChangedFunction& function)
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    m_grammarChangedFunction = function;
}

std::vector<int> KSR_VoskGrammar::getAvailableCommandIds() const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    std::vector<int> ids;
    for (const auto& rule : m_rules) {
        if (!rule.second->active)
            continue;
        for (const auto& command : rule.second->commands)
            if (command.second->available)
                ids.push_back(command.second->commandId);
    }
    return ids;
}

std::vector<std::string> KSR_VoskGrammar::getAvailableCommandNames() const
{
    std::vector<std::shared_ptr<CommandInfo>> commands;
    collectAvailableCommands(commands);
    std::vector<std::string> names;
    names.reserve(commands.size());
    for (const auto& command : commands)
        names.push_back(command->phrase);
    return names;
}

KSR_VoskGrammar::CommandMap KSR_VoskGrammar::getAvailableCommands() const
{
    std::vector<std::shared_ptr<CommandInfo>> commands;
    collectAvailableCommands(commands);
    CommandMap map;
    // Assigned in ascending rule order: the higher rule id wins a phrase.
    for (const auto& command : commands)
        map[command->phrase] = command;
    return map;
}

void KSR_VoskGrammar::collectAvailableCommands(std::vector<std::shared_ptr<CommandInfo>>& commands) const
{
    collectCommands(commands, true);
}

void KSR_VoskGrammar::collectCommandsOfAllRules(std::vector<std::shared_ptr<CommandInfo>>& commands) const
{
    collectCommands(commands, false);
}

void KSR_VoskGrammar::collectCommands(std::vector<std::shared_ptr<CommandInfo>>& commands, bool activeRulesOnly) const
{
    std::lock_guard<std::mutex> lock(*m_mutex);
    for (const auto& rule : m_rules) {
        if (activeRulesOnly && !rule.second->active)
            continue;
        for (const auto& command : rule.second->commands)
            if (command.second->available)
                commands.push_back(command.second);
    }
}
