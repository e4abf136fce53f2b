// Vosk::Engine: set-up from a model directory, the grammar inputs, the JSON
// phrase list of the command recognizer, the keyword rule, and the switches.
#include "vosk_engine.h"

#include <algorithm>

#include "common/command_pattern_set.h"
#include "ksr_logger.h"
#include "vosk/fast_command_state.h"
#include "vosk/trailing_talk.h"
#include "vosk/json_phrase.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_model.h"

namespace Vosk {

namespace {

// The engine always declares 16000 Hz to the model, whatever the model's own
// configuration says: the capture path resamples to that rate.
const unsigned int kEngineSampleRate = 16000;

const char* const kSpellingGrammar =
    "[\"a\",\"b\",\"c\",\"d\",\"e\",\"f\",\"g\",\"h\",\"i\",\"j\",\"k\",\"l\",\"m\",\"n\","
    "\"o\",\"p\",\"q\",\"r\",\"s\",\"t\",\"u\",\"v\",\"w\",\"x\",\"y\",\"z\",\"[unk]\"]";

int countWords(const std::string& text)
{
    std::vector<std::string> words;
    return static_cast<int>(KSR::splitString(text, ' ', false, words));
}

// Erases every occurrence of `prefix`, searching again from the start after
// each erase, until none is left.
std::string eraseAll(std::string text, const std::string& prefix)
{
    for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix))
        text.erase(at, prefix.size());
    return text;
}

bool startsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

Engine::Engine()
    : m_literalKeywordWords(0)
    , m_forcedWordsKeywordWords(0)
    , m_commandConfidenceThreshold(90)
    , m_dictationConfidenceThreshold(80)
    , m_initialized(false)
    , m_dictationModeEnabled(false)
    , m_spellingEnabled(false)
    , m_commandsChanged(false)
    , m_activated(false)
    , m_modeChanged(false)
    , m_commandsListPending(false)
    , m_earlyEndMilliseconds(0)
    , m_earlyEndShortMilliseconds(0)
    , m_chaining(false)
    , m_phraseIndexStale(true)
    , mp_fast(new FastCommandState())
{
}

Engine::~Engine()
{
    // Recognizers before the model they were made from.
    mp_dictationRecognizer.reset();
    mp_commandRecognizer.reset();
    mp_textRecognizer.reset();
    mp_spellingRecognizer.reset();
    mp_model.reset();
}

// Restores the scalar defaults. The owning pointers keep what they own:
// dropping them without deleting would leak. Nothing calls it.
void Engine::init()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_literalKeywordWords = 0;
    m_forcedWordsKeywordWords = 0;
    m_commandConfidenceThreshold = 90;
    m_dictationConfidenceThreshold = 80;
    m_initialized = false;
    m_dictationModeEnabled = false;
    m_spellingEnabled = false;
    m_commandsChanged = false;
    m_activated = false;
    m_modeChanged = false;
}

void Engine::releaseFreeRecognizers()
{
    mp_textRecognizer.reset();
    mp_dictationRecognizer.reset();
    mp_spellingRecognizer.reset();
    mp_model.reset();
}

bool Engine::initialize(const std::string& modelPath)
{
    m_initialized = false;
    // The command recognizer stays: m_commandsChanged makes audio processing
    // rebuild it.
    releaseFreeRecognizers();
    if (createModelAndRecognizers(modelPath)) {
        m_commandsChanged = true;
        m_initialized = true;
    } else {
        releaseFreeRecognizers();
    }
    return m_initialized;
}

bool Engine::createModelAndRecognizers(const std::string& modelPath)
{
    if (modelPath.empty()) {
        KSR_Logger::Error("Engine: You need to set a valid model!");
        return false;
    }
    mp_model.reset(new Model());
    if (!mp_model->initialize(modelPath, kEngineSampleRate)) {
        KSR_Logger::Error("Acoustic model " + modelPath + " is invalid!");
        return false;
    }
    mp_fast->wordTimeSeconds = secondsPerWordTime(modelPath);
    const float rate = static_cast<float>(mp_model->sampleRate());
    mp_dictationRecognizer.reset(new Recognizer(*mp_model, rate));
    if (!mp_dictationRecognizer->isValid()) {
        KSR_Logger::Error("Engine: Dictation recognizer could not be created!");
        return false;
    }
    mp_spellingRecognizer.reset(new Recognizer(*mp_model, rate, kSpellingGrammar));
    if (!mp_spellingRecognizer->isValid()) {
        KSR_Logger::Error("Engine: Spelling recognizer could not be created!");
        return false;
    }
    return true;
}

const Model* Engine::model() { return mp_model.get(); }

void Engine::setCommandsList(const std::vector<std::string>& commands)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_commandsList = commands;
    m_commandsListPending = true;
    m_commandsChanged = true;
}

void Engine::setForcedWordsList(const std::vector<std::string>& words)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_forcedWordsList = words;
    m_commandsChanged = true;
}

void Engine::setLiteralKeyword(const std::string& keyword)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_literalKeyword = keyword;
    m_literalKeywordWords = countWords(keyword);
    m_commandsChanged = true;
}

void Engine::setForcedWordsKeyword(const std::string& keyword)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_forcedWordsKeyword = keyword;
    // Counted on the literal keyword as it stands now, not on this one: the
    // forced-words rule of commandToText relies on that count.
    m_forcedWordsKeywordWords = countWords(m_literalKeyword);
    m_commandsChanged = true;
}

void Engine::setCommandConfidenceThreshold(int threshold) { m_commandConfidenceThreshold = threshold; }
void Engine::setDictationConfidenceThreshold(int threshold) { m_dictationConfidenceThreshold = threshold; }
int Engine::getCommandConfidenceThreshold() { return m_commandConfidenceThreshold; }
int Engine::getDictationConfidenceThreshold() { return m_dictationConfidenceThreshold; }

void Engine::setCommandRecognizedFunction(const KSR::CommandRecognizedFunction& function)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_commandRecognizedFunction = function;
}

void Engine::setCommandWordsFunction(const CommandWordsFunction& function)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_commandWordsFunction = function;
}

void Engine::setCommandPatterns(std::shared_ptr<const KSR::CommandPatternSet> patterns)
{
    // The grammar phrases are made here, on the caller's thread, so that a
    // build under the lock only copies them.
    std::vector<std::string> phrases;
    if (patterns && patterns->empty())
        patterns.reset();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (patterns == mp_patterns)
            return;
    }
    if (patterns)
        phrases = patterns->grammarPhrases();
    std::lock_guard<std::mutex> lock(m_mutex);
    mp_patterns = std::move(patterns);
    m_patternPhrases.swap(phrases);
    m_commandsChanged = true;
}

void Engine::setDictationRecognizedFunction(const KSR::DictationRecognizedFunction& function)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_dictationRecognizedFunction = function;
}

bool Engine::dictationModeEnabled() const { return m_dictationModeEnabled; }
bool Engine::spellingEnabled() const { return m_spellingEnabled; }
bool Engine::isActivated() { return m_activated; }
bool Engine::microphoneSetupSupported() { return false; }
bool Engine::voiceTrainingSupported() { return false; }

std::string Engine::createCommandsPhrases()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return buildCommandsPhrasesLocked();
}

// Builds the grammar text and extends m_commandsList with every phrase it
// adds, so that resultToCommand accepts exactly the grammar's phrases. The
// list grows on every call: callers replace it with setCommandsList first.
// Phrases are escaped for JSON; the list keeps them unescaped, since the
// recognizer answers with the words themselves.
std::string Engine::buildCommandsPhrasesLocked()
{
    const std::string& literal = m_literalKeyword;
    const std::string& forced = m_forcedWordsKeyword;
    if (m_commandsList.empty() || literal.empty())
        return std::string();

    for (auto it = m_commandsList.begin(); it != m_commandsList.end(); ++it) {
        if (*it == "[unk]") {
            m_commandsList.erase(it);
            break;
        }
    }

    // Derived from the phrases present now, not from those being added.
    const std::size_t commands = m_commandsList.size();
    m_commandsList.reserve(2 * commands + 1 + (forced.empty() ? 0 : m_forcedWordsList.size()));
    for (std::size_t i = 0; i < commands; ++i)
        m_commandsList.push_back(literal + " " + m_commandsList[i]);
    m_commandsList.push_back(literal + " " + literal);

    std::string phrases = "[\"[unk]\"";
    std::size_t size = phrases.size() + 1;
    for (const std::string& phrase : m_commandsList)
        size += phrase.size() + 3;
    phrases.reserve(size + m_forcedWordsList.size() * (forced.size() + 16));
    for (const std::string& phrase : m_commandsList) {
        phrases += ',';
        appendJsonString(phrases, phrase);
    }
    if (!forced.empty()) {
        for (const std::string& word : m_forcedWordsList) {
            m_commandsList.push_back(forced + " " + word);
            phrases += ',';
            appendJsonString(phrases, m_commandsList.back());
        }
    }
    // Heard only so that a key and a command of its grammar can be said in
    // one breath; they stay out of m_commandsList, so alone they are no
    // command.
    if (m_chaining) {
        for (const KeyedPhrases& grammar : m_keyedPhrases) {
            for (const std::string& phrase : grammar.phrases) {
                if (std::find(m_commandsList.begin(), m_commandsList.end(), phrase) != m_commandsList.end())
                    continue;
                phrases += ',';
                appendJsonString(phrases, phrase);
            }
            if (grammar.patterns) {
                for (const std::string& phrase : grammar.patterns->grammarPhrases()) {
                    phrases += ',';
                    appendJsonString(phrases, phrase);
                }
            }
        }
    }
    // Also heard but no command alone: what a pattern's words are is the
    // patterns' own question (see resultToCommand).
    for (const std::string& phrase : m_patternPhrases) {
        phrases += ',';
        appendJsonString(phrases, phrase);
    }
    m_phraseIndexStale = true;
    phrases += ']';
    return phrases;
}

std::string Engine::commandToText(const std::string& command)
{
    if (command.empty())
        return std::string();  // no words: neither rule can match
    const int words = countWords(command);
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string literalPrefix = m_literalKeyword + " ";
    if (words >= m_literalKeywordWords + 1 && startsWith(command, literalPrefix))
        return eraseAll(command, literalPrefix);
    const std::string forcedPrefix = m_forcedWordsKeyword + " ";
    if (words >= m_forcedWordsKeywordWords + 1 && startsWith(command, forcedPrefix))
        return eraseAll(command, forcedPrefix);
    return std::string();
}

bool Engine::setActivated(bool active)
{
    if (!active) {
        m_activated = false;
        return true;
    }

    std::lock_guard<std::mutex> lock(m_mutex);
    // Nothing changed since the last build: report success and change
    // nothing, so a deactivated engine stays deactivated (deliberate). A list
    // that no build has consumed yet still counts as a change, in case a chunk
    // of audio cleared the mark after setCommandsList on another thread.
    const bool listPending = m_commandsListPending;
    if (!m_commandsChanged && !listPending)
        return true;
    if (!m_initialized || m_literalKeyword.empty())
        return false;

    m_commandsPhrases = buildCommandsPhrasesLocked();
    if (m_commandsPhrases.empty())
        return false;
    m_commandsListPending = false;
    // The mark stays set (audio processing clears it); set it again when a
    // chunk cleared it before this build, so the recognizer is rebuilt.
    m_commandsChanged = true;
    m_activated = true;
    return true;
}

void Engine::setEarlyEnd(int quietMilliseconds) { m_earlyEndMilliseconds = std::max(0, quietMilliseconds); }
int Engine::earlyEnd() const { return m_earlyEndMilliseconds; }
void Engine::setEarlyEndShortQuiet(int quietMilliseconds)
{
    m_earlyEndShortMilliseconds = std::max(0, quietMilliseconds);
}
int Engine::earlyEndShortQuiet() const { return m_earlyEndShortMilliseconds; }
void Engine::setChaining(bool enabled) { m_chaining = enabled; }
bool Engine::chaining() const { return m_chaining; }

// Takes effect with the next phrase-list build, like the command list.
void Engine::setKeyedPhrases(const std::vector<KeyedPhrases>& grammars)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_keyedPhrases = grammars;
    m_commandsChanged = true;
}

void Engine::setDictationModeEnabled(bool enabled)
{
    m_dictationModeEnabled = enabled;
    m_modeChanged = true;
}

void Engine::setSpellingEnabled(bool enabled)
{
    m_spellingEnabled = enabled;
    m_modeChanged = true;
}

}  // namespace Vosk
