#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "ksr_types.h"

TEST(RecognitionTypes, IdentifierWidthsAndInvalidValues)
{
    static_assert(sizeof(KSR::GrammarId) == 8 && !std::numeric_limits<KSR::GrammarId>::is_signed);
    static_assert(sizeof(KSR::RuleId) == 4 && !std::numeric_limits<KSR::RuleId>::is_signed);
    static_assert(sizeof(KSR::CommandId) == 4 && std::numeric_limits<KSR::CommandId>::is_signed);
    EXPECT_EQ(KSR::InvalidGrammarId, 18446744073709551615ULL);
    EXPECT_EQ(KSR::InvalidRuleId, 4294967295U);
    EXPECT_EQ(KSR::InvalidCommandId, -1);
}

TEST(RecognitionTypes, EnumerationValues)
{
    EXPECT_EQ(KSR::Low, 0);
    EXPECT_EQ(KSR::Normal, 1);
    EXPECT_EQ(KSR::High, 2);
    EXPECT_EQ(KSR::Failed, 0);
    EXPECT_EQ(KSR::Hypothesis, 1);
    EXPECT_EQ(KSR::Recognized, 2);
}

TEST(RecognitionTypes, RecordWithCommandIdMinusOneIsCopiedAndDeliveredLikeAnyOther)
{
    KSR::SRData data{101, 12, -1, "hello world"};
    KSR::SRData received;
    int calls = 0;
    KSR::ResultFunction deliver = [&](KSR::SRData d) {
        received = d;
        ++calls;
    };
    deliver(data);
    KSR::SRData copy = received;
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(copy.grammarId, 101U);
    EXPECT_EQ(copy.ruleId, 12U);
    EXPECT_EQ(copy.commandId, -1);
    EXPECT_EQ(copy.text, "hello world");
}

TEST(RecognitionTypes, DefaultRecordNamesNothing)
{
    KSR::SRData data;
    EXPECT_EQ(data.grammarId, KSR::InvalidGrammarId);
    EXPECT_EQ(data.ruleId, KSR::InvalidRuleId);
    EXPECT_EQ(data.commandId, KSR::InvalidCommandId);
    EXPECT_TRUE(data.text.empty());
}

TEST(SplitString, DropsEmptyPiecesOnRequest)
{
    std::vector<std::string> tokens;
    EXPECT_EQ(KSR::splitString("  two  plus two ", ' ', false, tokens), 3U);
    EXPECT_EQ(tokens, (std::vector<std::string>{"two", "plus", "two"}));
}

TEST(SplitString, KeepsEmptyPiecesWhenAsked)
{
    std::vector<std::string> tokens;
    EXPECT_EQ(KSR::splitString(",a,,b,", ',', true, tokens), 5U);
    EXPECT_EQ(tokens, (std::vector<std::string>{"", "a", "", "b", ""}));
}

TEST(SplitString, AppendsAndCountsOnlyNewPieces)
{
    std::vector<std::string> tokens{"existing"};
    EXPECT_EQ(KSR::splitString("one", ' ', false, tokens), 1U);
    EXPECT_EQ(tokens, (std::vector<std::string>{"existing", "one"}));
}

TEST(SplitString, EmptyAndBlankTextGiveNoPieces)
{
    std::vector<std::string> tokens;
    EXPECT_EQ(KSR::splitString("", ' ', false, tokens), 0U);
    EXPECT_EQ(KSR::splitString("   ", ' ', false, tokens), 0U);
    EXPECT_TRUE(tokens.empty());
}
