// KSR_Manager: activation keys, the engine's callbacks and the reporting
// operations.

#include <cstdint>

#include "ksr_logger.h"
#include "ksr_sapi_manager.h"

// ---- Activation keys ------------------------------------------------------

bool KSR_Manager::initActivationKeysGrammar()
{
    m_activationKeysGrammar = createGrammar();
    if (!m_activationKeysGrammar)
        return false;
    registerGrammar(m_activationKeysGrammar);
    m_activationKeysRuleId = m_activationKeysGrammar->addRule("Activation Keys");
    return m_activationKeysRuleId != KSR::InvalidRuleId;
}

// The key becomes a command of "Activation Keys" with high confidence, so
// SAPI itself demands a clear utterance before switching grammars. A key
// the grammar had before stays in the rule; saying it switches every keyed
// grammar off.
bool KSR_Manager::setActivationKey(std::shared_ptr<KSR_Grammar> grammar, const std::string& key)
{
    if (!grammar || grammar->id() == KSR::InvalidGrammarId || !m_activationKeysGrammar ||
        m_activationKeysRuleId == KSR::InvalidRuleId)
        return false;
    grammar->setActivationKey(key);
    if (!key.empty()) {
        const auto command = m_activationKeysGrammar->getCommand(m_activationKeysRuleId, key);
        if ((!command || !command->active) &&
            m_activationKeysGrammar->addCommand(m_activationKeysRuleId, key, KSR::High) == -1)
            return false;
    }
    return true;
}

bool KSR_Manager::setActivationKey(KSR::GrammarId grammarId, const std::string& key)
{
    const std::shared_ptr<KSR_Grammar> grammar = registered(grammarId);
    return grammar && setActivationKey(grammar, key);
}

// The grammar that used the key keeps it as its activation key.
bool KSR_Manager::removeActivationKey(const std::string& key)
{
    if (!m_activationKeysGrammar || m_activationKeysRuleId == KSR::InvalidRuleId)
        return false;
    const auto command = m_activationKeysGrammar->getCommand(m_activationKeysRuleId, key);
    if (!command)
        return false;
    return m_activationKeysGrammar->removeCommand(m_activationKeysRuleId, command->property.vValue.lVal);
}

void KSR_Manager::setGrammarActivationFunction(const std::function<void(KSR::GrammarId, bool)>& function)
{
    m_grammarActivationFunction = function;
}

// ---- Engine callbacks -----------------------------------------------------

// The recognizer's on/off state is mirrored into the grammars: switching it
// off remembers and switches off the grammars that were on, switching it on
// restores exactly those.
void KSR_Manager::engineStateChanged(bool active)
{
    if (active) {
        KSR_Logger::Log("engineStateChanged ACTIVATED");
        const std::vector<KSR::GrammarId> saved = m_savedActiveGrammars;
        for (const KSR::GrammarId grammarId : saved)
            setActivated(grammarId, true);
    } else {
        KSR_Logger::Log("engineStateChanged DE-ACTIVATED");
        m_savedActiveGrammars = getActiveGrammars();
        const std::vector<KSR::GrammarId> saved = m_savedActiveGrammars;
        for (const KSR::GrammarId grammarId : saved)
            setActivated(grammarId, false);
    }
}

// SAPI still recognizes removed commands (their words stay in its grammar);
// this is where they are dropped. A result whose grammar or command is not
// known here (dictation, command id -1) passes.
bool KSR_Manager::isRemovedCommand(const KSR::SRData& data) const
{
    const std::shared_ptr<KSR_Grammar> grammar = registered(data.grammarId);
    if (!grammar)
        return false;
    const auto command = grammar->getCommand(data.ruleId, static_cast<int>(data.commandId));
    return command && !command->active;
}

void KSR_Manager::mainHypothesisFunction(KSR::SRData data)
{
    mainHypothesisFunction(std::move(data), KSR_Engine::HeardWords());
}

void KSR_Manager::mainHypothesisFunction(KSR::SRData data, const KSR_Engine::HeardWords& heard)
{
    if (isRemovedCommand(data))
        return;
    readArguments(data, heard, true);
    processHypothesis(std::move(data));
}

void KSR_Manager::mainRecognitionFunction(KSR::SRData data)
{
    mainRecognitionFunction(std::move(data), KSR_Engine::HeardWords());
}

void KSR_Manager::mainRecognitionFunction(KSR::SRData data, const KSR_Engine::HeardWords& heard)
{
    if (isRemovedCommand(data))
        return;
    if (m_activationKeysGrammar && data.grammarId == m_activationKeysGrammar->id()) {
        // The grammar whose key was said goes on, every other keyed grammar
        // off; grammars without a key keep their state.
        const auto grammars = m_grammars;
        for (const auto& entry : grammars)
            if (!entry.second->activationKey().empty())
                setActivated(entry.first, entry.second->activationKey() == data.text);
        return;
    }
    if (!readArguments(data, heard, false)) {
        processRecognitionFailed();
        return;
    }
    processRecognition(std::move(data));
}

void KSR_Manager::mainRecognitionFailedFunction()
{
    processRecognitionFailed();
}

// ---- Reporting ------------------------------------------------------------

// The command id is widened with its sign and printed unsigned, so -1 reads
// 18446744073709551615, as in the Vosk manager's line.
void KSR_Manager::processRecognition(KSR::SRData data)
{
    const auto commandBits = static_cast<std::uint64_t>(static_cast<std::int64_t>(data.commandId));
    KSR_Logger::Log("Recognized: " + data.text + " gID:" + std::to_string(data.grammarId) +
                    " rID:" + std::to_string(data.ruleId) + " cID:" + std::to_string(commandBits));
}

void KSR_Manager::processRecognitionFailed()
{
    KSR_Logger::Log("Recognition failed...");
}

void KSR_Manager::processHypothesis(KSR::SRData data)
{
    KSR_Logger::Log("Hypothesis: " + data.text);
}
