// KSR_VoskGrammar on its own: ids, availability, activation and exactly when
// the grammar-changed function is called. Each test runs in a fresh process,
// so the process-wide rule counter starts at 10 in every test.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ksr_vosk_grammar.h"
#include "log_capture.h"

namespace {

class VoskGrammar : public testing::Test {
protected:
    void SetUp() override
    {
        grammar.setId(105);
        grammar.setGrammarChangedFunction([this](KSR::GrammarId id) { notified.push_back(id); });
    }

    LogCapture log;
    std::vector<KSR::GrammarId> notified;
    KSR_VoskGrammar grammar;
};

TEST(VoskGrammarDefaults, NewGrammarHasNoIdNoKeyAndIsOff)
{
    KSR_VoskGrammar grammar;
    EXPECT_EQ(grammar.id(), 18446744073709551615ULL);
    EXPECT_EQ(grammar.activationKey(), "");
    EXPECT_FALSE(grammar.isActive());
    EXPECT_FALSE(grammar.isDictationEnabled());
    EXPECT_TRUE(grammar.getRuleIds().empty());
    KSR_VoskGrammar::CommandInfo info;
    EXPECT_EQ(info.commandId, -1);
    EXPECT_EQ(info.ruleId, 4294967295U);
    EXPECT_EQ(info.grammarId, 18446744073709551615ULL);
    EXPECT_FALSE(info.available);
    KSR_VoskGrammar::RuleInfo rule;
    EXPECT_EQ(rule.nextCommandId, 0U);
    EXPECT_FALSE(rule.active);
}

TEST_F(VoskGrammar, FirstRuleOfTheProcessIsTenAndTheNextInAnyGrammarEleven)
{
    EXPECT_EQ(grammar.addRule("first"), 10U);
    KSR_VoskGrammar other;
    EXPECT_EQ(other.addRule("first"), 11U);
    EXPECT_EQ(grammar.addRule("second"), 12U);
    EXPECT_EQ(grammar.getRuleIds(), (std::vector<unsigned long>{10, 12}));
}

TEST_F(VoskGrammar, DuplicateRuleNameFailsAndKeepsTheActiveFlags)
{
    const KSR::RuleId first = grammar.addRule("files");
    ASSERT_TRUE(grammar.setRuleActivated(first, true));
    notified.clear();
    EXPECT_EQ(grammar.addRule("files"), 4294967295U);
    EXPECT_TRUE(grammar.isRuleActivated(first));
    EXPECT_TRUE(notified.empty());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(log.logs().empty());
}

TEST_F(VoskGrammar, NewRuleSwitchesEveryEarlierRuleOff)
{
    const KSR::RuleId first = grammar.addRule("files");
    const KSR::RuleId second = grammar.addRule("windows");
    grammar.setActivated(true);
    ASSERT_TRUE(grammar.isRuleActivated(first));
    ASSERT_TRUE(grammar.isRuleActivated(second));
    notified.clear();
    const KSR::RuleId third = grammar.addRule("tabs");
    EXPECT_FALSE(grammar.isRuleActivated(first));
    EXPECT_FALSE(grammar.isRuleActivated(second));
    EXPECT_FALSE(grammar.isRuleActivated(third));
    EXPECT_TRUE(grammar.isActive());  // the grammar's own flag is not touched
    EXPECT_EQ(notified, (std::vector<KSR::GrammarId>{105}));
}

TEST_F(VoskGrammar, AddingAPhraseTwiceLogsAndFails)
{
    const KSR::RuleId rule = grammar.addRule("files");
    notified.clear();
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), 0);
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::Low), -1);
    EXPECT_EQ(log.logs(), (std::vector<std::string>{"Command open file has already been added to rule files!"}));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(notified, (std::vector<KSR::GrammarId>{105}));  // only the successful add
}

TEST_F(VoskGrammar, CommandToUnknownRuleIsAnError)
{
    EXPECT_EQ(grammar.addCommand(4242, "open file", KSR::Normal), -1);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"KSR Error: You need to add a rule before you add a command!\n"}));
    EXPECT_TRUE(notified.empty());
}

TEST_F(VoskGrammar, RemovedCommandKeepsItsIdAndNewPhrasesGetTheNext)
{
    const KSR::RuleId rule = grammar.addRule("files");
    ASSERT_EQ(grammar.addCommand(rule, "open file", KSR::High), 0);
    notified.clear();
    EXPECT_TRUE(grammar.removeCommand(rule, 0));
    EXPECT_EQ(notified.size(), 1U);
    const auto record = grammar.getCommand(rule, std::string("open file"));
    ASSERT_TRUE(record);
    EXPECT_FALSE(record->available);
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), 0);
    EXPECT_TRUE(record->available);  // the same record is made available again
    EXPECT_EQ(grammar.addCommand(rule, "close file", KSR::High), 1);
    EXPECT_EQ(notified.size(), 3U);
}

TEST_F(VoskGrammar, RemovingTwiceFindsTheRecordBothTimes)
{
    const KSR::RuleId rule = grammar.addRule("files");
    grammar.addCommand(rule, "open file", KSR::High);
    notified.clear();
    EXPECT_TRUE(grammar.removeCommand(rule, 0));
    EXPECT_TRUE(grammar.removeCommand(rule, 0));
    EXPECT_EQ(notified.size(), 2U);
    EXPECT_FALSE(grammar.getCommand(rule, 0)->available);
}

TEST_F(VoskGrammar, RemovingUnknownCommandOrRuleFailsSilently)
{
    const KSR::RuleId rule = grammar.addRule("files");
    notified.clear();
    EXPECT_FALSE(grammar.removeCommand(rule, 0));
    EXPECT_FALSE(grammar.removeCommand(rule, -1));
    EXPECT_FALSE(grammar.removeCommand(999, 0));
    EXPECT_TRUE(notified.empty());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(log.logs().empty());
}

TEST_F(VoskGrammar, CommandRecordCarriesItsIds)
{
    const KSR::RuleId rule = grammar.addRule("files");
    grammar.addCommand(rule, "open file", KSR::High);
    grammar.addCommand(rule, "close file", KSR::High);
    const auto byId = grammar.getCommand(rule, 1);
    ASSERT_TRUE(byId);
    EXPECT_EQ(byId->phrase, "close file");
    EXPECT_EQ(byId->ruleId, rule);
    EXPECT_EQ(byId->grammarId, 105U);
    EXPECT_TRUE(byId->available);
    EXPECT_EQ(grammar.getCommand(rule, std::string("close file")), byId);
    EXPECT_FALSE(grammar.getCommand(rule, 2));
    EXPECT_FALSE(grammar.getCommand(rule, std::string("nothing")));
    EXPECT_FALSE(grammar.getCommand(rule + 1, 0));
}

TEST_F(VoskGrammar, InactiveRulesOfferNoCommandsButKeepTheirRecords)
{
    const KSR::RuleId rule = grammar.addRule("files");
    grammar.addCommand(rule, "open file", KSR::High);
    EXPECT_TRUE(grammar.getAvailableCommandIds().empty());
    EXPECT_TRUE(grammar.getAvailableCommandNames().empty());
    EXPECT_TRUE(grammar.getAvailableCommands().empty());
    EXPECT_TRUE(grammar.getCommand(rule, 0));
}

TEST_F(VoskGrammar, AvailableCommandsFollowRuleAndPhraseOrder)
{
    const KSR::RuleId first = grammar.addRule("first");
    const KSR::RuleId second = grammar.addRule("second");
    grammar.addCommand(second, "zoom in", KSR::High);    // 0 in second
    grammar.addCommand(first, "save file", KSR::High);   // 0 in first
    grammar.addCommand(first, "open file", KSR::High);   // 1 in first
    grammar.addCommand(second, "open file", KSR::High);  // 1 in second
    grammar.addCommand(first, "undo", KSR::High);        // 2 in first
    grammar.removeCommand(first, 2);
    grammar.setActivated(true);
    EXPECT_EQ(grammar.getAvailableCommandIds(), (std::vector<int>{1, 0, 1, 0}));
    EXPECT_EQ(grammar.getAvailableCommandNames(),
              (std::vector<std::string>{"open file", "save file", "open file", "zoom in"}));
    const auto commands = grammar.getAvailableCommands();
    ASSERT_EQ(commands.size(), 3U);
    EXPECT_EQ(commands.at("open file")->ruleId, second);  // the higher rule id wins
    EXPECT_EQ(commands.at("save file")->ruleId, first);
}

TEST_F(VoskGrammar, RuleSwitchesNotifyAndLeaveTheGrammarFlag)
{
    const KSR::RuleId rule = grammar.addRule("files");
    notified.clear();
    EXPECT_TRUE(grammar.setRuleActivated(rule, true));
    EXPECT_TRUE(grammar.isRuleActivated(rule));
    EXPECT_FALSE(grammar.isActive());
    EXPECT_FALSE(grammar.setRuleActivated(rule + 100, true));
    EXPECT_FALSE(grammar.isRuleActivated(rule + 100));
    EXPECT_EQ(notified.size(), 1U);
}

TEST_F(VoskGrammar, SetActivatedOnAnEmptyGrammarNotifiesOnce)
{
    EXPECT_TRUE(grammar.setActivated(true));
    EXPECT_TRUE(grammar.isActive());
    EXPECT_EQ(notified, (std::vector<KSR::GrammarId>{105}));
}

TEST_F(VoskGrammar, SetActivatedSwitchesEveryRule)
{
    const KSR::RuleId a = grammar.addRule("a");
    const KSR::RuleId b = grammar.addRule("b");
    grammar.setActivated(true);
    EXPECT_TRUE(grammar.isRuleActivated(a));
    EXPECT_TRUE(grammar.isRuleActivated(b));
    grammar.setActivated(false);
    EXPECT_FALSE(grammar.isRuleActivated(a));
    EXPECT_FALSE(grammar.isRuleActivated(b));
}

TEST_F(VoskGrammar, PlainAccessorsDoNotNotify)
{
    grammar.setId(106);
    grammar.setActivationKey("north");
    EXPECT_EQ(grammar.activationKey(), "north");
    EXPECT_EQ(grammar.id(), 106U);
    EXPECT_TRUE(notified.empty());
    EXPECT_TRUE(grammar.setDictationEnabled(true));
    EXPECT_TRUE(grammar.isDictationEnabled());
    EXPECT_EQ(notified, (std::vector<KSR::GrammarId>{106}));
}

TEST(VoskGrammarLifetime, DestructorNotifiesOneLastTime)
{
    std::vector<std::pair<KSR::GrammarId, bool>> seen;
    auto grammar = std::make_shared<KSR_VoskGrammar>();
    grammar->setId(101);
    grammar->addRule("rule");
    grammar->setActivated(true);
    KSR_VoskGrammar* raw = grammar.get();
    grammar->setGrammarChangedFunction([&seen, raw](KSR::GrammarId id) { seen.push_back({id, raw->isActive()}); });
    grammar.reset();
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].first, 101U);
    EXPECT_FALSE(seen[0].second);  // switched off before the call
}

TEST(VoskGrammarLifetime, RecordsOutliveTheirGrammar)
{
    std::shared_ptr<KSR_VoskGrammar::CommandInfo> record;
    {
        KSR_VoskGrammar grammar;
        const KSR::RuleId rule = grammar.addRule("rule");
        grammar.addCommand(rule, "open file", KSR::High);
        record = grammar.getCommand(rule, 0);
    }
    ASSERT_TRUE(record);
    EXPECT_EQ(record->phrase, "open file");
}

TEST(VoskGrammarLifetime, NotificationMayCallBackIntoTheGrammar)
{
    std::vector<std::string> names;  // outlives the grammar, whose destructor notifies
    KSR_VoskGrammar grammar;
    grammar.setGrammarChangedFunction([&](KSR::GrammarId) { names = grammar.getAvailableCommandNames(); });
    const KSR::RuleId rule = grammar.addRule("rule");
    grammar.setRuleActivated(rule, true);
    grammar.addCommand(rule, "open file", KSR::High);
    EXPECT_EQ(names, (std::vector<std::string>{"open file"}));
}

TEST(VoskGrammarCopy, CopySharesTheRuleRecords)
{
    int calls = 0;  // outlives the grammars, whose destructors notify
    KSR_VoskGrammar grammar;
    grammar.setId(103);
    grammar.setActivationKey("south");
    const KSR::RuleId rule = grammar.addRule("rule");
    grammar.addCommand(rule, "open file", KSR::High);
    grammar.setGrammarChangedFunction([&calls](KSR::GrammarId) { ++calls; });

    KSR_VoskGrammar copy(grammar);
    EXPECT_EQ(copy.id(), 103U);
    EXPECT_EQ(copy.activationKey(), "south");
    EXPECT_EQ(copy.getCommand(rule, 0), grammar.getCommand(rule, 0));
    copy.setRuleActivated(rule, true);  // the rule record is shared
    EXPECT_TRUE(grammar.isRuleActivated(rule));
    EXPECT_EQ(calls, 1);  // the copied callback

    KSR_VoskGrammar assigned;
    assigned = grammar;
    EXPECT_EQ(assigned.id(), 103U);
    EXPECT_EQ(calls, 1);  // assignment announces nothing
    EXPECT_EQ(assigned.getCommand(rule, 0), grammar.getCommand(rule, 0));
    const KSR_VoskGrammar& same = assigned;
    assigned = same;
    EXPECT_EQ(assigned.id(), 103U);
}

}  // namespace
