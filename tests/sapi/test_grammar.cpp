// KSR_Grammar: rules, weighted command phrases, dictation and switching,
// with the exact SAPI calls and every failure message.

#include "ksr_sapi_grammar.h"
#include "sapi_test.h"

using SapiFakes::FakeGrammar;
namespace Script = SapiFakes::Script;

namespace {

class Grammar : public SapiTest {
protected:
    void SetUp() override { ASSERT_TRUE(engine->initialize()); }
    void TearDown() override
    {
        grammars.clear();
        engine.reset();
        SapiTest::TearDown();
    }

    // A grammar with a SAPI grammar of the given id, as the manager makes it.
    KSR_Grammar& make(KSR::GrammarId id)
    {
        auto grammar = std::make_unique<KSR_Grammar>();
        grammar->setId(id);
        KSR::ComPtr<ISpRecoGrammar> sapiGrammar;
        EXPECT_EQ(engine->recoContext()->CreateGrammar(id, sapiGrammar.put()), S_OK);
        grammar->setSapiGrammar(sapiGrammar);
        grammars.push_back(std::move(grammar));
        clearCalls();
        return *grammars.back();
    }
    FakeGrammar& fake(KSR::GrammarId id) { return *world.grammar(id); }

    std::unique_ptr<KSR_Engine> engine = std::make_unique<KSR_Engine>(false);
    std::vector<std::unique_ptr<KSR_Grammar>> grammars;
};

}  // namespace

TEST(GrammarRecord, StartsEmpty)
{
    LogCapture log;
    {
        KSR_Grammar grammar;
        EXPECT_EQ(grammar.id(), KSR::InvalidGrammarId);
        EXPECT_EQ(grammar.sapiGrammar(), nullptr);
        EXPECT_FALSE(grammar.isDictationEnabled());
        EXPECT_EQ(grammar.activationKey(), "");
        EXPECT_TRUE(grammar.getRuleIds().empty());
        EXPECT_FALSE(grammar.isActive());
        grammar.setActivationKey("north");
        EXPECT_EQ(grammar.activationKey(), "north");
    }
    // Destruction switches the grammar off, and there is none.
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Grammar does not exist"});
}

TEST_F(Grammar, RuleIdsComeFromOneCounterForAllGrammars)
{
    KSR_Grammar& first = make(100);
    KSR_Grammar& second = make(101);
    EXPECT_EQ(first.addRule("Commands"), 10u);
    EXPECT_EQ(second.addRule("Other"), 11u);
    EXPECT_EQ(first.addRule("More"), 12u);
    EXPECT_EQ(first.getRuleIds(), (std::vector<KSR::RuleId>{10, 12}));
    EXPECT_EQ(second.getRuleIds(), (std::vector<KSR::RuleId>{11}));
}

TEST_F(Grammar, AddingARuleCreatesATopLevelRuleAndSwitchesAllRulesOff)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_EQ(grammar.addRule("Commands"), 10u);
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].GetRule(Commands, 10, 0x3, 1)",
                                                 "Grammar[100].SetRuleState(null, null, SPRS_INACTIVE)"}));
    EXPECT_TRUE(grammar.ruleExists(10));
    EXPECT_FALSE(grammar.isRuleActivated(10));
    EXPECT_EQ(fake(100).ruleState("Commands"), SPRS_INACTIVE);
}

TEST_F(Grammar, AddingASecondRuleSwitchesTheFirstOff)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId first = grammar.addRule("First");
    ASSERT_TRUE(grammar.setRuleActivated(first, true));
    EXPECT_TRUE(grammar.isRuleActivated(first));
    grammar.addRule("Second");
    EXPECT_FALSE(grammar.isRuleActivated(first));
    EXPECT_EQ(fake(100).ruleState("First"), SPRS_INACTIVE);
}

TEST_F(Grammar, RuleNamesReachSapiAsUtf16)
{
    KSR_Grammar& grammar = make(100);
    grammar.addRule("K\xC3\xBC" "che");
    EXPECT_TRUE(fake(100).hasRule("K\xC3\xBC" "che"));
}

TEST_F(Grammar, RefusedRuleConsumesNoId)
{
    KSR_Grammar& grammar = make(100);
    Script::failOnce("Grammar.GetRule", E_FAIL);
    EXPECT_EQ(grammar.addRule("Commands"), 0xFFFFFFFFu);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create rule Commands!"});
    EXPECT_TRUE(grammar.getRuleIds().empty());

    log.clear();
    Script::failOnce("Grammar.SetRuleState", E_FAIL);
    EXPECT_EQ(grammar.addRule("Other"), 0xFFFFFFFFu);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not deactivate rule Other on start up!"});
    EXPECT_TRUE(grammar.getRuleIds().empty());

    EXPECT_EQ(grammar.addRule("Third"), 10u);
}

TEST_F(Grammar, RuleWithoutSapiGrammarCannotBeCreated)
{
    KSR_Grammar grammar;
    EXPECT_EQ(grammar.addRule("Commands"), KSR::InvalidRuleId);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create rule Commands!"});
    log.clear();
}

TEST_F(Grammar, CommandNeedsARule)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_EQ(grammar.addCommand(10, "open file", KSR::High), -1);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"You need to add a rule before you add a command!"});
    EXPECT_TRUE(calls().empty());
}

TEST_F(Grammar, CommandIsOneWordTransitionCarryingItsIdThenACommit)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    clearCalls();
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), 0);
    EXPECT_EQ(calls(), (std::vector<std::string>{
                           "Grammar[100].AddWordTransition(start of Commands, end, \"+open file\", \" \", "
                           "SPWT_LEXICAL, 1, {Default_Property, 10, open file, vt 3 = 0})",
                           "Grammar[100].Commit(0)"}));
    EXPECT_EQ(grammar.addCommand(rule, "close file", KSR::High), 1);
    const auto transitions = fake(100).transitions();
    ASSERT_EQ(transitions.size(), 2u);
    EXPECT_EQ(transitions[1].value, 1);
    EXPECT_EQ(transitions[1].valueType, VT_I4);
    EXPECT_EQ(transitions[1].propertyValue, "close file");
    EXPECT_TRUE(transitions[1].toEnd);
}

TEST_F(Grammar, ConfidencePrefixes)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    grammar.addCommand(rule, "high", KSR::High);
    grammar.addCommand(rule, "normal", KSR::Normal);
    grammar.addCommand(rule, "low", KSR::Low);
    const auto transitions = fake(100).transitions();
    ASSERT_EQ(transitions.size(), 3u);
    EXPECT_EQ(transitions[0].word, "+high");
    EXPECT_EQ(transitions[1].word, "normal");
    EXPECT_EQ(transitions[2].word, "-+low");
    EXPECT_EQ(transitions[2].propertyValue, "low");
}

TEST_F(Grammar, SameTextTwiceFailsTheSecondTime)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    ASSERT_EQ(grammar.addCommand(rule, "open file", KSR::High), 0);
    clearCalls();
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), -1);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Command open file has already been added to rule Commands"});
    EXPECT_TRUE(calls().empty());
}

TEST_F(Grammar, RemovedCommandComesBackWithItsOldIdAndNoSapiCall)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    grammar.addCommand(rule, "open file", KSR::High);
    grammar.addCommand(rule, "close file", KSR::High);
    clearCalls();
    EXPECT_TRUE(grammar.removeCommand(rule, 0));
    EXPECT_FALSE(grammar.getCommand(rule, 0)->active);
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::Low), 0);
    EXPECT_TRUE(grammar.getCommand(rule, 0)->active);
    EXPECT_TRUE(calls().empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Grammar, RemovingAnUnknownCommandFails)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    EXPECT_FALSE(grammar.removeCommand(rule, 0));
    EXPECT_FALSE(grammar.removeCommand(99, 0));
}

TEST_F(Grammar, CommandIdsRestartInEachRule)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId first = grammar.addRule("First");
    const KSR::RuleId second = grammar.addRule("Second");
    EXPECT_EQ(grammar.addCommand(first, "one", KSR::High), 0);
    EXPECT_EQ(grammar.addCommand(first, "two", KSR::High), 1);
    EXPECT_EQ(grammar.addCommand(second, "three", KSR::High), 0);
}

TEST_F(Grammar, FailedAdditionConsumesNoId)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    Script::failOnce("Grammar.AddWordTransition", E_FAIL);
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), -1);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not add command open file!"});

    log.clear();
    Script::failOnce("Grammar.Commit", E_FAIL);
    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), -1);
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{"Could not commit command open file to grammar! (Error code:80004005)"});
    EXPECT_EQ(grammar.getCommand(rule, std::string("open file")), nullptr);

    EXPECT_EQ(grammar.addCommand(rule, "open file", KSR::High), 0);
}

TEST_F(Grammar, CommandRecordHoldsThePropertyGivenToSapi)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    grammar.addCommand(rule, "sch\xC3\xB6n", KSR::High);
    const auto command = grammar.getCommand(rule, std::string("sch\xC3\xB6n"));
    ASSERT_NE(command, nullptr);
    EXPECT_TRUE(command->active);
    EXPECT_EQ(SapiFakes::narrow(command->property.pszName), "Default_Property");
    EXPECT_EQ(command->property.ulId, rule);
    EXPECT_EQ(SapiFakes::narrow(command->property.pszValue), "sch\xC3\xB6n");
    EXPECT_EQ(command->property.vValue.vt, VT_I4);
    EXPECT_EQ(command->property.vValue.lVal, 0);
    EXPECT_EQ(grammar.getCommand(rule, 0), command);
    EXPECT_EQ(grammar.getCommand(rule, 1), nullptr);
    EXPECT_EQ(grammar.getCommand(rule + 1, 0), nullptr);
}

TEST_F(Grammar, AvailableCommandsAreThoseOfActiveRulesNotRemovedInTextOrder)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId first = grammar.addRule("First");
    const KSR::RuleId second = grammar.addRule("Second");
    const KSR::RuleId third = grammar.addRule("Third");
    grammar.addCommand(first, "zulu", KSR::High);   // 0
    grammar.addCommand(first, "alpha", KSR::High);  // 1
    grammar.addCommand(first, "mike", KSR::High);   // 2
    grammar.addCommand(second, "bravo", KSR::High); // 0
    grammar.addCommand(third, "kilo", KSR::High);   // 0
    grammar.removeCommand(first, 2);
    ASSERT_TRUE(grammar.setRuleActivated(first, true));
    ASSERT_TRUE(grammar.setRuleActivated(third, true));
    EXPECT_EQ(grammar.getAvailableCommandNames(), (std::vector<std::string>{"alpha", "zulu", "kilo"}));
    EXPECT_EQ(grammar.getAvailableCommandIds(), (std::vector<int>{1, 0, 0}));
}

TEST_F(Grammar, ActiveMeansSapiReportsTheGrammarEnabled)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_TRUE(grammar.isActive());
    EXPECT_EQ(calls(), std::vector<std::string>{"Grammar[100].GetGrammarState"});
    ASSERT_TRUE(grammar.setActivated(false));
    EXPECT_FALSE(grammar.isActive());
    ASSERT_TRUE(grammar.setActivated(true));
    Script::failOnce("Grammar.GetGrammarState", E_FAIL);
    EXPECT_FALSE(grammar.isActive());
}

TEST_F(Grammar, SwitchingACommandGrammarSwitchesAllItsRules)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId first = grammar.addRule("First");
    const KSR::RuleId second = grammar.addRule("Second");
    clearCalls();
    EXPECT_TRUE(grammar.setActivated(true));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].SetGrammarState(SPGS_ENABLED)",
                                                 "Grammar[100].SetRuleState(null, null, SPRS_ACTIVE)"}));
    EXPECT_TRUE(grammar.isRuleActivated(first));
    EXPECT_TRUE(grammar.isRuleActivated(second));
    clearCalls();
    EXPECT_TRUE(grammar.setActivated(false));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].SetGrammarState(SPGS_DISABLED)",
                                                 "Grammar[100].SetRuleState(null, null, SPRS_INACTIVE)"}));
    EXPECT_FALSE(grammar.isRuleActivated(first));
    EXPECT_EQ(fake(100).grammarState(), SPGS_DISABLED);
}

TEST_F(Grammar, SwitchingAGrammarWithoutRulesOnlySetsTheGrammarState)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_TRUE(grammar.setActivated(true));
    EXPECT_EQ(calls(), std::vector<std::string>{"Grammar[100].SetGrammarState(SPGS_ENABLED)"});
}

TEST_F(Grammar, SwitchingADictationGrammarSwitchesDictation)
{
    KSR_Grammar& grammar = make(100);
    grammar.addRule("Ignored");
    ASSERT_TRUE(grammar.setDictationEnabled(true));
    clearCalls();
    EXPECT_TRUE(grammar.setActivated(true));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].SetGrammarState(SPGS_ENABLED)",
                                                 "Grammar[100].SetDictationState(SPRS_ACTIVE)"}));
    EXPECT_EQ(fake(100).dictationState(), SPRS_ACTIVE);
}

TEST_F(Grammar, SwitchingFailures)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    Script::failOnce("Grammar.SetGrammarState", E_FAIL);
    EXPECT_FALSE(grammar.setActivated(true));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not change grammar state"});

    log.clear();
    Script::failOnce("Grammar.SetRuleState", E_FAIL);
    EXPECT_FALSE(grammar.setActivated(true));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not change activation state of command grammar"});
    EXPECT_FALSE(grammar.isRuleActivated(rule));

    log.clear();
    ASSERT_TRUE(grammar.setDictationEnabled(true));
    Script::failOnce("Grammar.SetDictationState", E_FAIL);
    EXPECT_FALSE(grammar.setActivated(true));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not change activation state of dictation grammar"});
    EXPECT_FALSE(grammar.isRuleActivated(rule));
}

TEST_F(Grammar, SwitchingWithoutSapiGrammar)
{
    KSR_Grammar grammar;
    EXPECT_FALSE(grammar.setActivated(true));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Grammar does not exist"});
    log.clear();
}

TEST_F(Grammar, SwitchingOneRuleUsesItsName)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    clearCalls();
    EXPECT_TRUE(grammar.setRuleActivated(rule, true));
    EXPECT_TRUE(grammar.setRuleActivated(rule, false));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].SetRuleState(Commands, null, SPRS_ACTIVE)",
                                                 "Grammar[100].SetRuleState(Commands, null, SPRS_INACTIVE)"}));
    EXPECT_FALSE(grammar.setRuleActivated(rule + 1, true));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Grammar, SwitchingOneRuleFailure)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    Script::failOnce("Grammar.SetRuleState", E_INVALIDARG);
    EXPECT_FALSE(grammar.setRuleActivated(rule, true));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not activate rule Commands. (Error code:80070057)"});
    ASSERT_TRUE(grammar.setRuleActivated(rule, true));
    log.clear();
    Script::failOnce("Grammar.SetRuleState", E_FAIL);
    EXPECT_FALSE(grammar.setRuleActivated(rule, false));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not deactivate rule Commands. (Error code:80004005)"});
    EXPECT_TRUE(grammar.isRuleActivated(rule));
}

TEST_F(Grammar, DictationIsLoadedOnceAndNotActivated)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_TRUE(grammar.setDictationEnabled(true));
    EXPECT_TRUE(grammar.setDictationEnabled(true));
    EXPECT_EQ(calls(), std::vector<std::string>{"Grammar[100].LoadDictation(null, SPLO_STATIC)"});
    EXPECT_TRUE(grammar.isDictationEnabled());
    EXPECT_EQ(fake(100).dictationState(), SPRS_INACTIVE);
    clearCalls();
    EXPECT_TRUE(grammar.setDictationEnabled(false));
    EXPECT_TRUE(grammar.setDictationEnabled(false));
    EXPECT_EQ(calls(), std::vector<std::string>{"Grammar[100].UnloadDictation"});
    EXPECT_FALSE(grammar.isDictationEnabled());
}

TEST_F(Grammar, DictationFailuresShareOneMessage)
{
    KSR_Grammar& grammar = make(100);
    Script::failOnce("Grammar.LoadDictation", E_FAIL);
    EXPECT_FALSE(grammar.setDictationEnabled(true));
    EXPECT_FALSE(grammar.isDictationEnabled());
    ASSERT_TRUE(grammar.setDictationEnabled(true));
    Script::failOnce("Grammar.UnloadDictation", E_FAIL);
    EXPECT_FALSE(grammar.setDictationEnabled(false));
    EXPECT_TRUE(grammar.isDictationEnabled());
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Could not load dictation!", "Could not load dictation!"}));
}

TEST_F(Grammar, DestructionSwitchesOffThenReleases)
{
    KSR_Grammar& grammar = make(100);
    grammar.addRule("Commands");
    clearCalls();
    grammars.clear();
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].SetGrammarState(SPGS_DISABLED)",
                                                 "Grammar[100].SetRuleState(null, null, SPRS_INACTIVE)",
                                                 "Grammar[100] destroyed"}));
}

TEST_F(Grammar, ReleaseEmptiesTheFieldFirst)
{
    KSR_Grammar& grammar = make(100);
    grammar.releaseGrammar();
    EXPECT_EQ(grammar.sapiGrammar(), nullptr);
    EXPECT_EQ(calls(), std::vector<std::string>{"Grammar[100] destroyed"});
    grammar.releaseGrammar();
    grammars.clear();
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Grammar does not exist"});
}

TEST_F(Grammar, CopySharesTheSapiGrammarAndTheRecords)
{
    KSR_Grammar& grammar = make(100);
    const KSR::RuleId rule = grammar.addRule("Commands");
    grammar.addCommand(rule, "open", KSR::High);
    grammar.setActivationKey("north");
    {
        KSR_Grammar copy(grammar);
        EXPECT_EQ(fake(100).references(), 2u);
        EXPECT_EQ(copy.id(), 100u);
        EXPECT_EQ(copy.activationKey(), "north");
        EXPECT_EQ(copy.getCommand(rule, 0), grammar.getCommand(rule, 0));
        KSR_Grammar assigned;
        assigned = copy;
        EXPECT_EQ(fake(100).references(), 3u);
    }
    EXPECT_EQ(fake(100).references(), 1u);
}
