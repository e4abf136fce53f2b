// Command patterns: spoken numbers, the pattern language, its errors, and
// deciding whether recognized words are a command and what its slots hold.
#include <gtest/gtest.h>

#include <random>

#include "common/command_pattern.h"
#include "common/spoken_number.h"
#include "ksr_types.h"

using KSR::Argument;
using KSR::CommandPattern;
using KSR::SlotType;
using KSR::SpokenNumber;
using Strings = std::vector<std::string>;

namespace {

Strings words(const std::string& text)
{
    Strings out;
    KSR::splitString(text, ' ', false, out);
    return out;
}

bool number(const std::string& text, long long& value)
{
    const Strings w = words(text);
    return SpokenNumber::read(w, 0, w.size(), value);
}

long long numberOf(const std::string& text)
{
    long long value = -1;
    EXPECT_TRUE(number(text, value)) << text;
    return value;
}

const KSR::SpokenLists kLists = {{"colours", {{"red", "#ff0000"}, {"dark red", "#8b0000"}, {"blue", "#0000ff"}}}};
const std::set<std::string> kListNames = {"colours"};

std::shared_ptr<const CommandPattern> pattern(const std::string& text)
{
    std::string error;
    auto parsed = CommandPattern::parse(text, kListNames, error);
    EXPECT_TRUE(parsed) << text << ": " << error;
    EXPECT_EQ(error, "");
    return parsed;
}

std::string errorOf(const std::string& text)
{
    std::string error;
    EXPECT_FALSE(CommandPattern::parse(text, kListNames, error)) << text;
    return error;
}

// The arguments of `said` under `text`, or nothing when it is no match.
bool matches(const std::string& text, const std::string& said, std::vector<Argument>& arguments)
{
    const auto parsed = pattern(text);
    return parsed && parsed->match(words(said), kLists, arguments);
}

bool matches(const std::string& text, const std::string& said)
{
    std::vector<Argument> arguments;
    return matches(text, said, arguments);
}

}  // namespace

TEST(SpokenNumber, ReadsNumbersSaidNaturally)
{
    EXPECT_EQ(numberOf("zero"), 0);
    EXPECT_EQ(numberOf("six"), 6);
    EXPECT_EQ(numberOf("thirteen"), 13);
    EXPECT_EQ(numberOf("thirty"), 30);
    EXPECT_EQ(numberOf("forty two"), 42);
    EXPECT_EQ(numberOf("one hundred"), 100);
    EXPECT_EQ(numberOf("a hundred"), 100);
    EXPECT_EQ(numberOf("one hundred and five"), 105);
    EXPECT_EQ(numberOf("one hundred five"), 105);
    EXPECT_EQ(numberOf("four hundred thirty three"), 433);
    EXPECT_EQ(numberOf("twelve hundred"), 1200);
    EXPECT_EQ(numberOf("two thousand"), 2000);
    EXPECT_EQ(numberOf("a thousand"), 1000);
    EXPECT_EQ(numberOf("two thousand and five"), 2005);
    EXPECT_EQ(numberOf("ten thousand"), 10000);
    EXPECT_EQ(numberOf("nine hundred ninety nine thousand nine hundred ninety nine"), 999999);
    EXPECT_EQ(numberOf("three million two hundred thousand and one"), 3200001);
}

TEST(SpokenNumber, ReadsNumbersSaidDigitByDigit)
{
    EXPECT_EQ(numberOf("four two"), 42);
    EXPECT_EQ(numberOf("one oh five"), 105);
    EXPECT_EQ(numberOf("zero seven"), 7);
    std::string digits;
    const Strings w = words("five oh oh one");
    ASSERT_TRUE(SpokenNumber::readDigits(w, 0, w.size(), digits));
    EXPECT_EQ(digits, "5001");
    const Strings z = words("zero zero seven");
    ASSERT_TRUE(SpokenNumber::readDigits(z, 0, z.size(), digits));
    EXPECT_EQ(digits, "007");
}

TEST(SpokenNumber, RefusesWordsThatAreNoOneNumber)
{
    long long value = 0;
    for (const char* text : {"", "hundred", "and", "and five", "five and", "twenty twenty", "thirteen five",
                             "two thousand three thousand", "thousand two", "one hundred and", "zero hundred",
                             "twenty zero", "forty two hundred thousand million", "house", "four house",
                             "one two three four five six seven eight nine one two three four five six seven eight nine one"})
        EXPECT_FALSE(number(text, value)) << text;
}

TEST(CommandPatternMatch, LiteralWordsAlternativesAndOptionalParts)
{
    EXPECT_TRUE(matches("save file", "save file"));
    EXPECT_FALSE(matches("save file", "save"));
    EXPECT_FALSE(matches("save file", "save file now"));
    EXPECT_TRUE(matches("(select | pick) all", "pick all"));
    EXPECT_FALSE(matches("(select | pick) all", "choose all"));
    EXPECT_TRUE(matches("close [the] window", "close window"));
    EXPECT_TRUE(matches("close [the] window", "close the window"));
    EXPECT_TRUE(matches("(go [to] | jump) top", "go to top"));
    EXPECT_TRUE(matches("(go [to] | jump) top", "jump top"));
}

TEST(CommandPatternMatch, ANumberSlotTakesItsWordsAndItsRange)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("go to line <line:number 1..10000>", "go to line forty two", arguments));
    ASSERT_EQ(arguments.size(), 1U);
    EXPECT_EQ(arguments[0].name, "line");
    EXPECT_EQ(arguments[0].type, SlotType::Number);
    EXPECT_EQ(arguments[0].number, 42);
    EXPECT_EQ(arguments[0].words, "forty two");
    EXPECT_EQ(arguments[0].firstWord, 3U);
    EXPECT_EQ(arguments[0].wordCount, 2U);

    ASSERT_TRUE(matches("go to line <line:number 1..10000>", "go to line ten thousand", arguments));
    EXPECT_EQ(arguments[0].number, 10000);
    ASSERT_TRUE(matches("go to line <line:number 1..10000>", "go to line one", arguments));
    EXPECT_EQ(arguments[0].number, 1);
    // One past each edge.
    EXPECT_FALSE(matches("go to line <line:number 1..10000>", "go to line zero"));
    EXPECT_FALSE(matches("go to line <line:number 1..10000>", "go to line ten thousand and one"));
    // A missing slot, words left over.
    EXPECT_FALSE(matches("go to line <line:number 1..10000>", "go to line"));
    EXPECT_FALSE(matches("go to line <line:number 1..10000>", "go to line six house"));
}

TEST(CommandPatternMatch, ThirteenIsNotThirtyAndTwentyOneIsOneNumber)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("line <n:number 1..100>", "line thirteen", arguments));
    EXPECT_EQ(arguments[0].number, 13);
    ASSERT_TRUE(matches("line <n:number 1..100>", "line thirty", arguments));
    EXPECT_EQ(arguments[0].number, 30);
    ASSERT_TRUE(matches("line <n:number 1..100> down", "line twenty one down", arguments));
    EXPECT_EQ(arguments[0].number, 21);
}

TEST(CommandPatternMatch, SlotsAfterAndBeforeWords)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("select <count:number 1..20> [more] words", "select three more words", arguments));
    EXPECT_EQ(arguments[0].number, 3);
    ASSERT_TRUE(matches("select <count:number 1..20> [more] words", "select three words", arguments));
    EXPECT_EQ(arguments[0].number, 3);
}

TEST(CommandPatternMatch, DigitsKeepLeadingZeros)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("call <code:digits 3..6>", "call zero oh seven", arguments));
    EXPECT_EQ(arguments[0].type, SlotType::Digits);
    EXPECT_EQ(arguments[0].text, "007");
    EXPECT_FALSE(matches("call <code:digits 3..6>", "call one two"));
    EXPECT_FALSE(matches("call <code:digits 3..6>", "call one two three four five six seven"));
    EXPECT_FALSE(matches("call <code:digits 3..6>", "call twenty one"));
}

TEST(CommandPatternMatch, AListSlotGivesTheHostsValue)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("turn <colour:list colours>", "turn dark red", arguments));
    EXPECT_EQ(arguments[0].type, SlotType::List);
    EXPECT_EQ(arguments[0].text, "#8b0000");
    EXPECT_EQ(arguments[0].words, "dark red");
    ASSERT_TRUE(matches("turn <colour:list colours>", "turn red", arguments));
    EXPECT_EQ(arguments[0].text, "#ff0000");
    EXPECT_FALSE(matches("turn <colour:list colours>", "turn green"));

    // A list changed at run time: the pattern reads the lists it is given.
    const auto turn = pattern("turn <colour:list colours>");
    KSR::SpokenLists changed = {{"colours", {{"green", "#00ff00"}}}};
    ASSERT_TRUE(turn->match(words("turn green"), changed, arguments));
    EXPECT_EQ(arguments[0].text, "#00ff00");
    EXPECT_FALSE(turn->match(words("turn red"), changed, arguments));
}

TEST(CommandPatternMatch, LettersSpellAWord)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("spell <word:letters 1..12>", "spell c a t", arguments));
    EXPECT_EQ(arguments[0].type, SlotType::Letters);
    EXPECT_EQ(arguments[0].text, "cat");
    EXPECT_FALSE(matches("spell <word:letters 1..2>", "spell c a t"));
    EXPECT_FALSE(matches("spell <word:letters 1..12>", "spell cat"));
}

TEST(CommandPatternMatch, TextRunsToTheNextLiteralWordOrTheEnd)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("find <query:text>", "find hello world", arguments));
    EXPECT_EQ(arguments[0].type, SlotType::Text);
    EXPECT_EQ(arguments[0].text, "hello world");
    ASSERT_TRUE(matches("find <query:text> now", "find hello world now", arguments));
    EXPECT_EQ(arguments[0].text, "hello world");
    ASSERT_TRUE(matches("find <query:text 1..2> now", "find now now", arguments));
    EXPECT_EQ(arguments[0].text, "now");
    EXPECT_FALSE(matches("find <query:text 1..2>", "find a b c"));
    EXPECT_FALSE(matches("find <query:text>", "find"));
    EXPECT_FALSE(matches("find <query:text>", "find [unk]"));
    const Strings thirteen = words("find a b c d e f g h i j k l m");
    EXPECT_FALSE(pattern("find <query:text>")->match(thirteen, kLists, arguments));
}

TEST(CommandPatternMatch, EverySlotOfAMatchInOrder)
{
    std::vector<Argument> arguments;
    ASSERT_TRUE(matches("move <n:number 1..9> (lines | words) <to:list colours>", "move four words blue", arguments));
    ASSERT_EQ(arguments.size(), 2U);
    EXPECT_EQ(arguments[0].name, "n");
    EXPECT_EQ(arguments[1].name, "to");
    EXPECT_EQ(arguments[1].text, "#0000ff");
    // An optional part left out leaves its slot out.
    ASSERT_TRUE(matches("page [<n:number 1..9>] down", "page down", arguments));
    EXPECT_TRUE(arguments.empty());
}

TEST(CommandPatternInfo, WordsListsAndTheEnd)
{
    const auto parsed = pattern("(go | jump) to <line:number 1..9> [in <c:list colours>]");
    EXPECT_EQ(parsed->literalWords(), (Strings{"go", "jump", "to", "in"}));
    EXPECT_EQ(parsed->listsUsed(), (Strings{"colours"}));
    const Strings vocabulary = parsed->vocabulary(kLists);
    for (const char* word : {"go", "jump", "to", "in", "forty", "hundred", "red", "dark", "blue"})
        EXPECT_NE(std::find(vocabulary.begin(), vocabulary.end(), word), vocabulary.end()) << word;
    EXPECT_FALSE(parsed->endsWithText());
    EXPECT_TRUE(pattern("find <q:text>")->endsWithText());
    EXPECT_TRUE(pattern("find <q:text> [now]")->endsWithText());
    EXPECT_FALSE(pattern("find <q:text> now")->endsWithText());
    EXPECT_EQ(pattern("find <q:text> now")->text(), "find <q:text> now");
}

TEST(CommandPatternErrors, EachBadPatternIsNamed)
{
    EXPECT_EQ(errorOf(""), "an empty pattern");
    EXPECT_EQ(errorOf("   "), "an empty pattern");
    EXPECT_EQ(errorOf("go (up | down"), "unbalanced brackets: \"(\" without \")\"");
    EXPECT_EQ(errorOf("go up | down)"), "unbalanced brackets: \"|\" without its opening bracket");
    EXPECT_EQ(errorOf("go up)"), "unbalanced brackets: \")\" without its opening bracket");
    EXPECT_EQ(errorOf("go [up"), "unbalanced brackets: \"[\" without \"]\"");
    EXPECT_EQ(errorOf("go (up ]"), "unbalanced brackets: \"]\" inside \"( )\"");
    EXPECT_EQ(errorOf("go <n:number 1..5"), "unbalanced brackets: \"<\" without \">\"");
    EXPECT_EQ(errorOf("go n:number 1..5>"), "unbalanced brackets: \">\" without \"<\"");
    EXPECT_EQ(errorOf("go (up | )"), "an empty alternative in \"( | )\"");
    EXPECT_EQ(errorOf("go ( | up)"), "an empty alternative in \"( | )\"");
    EXPECT_EQ(errorOf("go [ ]"), "an empty optional part \"[ ]\"");
    EXPECT_EQ(errorOf("line <n:number 10..5>"), "the range 10..5 is empty in <n:number 10..5>");
    EXPECT_EQ(errorOf("line <n:number 5>"), "a number slot needs a range A..B in <n:number 5>");
    EXPECT_EQ(errorOf("line <n:number -1..5>"), "a number slot needs a range A..B in <n:number -1..5>");
    EXPECT_EQ(errorOf("line <n:number 1..1000000000>"),
              "the range 1..1000000000 goes beyond 0..999999999 in <n:number 1..1000000000>");
    EXPECT_EQ(errorOf("call <c:digits 0..3>"), "the range 0..3 goes beyond 1..18 in <c:digits 0..3>");
    EXPECT_EQ(errorOf("turn <c:list fruits>"), "no list \"fruits\" in <c:list fruits>: set it with setList first");
    EXPECT_EQ(errorOf("turn <c:list>"), "a list slot names one list, as in <colour:list colours> in <c:list>");
    EXPECT_EQ(errorOf("turn <c:colour>"),
              "unknown slot type \"colour\" in <c:colour> (number, digits, list, letters or text)");
    EXPECT_EQ(errorOf("turn <number 1..5>"),
              "a slot needs a name and a type, as in <line:number 1..100>, not <number 1..5>");
    EXPECT_EQ(errorOf("turn <n>"), "a slot needs a name and a type, as in <line:number 1..100>, not <n>");
    EXPECT_EQ(errorOf("<a:number 1..5> to <a:number 1..5>"), "two slots named \"a\"");
    EXPECT_EQ(errorOf("from <a:number 1..5> <b:number 1..5>"),
              "<a> and <b> are number slots side by side: where one ends and the other begins cannot be told");
    EXPECT_EQ(errorOf("call <a:number 1..5> <b:digits 1..5>"),
              "<a> and <b> are number slots side by side: where one ends and the other begins cannot be told");
    EXPECT_EQ(errorOf("find <q:text> <n:number 1..5>"),
              "the text slot <q> must be followed by a word or end the pattern");
}

// Random text never crashes the parser, and every pattern it accepts
// matches random words without crashing (the fuzz target goes further).
TEST(CommandPatternErrors, RandomTextIsRefusedOrParsedNeverMore)
{
    const std::string alphabet = "ab ()[]<>|:.0123456789 numberdigitslisttextletterscolours";
    std::mt19937 random(20261125);
    const Strings pool = words("a b one two forty hundred thousand red dark c t and oh zero");
    int parsed = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const int length = static_cast<int>(random() % 40);
        for (int i = 0; i < length; ++i)
            text += alphabet[random() % alphabet.size()];
        std::string error;
        const auto result = CommandPattern::parse(text, kListNames, error);
        EXPECT_EQ(result == nullptr, !error.empty()) << text;
        if (!result)
            continue;
        ++parsed;
        Strings said;
        for (int i = static_cast<int>(random() % 8); i > 0; --i)
            said.push_back(pool[random() % pool.size()]);
        std::vector<Argument> arguments;
        result->match(said, kLists, arguments);
    }
    EXPECT_GT(parsed, 100);
}
