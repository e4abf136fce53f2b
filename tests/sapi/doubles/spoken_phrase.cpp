#include "spoken_phrase.h"

#include <algorithm>

#include "grammar_walk.h"

namespace SapiFakes {

namespace {

// The elements, text and rule of a phrase of `words`.
PhraseSpec phraseOf(const std::vector<GrammarWord>& words, const Utterance& utterance)
{
    PhraseSpec phrase;
    for (std::size_t i = 0; i < words.size(); ++i) {
        PhraseElement element;
        element.text = words[i].text;
        element.requiredConfidence = words[i].requiredConfidence;
        element.engineConfidence = utterance.confidences[i];
        element.displayAttributes = SPAF_ONE_TRAILING_SPACE;
        phrase.elements.push_back(element);
        phrase.text += (i == 0 ? "" : " ") + element.text;
    }
    return phrase;
}

std::vector<GrammarWord> spokenWords(const Utterance& utterance, std::size_t wordCount)
{
    std::vector<GrammarWord> words;
    for (std::size_t i = 0; i < wordCount; ++i)
        words.push_back(GrammarWord{utterance.words[i], SP_NORMAL_CONFIDENCE});
    return words;
}

bool listens(const GrammarListening& grammar, bool exclusiveOnly)
{
    if (grammar.state == SPGS_DISABLED)
        return false;
    return !exclusiveOnly || grammar.state == SPGS_EXCLUSIVE;
}

}  // namespace

Utterance::Utterance(const std::string& spoken, float confidence)
{
    std::size_t start = 0;
    while (start < spoken.size()) {
        const std::size_t end = spoken.find(' ', start);
        const std::string word = spoken.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!word.empty())
            words.push_back(word);
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    confidences.assign(words.size(), confidence);
}

Utterance& Utterance::wordConfidences(const std::vector<float>& given)
{
    for (std::size_t i = 0; i < given.size() && i < confidences.size(); ++i)
        confidences[i] = given[i];
    return *this;
}

Utterance& Utterance::withHypotheses()
{
    hypotheses = true;
    return *this;
}

Utterance& Utterance::unfinished()
{
    finished = false;
    return *this;
}

bool findPhrase(const std::vector<GrammarListening>& grammars, const Utterance& utterance, std::size_t wordCount,
                bool whole, FoundPhrase* found)
{
    if (wordCount == 0 || wordCount > utterance.words.size())
        return false;
    const bool exclusiveOnly = std::any_of(grammars.begin(), grammars.end(),
                                           [](const GrammarListening& g) { return g.state == SPGS_EXCLUSIVE; });
    for (const GrammarListening& grammar : grammars) {
        if (!listens(grammar, exclusiveOnly))
            continue;
        for (const ListenedRule& rule : grammar.rules) {
            WalkedPhrase walked;
            if (!walkRule(grammar, rule, utterance.words, wordCount, whole, walked))
                continue;
            found->context = grammar.context;
            found->phrase = phraseOf(walked.words, utterance);
            found->phrase.grammarId = grammar.id;
            found->phrase.ruleId = rule.id;
            found->phrase.ruleName = rule.name;
            found->phrase.properties = std::move(walked.properties);
            found->phrase.rules = std::move(walked.rules);
            return true;
        }
    }
    for (const GrammarListening& grammar : grammars) {
        if (!listens(grammar, exclusiveOnly) || !grammar.dictation)
            continue;
        found->context = grammar.context;
        found->phrase = phraseOf(spokenWords(utterance, wordCount), utterance);
        found->phrase.grammarId = grammar.id;
        return true;
    }
    return false;
}

PhraseSpec unmatchedPhrase(const Utterance& utterance)
{
    return phraseOf(spokenWords(utterance, utterance.words.size()), utterance);
}

}  // namespace SapiFakes
