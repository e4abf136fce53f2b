// KSR_VoskManager: the dictation grammar and its spoken formatting phrases,
// post-processing of dictated text, the spelling, numerals and capitals
// modes, forced words and the vocabulary check.
#include "ksr_vosk_manager.h"

#include "ksr_logger.h"
#include "vosk_engine.h"
#include "vosk_manager/ksr_numeral_converter.h"
#include "common/ksr_text_case.h"
#include "vosk_model.h"

namespace {

// The name is the rule's name as hosts know it, misspelling included.
const char* const kDictationRuleName = "Deafult Rule";
const char* const kLiteralKeyword = "literal";
// Always this word, whatever keyword the host gives to the engine.
const char* const kForcedWordsCommand = "force";

enum FormattingPhrase {
    StartSpelling,
    StopSpelling,
    StartNumerals,
    StopNumerals,
    CapitalsOn,
    CapitalsOff,
    NewLine,
    AddSpace,
    AddTab,
    AddPeriod,
    AddComma,
    AddColon,
    AddSemicolon,
    AddQuotationMark,
    AddQuestionMark,
    AddExclamationMark,
    OpenParenthesis,
    CloseParenthesis,
    LeftBracket,
    RightBracket,
    LeftBrace,
    RightBrace,
};

// Indexed by FormattingPhrase.
const std::vector<std::string> kFormattingPhrases = {
    "start spelling",   "stop spelling",     "start numerals",     "stop numerals",
    "capitals on",      "capitals off",      "new line",           "add space",
    "add tab",          "add period",        "add comma",          "add colon",
    "add semicolon",    "add quotation mark", "add question mark", "add exclamation mark",
    "open parenthesis", "close parenthesis", "left bracket",       "right bracket",
    "left brace",       "right brace"};

}  // namespace

const std::vector<std::string>& KSR_VoskManager::formattingPhrases() { return kFormattingPhrases; }

KSR::GrammarId KSR_VoskManager::addDictationGrammar(const std::string& activationKey)
{
    const KSR::GrammarId grammarId = addCommandGrammar(activationKey);
    if (grammarId == KSR::InvalidGrammarId)
        return KSR::InvalidGrammarId;
    const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(grammarId);
    if (!grammar)
        return KSR::InvalidGrammarId;
    grammar->setDictationEnabled(true);
    const KSR::RuleId ruleId = addRule(grammarId, kDictationRuleName);

    if (addCommand(ruleId, kLiteralKeyword) != KSR::InvalidCommandId && mp_engine)
        mp_engine->setLiteralKeyword(kLiteralKeyword);
    std::array<KSR::CommandId, kFormattingCount> ids;
    // A phrase that cannot be added keeps -1 and never matches.
    for (std::size_t i = 0; i < kFormattingCount; ++i)
        ids[i] = addCommand(ruleId, kFormattingPhrases[i]);

    if (ruleId == KSR::InvalidRuleId) {
        // Stays registered; only this reference is dropped.
        destroyGrammar(grammar);
        return KSR::InvalidGrammarId;
    }
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_dictationGrammarId = grammarId;
    m_dictationRuleId = ruleId;
    m_formattingCommandIds = ids;
    return grammarId;
}

std::string KSR_VoskManager::applyFormattingLocked(std::size_t index, Callouts& callouts)
{
    switch (static_cast<FormattingPhrase>(index)) {
    case StartSpelling: switchSpellingLocked(true, callouts); return std::string();
    case StopSpelling: switchSpellingLocked(false, callouts); return std::string();
    case StartNumerals: switchNumeralsLocked(true, callouts); return std::string();
    case StopNumerals: switchNumeralsLocked(false, callouts); return std::string();
    case CapitalsOn: switchCapitalsLocked(true, callouts); return std::string();
    case CapitalsOff: switchCapitalsLocked(false, callouts); return std::string();
    case NewLine:
        m_separator = false;
        m_capitaliseNext = true;
        return "\n";
    case AddSpace: return " ";
    case AddTab: return "\t";
    case AddPeriod: m_capitaliseNext = true; return ".";
    case AddComma: return ",";
    case AddColon: return ":";
    case AddSemicolon: return ";";
    case AddQuotationMark: return "\"";
    case AddQuestionMark: m_capitaliseNext = true; return "?";
    case AddExclamationMark: m_capitaliseNext = true; return "!";
    case OpenParenthesis: return "(";
    case CloseParenthesis: return ")";
    case LeftBracket: return "[";
    case RightBracket: return "]";
    case LeftBrace: return "{";
    case RightBrace: return "}";
    }
    return std::string();
}

void KSR_VoskManager::dictationRecognized(std::string& text, KSR::RecognitionState state)
{
    KSR::GrammarId dictationGrammarId;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        dictationGrammarId = m_dictationGrammarId;
    }
    if (state == KSR::Failed || dictationGrammarId == KSR::InvalidGrammarId) {
        processRecognitionFailed();
        return;
    }
    if (state == KSR::Hypothesis) {
        processHypothesis({dictationGrammarId, KSR::InvalidRuleId, KSR::InvalidCommandId, text});
        return;
    }
    if (state != KSR::Recognized)
        return;

    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (m_numeralsMode)
            text = mp_numeralConverter->convertText(text);
        if (m_capitalsMode)
            text = KSR::toUpperAscii(text);
        // Spelled letters get no blank, no capital and no pronoun fix.
        if (!(mp_engine && mp_engine->spellingEnabled())) {
            if (m_capitaliseNext && !m_capitalsMode && !text.empty())
                text[0] = KSR::toUpperAscii(text[0]);
            if (m_separator)
                text.insert(0, " ");
            for (std::size_t at = text.find(" i "); at != std::string::npos; at = text.find(" i "))
                text[at + 1] = 'I';
            if (text.size() >= 2) {
                // A leading "i " becomes "iI": the blank is overwritten, not
                // the i. Kept as it is; it only shows when neither the
                // separator nor capitalise-next was set.
                if (text[0] == 'i' && text[1] == ' ')
                    text[1] = 'I';
                if (text[text.size() - 2] == ' ' && text.back() == 'i')
                    text.back() = 'I';
            }
        }
        m_separator = true;
        m_capitaliseNext = false;
    }
    processRecognition({dictationGrammarId, KSR::InvalidRuleId, KSR::InvalidCommandId, text});
}

void KSR_VoskManager::switchSpellingLocked(bool enabled, Callouts& callouts)
{
    if (!mp_engine)
        return;
    if (enabled && m_numeralsMode) {
        m_numeralsMode = false;
        callouts.push_back([function = m_numeralsActivatedFunction] {
            if (function)
                function(false);
        });
    }
    mp_engine->setSpellingEnabled(enabled);
    callouts.push_back([function = m_spellingActivatedFunction, enabled] {
        if (function)
            function(enabled);
    });
}

void KSR_VoskManager::switchNumeralsLocked(bool enabled, Callouts& callouts)
{
    if (enabled && mp_engine && mp_engine->spellingEnabled())
        switchSpellingLocked(false, callouts);
    m_numeralsMode = enabled;
    callouts.push_back([function = m_numeralsActivatedFunction, enabled] {
        if (function)
            function(enabled);
    });
}

void KSR_VoskManager::switchCapitalsLocked(bool enabled, Callouts& callouts)
{
    if (!mp_engine)
        return;
    m_capitalsMode = enabled;
    callouts.push_back([function = m_capitalsActivatedFunction, enabled] {
        if (function)
            function(enabled);
    });
}

void KSR_VoskManager::setSpellingModeEnabled(bool enabled)
{
    Callouts callouts;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        switchSpellingLocked(enabled, callouts);
    }
    runCallouts(callouts);
}

void KSR_VoskManager::setNumeralModeEnabled(bool enabled)
{
    Callouts callouts;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        switchNumeralsLocked(enabled, callouts);
    }
    runCallouts(callouts);
}

void KSR_VoskManager::setCapitalsModeEnabled(bool enabled)
{
    Callouts callouts;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        switchCapitalsLocked(enabled, callouts);
    }
    runCallouts(callouts);
}

bool KSR_VoskManager::spellingModeEnabled() { return mp_engine && mp_engine->spellingEnabled(); }

bool KSR_VoskManager::numeralModeEnabled()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_numeralsMode;
}

bool KSR_VoskManager::capitalsModeEnabled()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_capitalsMode;
}

bool KSR_VoskManager::isDictationModeEnabled() { return mp_engine && mp_engine->dictationModeEnabled(); }

void KSR_VoskManager::setDictationActivatedFunction(const KSR::BoolFunction& function)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_dictationActivatedFunction = function;
}

void KSR_VoskManager::setSpellingActivatedFunction(const KSR::BoolFunction& function)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_spellingActivatedFunction = function;
}

void KSR_VoskManager::setNumeralsActivatedFunction(const KSR::BoolFunction& function)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_numeralsActivatedFunction = function;
}

void KSR_VoskManager::setCapitalsActivatedFunction(const KSR::BoolFunction& function)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_capitalsActivatedFunction = function;
}

bool KSR_VoskManager::setForcedWordsKeyword(const std::string& keyword)
{
    std::uint64_t ruleId;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        ruleId = m_dictationRuleId;
    }
    if (ruleId == ~std::uint64_t(0)) {
        KSR_Logger::Log("You cannot add a forced word keyword before adding a dictation grammar!");
        return false;
    }
    if (addCommand(static_cast<KSR::RuleId>(ruleId), kForcedWordsCommand) == KSR::InvalidCommandId)
        return false;
    if (!mp_engine)
        return false;
    mp_engine->setForcedWordsKeyword(keyword);
    return true;
}

bool KSR_VoskManager::setForcedWords(std::vector<std::string> words)
{
    std::vector<std::string> lowered;
    lowered.reserve(words.size());
    for (const std::string& word : words) {
        lowered.push_back(KSR::toLowerAscii(word));
        if (!wordsExist(lowered.back())) {
            KSR_Logger::Log("Forced word " + word + " is not included in current acoustic model!");
            return false;
        }
    }
    if (!mp_engine)
        return false;
    mp_engine->setForcedWordsList(lowered);
    return true;
}

// Every blank-separated word must be in the model's vocabulary. The phrase is
// split keeping empty words, so "", a leading, trailing or double blank fail
// on the empty word: the recognizer never writes such a phrase, so it could
// never be matched.
bool KSR_VoskManager::wordsExist(const std::string& phrase)
{
    Vosk::Engine* engine = mp_engine.get();
    if (!engine) {
        KSR_Logger::Error("KSR_VoskManager must have an initialized engine!");
        return false;
    }
    const Vosk::Model* model = engine->model();
    if (!model) {
        KSR_Logger::Error("KSR_VoskManager must have a valid acoustic model!");
        return false;
    }
    std::vector<std::string> words;
    KSR::splitString(phrase, ' ', true, words);
    for (const std::string& word : words) {
        if (word.empty() || !model->findWord(word)) {
            KSR_Logger::Log("Word " + word + " is not included in current acoustic model!");
            return false;
        }
    }
    return true;
}
