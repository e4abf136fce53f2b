#include "vosk/phrase_index.h"

#include <algorithm>

#include "common/command_pattern_set.h"
#include "ksr_types.h"

namespace Vosk {

namespace {

std::vector<std::string> wordsOf(const std::string& text)
{
    std::vector<std::string> words;
    KSR::splitString(text, ' ', false, words);
    return words;
}

std::string join(const std::vector<std::string>& words, std::size_t first, std::size_t count)
{
    std::string text = words[first];
    for (std::size_t i = first + 1; i < first + count; ++i)
        text += ' ' + words[i];
    return text;
}

}  // namespace

PhraseIndex::PhraseIndex(const std::vector<std::string>& available, const std::vector<Keyed>& keyed,
                         std::shared_ptr<const KSR::CommandPatternSet> patterns)
    : mp_patterns(patterns && !patterns->empty() ? std::move(patterns) : nullptr)
{
    const auto add = [this](const std::string& phrase) {
        const std::vector<std::string> words = wordsOf(phrase);
        m_longestWords = std::max(m_longestWords, words.size());
        for (std::size_t count = 1; count < words.size(); ++count)
            m_beginnings.insert(join(words, 0, count));
    };
    for (const std::string& phrase : available) {
        m_available.insert(phrase);
        add(phrase);
    }
    for (const Keyed& grammar : keyed) {
        if (grammar.patterns && !grammar.patterns->empty())
            m_keyedPatterns[grammar.key] = grammar.patterns;
        std::unordered_set<std::string>& phrases = m_keyed[grammar.key];
        for (const std::string& phrase : grammar.phrases) {
            phrases.insert(phrase);
            add(phrase);
        }
    }
}

// Leftmost-longest: at each word the longest phrase that starts there and is
// allowed at that point. Stops at the first word where none does; `consumed`
// tells how far it got.
std::vector<std::string> PhraseIndex::splitWords(const std::vector<std::string>& words, std::size_t& consumed) const
{
    std::vector<std::string> phrases;
    std::vector<std::string> unlocked;  // the keys said so far
    consumed = 0;
    const bool anyPatterns = mp_patterns || !m_keyedPatterns.empty();
    while (consumed < words.size()) {
        std::string found;
        const std::size_t left = words.size() - consumed;
        const std::size_t longest = anyPatterns ? left : std::min(m_longestWords, left);
        for (std::size_t count = longest; count > 0 && found.empty(); --count) {
            const std::string candidate = join(words, consumed, count);
            bool allowed = m_available.count(candidate) > 0 || isPattern(words, consumed, consumed + count);
            for (std::size_t i = 0; !allowed && i < unlocked.size(); ++i) {
                allowed = m_keyed.at(unlocked[i]).count(candidate) > 0;
                const auto patterns = m_keyedPatterns.find(unlocked[i]);
                allowed = allowed || (patterns != m_keyedPatterns.end() &&
                                      patterns->second->matches(words, consumed, consumed + count));
            }
            if (allowed)
                found = candidate;
        }
        if (found.empty())
            break;
        if (m_keyed.count(found))
            unlocked.push_back(found);
        consumed += static_cast<std::size_t>(std::count(found.begin(), found.end(), ' ')) + 1;
        phrases.push_back(std::move(found));
    }
    return phrases;
}

bool PhraseIndex::isPattern(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const
{
    return mp_patterns && mp_patterns->matches(words, begin, end);
}

bool PhraseIndex::canGrow(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const
{
    if (m_beginnings.count(join(words, begin, end - begin)) > 0 ||
        (mp_patterns && mp_patterns->couldContinue(words, begin, end)))
        return true;
    for (const auto& keyed : m_keyedPatterns)
        if (keyed.second->couldContinue(words, begin, end))
            return true;
    return false;
}

std::vector<std::string> PhraseIndex::split(const std::string& text) const
{
    const std::vector<std::string> words = wordsOf(text);
    std::size_t consumed = 0;
    std::vector<std::string> phrases = splitWords(words, consumed);
    if (words.empty() || consumed < words.size())
        phrases.clear();
    return phrases;
}

PhraseMatch PhraseIndex::classify(const std::string& text, bool chaining) const
{
    if (!chaining && !mp_patterns) {
        if (m_available.count(text))
            return m_beginnings.count(text) ? PhraseMatch::Beginning : PhraseMatch::Complete;
        return m_beginnings.count(text) ? PhraseMatch::Beginning : PhraseMatch::None;
    }
    const std::vector<std::string> words = wordsOf(text);
    if (words.empty())
        return PhraseMatch::None;
    if (!chaining) {
        const bool whole = m_available.count(text) > 0 || isPattern(words, 0, words.size());
        if (canGrow(words, 0, words.size()))
            return PhraseMatch::Beginning;
        return whole ? PhraseMatch::Complete : PhraseMatch::None;
    }
    std::size_t consumed = 0;
    const std::vector<std::string> phrases = splitWords(words, consumed);
    if (consumed == words.size()) {
        const std::size_t last = words.size() - static_cast<std::size_t>(std::count(phrases.back().begin(),
                                                                                    phrases.back().end(), ' ')) - 1;
        return canGrow(words, last, words.size()) ? PhraseMatch::Beginning : PhraseMatch::Complete;
    }
    // The rest may be a phrase still being said.
    return canGrow(words, consumed, words.size()) ? PhraseMatch::Beginning : PhraseMatch::None;
}

bool PhraseIndex::isWhole(const std::string& text, bool chaining) const
{
    if (!chaining) {
        if (m_available.count(text) > 0)
            return true;
        const std::vector<std::string> words = wordsOf(text);
        return isPattern(words, 0, words.size());
    }
    return !split(text).empty();
}

}  // namespace Vosk
