// KSR_VoskManager: commands with arguments. Patterns live in the grammars
// beside the phrases; the available ones go to the engine as one set made
// with the host's lists, and a recognized text that is no phrase is matched
// against the same set to find its command and its slots' values.
#include "ksr_vosk_manager.h"

#include "common/command_pattern.h"
#include "common/command_pattern_set.h"
#include "ksr_logger.h"
#include "vosk_engine.h"
#include "vosk_model.h"

namespace {

const char* const kNoModel = "KSR_VoskManager must have a valid acoustic model!";

// Why the words cannot be heard: the first the model does not know; empty
// when it knows them all.
std::string unknownWordIn(const Vosk::Model& model, const std::vector<std::string>& words)
{
    for (const std::string& word : words)
        if (!model.findWord(word))
            return "the model does not know the word \"" + word + "\"";
    return std::string();
}

}  // namespace

std::shared_ptr<const KSR::CommandPattern> KSR_VoskManager::parsePattern(const std::string& pattern,
                                                                        std::string& error)
{
    const Vosk::Model* model = mp_engine ? mp_engine->model() : nullptr;
    if (!model) {
        error = kNoModel;
        return nullptr;
    }
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::shared_ptr<const KSR::CommandPattern> parsed = KSR::CommandPattern::parseHostPattern(pattern, m_lists, error);
    if (!parsed)
        return nullptr;
    error = unknownWordIn(*model, parsed->vocabulary(m_lists));
    return error.empty() ? parsed : nullptr;
}

bool KSR_VoskManager::normalizeList(const std::string& name, const KSR::SpokenList& items,
                                    KSR::SpokenList& normalized, std::string& error)
{
    const Vosk::Model* model = mp_engine ? mp_engine->model() : nullptr;
    if (!model) {
        error = kNoModel;
        return false;
    }
    if (!KSR::CommandPattern::takeHostList(name, items, normalized, error))
        return false;
    for (const auto& entry : normalized) {
        std::vector<std::string> words;
        KSR::splitString(entry.first, ' ', false, words);
        error = unknownWordIn(*model, words);
        if (!error.empty())
            return false;
    }
    return true;
}

KSR::CommandId KSR_VoskManager::addCommandPattern(KSR::RuleId ruleId, const std::string& pattern)
{
    std::string error;
    std::shared_ptr<const KSR::CommandPattern> parsed = parsePattern(pattern, error);
    if (error == kNoModel) {
        KSR_Logger::Error(kNoModel);
        return KSR::InvalidCommandId;
    }
    if (!parsed) {
        KSR_Logger::Log("Command pattern \"" + pattern + "\" cannot be added: " + error);
        return KSR::InvalidCommandId;
    }
    const std::shared_ptr<KSR_VoskGrammar> grammar = grammarWithRule(ruleId);
    if (!grammar)
        return KSR::InvalidCommandId;
    return grammar->addCommandPattern(ruleId, parsed);
}

bool KSR_VoskManager::setList(const std::string& name, const KSR::SpokenList& items)
{
    std::string error;
    KSR::SpokenList normalized;
    if (!normalizeList(name, items, normalized, error)) {
        if (error == kNoModel)
            KSR_Logger::Error(kNoModel);
        else
            KSR_Logger::Log("List \"" + name + "\" cannot be set: " + error);
        return false;
    }
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_lists[name] = std::move(normalized);
    }
    // The grammar follows the list at once while listening.
    grammarChanged(KSR::InvalidGrammarId);
    return true;
}

std::string KSR_VoskManager::patternProblem(const std::string& pattern)
{
    std::string error;
    parsePattern(pattern, error);
    return error;
}

std::string KSR_VoskManager::listProblem(const std::string& name, const KSR::SpokenList& items)
{
    std::string error;
    KSR::SpokenList normalized;
    normalizeList(name, items, normalized, error);
    return error;
}

KSR::SpokenList KSR_VoskManager::list(const std::string& name)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const auto found = m_lists.find(name);
    return found == m_lists.end() ? KSR::SpokenList() : found->second;
}

void KSR_VoskManager::setPatternsLocked(const std::vector<std::shared_ptr<KSR_VoskGrammar::CommandInfo>>& commands)
{
    std::vector<std::shared_ptr<const KSR::CommandPattern>> patterns;
    m_patternRecords.clear();
    for (const auto& command : commands) {
        if (!command->pattern)
            continue;
        patterns.push_back(command->pattern);
        m_patternRecords.push_back(command);
    }
    // A rebuild for a change elsewhere keeps the set, and the engine then
    // need not make its grammar phrases again.
    if (patterns.empty())
        mp_patternSet.reset();
    else if (!mp_patternSet || !mp_patternSet->sameAs(patterns, m_lists))
        mp_patternSet = std::make_shared<const KSR::CommandPatternSet>(patterns, m_lists);
    if (mp_engine)
        mp_engine->setCommandPatterns(mp_patternSet);
}

std::shared_ptr<KSR_VoskGrammar::CommandInfo> KSR_VoskManager::matchPatternLocked(
    const std::string& phrase, const std::vector<int>& wordConfidences, std::vector<KSR::Argument>& arguments)
{
    if (!mp_patternSet)
        return nullptr;
    std::vector<std::string> words;
    KSR::splitString(phrase, ' ', false, words);
    const int index = mp_patternSet->match(words, 0, words.size(), arguments);
    if (index < 0)
        return nullptr;
    KSR::CommandPattern::rate(arguments, wordConfidences, words.size());
    return m_patternRecords[static_cast<std::size_t>(index)];
}
