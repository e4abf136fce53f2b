// KSR_Manager: commands with arguments and the host's lists. A pattern
// becomes rules of its grammar, which only let SAPI propose words; the
// words it recognized are then matched against the command's pattern with
// the host's lists, which decides whether they are the command and what its
// slots hold.

#include "common/command_pattern.h"
#include "common/ksr_text_case.h"
#include "ksr_logger.h"
#include "ksr_sapi_manager.h"

KSR::CommandId KSR_Manager::addCommandPattern(KSR::RuleId ruleId, const std::string& pattern)
{
    const std::shared_ptr<const KSR::SpokenLists> lists = currentLists();
    std::string error;
    const std::shared_ptr<const KSR::CommandPattern> parsed =
        KSR::CommandPattern::parseHostPattern(pattern, *lists, error);
    if (!parsed) {
        KSR_Logger::Log("Command pattern \"" + pattern + "\" cannot be added: " + error);
        return KSR::InvalidCommandId;
    }
    const std::shared_ptr<KSR_Grammar> grammar = grammarWithRule(ruleId);
    if (!grammar)
        return KSR::InvalidCommandId;
    return grammar->addCommandPattern(ruleId, parsed, *lists);
}

bool KSR_Manager::setList(const std::string& name, const KSR::SpokenList& items)
{
    KSR::SpokenList lowered;
    std::string error;
    if (!KSR::CommandPattern::takeHostList(name, items, lowered, error)) {
        KSR_Logger::Log("List \"" + name + "\" cannot be set: " + error);
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(m_listsMutex);
        auto changed = std::make_shared<KSR::SpokenLists>(*mp_lists);
        (*changed)[name] = lowered;
        mp_lists = std::move(changed);
    }
    // SAPI hears the new spoken forms at once; the grammar says what failed.
    for (const auto& entry : m_grammars)
        if (!entry.second->setList(name, lowered))
            return false;
    return true;
}

KSR::SpokenList KSR_Manager::list(const std::string& name)
{
    const std::shared_ptr<const KSR::SpokenLists> lists = currentLists();
    const auto found = lists->find(name);
    return found == lists->end() ? KSR::SpokenList() : found->second;
}

std::shared_ptr<const KSR::SpokenLists> KSR_Manager::currentLists() const
{
    std::lock_guard<std::mutex> lock(m_listsMutex);
    return mp_lists;
}

bool KSR_Manager::readArguments(KSR::SRData& data, const KSR_Engine::HeardWords& heard, bool hypothesis) const
{
    const std::shared_ptr<KSR_Grammar> grammar = registered(data.grammarId);
    const auto command = grammar ? grammar->getCommand(data.ruleId, static_cast<int>(data.commandId)) : nullptr;
    if (!command || !command->pattern)
        return true;
    std::vector<std::string> words;
    for (const std::string& word : heard.words)
        words.push_back(KSR::toLowerAscii(word));
    std::vector<KSR::Argument> arguments;
    if (!command->pattern->match(words, *currentLists(), arguments))
        // A hypothesis may be a command not yet said to its end; it goes
        // on as SAPI reports it, without values.
        return hypothesis;
    // A hypothesis's confidences are the engine's guess so far, not a
    // judgement of the words.
    KSR::CommandPattern::rate(arguments, hypothesis ? std::vector<int>() : heard.confidences, words.size());
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    data.text = std::move(text);
    data.arguments = std::move(arguments);
    return true;
}
