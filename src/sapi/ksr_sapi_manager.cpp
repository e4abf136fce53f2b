// KSR_Manager: set-up, grammar registry, building grammars and confidence.
// Activation keys and result routing are in ksr_sapi_manager_routing.cpp.

#include "ksr_sapi_manager.h"

#include <atomic>

#include "ksr_logger.h"
#include "sapi/ksr_utf16.h"

namespace {

// Grammar ids are unique across the SAPI managers of the process and never
// reused; they double as SAPI's grammar ids.
std::atomic<KSR::GrammarId> s_nextGrammarId{100};

// The high threshold the manager asks for; a profile whose normal threshold
// is above it makes the manager fail on purpose (commands could otherwise
// never demand more than ordinary speech).
constexpr int kHighThreshold = 90;

}  // namespace

KSR_Manager::KSR_Manager()
    : mp_engine(new KSR_Engine(false))
{
    installEngineCallbacks();
    m_initialized = mp_engine->initialize();
    if (m_initialized) {
        const int normal = mp_engine->getConfidenceThreshold(KSR::Normal);
        if (static_cast<unsigned>(normal) <= static_cast<unsigned>(kHighThreshold))
            m_initialized = mp_engine->setConfidenceThreshold(KSR::High, kHighThreshold) && m_initialized;
        else
            m_initialized = false;
    }
    if (m_initialized)
        m_initialized = initActivationKeysGrammar() && m_initialized;
    if (!m_initialized) {
        m_activationKeysGrammar.reset();
        delete mp_engine;
        mp_engine = nullptr;
    }
}

KSR_Manager::KSR_Manager(const KSR_Manager& other)
{
    copyFrom(other);
}

KSR_Manager& KSR_Manager::operator=(const KSR_Manager& other)
{
    if (this != &other) {
        delete mp_engine;
        mp_engine = nullptr;
        copyFrom(other);
    }
    return *this;
}

void KSR_Manager::copyFrom(const KSR_Manager& other)
{
    mp_engine = other.mp_engine ? new KSR_Engine(*other.mp_engine) : nullptr;
    installEngineCallbacks();
    m_grammars = other.m_grammars;
    m_activationKeysGrammar = other.m_activationKeysGrammar;
    m_activationKeysRuleId = other.m_activationKeysRuleId;
    m_savedActiveGrammars = other.m_savedActiveGrammars;
    m_initialized = other.m_initialized;
    m_grammarActivationFunction = other.m_grammarActivationFunction;
    const std::shared_ptr<const KSR::SpokenLists> lists = other.currentLists();
    std::lock_guard<std::mutex> lock(m_listsMutex);
    mp_lists = lists;
}

KSR_Manager::~KSR_Manager()
{
    for (const auto& entry : m_grammars)
        destroyGrammar(entry.second);
    m_grammars.clear();
    delete mp_engine;
    mp_engine = nullptr;
    KSR_Logger::Destroy();
    m_grammarActivationFunction = nullptr;
    m_savedActiveGrammars.clear();
    m_activationKeysGrammar.reset();
}

void KSR_Manager::installEngineCallbacks()
{
    if (!mp_engine)
        return;
    mp_engine->setRecoStateChangedFunction([this](bool active) { engineStateChanged(active); });
    mp_engine->setHypothesisWordsFunction([this](KSR::SRData data, const KSR_Engine::HeardWords& heard) {
        mainHypothesisFunction(std::move(data), heard);
    });
    mp_engine->setRecognitionWordsFunction([this](KSR::SRData data, const KSR_Engine::HeardWords& heard) {
        mainRecognitionFunction(std::move(data), heard);
    });
    mp_engine->setRecognitionFailedFunction([this]() { mainRecognitionFailedFunction(); });
}

bool KSR_Manager::isInitialized()
{
    return m_initialized;
}

// ---- Registry -------------------------------------------------------------

std::shared_ptr<KSR_Grammar> KSR_Manager::createGrammar()
{
    auto grammar = std::make_shared<KSR_Grammar>();
    grammar->setId(s_nextGrammarId.fetch_add(1));
    KSR::ComPtr<ISpRecoGrammar> sapiGrammar;
    ISpRecoContext* context = mp_engine ? mp_engine->recoContext() : nullptr;
    if (!context || FAILED(context->CreateGrammar(grammar->id(), sapiGrammar.put()))) {
        KSR_Logger::Error("Could not create grammar!");
        destroyGrammar(std::move(grammar));
        return nullptr;
    }
    grammar->setSapiGrammar(sapiGrammar);
    return grammar;
}

bool KSR_Manager::registerGrammar(std::shared_ptr<KSR_Grammar> grammar)
{
    if (!grammar || m_grammars.count(grammar->id()))
        return false;
    m_grammars[grammar->id()] = std::move(grammar);
    return true;
}

bool KSR_Manager::unregisterGrammar(std::shared_ptr<KSR_Grammar> grammar)
{
    if (!grammar)
        return false;
    return m_grammars.erase(grammar->id()) != 0;
}

bool KSR_Manager::destroyGrammar(std::shared_ptr<KSR_Grammar> grammar)
{
    if (!grammar)
        return false;
    grammar.reset();
    return true;
}

std::shared_ptr<KSR_Grammar> KSR_Manager::registered(KSR::GrammarId grammarId) const
{
    const auto it = m_grammars.find(grammarId);
    return it == m_grammars.end() ? nullptr : it->second;
}

std::shared_ptr<KSR_Grammar> KSR_Manager::grammarWithRule(KSR::RuleId ruleId) const
{
    for (const auto& entry : m_grammars)
        if (entry.second->ruleExists(ruleId))
            return entry.second;
    return nullptr;
}

std::shared_ptr<KSR_Grammar> KSR_Manager::getGrammar(KSR::GrammarId grammarId)
{
    if (!m_initialized) {
        KSR_Logger::Error("KSR_Manager should be properly initialized before register a grammar!");
        return nullptr;
    }
    if (grammarId == KSR::InvalidGrammarId) {
        KSR_Logger::Error("Invalid grammar id!");
        return nullptr;
    }
    std::shared_ptr<KSR_Grammar> grammar = registered(grammarId);
    if (!grammar)
        KSR_Logger::Error("Requested grammar id has been removed!");
    return grammar;
}

std::vector<KSR::GrammarId> KSR_Manager::getActiveGrammars()
{
    std::vector<KSR::GrammarId> ids;
    for (const auto& entry : m_grammars)
        if (entry.second->isActive())
            ids.push_back(entry.first);
    return ids;
}

bool KSR_Manager::isDictationGrammar(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_Grammar> grammar = getGrammar(grammarId);
    if (!grammar) {
        KSR_Logger::Log("Cannot probe grammar!");
        return false;
    }
    return grammar->isDictationEnabled();
}

// ---- Building grammars ----------------------------------------------------

// A grammar registered before a later step failed stays registered: nothing
// is rolled back.
KSR::GrammarId KSR_Manager::addCommandGrammar(const std::string& activationKey)
{
    if (!m_initialized) {
        KSR_Logger::Error("KSR_Manager should be properly initialized before register a grammar!");
        return KSR::InvalidGrammarId;
    }
    const std::shared_ptr<KSR_Grammar> grammar = createGrammar();
    if (!grammar || !registerGrammar(grammar) || !setActivationKey(grammar, activationKey) ||
        !setActivated(grammar->id(), false))
        return KSR::InvalidGrammarId;
    return grammar->id();
}

// SAPI's own dictation topic is loaded into the grammar; it has no
// formatting phrases of ours.
KSR::GrammarId KSR_Manager::addDictationGrammar(const std::string& activationKey)
{
    const KSR::GrammarId grammarId = addCommandGrammar(activationKey);
    if (grammarId == KSR::InvalidGrammarId)
        return KSR::InvalidGrammarId;
    std::shared_ptr<KSR_Grammar> grammar = getGrammar(grammarId);
    if (grammar && grammar->setDictationEnabled(true))
        return grammarId;
    destroyGrammar(std::move(grammar));
    return KSR::InvalidGrammarId;
}

KSR::RuleId KSR_Manager::addRule(KSR::GrammarId grammarId, const std::string& name)
{
    const std::shared_ptr<KSR_Grammar> grammar = getGrammar(grammarId);
    if (!grammar) {
        KSR_Logger::Log("Cannot add rule to grammar!");
        return KSR::InvalidRuleId;
    }
    return grammar->addRule(name);
}

KSR::CommandId KSR_Manager::addCommand(KSR::RuleId ruleId, const std::string& phrase)
{
    const std::shared_ptr<KSR_Grammar> grammar = grammarWithRule(ruleId);
    if (!grammar)
        return -1;
    return grammar->addCommand(ruleId, phrase, KSR::High);
}

bool KSR_Manager::removeCommand(KSR::RuleId ruleId, KSR::CommandId commandId)
{
    const std::shared_ptr<KSR_Grammar> grammar = grammarWithRule(ruleId);
    return grammar && grammar->removeCommand(ruleId, commandId);
}

std::vector<KSR::CommandId> KSR_Manager::getAvailableCommandIds(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_Grammar> grammar = getGrammar(grammarId);
    return grammar ? grammar->getAvailableCommandIds() : std::vector<KSR::CommandId>();
}

std::vector<std::string> KSR_Manager::getAvailableCommandNames(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_Grammar> grammar = getGrammar(grammarId);
    return grammar ? grammar->getAvailableCommandNames() : std::vector<std::string>();
}

std::vector<KSR::RuleId> KSR_Manager::getRuleIds(KSR::GrammarId grammarId)
{
    const std::shared_ptr<KSR_Grammar> grammar = getGrammar(grammarId);
    return grammar ? grammar->getRuleIds() : std::vector<KSR::RuleId>();
}

bool KSR_Manager::isRuleActivated(KSR::RuleId ruleId)
{
    const std::shared_ptr<KSR_Grammar> grammar = grammarWithRule(ruleId);
    if (!grammar) {
        KSR_Logger::Log("Requested rule does not exist!");
        return false;
    }
    return grammar->isRuleActivated(ruleId);
}

bool KSR_Manager::setRuleActivated(KSR::RuleId ruleId, bool on)
{
    const std::shared_ptr<KSR_Grammar> grammar = grammarWithRule(ruleId);
    if (!grammar) {
        KSR_Logger::Log("Requested rule does not exist!");
        return false;
    }
    return grammar->setRuleActivated(ruleId, on);
}

// SAPI recognizes any word it can pronounce, known to its lexicon or not, so
// "exists" means pronounceable here: every blank-separated word is put to
// ISpRecoGrammar::IsPronounceable on the activation-key grammar. An empty
// phrase has no word to say and does not exist.
bool KSR_Manager::phraseExists(const std::string& phrase)
{
    ISpRecoGrammar* sapiGrammar = m_activationKeysGrammar ? m_activationKeysGrammar->sapiGrammar() : nullptr;
    if (!mp_engine || !sapiGrammar) {
        KSR_Logger::Error("KSR_Manager must have an initialized engine!");
        return false;
    }
    std::vector<std::string> words;
    if (KSR::splitString(phrase, ' ', false, words) == 0)
        return false;
    for (const std::string& word : words) {
        const KSR::WideString wideWord = KSR::utf8ToUtf16(word);
        SPWORDPRONOUNCEABLE pronounceable = SPWP_UNKNOWN_WORD_UNPRONOUNCEABLE;
        if (FAILED(sapiGrammar->IsPronounceable(wideWord.c_str(), &pronounceable)) ||
            pronounceable == SPWP_UNKNOWN_WORD_UNPRONOUNCEABLE) {
            KSR_Logger::Log("Word " + word + " cannot be pronounced by the speech recognizer!");
            return false;
        }
    }
    return true;
}

// The activation callback hears of every attempt, successful or not: the
// host learns what was asked for, which is what it shows.
bool KSR_Manager::setActivated(KSR::GrammarId grammarId, bool on)
{
    const std::shared_ptr<KSR_Grammar> grammar = registered(grammarId);
    if (!grammar) {
        KSR_Logger::Log("Cannot activate grammar!");
        return false;
    }
    const bool switched = grammar->setActivated(on);
    if (m_grammarActivationFunction)
        m_grammarActivationFunction(grammarId, on);
    return switched;
}

// ---- Confidence -----------------------------------------------------------

int KSR_Manager::getCommandMinimumRequiredConfidence()
{
    return mp_engine ? mp_engine->getConfidenceThreshold(KSR::Normal) : -1;
}

// A constant shared with the Vosk manager, engine or not.
int KSR_Manager::getCommandMaximumRequiredConfidence()
{
    return 100;
}

int KSR_Manager::getCommandRequiredConfidence()
{
    return mp_engine ? mp_engine->getConfidenceThreshold(KSR::High) : -1;
}

// Commands may never ask for less than ordinary speech: the value must lie
// between the normal threshold and 100.
bool KSR_Manager::setCommandRequiredConfidence(int value)
{
    if (!mp_engine || static_cast<unsigned>(value) > 100u)
        return false;
    const int normal = mp_engine->getConfidenceThreshold(KSR::Normal);
    if (normal < 0 || normal > value)
        return false;
    return mp_engine->setConfidenceThreshold(KSR::High, value);
}

// No range check of its own: the recognizer decides what it accepts.
bool KSR_Manager::setDictationRequiredConfidence(int value)
{
    return mp_engine && mp_engine->setConfidenceThreshold(KSR::Normal, value);
}
