// KSR_VoskManager: the grammar registry, building grammars, switching them
// and rebuilding the engine's phrase list when one changes.
//
// Grammar operations are made without the manager's lock (grammars guard
// themselves): their notifications then reach grammarChanged on a thread that
// holds nothing else, and only the registry itself is read under the lock.
#include "ksr_vosk_manager.h"

#include "ksr_logger.h"
#include "vosk_engine.h"
#include "common/ksr_text_case.h"

namespace {

// Process-wide: grammar ids are never reused, across managers either.
std::atomic<KSR::GrammarId> g_nextGrammarId{100};

}  // namespace

std::vector<std::shared_ptr<KSR_VoskGrammar>> KSR_VoskManager::registeredGrammars()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::vector<std::shared_ptr<KSR_VoskGrammar>> grammars;
    grammars.reserve(m_grammars.size());
    for (const auto& entry : m_grammars)
        grammars.push_back(entry.second);
    return grammars;
}

std::shared_ptr<KSR_VoskGrammar> KSR_VoskManager::grammarWithRule(KSR::RuleId ruleId)
{
    for (const auto& grammar : registeredGrammars())
        if (grammar->ruleExists(ruleId))
            return grammar;
    return nullptr;
}

std::shared_ptr<KSR_VoskGrammar> KSR_VoskManager::createGrammar()
{
    auto grammar = std::make_shared<KSR_VoskGrammar>();
    grammar->setId(g_nextGrammarId++);
    std::weak_ptr<int> alive = m_lifeToken;
    grammar->setGrammarChangedFunction([this, alive](KSR::GrammarId grammarId) {
        if (alive.lock())
            grammarChanged(grammarId);
    });
    return grammar;
}

bool KSR_VoskManager::registerGrammar(std::shared_ptr<KSR_VoskGrammar> grammar)
{
    if (!grammar)
        return false;
    const KSR::GrammarId grammarId = grammar->id();
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_grammars.emplace(grammarId, std::move(grammar)).second;
}

bool KSR_VoskManager::unregisterGrammar(std::shared_ptr<KSR_VoskGrammar> grammar)
{
    if (!grammar)
        return false;
    const KSR::GrammarId grammarId = grammar->id();
    // Released after the lock: the last reference may destroy the grammar,
    // whose destructor notifies.
    std::shared_ptr<KSR_VoskGrammar> released;
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const auto it = m_grammars.find(grammarId);
    if (it == m_grammars.end())
        return false;
    released = std::move(it->second);
    m_grammars.erase(it);
    return true;
}

bool KSR_VoskManager::destroyGrammar(std::shared_ptr<KSR_VoskGrammar> grammar)
{
    if (!grammar)
        return false;
    grammar.reset();
    return true;
}

std::shared_ptr<KSR_VoskGrammar> KSR_VoskManager::getGrammar(KSR::GrammarId grammarId)
{
    if (!m_initialized) {
        KSR_Logger::Error("KSR_VoskManager should be properly initialized before register a grammar!");
        return nullptr;
    }
    if (grammarId == KSR::InvalidGrammarId) {
        KSR_Logger::Error("Invalid grammar id!");
        return nullptr;
    }
    std::shared_ptr<KSR_VoskGrammar> grammar;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        const auto it = m_grammars.find(grammarId);
        if (it != m_grammars.end())
            grammar = it->second;
    }
    if (!grammar)
        KSR_Logger::Error("Requested grammar id has been removed!");
    return grammar;
}

std::vector<KSR::GrammarId> KSR_VoskManager::getActiveGrammars()
{
    std::vector<KSR::GrammarId> ids;
    for (const auto& grammar : registeredGrammars())
        if (grammar->isActive())
            ids.push_back(grammar->id());
    return ids;
}

bool KSR_VoskManager::isDictationGrammar(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    if (!grammar) {
        KSR_Logger::Log("Cannot probe grammar!");
        return false;
    }
    return grammar->isDictationEnabled();
}

KSR::GrammarId KSR_VoskManager::addCommandGrammar(const std::string& activationKey)
{
    if (!m_initialized) {
        KSR_Logger::Error("KSR_VoskManager should be properly initialized before register a grammar!");
        return KSR::InvalidGrammarId;
    }
    const std::shared_ptr<KSR_VoskGrammar> grammar = createGrammar();
    const KSR::GrammarId grammarId = grammar->id();
    // Each step runs only when the one before succeeded; a grammar whose key
    // is refused stays registered, without key, and its id is not returned.
    if (registerGrammar(grammar) && setActivationKey(grammar, activationKey) && setActivated(grammarId, false))
        return grammarId;
    return KSR::InvalidGrammarId;
}

KSR::RuleId KSR_VoskManager::addRule(KSR::GrammarId grammarId, const std::string& name)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    if (!grammar) {
        KSR_Logger::Log("Cannot add rule to grammar!");
        return KSR::InvalidRuleId;
    }
    return grammar->addRule(name);
}

KSR::CommandId KSR_VoskManager::addCommand(KSR::RuleId ruleId, const std::string& phrase)
{
    const std::string lowered = KSR::toLowerAscii(phrase);
    if (!wordsExist(lowered))
        return KSR::InvalidCommandId;
    const std::shared_ptr<KSR_VoskGrammar> grammar = grammarWithRule(ruleId);
    if (!grammar)
        return KSR::InvalidCommandId;
    return grammar->addCommand(ruleId, lowered, KSR::High);
}

bool KSR_VoskManager::removeCommand(KSR::RuleId ruleId, KSR::CommandId commandId)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = grammarWithRule(ruleId);
    return grammar && grammar->removeCommand(ruleId, commandId);
}

std::vector<int> KSR_VoskManager::getAvailableCommandIds(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    return grammar ? grammar->getAvailableCommandIds() : std::vector<int>();
}

std::vector<std::string> KSR_VoskManager::getAvailableCommandNames(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    return grammar ? grammar->getAvailableCommandNames() : std::vector<std::string>();
}

std::vector<unsigned long> KSR_VoskManager::getRuleIds(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    return grammar ? grammar->getRuleIds() : std::vector<unsigned long>();
}

bool KSR_VoskManager::isRuleActivated(KSR::RuleId ruleId)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = grammarWithRule(ruleId);
    if (!grammar) {
        KSR_Logger::Log("Requested rule does not exist!");
        return false;
    }
    return grammar->isRuleActivated(ruleId);
}

bool KSR_VoskManager::setRuleActivated(KSR::RuleId ruleId, bool activated)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = grammarWithRule(ruleId);
    if (!grammar) {
        KSR_Logger::Log("Requested rule does not exist!");
        return false;
    }
    return grammar->setRuleActivated(ruleId, activated);
}

bool KSR_VoskManager::phraseExists(const std::string& phrase) { return wordsExist(KSR::toLowerAscii(phrase)); }

bool KSR_VoskManager::setActivated(KSR::GrammarId grammarId, bool activated)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    if (!grammar) {
        KSR_Logger::Log("Cannot activate grammar!");
        return false;
    }
    grammar->setActivated(activated);

    Callouts callouts;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        // Dictation runs while any active grammar is a dictation grammar.
        bool dictationWanted = false;
        for (const auto& entry : m_grammars)
            if (entry.second->isActive() && entry.second->isDictationEnabled())
                dictationWanted = true;
        if (mp_engine && mp_engine->dictationModeEnabled() != dictationWanted) {
            mp_engine->setDictationModeEnabled(dictationWanted);
            callouts.push_back([function = m_dictationActivatedFunction, dictationWanted] {
                if (function)
                    function(dictationWanted);
            });
            if (m_capitalsMode) {
                m_capitalsMode = false;
                callouts.push_back([function = m_capitalsActivatedFunction] {
                    if (function)
                        function(false);
                });
            }
            if (dictationWanted) {
                // The first dictated text starts with a capital and no blank.
                m_separator = false;
                m_capitaliseNext = true;
            }
        }
        callouts.push_back([function = m_grammarActivationFunction, grammarId, activated] {
            if (function)
                function(grammarId, activated);
        });
    }
    runCallouts(callouts);
    return true;
}

void KSR_VoskManager::grammarChanged(KSR::GrammarId /*grammarId*/)
{
    // Check and restart under one lock: a change announced while another
    // thread restarts waits for it, then sees the engine listening and
    // restarts again, so no change is lost.
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (mp_engine && mp_engine->isActivated()) {
        mp_engine->setActivated(false);
        startRecognizing();
    }
}
