// KSR_VoskManager: a recognized command phrase back to grammar, rule and
// command ids; the spoken activation keys; the reporting operations.
#include "ksr_vosk_manager.h"

#include "ksr_logger.h"
#include "vosk_engine.h"
#include "common/ksr_text_case.h"

namespace {

const char* const kActivationKeysRuleName = "Activation Keys";

}  // namespace

void KSR_VoskManager::commandRecognized(const std::string& phrase, KSR::RecognitionState state)
{
    commandRecognized(phrase, std::vector<int>(), state);
}

void KSR_VoskManager::commandRecognized(const std::string& phrase, const std::vector<int>& wordConfidences,
                                        KSR::RecognitionState state)
{
    if (state == KSR::Failed) {
        processRecognitionFailed();
        return;
    }

    KSR::SRData data;
    data.text = phrase;
    KSR::GrammarId keysGrammarId = KSR::InvalidGrammarId;
    bool formatting = false;
    Callouts callouts;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        // A phrase that is no longer a command gets an empty record (kept in
        // the map on purpose) and is reported as a failure below.
        std::shared_ptr<KSR_VoskGrammar::CommandInfo> record;
        if (!m_phraseMap.count(phrase))
            record = matchPatternLocked(phrase, wordConfidences, data.arguments);
        if (!record)
            record = m_phraseMap[phrase];
        if (record) {
            data.grammarId = record->grammarId;
            data.ruleId = record->ruleId;
            data.commandId = record->commandId;
        }
        if (m_activationKeysGrammar)
            keysGrammarId = m_activationKeysGrammar->id();
        formatting = state != KSR::Hypothesis && data.commandId != KSR::InvalidCommandId &&
                     data.grammarId != keysGrammarId && data.grammarId == m_dictationGrammarId &&
                     data.ruleId == static_cast<KSR::RuleId>(m_dictationRuleId);
        if (formatting) {
            data.text.clear();
            for (std::size_t i = 0; i < kFormattingCount; ++i) {
                if (m_formattingCommandIds[i] == data.commandId) {
                    data.text = applyFormattingLocked(i, callouts);
                    break;
                }
            }
        }
    }

    if (data.commandId == KSR::InvalidCommandId) {
        processRecognitionFailed();
        return;
    }
    if (state == KSR::Hypothesis) {
        processHypothesis(data);
        return;
    }
    if (keysGrammarId != KSR::InvalidGrammarId && data.grammarId == keysGrammarId) {
        // The grammar whose key was spoken goes on, every other keyed grammar
        // off; grammars without a key keep their state. Nothing is reported.
        for (const auto& grammar : registeredGrammars()) {
            const std::string key = grammar->activationKey();
            if (!key.empty())
                setActivated(grammar->id(), key == phrase);
        }
        return;
    }
    runCallouts(callouts);
    processRecognition(data);
}

void KSR_VoskManager::processRecognition(KSR::SRData data)
{
    // The command id is widened with its sign and printed unsigned: -1 is
    // written 18446744073709551615.
    const std::uint64_t commandId = static_cast<std::uint64_t>(static_cast<std::int64_t>(data.commandId));
    KSR_Logger::Log("Recognized: " + data.text + " gID:" + std::to_string(data.grammarId) +
                    " rID:" + std::to_string(data.ruleId) + " cID:" + std::to_string(commandId));
}

void KSR_VoskManager::processRecognitionFailed() { KSR_Logger::Log("Recognition failed..."); }

void KSR_VoskManager::processHypothesis(KSR::SRData data) { KSR_Logger::Log("Hypothesis: " + data.text); }

void KSR_VoskManager::setGrammarActivationFunction(const KSR::GrammarActivationFunction& function)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_grammarActivationFunction = function;
}

bool KSR_VoskManager::initActivationKeysGrammar()
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = createGrammar();
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_activationKeysGrammar = grammar;
    }
    registerGrammar(grammar);
    const KSR::RuleId ruleId = grammar->addRule(kActivationKeysRuleName);
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_activationKeysRuleId = ruleId;
    return ruleId != KSR::InvalidRuleId;
}

bool KSR_VoskManager::activationKeysRule(std::shared_ptr<KSR_VoskGrammar>& grammar, KSR::RuleId& ruleId)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    grammar = m_activationKeysGrammar;
    ruleId = m_activationKeysRuleId;
    return grammar && ruleId != KSR::InvalidRuleId;
}

bool KSR_VoskManager::setActivationKey(std::shared_ptr<KSR_VoskGrammar> grammar, const std::string& key)
{
    if (!grammar || grammar->id() == KSR::InvalidGrammarId)
        return false;
    std::shared_ptr<KSR_VoskGrammar> keys;
    KSR::RuleId keysRuleId;
    if (!activationKeysRule(keys, keysRuleId))
        return false;

    const std::string lowered = KSR::toLowerAscii(key);
    if (!lowered.empty() && !wordsExist(lowered))
        return false;
    grammar->setActivationKey(lowered);
    if (lowered.empty())
        return true;

    // A previous key of the grammar stays in the rule on purpose: it matches
    // no grammar any more, so saying it switches every keyed grammar off.
    const std::shared_ptr<KSR_VoskGrammar::CommandInfo> existing = keys->getCommand(keysRuleId, lowered);
    if (existing && existing->available)
        return true;
    return keys->addCommand(keysRuleId, lowered, KSR::High) != KSR::InvalidCommandId;
}

bool KSR_VoskManager::setActivationKey(KSR::GrammarId grammarId, const std::string& key)
{
    std::shared_ptr<KSR_VoskGrammar> grammar;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        const auto it = m_grammars.find(grammarId);
        if (it == m_grammars.end())
            return false;
        grammar = it->second;
    }
    return setActivationKey(grammar, key);
}

// The key is taken exactly as passed (not lower-cased); the grammar that used
// it keeps it as its activation key.
bool KSR_VoskManager::removeActivationKey(const std::string& key)
{
    std::shared_ptr<KSR_VoskGrammar> keys;
    KSR::RuleId keysRuleId;
    if (!activationKeysRule(keys, keysRuleId))
        return false;
    const std::shared_ptr<KSR_VoskGrammar::CommandInfo> command = keys->getCommand(keysRuleId, key);
    if (!command)
        return false;
    return keys->removeCommand(keysRuleId, command->commandId);
}
