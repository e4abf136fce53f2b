#include "grammar_walk.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace SapiFakes {

namespace {

// A grammar that loops on empty transitions or refers to itself ends the
// walk as no path, instead of the test.
constexpr long kMostWalkSteps = 200000;
constexpr int kDeepestWalk = 400;

bool sameSpokenWord(const std::string& a, const std::string& b)
{
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

// One step of a path: a word heard, or the beginning or end of what a
// transition with a property or a rule reference spans.
struct WalkMark {
    enum class Kind { Word, Open, Close };
    Kind kind = Kind::Word;
    GrammarWord word;
    const WordTransition* transition = nullptr;  // Open
    const ListenedRule* target = nullptr;        // Open of a rule reference
};

PhraseProperty propertyOf(const WordTransition& transition)
{
    PhraseProperty property;
    property.name = transition.propertyName;
    property.id = transition.propertyId;
    property.value = transition.propertyValue;
    property.number = transition.value;
    property.type = transition.valueType;
    return property;
}

class GrammarWalker {
public:
    GrammarWalker(const GrammarListening& grammar, const std::vector<std::string>& spoken, std::size_t count,
                  bool whole)
        : m_grammar(grammar), m_spoken(spoken), m_count(count), m_whole(whole)
    {
        for (const WordTransition& transition : grammar.transitions)
            m_leaving[transition.from].push_back(&transition);
    }

    bool walk(const ListenedRule& rule, WalkedPhrase& walked)
    {
        m_marks.clear();
        m_steps = 0;
        if (!state(rule.start, 0, 0, [this](std::size_t at) { return at == m_count; }))
            return false;
        std::size_t at = 0;
        walked = WalkedPhrase();
        collect(at, walked.words, walked.rules, walked.properties);
        return true;
    }

private:
    using Then = std::function<bool(std::size_t)>;

    static WalkMark wordMark(const GrammarWord& word)
    {
        WalkMark mark;
        mark.word = word;
        return mark;
    }
    static WalkMark openMark(const WordTransition& transition, const ListenedRule* target)
    {
        WalkMark mark;
        mark.kind = WalkMark::Kind::Open;
        mark.transition = &transition;
        mark.target = target;
        return mark;
    }
    static WalkMark closeMark()
    {
        WalkMark mark;
        mark.kind = WalkMark::Kind::Close;
        return mark;
    }

    // The words from `at` on, from `from`; `atEnd` goes on from the end of
    // the rule `from` belongs to.
    bool state(SPSTATEHANDLE from, std::size_t at, int depth, const Then& atEnd)
    {
        if (++m_steps > kMostWalkSteps || depth > kDeepestWalk)
            return false;
        // The speaker stopped here: the words begin a phrase.
        if (!m_whole && at == m_count)
            return true;
        const auto leaving = m_leaving.find(from);
        if (leaving == m_leaving.end())
            return false;
        for (const WordTransition* transition : leaving->second) {
            const std::size_t marks = m_marks.size();
            if (take(*transition, at, depth, atEnd))
                return true;
            m_marks.resize(marks);
        }
        return false;
    }

    bool after(const WordTransition& transition, std::size_t at, int depth, const Then& atEnd)
    {
        return transition.to ? state(transition.to, at, depth + 1, atEnd) : atEnd(at);
    }

    bool take(const WordTransition& transition, std::size_t at, int depth, const Then& atEnd)
    {
        switch (transition.kind) {
        case WordTransition::Kind::Empty:
            return after(transition, at, depth, atEnd);
        case WordTransition::Kind::Dictation:
            if (!m_grammar.dictationLoaded || at >= m_count)
                return false;
            m_marks.push_back(wordMark(GrammarWord{m_spoken[at], SP_NORMAL_CONFIDENCE}));
            return after(transition, at + 1, depth, atEnd);
        case WordTransition::Kind::Words:
            if (transition.hasProperty)
                m_marks.push_back(openMark(transition, nullptr));
            for (std::size_t i = 0; i < transition.words.size(); ++i) {
                if (at + i == m_count)
                    return !m_whole;  // stopped inside the transition
                if (!sameSpokenWord(transition.words[i].text, m_spoken[at + i]))
                    return false;
                m_marks.push_back(wordMark(transition.words[i]));
            }
            if (transition.hasProperty)
                m_marks.push_back(closeMark());
            return after(transition, at + transition.words.size(), depth, atEnd);
        case WordTransition::Kind::Rule: {
            const auto target = m_grammar.rulesByStart.find(transition.targetState);
            if (target == m_grammar.rulesByStart.end())
                return false;
            m_marks.push_back(openMark(transition, &target->second));
            return state(transition.targetState, at, depth + 1, [&](std::size_t end) {
                const std::size_t marks = m_marks.size();
                m_marks.push_back(closeMark());
                if (after(transition, end, depth, atEnd))
                    return true;
                m_marks.resize(marks);
                return false;
            });
        }
        }
        return false;
    }

    // The marks from `at` up to the close of the one opened before them (or
    // up to their end) as words, rules and properties.
    void collect(std::size_t& at, std::vector<GrammarWord>& words, std::vector<PhraseRule>& rules,
                 std::vector<PhraseProperty>& properties) const
    {
        while (at < m_marks.size()) {
            const WalkMark& mark = m_marks[at++];
            if (mark.kind == WalkMark::Kind::Close)
                return;
            if (mark.kind == WalkMark::Kind::Word) {
                words.push_back(mark.word);
                continue;
            }
            const std::size_t first = words.size();
            std::vector<PhraseRule> innerRules;
            std::vector<PhraseProperty> innerProperties;
            collect(at, words, innerRules, innerProperties);
            const std::size_t count = words.size() - first;
            if (mark.transition->hasProperty) {
                PhraseProperty property = propertyOf(*mark.transition);
                property.firstElement = static_cast<ULONG>(first);
                property.countOfElements = static_cast<long>(count);
                property.children = std::move(innerProperties);
                properties.push_back(std::move(property));
            } else {
                properties.insert(properties.end(), innerProperties.begin(), innerProperties.end());
            }
            if (mark.target) {
                PhraseRule rule;
                rule.name = mark.target->name;
                rule.id = mark.target->id;
                rule.firstElement = static_cast<ULONG>(first);
                rule.countOfElements = static_cast<ULONG>(count);
                rule.children = std::move(innerRules);
                rules.push_back(std::move(rule));
            } else {
                rules.insert(rules.end(), innerRules.begin(), innerRules.end());
            }
        }
    }

    const GrammarListening& m_grammar;
    const std::vector<std::string>& m_spoken;
    const std::size_t m_count;
    const bool m_whole;
    std::map<SPSTATEHANDLE, std::vector<const WordTransition*>> m_leaving;
    std::vector<WalkMark> m_marks;
    long m_steps = 0;
};

}  // namespace

bool walkRule(const GrammarListening& grammar, const ListenedRule& rule, const std::vector<std::string>& spoken,
              std::size_t wordCount, bool whole, WalkedPhrase& walked)
{
    if (wordCount == 0 || wordCount > spoken.size())
        return false;
    GrammarWalker walker(grammar, spoken, wordCount, whole);
    return walker.walk(rule, walked);
}

}  // namespace SapiFakes
