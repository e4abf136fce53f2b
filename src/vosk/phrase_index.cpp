#include "vosk/phrase_index.h"

#include <algorithm>

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

PhraseIndex::PhraseIndex(const std::vector<std::string>& available, const std::vector<Keyed>& keyed)
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
    std::vector<const std::unordered_set<std::string>*> unlocked;
    consumed = 0;
    while (consumed < words.size()) {
        std::string found;
        for (std::size_t count = std::min(m_longestWords, words.size() - consumed); count > 0 && found.empty();
             --count) {
            const std::string candidate = join(words, consumed, count);
            bool allowed = m_available.count(candidate) > 0;
            for (std::size_t i = 0; !allowed && i < unlocked.size(); ++i)
                allowed = unlocked[i]->count(candidate) > 0;
            if (allowed)
                found = candidate;
        }
        if (found.empty())
            break;
        const auto keyed = m_keyed.find(found);
        if (keyed != m_keyed.end())
            unlocked.push_back(&keyed->second);
        consumed += static_cast<std::size_t>(std::count(found.begin(), found.end(), ' ')) + 1;
        phrases.push_back(std::move(found));
    }
    return phrases;
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
    if (!chaining) {
        if (m_available.count(text))
            return m_beginnings.count(text) ? PhraseMatch::Beginning : PhraseMatch::Complete;
        return m_beginnings.count(text) ? PhraseMatch::Beginning : PhraseMatch::None;
    }
    const std::vector<std::string> words = wordsOf(text);
    if (words.empty())
        return PhraseMatch::None;
    std::size_t consumed = 0;
    const std::vector<std::string> phrases = splitWords(words, consumed);
    if (consumed == words.size())
        return m_beginnings.count(phrases.back()) ? PhraseMatch::Beginning : PhraseMatch::Complete;
    // The rest may be a phrase still being said.
    return m_beginnings.count(join(words, consumed, words.size() - consumed)) ? PhraseMatch::Beginning
                                                                               : PhraseMatch::None;
}

bool PhraseIndex::isWhole(const std::string& text, bool chaining) const
{
    if (!chaining)
        return m_available.count(text) > 0;
    return !split(text).empty();
}

}  // namespace Vosk
