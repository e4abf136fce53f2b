#include "common/command_pattern_set.h"

#include <unordered_set>
#include <utility>

namespace KSR {

namespace {

std::vector<std::string> slice(const std::vector<std::string>& words, std::size_t begin, std::size_t end)
{
    return std::vector<std::string>(words.begin() + static_cast<long>(begin), words.begin() + static_cast<long>(end));
}

}  // namespace

CommandPatternSet::CommandPatternSet(std::vector<std::shared_ptr<const CommandPattern>> patterns, SpokenLists lists)
    : m_patterns(std::move(patterns))
    , m_lists(std::move(lists))
{
}

int CommandPatternSet::match(const std::vector<std::string>& words, std::size_t begin, std::size_t end,
                             std::vector<Argument>& arguments) const
{
    if (begin >= end || m_patterns.empty())
        return -1;
    const std::vector<std::string> heard = slice(words, begin, end);
    for (std::size_t i = 0; i < m_patterns.size(); ++i)
        if (m_patterns[i]->match(heard, m_lists, arguments))
            return static_cast<int>(i);
    return -1;
}

bool CommandPatternSet::matches(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const
{
    std::vector<Argument> ignored;
    return match(words, begin, end, ignored) >= 0;
}

bool CommandPatternSet::couldContinue(const std::vector<std::string>& words, std::size_t begin,
                                      std::size_t end) const
{
    if (begin > end || m_patterns.empty())
        return false;
    const std::vector<std::string> heard = slice(words, begin, end);
    for (const auto& pattern : m_patterns)
        if (pattern->couldContinue(heard, m_lists))
            return true;
    return false;
}

bool CommandPatternSet::matchesWithUnheardText(const std::vector<std::string>& words, std::size_t begin,
                                               std::size_t end) const
{
    if (begin >= end)
        return false;
    const std::vector<std::string> heard = slice(words, begin, end);
    for (const auto& pattern : m_patterns)
        if (pattern->matchWithUnheardText(heard, m_lists))
            return true;
    return false;
}

bool CommandPatternSet::missed(const std::vector<std::string>& words, bool mayGoOn) const
{
    if (words.size() < 2 || matches(words, 0, words.size()) || (mayGoOn && couldContinue(words, 0, words.size())))
        return false;
    // The speaker got past a pattern's first word: its first two words at
    // least begin one of its commands ("go to", "volume one"). One word that
    // a pattern begins with is too little: "good morning" is heard as "go
    // ..." in a grammar of "go to line ...".
    for (std::size_t end = words.size(); end >= 2; --end)
        if (couldContinue(words, 0, end) || matches(words, 0, end))
            return true;
    return false;
}

bool CommandPatternSet::hasText() const
{
    for (const auto& pattern : m_patterns)
        if (pattern->hasText())
            return true;
    return false;
}

std::vector<std::string> CommandPatternSet::grammarPhrases() const
{
    std::vector<std::string> phrases;
    std::unordered_set<std::string> seen;
    for (const auto& pattern : m_patterns)
        for (std::string& phrase : pattern->grammarPhrases(m_lists))
            if (seen.insert(phrase).second)
                phrases.push_back(std::move(phrase));
    return phrases;
}

}  // namespace KSR
