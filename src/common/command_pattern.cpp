#include "common/command_pattern.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <unordered_set>

#include "common/ksr_text_case.h"
#include "common/spoken_number.h"
#include "ksr_types.h"

namespace KSR {

namespace {

using Node = CommandPattern::Node;
using Sequence = CommandPattern::Sequence;
using Kind = Node::Kind;

// Bounds that keep every value in range of its type and every match short.
const long long kLargestNumber = 999999999;  // below a thousand millions
const long long kMostDigits = 18;
const long long kMostLetters = 30;
const long long kMostTextWords = 50;
// Matching backtracks; a pattern of many optional parts against a long
// utterance stops after this many steps, as no match.
const long kMatchSteps = 200000;

bool isSpecial(char c) { return c == '(' || c == ')' || c == '[' || c == ']' || c == '|' || c == '<' || c == '>'; }
bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

std::string slotText(const std::string& inside) { return "<" + inside + ">"; }

// "A..B" as two non-negative integers.
bool readRange(const std::string& text, long long& low, long long& high)
{
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos || dots == 0 || dots + 2 >= text.size())
        return false;
    long long* const ends[] = {&low, &high};
    const std::string parts[] = {text.substr(0, dots), text.substr(dots + 2)};
    for (int i = 0; i < 2; ++i) {
        if (parts[i].empty() || parts[i].size() > 12)
            return false;
        long long value = 0;
        for (const char c : parts[i]) {
            if (!std::isdigit(static_cast<unsigned char>(c)))
                return false;
            value = value * 10 + (c - '0');
        }
        *ends[i] = value;
    }
    return true;
}

std::vector<std::string> splitBlanks(const std::string& text)
{
    std::vector<std::string> words;
    splitString(text, ' ', false, words);
    return words;
}

class Parser {
public:
    Parser(const std::string& text, const std::set<std::string>& lists)
        : m_text(text), m_lists(lists)
    {
    }

    bool parse(Sequence& root, std::string& error)
    {
        if (!sequence(root, 0) || !m_error.empty()) {
            error = m_error;
            return false;
        }
        skipBlanks();
        if (m_at < m_text.size()) {
            error = std::string("unbalanced brackets: \"") + m_text[m_at] + "\" without its opening bracket";
            return false;
        }
        if (root.empty()) {
            error = "an empty pattern";
            return false;
        }
        return checkNeighbours(root, error);
    }

private:
    void skipBlanks()
    {
        while (m_at < m_text.size() && isBlank(m_text[m_at]))
            ++m_at;
    }

    bool fail(const std::string& error)
    {
        if (m_error.empty())
            m_error = error;
        return false;
    }

    // Items up to a closing bracket, a bar or the end.
    bool sequence(Sequence& out, int depth)
    {
        if (depth > 20)
            return fail("brackets nested more than 20 deep");
        for (;;) {
            skipBlanks();
            if (m_at >= m_text.size())
                return true;
            const char c = m_text[m_at];
            if (c == ')' || c == ']' || c == '|')
                return true;
            if (c == '>')
                return fail("unbalanced brackets: \">\" without \"<\"");
            Node node;
            if (c == '(') {
                ++m_at;
                if (!choice(node, depth))
                    return false;
            } else if (c == '[') {
                ++m_at;
                node.kind = Kind::Optional;
                node.alternatives.emplace_back();
                if (!sequence(node.alternatives.back(), depth + 1))
                    return false;
                skipBlanks();
                if (m_at >= m_text.size() || m_text[m_at] != ']')
                    return fail("unbalanced brackets: \"[\" without \"]\"");
                ++m_at;
                if (node.alternatives.back().empty())
                    return fail("an empty optional part \"[ ]\"");
            } else if (c == '<') {
                ++m_at;
                if (!slot(node))
                    return false;
            } else {
                node.kind = Kind::Word;
                while (m_at < m_text.size() && !isBlank(m_text[m_at]) && !isSpecial(m_text[m_at]))
                    node.word += m_text[m_at++];
            }
            out.push_back(std::move(node));
        }
    }

    bool choice(Node& node, int depth)
    {
        node.kind = Kind::Choice;
        for (;;) {
            node.alternatives.emplace_back();
            if (!sequence(node.alternatives.back(), depth + 1))
                return false;
            if (node.alternatives.back().empty())
                return fail("an empty alternative in \"( | )\"");
            skipBlanks();
            if (m_at >= m_text.size())
                return fail("unbalanced brackets: \"(\" without \")\"");
            const char c = m_text[m_at++];
            if (c == ')')
                return true;
            if (c != '|')
                return fail(std::string("unbalanced brackets: \"") + c + "\" inside \"( )\"");
        }
    }

    bool slot(Node& node)
    {
        const std::size_t end = m_text.find('>', m_at);
        if (end == std::string::npos)
            return fail("unbalanced brackets: \"<\" without \">\"");
        const std::string inside = m_text.substr(m_at, end - m_at);
        m_at = end + 1;
        if (inside.find('<') != std::string::npos)
            return fail("unbalanced brackets: \"<\" inside " + slotText(inside));
        const std::size_t colon = inside.find(':');
        const std::string name = colon == std::string::npos ? inside : inside.substr(0, colon);
        const std::vector<std::string> nameWords = splitBlanks(name);
        if (nameWords.size() != 1)
            return fail("a slot needs a name and a type, as in <line:number 1..100>, not " + slotText(inside));
        node.kind = Kind::Slot;
        node.name = nameWords.front();
        if (!m_names.insert(node.name).second)
            return fail("two slots named \"" + node.name + "\"");
        const std::vector<std::string> parts =
            colon == std::string::npos ? std::vector<std::string>() : splitBlanks(inside.substr(colon + 1));
        if (parts.empty())
            return fail("a slot needs a name and a type, as in <line:number 1..100>, not " + slotText(inside));
        const std::string& type = parts.front();
        const std::string where = " in " + slotText(inside);
        if (type == "list") {
            node.type = SlotType::List;
            if (parts.size() != 2)
                return fail("a list slot names one list, as in <colour:list colours>" + where);
            node.list = parts[1];
            if (!m_lists.count(node.list))
                return fail("no list \"" + node.list + "\"" + where + ": set it with setList first");
            return true;
        }
        struct Limits {
            const char* type;
            SlotType slot;
            long long lowest, highest;
            bool rangeOptional;
        };
        static const Limits kLimits[] = {{"number", SlotType::Number, 0, kLargestNumber, false},
                                         {"digits", SlotType::Digits, 1, kMostDigits, false},
                                         {"letters", SlotType::Letters, 1, kMostLetters, false},
                                         {"text", SlotType::Text, 1, kMostTextWords, true}};
        for (const Limits& limits : kLimits) {
            if (type != limits.type)
                continue;
            node.type = limits.slot;
            if (parts.size() == 1 && limits.rangeOptional) {
                node.low = 1;
                node.high = CommandPattern::kDefaultTextWords;
                return true;
            }
            if (parts.size() != 2 || !readRange(parts[1], node.low, node.high))
                return fail(std::string("a ") + limits.type + " slot needs a range A..B" + where);
            if (node.low > node.high)
                return fail("the range " + parts[1] + " is empty" + where);
            if (node.low < limits.lowest || node.high > limits.highest)
                return fail("the range " + parts[1] + " goes beyond " + std::to_string(limits.lowest) + ".." +
                            std::to_string(limits.highest) + where);
            return true;
        }
        return fail("unknown slot type \"" + type + "\"" + where +
                    " (number, digits, list, letters or text)");
    }

    // Slots whose words cannot be told apart must not touch: two numbers
    // ("four five" is 45, or 4 and 5), and a text slot and the slot after it
    // (a text slot ends at the next literal word, optional or not).
    bool checkNeighbours(const Sequence& sequence, std::string& error)
    {
        const auto numeric = [](const Node& node) {
            return node.kind == Kind::Slot && (node.type == SlotType::Number || node.type == SlotType::Digits);
        };
        for (std::size_t i = 0; i < sequence.size(); ++i) {
            const Node& node = sequence[i];
            for (const Sequence& inner : node.alternatives)
                if (!checkNeighbours(inner, error))
                    return false;
            if (i + 1 == sequence.size())
                continue;
            const Node& next = sequence[i + 1];
            if (numeric(node) && numeric(next)) {
                error = "<" + node.name + "> and <" + next.name +
                        "> are number slots side by side: where one ends and the other begins cannot be told";
                return false;
            }
            if (node.kind == Kind::Slot && node.type == SlotType::Text && next.kind == Kind::Slot) {
                error = "the text slot <" + node.name + "> must be followed by a word or end the pattern";
                return false;
            }
        }
        return true;
    }

    const std::string& m_text;
    const std::set<std::string>& m_lists;
    std::size_t m_at = 0;
    std::string m_error;
    std::set<std::string> m_names;
};

// Backtracking over the pattern's choices and the lengths of its slots.
class Matcher {
public:
    // With `prefix`, the matcher asks instead whether the words are the
    // beginning of a longer command: whether some words said after them
    // would make a command.
    // With `anyText`, a text slot also takes words the recognizer did not
    // know ("[unk]"): what it holds is to be heard again.
    Matcher(const std::vector<std::string>& words, const SpokenLists& lists, bool prefix = false,
            bool anyText = false)
        : m_words(words), m_lists(lists), m_prefix(prefix), m_anyText(anyText || prefix)
    {
    }

    bool run(const Sequence& root, std::vector<Argument>& arguments)
    {
        const bool matched =
            sequence(root, 0, 0, [this](std::size_t at) { return !m_prefix && at == m_words.size(); });
        if (matched)
            arguments = m_arguments;
        return matched;
    }

private:
    using Then = std::function<bool(std::size_t)>;

    bool sequence(const Sequence& items, std::size_t index, std::size_t at, const Then& then)
    {
        if (++m_steps > kMatchSteps)
            return false;
        if (index == items.size())
            return then(at);
        // Every item can take words: the speaker may still say them.
        if (m_prefix && at == m_words.size())
            return true;
        const Node& node = items[index];
        const Then next = [&](std::size_t after) { return sequence(items, index + 1, after, then); };
        switch (node.kind) {
        case Kind::Word:
            return at < m_words.size() && m_words[at] == node.word && next(at + 1);
        case Kind::Choice:
            for (const Sequence& alternative : node.alternatives)
                if (sequence(alternative, 0, at, next))
                    return true;
            return false;
        case Kind::Optional:
            return sequence(node.alternatives.front(), 0, at, next) || next(at);
        case Kind::Slot:
            return slot(node, at, next);
        }
        return false;
    }

    // Tries the slot's possible lengths: the longest first for numbers,
    // digits, letters and list forms ("twenty one" is not "twenty" with a
    // word left over), the shortest first for text, which so ends at the
    // first literal word that lets the rest match.
    bool slot(const Node& node, std::size_t at, const Then& next)
    {
        const std::size_t left = m_words.size() - at;
        if (m_prefix && slotGoesOn(node, at))
            return true;
        if (node.type == SlotType::List)
            return listSlot(node, at, next);
        const long long longest = node.type == SlotType::Number ? 30 : node.high;
        std::size_t most = std::min<std::size_t>(left, static_cast<std::size_t>(longest));
        std::size_t least = node.type == SlotType::Number ? 1 : static_cast<std::size_t>(node.low);
        if (least > most)
            return false;
        const bool shortestFirst = node.type == SlotType::Text;
        for (std::size_t i = 0; i <= most - least; ++i) {
            const std::size_t count = shortestFirst ? least + i : most - i;
            Argument argument;
            if (!fill(node, at, count, argument))
                continue;
            if (tryWith(std::move(argument), at + count, next))
                return true;
        }
        return false;
    }

    // A list's spoken forms as words, the longest first; split once per match.
    using Forms = std::vector<std::pair<std::vector<std::string>, const std::string*>>;
    const Forms* formsOf(const std::string& name)
    {
        const auto known = m_forms.find(name);
        if (known != m_forms.end())
            return &known->second;
        const auto list = m_lists.find(name);
        if (list == m_lists.end())
            return nullptr;
        Forms& forms = m_forms[name];
        for (const auto& entry : list->second)
            forms.push_back({splitBlanks(entry.first), &entry.second});
        std::stable_sort(forms.begin(), forms.end(),
                         [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
        return &forms;
    }

    bool listSlot(const Node& node, std::size_t at, const Then& next)
    {
        const Forms* forms = formsOf(node.list);
        if (!forms)
            return false;
        for (const auto& form : *forms) {
            const std::size_t count = form.first.size();
            if (count == 0 || count > m_words.size() - at ||
                !std::equal(form.first.begin(), form.first.end(), m_words.begin() + static_cast<long>(at)))
                continue;
            Argument argument = spanOf(node, at, count);
            argument.text = *form.second;
            if (tryWith(std::move(argument), at + count, next))
                return true;
        }
        return false;
    }

    // Prefix mode: whether the slot can take all the words from `at` on and
    // still more after them. A number goes on when one or two more number
    // words make a number in range of it ("twenty" -> "twenty one", "one
    // hundred" -> "one hundred and five").
    bool slotGoesOn(const Node& node, std::size_t at)
    {
        // Trying a number's next words reads about a thousand runs: it
        // counts as that many steps of the budget.
        if ((m_steps += 1000) > kMatchSteps)
            return false;
        const std::size_t count = m_words.size() - at;
        switch (node.type) {
        case SlotType::Number: {
            std::vector<std::string> run(m_words.begin() + static_cast<long>(at), m_words.end());
            const std::vector<std::string>& vocabulary = SpokenNumber::vocabulary();
            const auto inRange = [&node](const std::vector<std::string>& words) {
                long long value = 0;
                return SpokenNumber::read(words, 0, words.size(), value) && value >= node.low && value <= node.high;
            };
            for (const std::string& first : vocabulary) {
                run.push_back(first);
                if (inRange(run))
                    return true;
                for (const std::string& second : vocabulary) {
                    run.push_back(second);
                    const bool found = inRange(run);
                    run.pop_back();
                    if (found)
                        return true;
                }
                run.pop_back();
            }
            return false;
        }
        case SlotType::Digits:
        case SlotType::Letters:
        case SlotType::Text: {
            if (static_cast<long long>(count) >= node.high)
                return false;
            Argument ignored;
            return count == 0 || fill(node, at, count, ignored);
        }
        case SlotType::List: {
            const Forms* forms = formsOf(node.list);
            if (!forms)
                return false;
            for (const auto& form : *forms)
                if (form.first.size() > count &&
                    std::equal(m_words.begin() + static_cast<long>(at), m_words.end(), form.first.begin()))
                    return true;
            return false;
        }
        }
        return false;
    }

    bool tryWith(Argument argument, std::size_t after, const Then& next)
    {
        m_arguments.push_back(std::move(argument));
        if (next(after))
            return true;
        m_arguments.pop_back();
        return false;
    }

    Argument spanOf(const Node& node, std::size_t at, std::size_t count) const
    {
        Argument argument;
        argument.name = node.name;
        argument.type = node.type;
        argument.firstWord = at;
        argument.wordCount = count;
        for (std::size_t i = at; i < at + count; ++i)
            argument.words += (i > at ? " " : "") + m_words[i];
        return argument;
    }

    bool fill(const Node& node, std::size_t at, std::size_t count, Argument& argument) const
    {
        argument = spanOf(node, at, count);
        switch (node.type) {
        case SlotType::Number:
            return SpokenNumber::read(m_words, at, at + count, argument.number) && argument.number >= node.low &&
                   argument.number <= node.high;
        case SlotType::Digits:
            return SpokenNumber::readDigits(m_words, at, at + count, argument.text);
        case SlotType::Letters:
            for (std::size_t i = at; i < at + count; ++i) {
                const std::string& word = m_words[i];
                if (word.size() != 1 || word[0] < 'a' || word[0] > 'z')
                    return false;
                argument.text += word;
            }
            return true;
        case SlotType::Text:
            for (std::size_t i = at; i < at + count && !m_anyText; ++i)
                if (m_words[i] == "[unk]")
                    return false;
            argument.text = argument.words;
            return true;
        case SlotType::List:
            return false;
        }
        return false;
    }

    const std::vector<std::string>& m_words;
    const SpokenLists& m_lists;
    const bool m_prefix;
    const bool m_anyText;
    std::vector<Argument> m_arguments;
    std::map<std::string, Forms> m_forms;
    long m_steps = 0;
};

template <typename Visit>
void visitNodes(const Sequence& sequence, const Visit& visit)
{
    for (const Node& node : sequence) {
        visit(node);
        for (const Sequence& inner : node.alternatives)
            visitNodes(inner, visit);
    }
}

// Whether the sequence can end with a text slot, from `index` on.
bool canEndWithText(const Sequence& sequence)
{
    for (std::size_t i = sequence.size(); i > 0; --i) {
        const Node& node = sequence[i - 1];
        if (node.kind == Kind::Slot)
            return node.type == SlotType::Text;
        if (node.kind == Kind::Word)
            return false;
        bool any = false;
        for (const Sequence& inner : node.alternatives)
            any = any || canEndWithText(inner);
        if (any)
            return true;
        if (node.kind == Kind::Choice)
            return false;  // every alternative ends with something else
        // An optional part may be left out: look further back.
    }
    return false;
}

void addUnique(std::vector<std::string>& words, const std::string& word)
{
    if (std::find(words.begin(), words.end(), word) == words.end())
        words.push_back(word);
}

// Phrases in the order first added, each once: a grammar's phrases run to a
// few hundred, too many to look each up in a list.
class UniquePhrases {
public:
    void add(const std::string& phrase)
    {
        if (m_seen.insert(phrase).second)
            m_phrases.push_back(phrase);
    }
    std::vector<std::string> take() { return std::move(m_phrases); }

private:
    std::vector<std::string> m_phrases;
    std::unordered_set<std::string> m_seen;
};

// A grammar recognizer hears each pair of words far more surely when the
// pair stands in one of its phrases: without "forty two" in the grammar,
// "two" after "forty" competes with "to" (of "go to line") and comes back
// with a confidence of about 0.7, below any command threshold. These are the
// pairs that numbers up to `high` are said with: tens and units, hundreds
// with "and", thousands and millions.
std::vector<std::string> numberPairs(long long high)
{
    static const char* const kUnits[] = {"one", "two", "three", "four", "five", "six", "seven", "eight", "nine"};
    static const char* const kTens[] = {"twenty", "thirty", "forty", "fifty", "sixty", "seventy", "eighty", "ninety"};
    std::vector<std::string> pairs;
    if (high >= 21)
        for (const char* tens : kTens)
            for (const char* unit : kUnits)
                pairs.push_back(std::string(tens) + " " + unit);
    if (high >= 100)
        for (const char* unit : kUnits)
            pairs.push_back(std::string(unit) + " hundred and " + unit);
    for (const char* scale : {"thousand", "million"}) {
        if (high < (scale[0] == 't' ? 1000 : 1000000))
            continue;
        for (const char* unit : kUnits)
            pairs.push_back(std::string(unit) + " " + scale + " " + unit);
        pairs.push_back(std::string("ten ") + scale);
        pairs.push_back(std::string("a ") + (scale[0] == 't' ? "hundred" : "thousand"));
    }
    return pairs;
}

// Every pair of spoken digits in one phrase, for numbers said digit by digit
// ("four two", "five oh one"): a de Bruijn sequence, in which each pair
// stands once, so the phrase is as short as it can be (122 words).
const std::string& digitPairs()
{
    static const std::string phrase = [] {
        static const char* const kDigits[] = {"zero", "oh",  "one",   "two",   "three", "four",
                                              "five", "six", "seven", "eight", "nine"};
        const int k = static_cast<int>(sizeof kDigits / sizeof kDigits[0]);
        // The Lyndon words of one and two digits in order ("0", "0 1", "0 2",
        // ..., "1", "1 2", ...), joined, and the first digit again to close
        // the cycle.
        std::vector<int> order;
        for (int a = 0; a < k; ++a) {
            order.push_back(a);
            for (int b = a + 1; b < k; ++b) {
                order.push_back(a);
                order.push_back(b);
            }
        }
        order.push_back(order.front());
        std::string words;
        for (const int digit : order)
            words += std::string(words.empty() ? "" : " ") + kDigits[digit];
        return words;
    }();
    return phrase;
}

// A few words that fill the slot, for the recognizer's grammar.
std::string sampleOf(const Node& node, const SpokenLists& lists)
{
    switch (node.type) {
    case SlotType::Number:
        return SpokenNumber::say(node.low);
    case SlotType::Digits: {
        std::string words = "one";
        for (long long i = 1; i < node.low; ++i)
            words += " one";
        return words;
    }
    case SlotType::Letters: {
        std::string words = "a";
        for (long long i = 1; i < node.low; ++i)
            words += " a";
        return words;
    }
    case SlotType::List: {
        const auto list = lists.find(node.list);
        if (list == lists.end() || list->second.empty())
            return std::string();
        return list->second.begin()->first;
    }
    case SlotType::Text:
        return "[unk]";
    }
    return std::string();
}

// The sequence's ways of being said, with each slot said by its sample;
// stops growing at `most` ways (the rest take their first alternative).
void expand(const Sequence& sequence, const SpokenLists& lists, std::size_t most, std::vector<std::string>& ways)
{
    for (const Node& node : sequence) {
        std::vector<std::string> pieces;
        switch (node.kind) {
        case Kind::Word:
            pieces.push_back(node.word);
            break;
        case Kind::Slot:
            pieces.push_back(sampleOf(node, lists));
            break;
        case Kind::Choice:
        case Kind::Optional:
            for (const Sequence& inner : node.alternatives) {
                std::vector<std::string> innerWays{std::string()};
                expand(inner, lists, most, innerWays);
                pieces.insert(pieces.end(), innerWays.begin(), innerWays.end());
            }
            if (node.kind == Kind::Optional)
                pieces.push_back(std::string());
            break;
        }
        std::vector<std::string> grown;
        for (const std::string& way : ways)
            for (std::size_t i = 0; i < pieces.size() && (i == 0 || grown.size() < most); ++i) {
                const std::string& piece = pieces[i];
                grown.push_back(piece.empty() ? way : way.empty() ? piece : way + " " + piece);
            }
        ways.swap(grown);
    }
}

}  // namespace

std::string CommandPattern::lowerWords(const std::string& pattern)
{
    std::string lowered = pattern;
    bool inSlot = false;
    for (char& c : lowered) {
        if (c == '<')
            inSlot = true;
        else if (c == '>')
            inSlot = false;
        else if (!inSlot)
            c = toLowerAscii(c);
    }
    return lowered;
}

std::shared_ptr<const CommandPattern> CommandPattern::parseHostPattern(const std::string& pattern,
                                                                       const SpokenLists& lists, std::string& error)
{
    std::set<std::string> names;
    for (const auto& list : lists)
        names.insert(list.first);
    return parse(lowerWords(pattern), names, error);
}

bool CommandPattern::takeHostList(const std::string& name, const SpokenList& items, SpokenList& taken,
                                  std::string& error)
{
    if (name.empty()) {
        error = "a list needs a name";
        return false;
    }
    for (const auto& entry : items) {
        const std::string spoken = spokenForm(entry.first);
        if (spoken.empty()) {
            error = "an empty spoken form (for the value \"" + entry.second + "\")";
            return false;
        }
        taken[spoken] = entry.second;
    }
    return true;
}

std::string CommandPattern::spokenForm(const std::string& text)
{
    std::string form;
    for (const std::string& word : splitBlanks(text)) {
        form += (form.empty() ? "" : " ") + toLowerAscii(word);
    }
    return form;
}

void CommandPattern::rate(std::vector<Argument>& arguments, const std::vector<int>& wordConfidences,
                          std::size_t wordCount)
{
    for (Argument& argument : arguments) {
        if (wordConfidences.size() != wordCount || argument.wordCount == 0 ||
            argument.firstWord + argument.wordCount > wordConfidences.size()) {
            argument.confidence = 0;
            continue;
        }
        const auto first = wordConfidences.begin() + static_cast<long>(argument.firstWord);
        argument.confidence = *std::min_element(first, first + static_cast<long>(argument.wordCount));
    }
}

std::shared_ptr<const CommandPattern> CommandPattern::parse(const std::string& text,
                                                            const std::set<std::string>& lists, std::string& error)
{
    auto root = std::make_shared<Sequence>();
    Parser parser(text, lists);
    if (!parser.parse(*root, error))
        return nullptr;
    std::shared_ptr<CommandPattern> pattern(new CommandPattern());
    pattern->m_text = text;
    pattern->mp_root = root;
    return pattern;
}

bool CommandPattern::match(const std::vector<std::string>& words, const SpokenLists& lists,
                           std::vector<Argument>& arguments) const
{
    Matcher matcher(words, lists);
    return matcher.run(*mp_root, arguments);
}

std::vector<std::string> CommandPattern::literalWords() const
{
    std::vector<std::string> words;
    visitNodes(*mp_root, [&](const Node& node) {
        if (node.kind == Kind::Word)
            addUnique(words, node.word);
    });
    return words;
}

std::vector<std::string> CommandPattern::vocabulary(const SpokenLists& lists) const
{
    std::vector<std::string> words = literalWords();
    visitNodes(*mp_root, [&](const Node& node) {
        if (node.kind != Kind::Slot)
            return;
        switch (node.type) {
        case SlotType::Number:
        case SlotType::Digits:
            for (const std::string& word : SpokenNumber::vocabulary())
                addUnique(words, word);
            break;
        case SlotType::Letters:
            for (char letter = 'a'; letter <= 'z'; ++letter)
                addUnique(words, std::string(1, letter));
            break;
        case SlotType::List: {
            const auto list = lists.find(node.list);
            if (list != lists.end())
                for (const auto& entry : list->second)
                    for (const std::string& word : splitBlanks(entry.first))
                        addUnique(words, word);
            break;
        }
        case SlotType::Text:
            break;
        }
    });
    return words;
}

namespace {

// Whether the sequence from `index` on can begin with `word`.
bool sequenceBeginsWith(const CommandPattern::Sequence& items, std::size_t index, const std::string& word)
{
    for (; index < items.size(); ++index) {
        const CommandPattern::Node& node = items[index];
        switch (node.kind) {
        case CommandPattern::Node::Kind::Word:
            return node.word == word;
        case CommandPattern::Node::Kind::Slot:
            return false;
        case CommandPattern::Node::Kind::Choice:
            for (const CommandPattern::Sequence& alternative : node.alternatives)
                if (sequenceBeginsWith(alternative, 0, word))
                    return true;
            return false;
        case CommandPattern::Node::Kind::Optional:
            if (sequenceBeginsWith(node.alternatives.front(), 0, word))
                return true;
            break;  // left out: the next item may begin it
        }
    }
    return false;
}

}  // namespace

bool CommandPattern::canBeginWith(const std::string& word) const { return sequenceBeginsWith(*mp_root, 0, word); }

bool CommandPattern::matchWithUnheardText(const std::vector<std::string>& words, const SpokenLists& lists) const
{
    if (!hasText())
        return false;
    Matcher matcher(words, lists, false, true);
    std::vector<Argument> ignored;
    return matcher.run(*mp_root, ignored);
}

bool CommandPattern::hasText() const
{
    bool found = false;
    visitNodes(*mp_root, [&](const Node& node) {
        found = found || (node.kind == Kind::Slot && node.type == SlotType::Text);
    });
    return found;
}

bool CommandPattern::couldContinue(const std::vector<std::string>& words, const SpokenLists& lists) const
{
    Matcher matcher(words, lists, true);
    std::vector<Argument> ignored;
    return matcher.run(*mp_root, ignored);
}

std::vector<std::string> CommandPattern::grammarPhrases(const SpokenLists& lists) const
{
    std::vector<std::string> ways{std::string()};
    expand(*mp_root, lists, kMostGrammarPhrases, ways);
    UniquePhrases phrases;
    for (std::string& way : ways)
        if (!way.empty())
            phrases.add(way);
    visitNodes(*mp_root, [&](const Node& node) {
        if (node.kind != Kind::Slot)
            return;
        switch (node.type) {
        case SlotType::Number:
            // "fourty" is read but never offered: a grammar that holds it
            // beside "forty" splits the confidence of that one sound between
            // the two spellings.
            for (const std::string& word : SpokenNumber::vocabulary())
                if (word != "fourty")
                    phrases.add(word);
            for (const std::string& phrase : numberPairs(node.high))
                phrases.add(phrase);
            if (node.high >= 10)
                phrases.add(digitPairs());
            break;
        case SlotType::Digits:
            for (const std::string& word : SpokenNumber::vocabulary())
                if (SpokenNumber::digitOf(word) >= 0)
                    phrases.add(word);
            phrases.add(digitPairs());
            break;
        case SlotType::Letters:
            for (char letter = 'a'; letter <= 'z'; ++letter)
                phrases.add(std::string(1, letter));
            break;
        case SlotType::List: {
            const auto list = lists.find(node.list);
            if (list != lists.end())
                for (const auto& entry : list->second)
                    if (!splitBlanks(entry.first).empty())
                        phrases.add(entry.first);
            break;
        }
        case SlotType::Text:
            break;
        }
    });
    return phrases.take();
}

std::vector<std::string> CommandPattern::listsUsed() const
{
    std::vector<std::string> names;
    visitNodes(*mp_root, [&](const Node& node) {
        if (node.kind == Kind::Slot && node.type == SlotType::List)
            addUnique(names, node.list);
    });
    return names;
}

bool CommandPattern::endsWithText() const { return canEndWithText(*mp_root); }

}  // namespace KSR
