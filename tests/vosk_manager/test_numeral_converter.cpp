// The spoken-number converter: its tables, the worked examples and edge cases
// as a table of input/output pairs, and the building blocks one by one.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "numeral_tables.h"
#include "vosk_manager/ksr_numeral_converter.h"

namespace {

struct Case {
    const char* input;
    const char* output;
};

std::ostream& operator<<(std::ostream& out, const Case& c)
{
    return out << '"' << c.input << "\" -> \"" << c.output << '"';
}

class ConvertText : public testing::TestWithParam<Case> {
protected:
    KSR_NumeralConverter converter;
};

TEST_P(ConvertText, GivesTheExpectedText)
{
    EXPECT_EQ(converter.convertText(GetParam().input), GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    EdgeCases, ConvertText,
    testing::Values(
        // Empty and blank input.
        Case{"", ""}, Case{" ", ""}, Case{"     ", ""},
        // Operators are tokens of their own, set off by blanks.
        Case{"two plus two equals four", "2 + 2 = 4"}, Case{"ten divided by five", "10 / 5"},
        Case{"six multiplied by seven", "6 * 7"}, Case{"equals to", "="}, Case{"fifty percent", "50 %"},
        Case{"minus five", "- 5"}, Case{"six times seven equals forty two", "6 * 7 = 42"},
        Case{"three multiply by four", "3 * 4"}, Case{"negative one", "- 1"}, Case{"positive two", "+ 2"},
        Case{"nine subtract three", "9 - 3"}, Case{"eight division two", "8 / 2"},
        Case{"eight divided two", "8 / 2"}, Case{"four multiplied four", "4 * 4"},
        Case{"x equals to y", "x = y"},
        // Other words pass unchanged, case included.
        Case{"I have one cat", "I have 1 cat"}, Case{"Hello World", "Hello World"},
        Case{"One cat", "One cat"},
        // A run of fillers and "point" alone goes back as spoken.
        Case{"cats and dogs", "cats and dogs"}, Case{"a cat", "a cat"}, Case{"the point is", "the point is"},
        Case{"a point", "a point"}, Case{"and a point and", "and a point and"},
        // Fillers inside a run that holds a number are dropped.
        Case{"one and two", "12"}, Case{"one and a cat", "1 cat"},
        // Scale levels drop fillers before the last level pairs tens and units.
        Case{"seventy and five", "75"}, Case{"twenty a one", "21"},
        // Scales and the overlay rule.
        Case{"one hundred and twenty", "120"}, Case{"twenty three hundred", "2300"},
        Case{"one hundred twenty three thousand four hundred fifty six", "123456"},
        Case{"hundred", "100"}, Case{"a hundred", "100"}, Case{"billion", "1000000000"},
        Case{"one hundred five", "105"}, Case{"one hundred and five", "105"},
        Case{"two thousand and five", "2005"}, Case{"three million two thousand", "3002000"},
        Case{"a million and one", "1000001"}, Case{"three thousand four hundred", "3400"},
        // Both spellings of forty.
        Case{"fourty two", "42"}, Case{"forty two", "42"},
        // Decimal points.
        Case{"zero point five", "0.5"}, Case{"point five", ".5"}, Case{"one point", "1."},
        Case{"three point one four", "3.14"}, Case{"twenty three point five percent", "23.5 %"},
        Case{"minus seven point two five", "- 7.25"},
        // Values are concatenated as they come.
        Case{"nineteen eighty four", "1984"}, Case{"twenty twenty", "2020"}, Case{"one two three", "123"},
        // A repeated scale word is written at its full value; no numeric limit.
        Case{"one thousand two thousand", "10021000"}, Case{"a billion billion", "10000000001000000000"},
        // Blanks collapse.
        Case{"  two   plus  two ", "2 + 2"}));

TEST(NumeralConverterTables, NumberWordTableHasAllHundredAndFourteenEntries)
{
    KSR_NumeralConverter converter;
    const auto& words = converter.numberWords();
    const auto& expected = NumeralTables::numberWords();
    ASSERT_EQ(expected.size(), 114U);
    EXPECT_EQ(words.size(), 114U);
    for (const auto& entry : expected) {
        const auto found = words.find(entry.first);
        ASSERT_NE(found, words.end()) << entry.first;
        EXPECT_EQ(found->second, entry.second) << entry.first;
    }
    EXPECT_EQ(words.count("ten one"), 0U);
}

TEST(NumeralConverterTables, ScaleLevelsFillersDecimalWordAndOperators)
{
    KSR_NumeralConverter converter;
    const auto& levels = converter.scaleLevels();
    const auto& expected = NumeralTables::scaleLevels();
    ASSERT_EQ(levels.size(), 5U);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(levels[i].word, expected[i].word) << "level " << i;
        EXPECT_EQ(levels[i].zeros, expected[i].zeros) << "level " << i;
        EXPECT_EQ(levels[i].value, expected[i].value) << "level " << i;
        EXPECT_EQ(levels[i].digits, expected[i].digits) << "level " << i;
        EXPECT_EQ(levels[i].next, expected[i].next) << "level " << i;
    }

    const auto& fillers = converter.fillerWords();
    EXPECT_EQ(std::set<std::string>(fillers.begin(), fillers.end()), NumeralTables::fillerWords());
    EXPECT_EQ(converter.decimalWord(), "point");

    const auto& operators = converter.operators();
    EXPECT_EQ(operators.size(), 16U);  // every key the table lists, two-word keys included
    for (const auto& entry : NumeralTables::operators()) {
        const auto found = operators.find(entry.first);
        ASSERT_NE(found, operators.end()) << entry.first;
        EXPECT_EQ(found->second, entry.second) << entry.first;
    }
}

TEST(NumeralConverterParts, EmptyWordIsNeitherNumberNorFiller)
{
    KSR_NumeralConverter converter;
    EXPECT_FALSE(converter.isNumberWord(""));
    EXPECT_FALSE(converter.isFillerWord(""));
    EXPECT_TRUE(converter.isNumberWord("twenty one"));
    EXPECT_FALSE(converter.isNumberWord("Twenty"));
    EXPECT_TRUE(converter.isFillerWord("and"));
    EXPECT_TRUE(converter.isFillerWord("a"));
    EXPECT_FALSE(converter.isFillerWord("point"));
}

TEST(NumeralConverterParts, JoinIfNoNumberWord)
{
    KSR_NumeralConverter converter;
    EXPECT_EQ(converter.joinIfNoNumberWord({}), "");
    EXPECT_EQ(converter.joinIfNoNumberWord({"a", "point", "and"}), "a point and");
    EXPECT_EQ(converter.joinIfNoNumberWord({"a", "one"}), "");
}

TEST(NumeralConverterParts, ConvertGroup)
{
    KSR_NumeralConverter converter;
    EXPECT_EQ(converter.convertGroup({}), "");
    EXPECT_EQ(converter.convertGroup({"point"}), "point");
    EXPECT_EQ(converter.convertGroup({"three", "point", "one", "four"}), "3.14");
    EXPECT_EQ(converter.convertGroup({"point", "point", "one"}), "..1");
}

TEST(NumeralConverterParts, ConvertIntegerAtEachLevel)
{
    KSR_NumeralConverter converter;
    EXPECT_EQ(converter.convertInteger({}, 0), "");
    EXPECT_EQ(converter.convertInteger({"twenty", "one"}, 4), "21");
    EXPECT_EQ(converter.convertInteger({"twenty", "and", "one"}, 4), "201");
    // At the terminal level a scale word is taken at its table value.
    EXPECT_EQ(converter.convertInteger({"two", "hundred"}, 4), "2100");
    EXPECT_EQ(converter.convertInteger({"two", "hundred"}, 3), "200");
    EXPECT_EQ(converter.convertInteger({"hundred", "hundred"}, 3), "100100");
    // A word outside the table counts as 0 at the terminal level.
    EXPECT_EQ(converter.convertInteger({"cat"}, 4), "0");
    EXPECT_FALSE(converter.isNumberWord("cat"));
}

TEST(NumeralConverterLong, LongRunOfNumberWordsConvertsWithoutLimit)
{
    KSR_NumeralConverter converter;
    // The second "billion" is a repeated scale word: the right part 9
    // overlays the last zero of the first, then the full value follows.
    EXPECT_EQ(converter.convertText("nine billion nine billion"), "90000000091000000000");
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "nine billion ";
    const std::string out = converter.convertText(text);
    EXPECT_EQ(out.find_first_not_of("0123456789"), std::string::npos);
    EXPECT_EQ(out.size(), 5000U * 10U);
}

}  // namespace
