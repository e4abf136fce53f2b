// KSR_Manager: the grammar registry, building grammars, activation keys,
// switching and confidence.

#include "manager_test.h"

namespace Script = SapiFakes::Script;

namespace {

class ManagerRegistry : public ManagerTest {
protected:
    void SetUp() override { build(); }
};

}  // namespace

TEST_F(ManagerRegistry, CreatedGrammarIsNotRegistered)
{
    auto grammar = manager->createGrammar();
    ASSERT_NE(grammar, nullptr);
    EXPECT_EQ(grammar->id(), 101u);
    EXPECT_NE(grammar->sapiGrammar(), nullptr);
    EXPECT_EQ(calls(), std::vector<std::string>{"Context.CreateGrammar(101)"});
    EXPECT_EQ(manager->getGrammar(101), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Requested grammar id has been removed!"});
}

TEST_F(ManagerRegistry, RegisterOnceUnregisterOnce)
{
    auto grammar = manager->createGrammar();
    EXPECT_TRUE(manager->registerGrammar(grammar));
    EXPECT_FALSE(manager->registerGrammar(grammar));
    EXPECT_EQ(manager->getGrammar(grammar->id()), grammar);
    EXPECT_TRUE(manager->unregisterGrammar(grammar));
    EXPECT_FALSE(manager->unregisterGrammar(grammar));
    EXPECT_FALSE(manager->registerGrammar(nullptr));
    EXPECT_FALSE(manager->unregisterGrammar(nullptr));
}

TEST_F(ManagerRegistry, DestroyOnlyDropsTheReferencePassedIn)
{
    EXPECT_FALSE(manager->destroyGrammar(nullptr));
    const KSR::GrammarId id = manager->addCommandGrammar("");
    EXPECT_TRUE(manager->destroyGrammar(manager->getGrammar(id)));
    EXPECT_NE(manager->getGrammar(id), nullptr);
}

TEST_F(ManagerRegistry, GrammarLookupFailures)
{
    EXPECT_EQ(manager->getGrammar(18446744073709551615ull), nullptr);
    EXPECT_EQ(manager->getGrammar(555), nullptr);
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Invalid grammar id!", "Requested grammar id has been removed!"}));
}

TEST_F(ManagerRegistry, CommandGrammarIsRegisteredWithItsKeyAndSwitchedOff)
{
    const KSR::GrammarId id = manager->addCommandGrammar("north");
    EXPECT_EQ(id, 101u);
    const std::vector<std::string> expected = {
        "Context.CreateGrammar(101)",
        "Grammar[100].AddWordTransition(start of Activation Keys, end, \"+north\", \" \", SPWT_LEXICAL, 1, "
        "{Default_Property, 10, north, vt 3 = 0})",
        "Grammar[100].Commit(0)",
        "Grammar[101].SetGrammarState(SPGS_DISABLED)",
    };
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(activations, (std::vector<std::pair<KSR::GrammarId, bool>>{{101, false}}));
    EXPECT_EQ(manager->getGrammar(id)->activationKey(), "north");
    EXPECT_EQ(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->property.vValue.lVal, 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerRegistry, CommandGrammarWithoutKeyAddsNoKeyCommand)
{
    manager->addCommandGrammar("");
    EXPECT_TRUE(callsOf("Grammar[100].").empty());
}

TEST_F(ManagerRegistry, KeyAlreadyInTheRuleIsNotAddedTwice)
{
    manager->addCommandGrammar("north");
    clearCalls();
    const KSR::GrammarId second = manager->addCommandGrammar("north");
    EXPECT_NE(second, KSR::InvalidGrammarId);
    EXPECT_TRUE(callsOf("Grammar[100].").empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerRegistry, FailedKeyFailsTheGrammarButLeavesItRegistered)
{
    Script::failOnce("Grammar[100].Commit", E_FAIL);
    EXPECT_EQ(manager->addCommandGrammar("north"), KSR::InvalidGrammarId);
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{"Could not commit command north to grammar! (Error code:80004005)"});
    log.clear();
    auto grammar = manager->getGrammar(101);
    ASSERT_NE(grammar, nullptr);
    EXPECT_EQ(grammar->activationKey(), "north");
}

TEST_F(ManagerRegistry, FailedCreationGivesNoId)
{
    Script::failOnce("Context.CreateGrammar", E_FAIL);
    EXPECT_EQ(manager->addCommandGrammar("north"), KSR::InvalidGrammarId);
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Could not create grammar!", "Grammar does not exist"}));
    // The id was taken all the same.
    EXPECT_EQ(manager->addCommandGrammar(""), 102u);
}

TEST_F(ManagerRegistry, FailedSwitchOffFailsTheGrammar)
{
    Script::failOnce("Grammar[101].SetGrammarState", E_FAIL);
    EXPECT_EQ(manager->addCommandGrammar("north"), KSR::InvalidGrammarId);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not change grammar state"});
    log.clear();
    EXPECT_NE(manager->getGrammar(101), nullptr);
}

TEST_F(ManagerRegistry, DictationGrammarLoadsSapisDictation)
{
    const KSR::GrammarId id = manager->addDictationGrammar("dictate");
    EXPECT_EQ(id, 101u);
    EXPECT_EQ(callsOf("Grammar[101].LoadDictation"), std::vector<std::string>{"Grammar[101].LoadDictation(null, SPLO_STATIC)"});
    EXPECT_TRUE(manager->isDictationGrammar(id));
    EXPECT_TRUE(world.grammar(101)->dictationLoaded());
    clearCalls();
    EXPECT_TRUE(manager->setActivated(id, true));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[101].SetGrammarState(SPGS_ENABLED)",
                                                 "Grammar[101].SetDictationState(SPRS_ACTIVE)"}));
}

TEST_F(ManagerRegistry, DictationThatCannotLoadFailsButStaysRegistered)
{
    Script::failOnce("Grammar[101].LoadDictation", E_FAIL);
    EXPECT_EQ(manager->addDictationGrammar(""), KSR::InvalidGrammarId);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not load dictation!"});
    log.clear();
    EXPECT_NE(manager->getGrammar(101), nullptr);
    EXPECT_FALSE(manager->isDictationGrammar(101));
}

TEST_F(ManagerRegistry, ProbingAnUnknownGrammar)
{
    EXPECT_FALSE(manager->isDictationGrammar(555));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Requested grammar id has been removed!"});
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Cannot probe grammar!"});
}

TEST_F(ManagerRegistry, RulesAndCommands)
{
    const KSR::GrammarId id = manager->addCommandGrammar("north");
    const KSR::RuleId rule = manager->addRule(id, "Commands");
    EXPECT_EQ(rule, 11u);
    EXPECT_EQ(manager->getRuleIds(id), std::vector<KSR::RuleId>{11});
    clearCalls();
    EXPECT_EQ(manager->addCommand(rule, "Open File"), 0);
    EXPECT_EQ(manager->addCommand(rule, "close file"), 1);
    // High confidence, and the text as given.
    EXPECT_EQ(world.grammar(id)->transitions()[0].word, "+Open File");
    EXPECT_EQ(manager->addCommand(99, "open"), -1);
    EXPECT_TRUE(manager->setActivated(id, true));
    EXPECT_EQ(manager->getAvailableCommandNames(id), (std::vector<std::string>{"Open File", "close file"}));
    EXPECT_EQ(manager->getAvailableCommandIds(id), (std::vector<KSR::CommandId>{0, 1}));
    EXPECT_TRUE(manager->removeCommand(rule, 0));
    EXPECT_FALSE(manager->removeCommand(rule, 7));
    EXPECT_FALSE(manager->removeCommand(99, 0));
    EXPECT_EQ(manager->getAvailableCommandNames(id), std::vector<std::string>{"close file"});
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerRegistry, ListsOfAnUnknownGrammarAreEmpty)
{
    EXPECT_TRUE(manager->getAvailableCommandIds(555).empty());
    EXPECT_TRUE(manager->getAvailableCommandNames(555).empty());
    EXPECT_TRUE(manager->getRuleIds(555).empty());
    EXPECT_EQ(log.errors(), std::vector<std::string>(3, "Requested grammar id has been removed!"));
}

TEST_F(ManagerRegistry, RuleForAnUnknownGrammar)
{
    EXPECT_EQ(manager->addRule(555, "Commands"), KSR::InvalidRuleId);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Requested grammar id has been removed!"});
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Cannot add rule to grammar!"});
}

TEST_F(ManagerRegistry, RuleSwitchingGoesToTheGrammarThatHasTheRule)
{
    const KSR::GrammarId id = manager->addCommandGrammar("");
    const KSR::RuleId rule = manager->addRule(id, "Commands");
    clearCalls();
    EXPECT_TRUE(manager->setRuleActivated(rule, true));
    EXPECT_TRUE(manager->isRuleActivated(rule));
    EXPECT_EQ(calls(), std::vector<std::string>{"Grammar[101].SetRuleState(Commands, null, SPRS_ACTIVE)"});
    EXPECT_TRUE(manager->setRuleActivated(10, true));  // the activation keys' own rule
    EXPECT_TRUE(log.quietCount() == 0);
}

TEST_F(ManagerRegistry, UnknownRule)
{
    EXPECT_FALSE(manager->setRuleActivated(99, true));
    EXPECT_FALSE(manager->isRuleActivated(99));
    EXPECT_EQ(log.logs(), (std::vector<std::string>{"Requested rule does not exist!", "Requested rule does not exist!"}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerRegistry, SwitchingAnUnknownGrammarIsAnOrdinaryLogLine)
{
    EXPECT_FALSE(manager->setActivated(555, true));
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Cannot activate grammar!"});
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(activations.empty());
}

TEST_F(ManagerRegistry, ActivationCallbackHearsOfEveryAttempt)
{
    const KSR::GrammarId id = manager->addCommandGrammar("");
    activations.clear();
    Script::failOnce("Grammar.SetGrammarState", E_FAIL);
    EXPECT_FALSE(manager->setActivated(id, true));
    EXPECT_TRUE(manager->setActivated(id, true));
    EXPECT_EQ(activations, (std::vector<std::pair<KSR::GrammarId, bool>>{{id, true}, {id, true}}));
}

TEST_F(ManagerRegistry, ActiveGrammarsAreThoseSapiReportsEnabledInAscendingId)
{
    const KSR::GrammarId a = manager->addCommandGrammar("");
    const KSR::GrammarId b = manager->addCommandGrammar("");
    const KSR::GrammarId c = manager->addCommandGrammar("");
    manager->setActivated(c, true);
    manager->setActivated(a, true);
    manager->setActivated(100, false);
    EXPECT_EQ(manager->getActiveGrammars(), (std::vector<KSR::GrammarId>{a, c}));
    (void)b;
}

TEST_F(ManagerRegistry, KeyByIdNeedsARegisteredGrammar)
{
    EXPECT_FALSE(manager->setActivationKey(555, "north"));
    EXPECT_FALSE(manager->setActivationKey(std::shared_ptr<KSR_Grammar>(), "north"));
    auto unnumbered = std::make_shared<KSR_Grammar>();
    EXPECT_FALSE(manager->setActivationKey(unnumbered, "north"));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(log.quietCount(), 0u);
    unnumbered.reset();
    log.clear();
    const KSR::GrammarId id = manager->addCommandGrammar("");
    EXPECT_TRUE(manager->setActivationKey(id, "south"));
    EXPECT_EQ(manager->getGrammar(id)->activationKey(), "south");
    // Keys are taken as given, not lower-cased.
    EXPECT_TRUE(manager->setActivationKey(id, "West"));
    EXPECT_NE(manager->activationKeysGrammar()->getCommand(10, std::string("West")), nullptr);
    // The old key stays in the rule.
    EXPECT_NE(manager->activationKeysGrammar()->getCommand(10, std::string("south")), nullptr);
}

TEST_F(ManagerRegistry, EmptyKeyClearsTheGrammarsKeyOnly)
{
    const KSR::GrammarId id = manager->addCommandGrammar("north");
    clearCalls();
    EXPECT_TRUE(manager->setActivationKey(id, ""));
    EXPECT_EQ(manager->getGrammar(id)->activationKey(), "");
    EXPECT_TRUE(calls().empty());
    EXPECT_TRUE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->active);
}

TEST_F(ManagerRegistry, RemovedKeyComesBackWithoutSapiCalls)
{
    const KSR::GrammarId id = manager->addCommandGrammar("north");
    EXPECT_TRUE(manager->removeActivationKey("north"));
    EXPECT_FALSE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->active);
    EXPECT_EQ(manager->getGrammar(id)->activationKey(), "north");
    clearCalls();
    EXPECT_TRUE(manager->setActivationKey(id, "north"));
    EXPECT_TRUE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->active);
    EXPECT_TRUE(calls().empty());
}

TEST_F(ManagerRegistry, RemovingAKeyThatIsNotThere)
{
    manager->addCommandGrammar("north");
    EXPECT_FALSE(manager->removeActivationKey("North"));
    EXPECT_FALSE(manager->removeActivationKey("south"));
    EXPECT_TRUE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->active);
}

TEST_F(ManagerRegistry, PhraseExistsWhenEveryWordIsPronounceable)
{
    world.grammar(100)->setUnpronounceable("xqzt");
    EXPECT_TRUE(manager->phraseExists("open  file"));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Grammar[100].IsPronounceable(open)",
                                                 "Grammar[100].IsPronounceable(file)"}));
    EXPECT_FALSE(manager->phraseExists("open xqzt now"));
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Word xqzt cannot be pronounced by the speech recognizer!"});
    EXPECT_FALSE(manager->phraseExists(""));
    EXPECT_FALSE(manager->phraseExists("   "));
    Script::failOnce("Grammar.IsPronounceable", E_FAIL);
    EXPECT_FALSE(manager->phraseExists("open"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerRegistry, CommandConfidenceLiesBetweenTheNormalThresholdAndHundred)
{
    EXPECT_FALSE(manager->setCommandRequiredConfidence(101));
    EXPECT_FALSE(manager->setCommandRequiredConfidence(-1));
    EXPECT_FALSE(manager->setCommandRequiredConfidence(49));
    EXPECT_TRUE(callsOf("Recognizer.SetPropertyNum").empty());
    EXPECT_TRUE(manager->setCommandRequiredConfidence(50));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 50);
    EXPECT_TRUE(manager->setCommandRequiredConfidence(100));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 100);
    EXPECT_EQ(callsOf("Recognizer.SetPropertyNum"),
              (std::vector<std::string>{"Recognizer.SetPropertyNum(HighConfidenceThreshold, 50)",
                                        "Recognizer.SetPropertyNum(HighConfidenceThreshold, 100)"}));
}

TEST_F(ManagerRegistry, DictationConfidenceIsTheNormalThresholdWithoutRangeCheck)
{
    EXPECT_TRUE(manager->setDictationRequiredConfidence(120));
    EXPECT_EQ(manager->getCommandMinimumRequiredConfidence(), 120);
    EXPECT_EQ(callsOf("Recognizer.SetPropertyNum"),
              std::vector<std::string>{"Recognizer.SetPropertyNum(NormalConfidenceThreshold, 120)"});
    // Now no command confidence is high enough.
    EXPECT_FALSE(manager->setCommandRequiredConfidence(100));
    Script::failOnce("Recognizer.GetRecoState", E_FAIL);
    EXPECT_FALSE(manager->setDictationRequiredConfidence(40));
    log.clear();
}
