// Properties of the spoken-number converter over generated sentences mixing
// number words, fillers, "point", operators and ordinary words: it always
// terminates, and every ordinary word comes out unchanged and in order.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "ksr_types.h"
#include "numeral_reference.h"
#include "vosk_manager/ksr_numeral_converter.h"

namespace {

const std::vector<std::string> kNumberWords = {
    "zero",    "one",     "two",    "three",  "four",    "five",     "six",     "seven",
    "eight",   "nine",    "ten",    "eleven", "twelve",  "thirteen", "fifteen", "nineteen",
    "twenty",  "thirty",  "forty",  "fourty", "fifty",   "sixty",    "seventy", "eighty",
    "ninety",  "hundred", "thousand", "million", "billion"};
const std::vector<std::string> kFillers = {"and", "a", "point"};
const std::vector<std::string> kOperatorWords = {"minus",    "negative", "subtract",  "plus",   "positive",
                                                 "times",    "multiply", "multiplied", "division",
                                                 "divided",  "percent",  "equals"};
// Ordinary words, none of them a table word nor "by"/"to" (the second words
// of two-word operators, consumed with their first word). Capitalised table
// words are ordinary: lookups are case-sensitive.
const std::vector<std::string> kOtherWords = {"cat",  "dogs", "the",  "is",    "Hello", "One",    "TWO",
                                              "Point", "And", "x",    "world", "i",     "fiftyy", "hundreds",
                                              "7th",  "x2",   "café", "twenty-one"};

std::string pick(std::mt19937& random, const std::vector<std::string>& words)
{
    std::uniform_int_distribution<std::size_t> index(0, words.size() - 1);
    return words[index(random)];
}

// A sentence of 0 to 24 words with random runs of blanks around them.
std::vector<std::string> generateWords(std::mt19937& random)
{
    std::uniform_int_distribution<int> length(0, 24);
    std::uniform_int_distribution<int> kind(0, 9);
    std::vector<std::string> words;
    const int n = length(random);
    for (int i = 0; i < n; ++i) {
        const int k = kind(random);
        if (k < 4)
            words.push_back(pick(random, kNumberWords));
        else if (k < 5)
            words.push_back(pick(random, kFillers));
        else if (k < 7)
            words.push_back(pick(random, kOperatorWords));
        else
            words.push_back(pick(random, kOtherWords));
    }
    return words;
}

std::string joinWithRandomBlanks(std::mt19937& random, const std::vector<std::string>& words)
{
    std::uniform_int_distribution<int> blanks(1, 3);
    std::string text(static_cast<std::size_t>(blanks(random) - 1), ' ');
    for (const auto& word : words) {
        text += word;
        text += std::string(static_cast<std::size_t>(blanks(random)), ' ');
    }
    return text;
}

std::vector<std::string> split(const std::string& text)
{
    std::vector<std::string> tokens;
    KSR::splitString(text, ' ', false, tokens);
    return tokens;
}

bool isConvertedNumber(const std::string& token)
{
    return !token.empty() && token.find_first_not_of("0123456789.") == std::string::npos;
}

constexpr int kSentences = 20000;

TEST(NumeralConverterProperties, OrdinaryWordsComeOutUnchangedAndInOrder)
{
    KSR_NumeralConverter converter;
    const std::set<std::string> other(kOtherWords.begin(), kOtherWords.end());
    std::mt19937 random(20240611);
    for (int n = 0; n < kSentences; ++n) {
        const std::vector<std::string> words = generateWords(random);
        const std::string text = joinWithRandomBlanks(random, words);
        const std::string out = converter.convertText(text);

        std::vector<std::string> expected;
        for (const auto& word : words)
            if (other.count(word))
                expected.push_back(word);
        std::vector<std::string> got;
        for (const auto& token : split(out))
            if (other.count(token))
                got.push_back(token);
        ASSERT_EQ(got, expected) << "input: \"" << text << "\" output: \"" << out << "\"";
    }
}

TEST(NumeralConverterProperties, OutputIsMadeOfKnownTokensWithSingleBlanks)
{
    KSR_NumeralConverter converter;
    const std::set<std::string> allowed = [] {
        std::set<std::string> s(kOtherWords.begin(), kOtherWords.end());
        s.insert(kFillers.begin(), kFillers.end());
        for (const char* symbol : {"-", "+", "*", "/", "%", "="})
            s.insert(symbol);
        return s;
    }();
    std::mt19937 random(7);
    for (int n = 0; n < kSentences; ++n) {
        const std::string text = joinWithRandomBlanks(random, generateWords(random));
        const std::string out = converter.convertText(text);
        ASSERT_EQ(out.find("  "), std::string::npos) << text;
        if (!out.empty()) {
            ASSERT_NE(out.front(), ' ') << text;
            ASSERT_NE(out.back(), ' ') << text;
        }
        for (const auto& token : split(out))
            ASSERT_TRUE(allowed.count(token) || isConvertedNumber(token))
                << "token \"" << token << "\" from \"" << text << "\" -> \"" << out << "\"";
    }
}

TEST(NumeralConverterProperties, SentencesWithoutTableWordsOnlyLoseExtraBlanks)
{
    KSR_NumeralConverter converter;
    std::mt19937 random(99);
    std::uniform_int_distribution<int> length(0, 12);
    for (int n = 0; n < 5000; ++n) {
        std::vector<std::string> words;
        for (int i = length(random); i > 0; --i)
            words.push_back(pick(random, kOtherWords));
        std::string joined;
        for (const auto& word : words)
            joined += (joined.empty() ? "" : " ") + word;
        ASSERT_EQ(converter.convertText(joinWithRandomBlanks(random, words)), joined);
    }
}

TEST(NumeralConverterProperties, RunsOfNumberWordsGiveOnlyDigits)
{
    KSR_NumeralConverter converter;
    std::mt19937 random(3);
    std::uniform_int_distribution<int> length(1, 40);
    for (int n = 0; n < 5000; ++n) {
        std::string text;
        for (int i = length(random); i > 0; --i)
            text += pick(random, kNumberWords) + " ";
        const std::string out = converter.convertText(text);
        ASSERT_FALSE(out.empty()) << text;
        ASSERT_EQ(out.find_first_not_of("0123456789"), std::string::npos) << text << " -> " << out;
    }
}

TEST(NumeralConverterProperties, AgreesWithTheWordForWordRules)
{
    KSR_NumeralConverter converter;
    const NumeralReference reference;
    std::mt19937 random(555);
    for (int n = 0; n < kSentences; ++n) {
        const std::vector<std::string> words = generateWords(random);
        const std::string text = joinWithRandomBlanks(random, words);
        ASSERT_EQ(converter.convertText(text), reference.convertText(text)) << text;
        std::vector<std::string> run;
        for (const auto& word : words)
            if (converter.isNumberWord(word) || converter.isFillerWord(word) || word == "point")
                run.push_back(word);
        ASSERT_EQ(converter.convertGroup(run), reference.convertGroup(run)) << text;
        for (int level = 0; level < 5; ++level) {
            std::vector<std::string> integer;
            for (const auto& word : run)
                if (word != "point")
                    integer.push_back(word);
            ASSERT_EQ(converter.convertInteger(integer, level), reference.convertInteger(integer, level)) << text;
        }
    }
}

TEST(NumeralConverterProperties, TwoWordOperatorsConsumeTheirSecondWord)
{
    KSR_NumeralConverter converter;
    EXPECT_EQ(converter.convertText("divided by by"), "/ by");
    EXPECT_EQ(converter.convertText("by divided"), "by /");
    EXPECT_EQ(converter.convertText("equals to to"), "= to");
    EXPECT_EQ(converter.convertText("to equals"), "to =");
}

}  // namespace
