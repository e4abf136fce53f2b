// What a grammar recognizer is given to hear command patterns, whether the
// words heard so far could still become a command, and the helpers both
// managers share: the pattern and spoken forms as taken, slot confidences,
// numbers said back as words.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "common/command_pattern.h"
#include "common/command_pattern_set.h"
#include "common/spoken_number.h"

namespace {

using Strings = std::vector<std::string>;

std::shared_ptr<const KSR::CommandPattern> parsed(const std::string& text)
{
    std::string error;
    auto pattern = KSR::CommandPattern::parse(text, {"colours"}, error);
    EXPECT_TRUE(pattern) << text << ": " << error;
    return pattern;
}

Strings words(const std::string& text)
{
    Strings out;
    KSR::splitString(text, ' ', false, out);
    return out;
}

const KSR::SpokenLists kLists = {{"colours", {{"red", "1"}, {"dark red", "2"}}}};

bool has(const Strings& phrases, const std::string& phrase)
{
    return std::find(phrases.begin(), phrases.end(), phrase) != phrases.end();
}

}  // namespace

TEST(PatternGrammar, EachWayOfSayingAPatternIsAPhraseWithSampleValues)
{
    const Strings phrases = parsed("(go | move) to line <n:number 5..10000> [now]")->grammarPhrases(kLists);
    for (const char* phrase : {"go to line five", "go to line five now", "move to line five", "move to line five now"})
        EXPECT_TRUE(has(phrases, phrase)) << phrase;
    const Strings list = parsed("turn <c:list colours> <w:letters 2..3> <q:text>")->grammarPhrases(kLists);
    EXPECT_TRUE(has(list, "turn dark red a a [unk]"));  // the list's first spoken form
    EXPECT_TRUE(has(list, "dark red"));
    EXPECT_TRUE(has(list, "z"));
}

TEST(PatternGrammar, NumbersBringTheirWordPairsAndNoMisspelling)
{
    const Strings phrases = parsed("go to line <n:number 1..10000>")->grammarPhrases(kLists);
    for (const char* phrase : {"forty two", "ninety nine", "seven hundred and seven", "three thousand three",
                               "ten thousand", "forty", "oh"})
        EXPECT_TRUE(has(phrases, phrase)) << phrase;
    EXPECT_FALSE(has(phrases, "fourty"));
    EXPECT_FALSE(has(phrases, "two million two"));  // beyond the range
    // Every pair of digits, once, in one phrase.
    std::string digits;
    for (const std::string& phrase : phrases)
        if (phrase.size() > digits.size())
            digits = phrase;
    const Strings said = words(digits);
    EXPECT_EQ(said.size(), 122U);
    std::set<std::pair<std::string, std::string>> pairs;
    for (std::size_t i = 0; i + 1 < said.size(); ++i)
        pairs.insert({said[i], said[i + 1]});
    EXPECT_EQ(pairs.size(), 121U);
    // A small range has no tens and units to pair.
    EXPECT_FALSE(has(parsed("zoom <n:number 1..5>")->grammarPhrases(kLists), "twenty one"));
}

TEST(PatternGrammar, WordsCouldContinueWhileMoreWordsCanStillMakeACommand)
{
    const auto line = parsed("go to line <n:number 1..100> [now]");
    EXPECT_TRUE(line->couldContinue(words("go"), kLists));
    EXPECT_TRUE(line->couldContinue(words("go to line"), kLists));
    EXPECT_TRUE(line->couldContinue(words("go to line twenty"), kLists));      // twenty one
    EXPECT_TRUE(line->couldContinue(words("go to line twenty one"), kLists));  // now
    EXPECT_FALSE(line->couldContinue(words("go to line twenty one now"), kLists));
    EXPECT_FALSE(line->couldContinue(words("go to page"), kLists));
    const auto hundred = parsed("volume <n:number 0..100>");
    EXPECT_FALSE(hundred->couldContinue(words("volume ten"), kLists));  // "ten thousand" is beyond 100
    EXPECT_FALSE(hundred->couldContinue(words("volume one hundred"), kLists));
    EXPECT_TRUE(hundred->couldContinue(words("volume one"), kLists));  // one hundred
    const auto turn = parsed("turn <c:list colours>");
    EXPECT_TRUE(turn->couldContinue(words("turn dark"), kLists));
    EXPECT_FALSE(turn->couldContinue(words("turn red"), kLists));
    const auto code = parsed("call <d:digits 2..3>");
    EXPECT_TRUE(code->couldContinue(words("call four two"), kLists));
    EXPECT_FALSE(code->couldContinue(words("call four two one"), kLists));
}

TEST(PatternGrammar, ATextSlotMayHoldUnnamedWordsToBeHeardAgain)
{
    const auto find = parsed("find <q:text> [now]");
    std::vector<KSR::Argument> arguments;
    EXPECT_TRUE(find->hasText());
    EXPECT_FALSE(find->match(words("find [unk] word"), kLists, arguments));
    EXPECT_TRUE(find->matchWithUnheardText(words("find [unk] word"), kLists));
    EXPECT_TRUE(find->matchWithUnheardText(words("find [unk] now"), kLists));
    EXPECT_FALSE(find->matchWithUnheardText(words("fine [unk]"), kLists));
    EXPECT_FALSE(parsed("go to line <n:number 1..9>")->matchWithUnheardText(words("go to line [unk]"), kLists));
    const KSR::CommandPatternSet set({find, parsed("go to line <n:number 1..9>")}, kLists);
    EXPECT_TRUE(set.hasText());
    EXPECT_TRUE(set.matchesWithUnheardText(words("find [unk]"), 0, 2));
}

TEST(PatternGrammar, ASetFindsTheFirstMatchingPatternAndKnowsWhenItIsTheSame)
{
    const std::vector<std::shared_ptr<const KSR::CommandPattern>> patterns = {parsed("select <n:number 1..5> words"),
                                                                               parsed("select <n:number 1..9> words")};
    const KSR::CommandPatternSet set(patterns, kLists);
    std::vector<KSR::Argument> arguments;
    const Strings heard = words("undo select seven words");
    EXPECT_EQ(set.match(heard, 1, 4, arguments), 1);
    EXPECT_EQ(arguments.at(0).number, 7);
    EXPECT_EQ(set.match(words("select two words"), 0, 3, arguments), 0);
    EXPECT_EQ(set.match(heard, 0, 4, arguments), -1);
    EXPECT_TRUE(set.sameAs(patterns, kLists));
    EXPECT_FALSE(set.sameAs({patterns[1], patterns[0]}, kLists));
    EXPECT_FALSE(set.sameAs(patterns, {}));
}

TEST(PatternGrammar, PatternsAndSpokenFormsAreTakenInLowerCase)
{
    EXPECT_EQ(KSR::CommandPattern::lowerWords("Go To <Line:number 1..9> [NOW]"), "go to <Line:number 1..9> [now]");
    EXPECT_EQ(KSR::CommandPattern::spokenForm("  Dark   RED "), "dark red");
    EXPECT_EQ(KSR::CommandPattern::spokenForm("   "), "");
}

TEST(PatternGrammar, ASlotIsAsSureAsItsLeastSureWord)
{
    std::vector<KSR::Argument> arguments(2);
    arguments[0].firstWord = 1;
    arguments[0].wordCount = 2;
    arguments[1].firstWord = 3;
    arguments[1].wordCount = 1;
    KSR::CommandPattern::rate(arguments, {100, 97, 93, 99}, 4);
    EXPECT_EQ(arguments[0].confidence, 93);
    EXPECT_EQ(arguments[1].confidence, 99);
    KSR::CommandPattern::rate(arguments, {}, 4);
    EXPECT_EQ(arguments[0].confidence, 0);
    EXPECT_EQ(arguments[1].confidence, 0);
}

TEST(SpokenNumberSaid, NumbersAreSaidBackInWords)
{
    EXPECT_EQ(KSR::SpokenNumber::say(0), "zero");
    EXPECT_EQ(KSR::SpokenNumber::say(42), "forty two");
    EXPECT_EQ(KSR::SpokenNumber::say(105), "one hundred five");
    EXPECT_EQ(KSR::SpokenNumber::say(10000), "ten thousand");
    EXPECT_EQ(KSR::SpokenNumber::say(2000013), "two million thirteen");
    EXPECT_EQ(KSR::SpokenNumber::say(999999999), "nine hundred ninety nine million nine hundred ninety nine "
                                                  "thousand nine hundred ninety nine");
    EXPECT_EQ(KSR::SpokenNumber::say(-1), "");
    EXPECT_EQ(KSR::SpokenNumber::say(1000000000), "");
    // What is said reads back as the number.
    for (long long value : {0LL, 7LL, 19LL, 20LL, 99LL, 100LL, 101LL, 1010LL, 123456LL, 50000000LL}) {
        const Strings said = words(KSR::SpokenNumber::say(value));
        long long read = -1;
        EXPECT_TRUE(KSR::SpokenNumber::read(said, 0, said.size(), read)) << value;
        EXPECT_EQ(read, value);
    }
}
