// KSR_VoskManager: construction, set-up, listening and the confidence
// settings. The registry, routing and dictation live in the files beside.
#include "ksr_vosk_manager.h"

#include "common/command_pattern_set.h"
#include "ksr_logger.h"
#include "vosk/vosk_c_api.h"
#include "vosk/vosk_library.h"
#include "vosk_engine.h"
#include "vosk_manager/ksr_numeral_converter.h"

namespace {

const int kMinimumCommandConfidence = 50;
const int kMaximumCommandConfidence = 100;
const int kDefaultCommandConfidence = 90;

}  // namespace

KSR_VoskManager::KSR_VoskManager()
    : mp_engine(new Vosk::Engine()),
      m_initialized(false),
      m_activationKeysRuleId(KSR::InvalidRuleId),
      m_dictationGrammarId(KSR::InvalidGrammarId),
      m_dictationRuleId(~std::uint64_t(0)),
      mp_numeralConverter(new KSR_NumeralConverter()),
      m_numeralsMode(false),
      m_capitalsMode(false),
      m_separator(false),
      m_capitaliseNext(false),
      m_lifeToken(std::make_shared<int>(0))
{
    m_formattingCommandIds.fill(KSR::InvalidCommandId);
    mp_engine->setEarlyEndShortQuiet(DefaultFastCommandsShortQuiet);
    // Silences the library's own logging for the whole process, before any
    // model is loaded. Without the library, initialize says why.
    if (Vosk::libraryProblem().empty())
        vosk_set_log_level(-1);
}

KSR_VoskManager::~KSR_VoskManager()
{
    // From here on, grammar notifications no longer reach this object.
    m_lifeToken.reset();
    std::map<KSR::GrammarId, std::shared_ptr<KSR_VoskGrammar>> grammars;
    std::shared_ptr<KSR_VoskGrammar> keys;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        grammars.swap(m_grammars);
        keys.swap(m_activationKeysGrammar);
        m_phraseMap.clear();
    }
    for (auto& entry : grammars)
        destroyGrammar(std::move(entry.second));
    grammars.clear();
    keys.reset();
    mp_engine.reset();
    mp_numeralConverter.reset();
    KSR_Logger::Destroy();
}

bool KSR_VoskManager::initialize(const std::string& modelPath)
{
    Vosk::Engine* engine = mp_engine.get();
    bool initialized = engine && engine->initialize(modelPath);
    if (initialized) {
        engine->setCommandRecognizedFunction(
            [this](const std::string& phrase, KSR::RecognitionState state) { commandRecognized(phrase, state); });
        engine->setCommandWordsFunction(
            [this](const std::string& phrase, const std::vector<int>& confidences, KSR::RecognitionState state) {
                commandRecognized(phrase, confidences, state);
            });
        engine->setDictationRecognizedFunction(
            [this](std::string& text, KSR::RecognitionState state) { dictationRecognized(text, state); });
        engine->setCommandConfidenceThreshold(kDefaultCommandConfidence);
    }
    initialized = initialized && initActivationKeysGrammar();
    if (!initialized) {
        // Without an engine every later call that needs one fails or does
        // nothing, for the rest of the manager's life.
        std::shared_ptr<KSR_VoskGrammar> keys;
        {
            std::lock_guard<std::recursive_mutex> lock(m_mutex);
            keys.swap(m_activationKeysGrammar);
            m_activationKeysRuleId = KSR::InvalidRuleId;
        }
        keys.reset();
        mp_engine.reset();
    }
    m_initialized = initialized;
    return initialized;
}

bool KSR_VoskManager::isInitialized() const { return m_initialized; }

void KSR_VoskManager::startRecognizing()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_phraseMap.clear();
    // Its rule goes on with it, so the keys are always heard. The
    // notification re-enters through grammarChanged on this thread.
    if (m_activationKeysGrammar)
        m_activationKeysGrammar->setActivated(true);

    std::vector<std::shared_ptr<KSR_VoskGrammar::CommandInfo>> commands;
    std::vector<std::string> phrases;
    for (const auto& entry : m_grammars) {
        const std::size_t first = commands.size();
        entry.second->collectAvailableCommands(commands);
        // A phrase already present keeps the record of the lower grammar id;
        // within one grammar the higher rule id wins, hence the reverse walk.
        for (std::size_t i = commands.size(); i > first; --i)
            if (!commands[i - 1]->pattern)
                m_phraseMap.emplace(commands[i - 1]->phrase, commands[i - 1]);
    }
    phrases.reserve(commands.size());
    for (const auto& command : commands)
        if (!command->pattern)
            phrases.push_back(command->phrase);
    setPatternsLocked(commands);
    if (mp_engine) {
        if (mp_engine->chaining())
            mp_engine->setKeyedPhrases(keyedPhrasesLocked());
        mp_engine->setCommandsList(phrases);
        // The command grammar is built with the dictation grammar's literal
        // keyword; without it the engine cannot listen, which a host that
        // only wants commands would otherwise never learn.
        if (!mp_engine->setActivated(true) && !phrases.empty() && !m_toldDictationGrammarMissing) {
            KSR_Logger::Log("No command can be heard before a dictation grammar is added (addDictationGrammar; it may "
                            "stay switched off): the commands need its literal keyword");
            m_toldDictationGrammarMissing = true;
        }
    }
}

// Every keyed grammar with the commands that its key would switch on.
std::vector<Vosk::Engine::KeyedPhrases> KSR_VoskManager::keyedPhrasesLocked()
{
    std::vector<Vosk::Engine::KeyedPhrases> keyed;
    std::vector<std::shared_ptr<KSR_VoskGrammar::CommandInfo>> commands;
    for (const auto& entry : m_grammars) {
        const std::string key = entry.second->activationKey();
        if (key.empty())
            continue;
        commands.clear();
        entry.second->collectCommandsOfAllRules(commands);
        Vosk::Engine::KeyedPhrases grammar{key, {}, nullptr};
        std::vector<std::shared_ptr<const KSR::CommandPattern>> patterns;
        for (const auto& command : commands) {
            if (command->pattern)
                patterns.push_back(command->pattern);
            else
                grammar.phrases.push_back(command->phrase);
        }
        if (!patterns.empty())
            grammar.patterns = std::make_shared<const KSR::CommandPatternSet>(patterns, m_lists);
        keyed.push_back(std::move(grammar));
    }
    return keyed;
}

bool KSR_VoskManager::setFastCommands(int quietMilliseconds)
{
    if (!mp_engine || quietMilliseconds < 0)
        return false;
    mp_engine->setEarlyEnd(quietMilliseconds);
    return true;
}

int KSR_VoskManager::fastCommands() { return mp_engine ? mp_engine->earlyEnd() : 0; }

bool KSR_VoskManager::setFastCommandsShortQuiet(int quietMilliseconds)
{
    if (!mp_engine || quietMilliseconds < 0)
        return false;
    mp_engine->setEarlyEndShortQuiet(quietMilliseconds);
    return true;
}

int KSR_VoskManager::fastCommandsShortQuiet()
{
    return mp_engine ? mp_engine->earlyEndShortQuiet() : DefaultFastCommandsShortQuiet;
}

bool KSR_VoskManager::setCommandChaining(bool enabled)
{
    if (!mp_engine)
        return false;
    // Under the lock, like a grammar change: the keyed grammars' phrases join
    // or leave the recognizer's grammar with a rebuild while listening.
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (mp_engine->chaining() == enabled)
        return true;
    mp_engine->setChaining(enabled);
    if (!enabled)
        mp_engine->setKeyedPhrases({});
    if (mp_engine->isActivated()) {
        mp_engine->setActivated(false);
        startRecognizing();
    }
    return true;
}

bool KSR_VoskManager::commandChaining() { return mp_engine && mp_engine->chaining(); }

void KSR_VoskManager::stopRecognizing()
{
    // Under the lock, so that a restart running on another thread cannot
    // switch the engine on again after this.
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (mp_engine)
        mp_engine->setActivated(false);
}

// Meant for use after a successful initialize only; without an engine the
// chunk is dropped rather than crashing.
void KSR_VoskManager::processAudio(const char* data, int size)
{
    if (mp_engine)
        mp_engine->processAudio(data, size);
}

Vosk::Engine* KSR_VoskManager::engine() { return mp_engine.get(); }

std::shared_ptr<KSR_VoskGrammar> KSR_VoskManager::activationKeysGrammar()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_activationKeysGrammar;
}

int KSR_VoskManager::getCommandMinimumRequiredConfidence() { return kMinimumCommandConfidence; }

int KSR_VoskManager::getCommandMaximumRequiredConfidence() { return kMaximumCommandConfidence; }

int KSR_VoskManager::getCommandRequiredConfidence()
{
    return mp_engine ? mp_engine->getCommandConfidenceThreshold() : -1;
}

// The lower bound that the getter reports is not enforced: 0 to 49 are
// accepted. Negative values fail as large unsigned ones.
bool KSR_VoskManager::setCommandRequiredConfidence(int confidence)
{
    if (!mp_engine || static_cast<unsigned int>(confidence) > static_cast<unsigned int>(kMaximumCommandConfidence))
        return false;
    mp_engine->setCommandConfidenceThreshold(confidence);
    return true;
}

bool KSR_VoskManager::setDictationRequiredConfidence(int confidence)
{
    if (!mp_engine || static_cast<unsigned int>(confidence) > static_cast<unsigned int>(kMaximumCommandConfidence))
        return false;
    mp_engine->setDictationConfidenceThreshold(confidence);
    return true;
}

void KSR_VoskManager::runCallouts(const Callouts& callouts)
{
    for (const auto& call : callouts)
        call();
}
