#include "sapi/pattern_rules.h"

#include <algorithm>

#include "common/spoken_number.h"
#include "sapi/ksr_utf16.h"

namespace KSR {

namespace {

std::string slotReach(long long least, long long most) { return std::to_string(least) + ".." + std::to_string(most); }

const std::vector<std::string>& digitWords()
{
    static const std::vector<std::string> words = [] {
        std::vector<std::string> digits;
        for (const std::string& word : SpokenNumber::vocabulary())
            if (SpokenNumber::digitOf(word) >= 0)
                digits.push_back(word);
        return digits;
    }();
    return words;
}

const std::vector<std::string>& letterWords()
{
    static const std::vector<std::string> words = [] {
        std::vector<std::string> letters;
        for (char letter = 'a'; letter <= 'z'; ++letter)
            letters.emplace_back(1, letter);
        return letters;
    }();
    return words;
}

}  // namespace

PatternRuleBuilder::PatternRuleBuilder(ISpRecoGrammar* grammar, SlotRules& rules, const SpokenLists& lists)
    : m_grammar(grammar)
    , m_rules(rules)
    , m_lists(lists)
{
}

// Digit by digit a number takes one word a digit; said naturally, at most
// five words a group of three digits ("a hundred and ninety nine") and a
// scale word after every group but the last.
long long PatternRuleBuilder::mostNumberWords(long long high)
{
    long long digits = 1;
    for (long long value = high; value >= 10; value /= 10)
        ++digits;
    const long long groups = (digits + 2) / 3;
    return std::max(digits, 6 * groups - 1);
}

bool PatternRuleBuilder::check(HRESULT result)
{
    if (SUCCEEDED(result))
        return true;
    m_failure = result;
    return false;
}

bool PatternRuleBuilder::subRule(const std::string& name, SPSTATEHANDLE& rule)
{
    const WideString wideName = utf8ToUtf16(name);
    // Only reached through references: neither top-level nor active.
    return check(m_grammar ? m_grammar->GetRule(wideName.c_str(), 0, SPRAF_Dynamic, TRUE, &rule) : E_POINTER);
}

bool PatternRuleBuilder::newState(SPSTATEHANDLE in, SPSTATEHANDLE& made)
{
    return check(m_grammar->CreateNewState(in, &made));
}

bool PatternRuleBuilder::word(SPSTATEHANDLE from, SPSTATEHANDLE to, const std::string& text,
                              const SPPROPERTYINFO* property)
{
    // A spoken form of several words is one transition, as a command is.
    const WideString written = utf8ToUtf16("+" + text);
    const WideString separators = utf8ToUtf16(" ");
    return check(
        m_grammar->AddWordTransition(from, to, written.c_str(), separators.c_str(), SPWT_LEXICAL, 1.0f, property));
}

bool PatternRuleBuilder::emptyTransition(SPSTATEHANDLE from, SPSTATEHANDLE to)
{
    return check(m_grammar->AddWordTransition(from, to, nullptr, nullptr, SPWT_LEXICAL, 1.0f, nullptr));
}

bool PatternRuleBuilder::words(SPSTATEHANDLE from, SPSTATEHANDLE to, const std::vector<std::string>& choices)
{
    for (const std::string& choice : choices)
        if (!word(from, to, choice, nullptr))
            return false;
    return true;
}

bool PatternRuleBuilder::chain(SPSTATEHANDLE start, long long least, long long most, const Step& step)
{
    SPSTATEHANDLE at = start;
    for (long long taken = 1; taken <= most; ++taken) {
        SPSTATEHANDLE next = nullptr;  // the rule's end after the last step
        if (taken < most && !newState(at, next))
            return false;
        if (!step(at, next))
            return false;
        // Enough steps taken: the rule may end here.
        if (taken < most && taken >= least && !emptyTransition(next, nullptr))
            return false;
        at = next;
    }
    return true;
}

bool PatternRuleBuilder::addBody(const PatternItems& items, SPSTATEHANDLE& body)
{
    const std::string name = "ksr pattern " + std::to_string(m_rules.nextBody++);
    return subRule(name, body) && addItems(items, body, nullptr);
}

bool PatternRuleBuilder::addItems(const PatternItems& items, SPSTATEHANDLE from, SPSTATEHANDLE to)
{
    SPSTATEHANDLE at = from;
    for (std::size_t i = 0; i < items.size(); ++i) {
        SPSTATEHANDLE next = to;
        if (i + 1 < items.size() && !newState(from, next))
            return false;
        if (!addItem(items[i], at, next))
            return false;
        at = next;
    }
    return true;
}

bool PatternRuleBuilder::addItem(const PatternItem& item, SPSTATEHANDLE from, SPSTATEHANDLE to)
{
    switch (item.kind) {
    case PatternItem::Kind::Word:
        return word(from, to, item.word, nullptr);
    case PatternItem::Kind::Choice:
        for (const PatternItems& alternative : item.alternatives)
            if (!addItems(alternative, from, to))
                return false;
        return true;
    case PatternItem::Kind::Optional:
        return addItems(item.alternatives.front(), from, to) && emptyTransition(from, to);
    case PatternItem::Kind::Slot: {
        SPSTATEHANDLE rule = nullptr;
        return slotRule(item, rule) && check(m_grammar->AddRuleTransition(from, to, rule, 1.0f, nullptr));
    }
    }
    return false;
}

// The recognizer only proposes words of the right kind, in a plausible
// number; whether they make a value in range is the matcher's decision.
bool PatternRuleBuilder::slotRule(const PatternItem& slot, SPSTATEHANDLE& rule)
{
    if (slot.type == SlotType::List)
        return listRule(slot.list, rule);
    long long least = slot.low;
    long long most = slot.high;
    std::string name;
    Step step;
    switch (slot.type) {
    case SlotType::Number:
        least = 1;
        most = mostNumberWords(slot.high);
        name = "ksr number words " + slotReach(least, most);
        step = [this](SPSTATEHANDLE from, SPSTATEHANDLE to) { return words(from, to, SpokenNumber::vocabulary()); };
        break;
    case SlotType::Digits:
        name = "ksr digits " + slotReach(least, most);
        step = [this](SPSTATEHANDLE from, SPSTATEHANDLE to) { return words(from, to, digitWords()); };
        break;
    case SlotType::Letters:
        name = "ksr letters " + slotReach(least, most);
        step = [this](SPSTATEHANDLE from, SPSTATEHANDLE to) { return words(from, to, letterWords()); };
        break;
    case SlotType::Text:
        name = "ksr text " + slotReach(least, most);
        // One dictated word a transition.
        step = [this](SPSTATEHANDLE from, SPSTATEHANDLE to) {
            return check(m_grammar->AddRuleTransition(from, to, SPRULETRANS_DICTATION, 1.0f, nullptr));
        };
        break;
    case SlotType::List:
        return false;
    }
    const auto made = m_rules.made.find(name);
    if (made != m_rules.made.end()) {
        rule = made->second;
        return true;
    }
    if (!subRule(name, rule))
        return false;
    if (!chain(rule, least, most, step)) {
        // Emptied, so that the next pattern that needs it starts afresh.
        m_grammar->ClearRule(rule);
        return false;
    }
    m_rules.made[name] = rule;
    return true;
}

bool PatternRuleBuilder::listRule(const std::string& name, SPSTATEHANDLE& rule)
{
    const auto made = m_rules.lists.find(name);
    if (made != m_rules.lists.end()) {
        rule = made->second;
        return true;
    }
    const auto list = m_lists.find(name);
    if (!subRule("ksr list " + name, rule))
        return false;
    if (!fillList(rule, name, list == m_lists.end() ? SpokenList() : list->second)) {
        m_grammar->ClearRule(rule);
        return false;
    }
    m_rules.lists[name] = rule;
    return true;
}

bool PatternRuleBuilder::refillList(const std::string& name, const SpokenList& items)
{
    const auto made = m_rules.lists.find(name);
    if (made == m_rules.lists.end())
        return true;
    return check(m_grammar->ClearRule(made->second)) && fillList(made->second, name, items);
}

bool PatternRuleBuilder::fillList(SPSTATEHANDLE rule, const std::string& name, const SpokenList& items)
{
    const WideString propertyName = utf8ToUtf16(name);
    for (const auto& item : items) {
        const WideString value = utf8ToUtf16(item.second);
        SPPROPERTYINFO property;
        property.pszName = propertyName.c_str();
        property.ulId = 0;
        property.pszValue = value.c_str();
        VariantInit(&property.vValue);
        if (!word(rule, nullptr, item.first, &property))
            return false;
    }
    return true;
}

}  // namespace KSR
