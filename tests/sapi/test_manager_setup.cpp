// KSR_Manager: construction (engine, high threshold, activation-key
// grammar), its failures, destruction and copies.

#include "ksr_logger.h"
#include "manager_test.h"

namespace Script = SapiFakes::Script;

namespace {

class ManagerSetup : public ManagerTest {};

// Receives what reaches one particular console.
struct ConsoleSpy : KSR::ConsoleObserver {
    std::vector<std::string> lines;
    void error(const std::string& text) override { lines.push_back(text); }
};

}  // namespace

TEST_F(ManagerSetup, ConstructionSetsUpEngineHighThresholdAndActivationKeys)
{
    manager = std::make_unique<RecordingManager>();
    std::vector<std::string> expected = inprocSetupCalls(world.defaultAudioTokenId);
    const std::vector<std::string> rest = {
        "Recognizer.GetRecoState",
        "Recognizer.SetRecoState(SPRST_INACTIVE)",
        "Recognizer.SetPropertyNum(HighConfidenceThreshold, 90)",
        "Recognizer.GetRecoState",
        "Recognizer.SetRecoState(SPRST_ACTIVE)",
        "Context.CreateGrammar(100)",
        "Grammar[100].GetRule(Activation Keys, 10, 0x3, 1)",
        "Grammar[100].SetRuleState(null, null, SPRS_INACTIVE)",
    };
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(calls(), expected);
    EXPECT_TRUE(manager->isInitialized());
    ASSERT_NE(manager->engine(), nullptr);
    ASSERT_NE(manager->activationKeysGrammar(), nullptr);
    EXPECT_EQ(manager->activationKeysGrammar()->id(), 100u);
    EXPECT_EQ(manager->activationKeysGrammar()->getRuleIds(), std::vector<KSR::RuleId>{10});
    EXPECT_NE(manager->getGrammar(100), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerSetup, ConfidenceAfterConstruction)
{
    build();
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 90);
    EXPECT_EQ(manager->getCommandMinimumRequiredConfidence(), 50);
    EXPECT_EQ(manager->getCommandMaximumRequiredConfidence(), 100);
    EXPECT_EQ(world.recognizer()->property("HighConfidenceThreshold"), 90);
}

TEST_F(ManagerSetup, FirstGrammarIsTheActivationKeysOneThenTheNextId)
{
    build();
    EXPECT_EQ(manager->activationKeysGrammar()->id(), 100u);
    EXPECT_EQ(manager->createGrammar()->id(), 101u);
    EXPECT_EQ(manager->addCommandGrammar(""), 102u);
}

TEST_F(ManagerSetup, NormalThresholdAboveNinetyFailsTheManager)
{
    world.setup().properties["NormalConfidenceThreshold"] = 91;
    manager = std::make_unique<RecordingManager>();
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
    EXPECT_EQ(manager->activationKeysGrammar(), nullptr);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(callsOf("Recognizer.SetPropertyNum").empty());
    EXPECT_TRUE(callsOf("Context.CreateGrammar").empty());
    // The engine went with its objects.
    EXPECT_EQ(SapiFakes::liveObjects(), 0);
}

TEST_F(ManagerSetup, NegativeNormalThresholdFailsTheManager)
{
    world.setup().properties["NormalConfidenceThreshold"] = -1;
    manager = std::make_unique<RecordingManager>();
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
}

TEST_F(ManagerSetup, NormalThresholdOfNinetyIsAccepted)
{
    world.setup().properties["NormalConfidenceThreshold"] = 90;
    manager = std::make_unique<RecordingManager>();
    EXPECT_TRUE(manager->isInitialized());
}

TEST_F(ManagerSetup, HighThresholdThatCannotBeSetFailsTheManager)
{
    Script::answerOnce("Recognizer.GetRecoState", S_OK);
    Script::failOnce("Recognizer.GetRecoState", E_FAIL);
    manager = std::make_unique<RecordingManager>();
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not get state of the recognition engine"});
}

TEST_F(ManagerSetup, EngineThatCannotStartLeavesAManagerWithoutEngine)
{
    Script::failOnce("CoCreateInstance(SpInprocRecognizer).create", REGDB_E_CLASSNOTREG);
    manager = std::make_unique<RecordingManager>();
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create inproc Speech Recognition engine!"});

    log.clear();
    EXPECT_EQ(manager->addCommandGrammar("north"), KSR::InvalidGrammarId);
    EXPECT_EQ(manager->addDictationGrammar(""), KSR::InvalidGrammarId);
    EXPECT_EQ(manager->getGrammar(100), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>(3, "KSR_Manager should be properly initialized before register a grammar!"));
    log.clear();
    EXPECT_EQ(manager->createGrammar(), nullptr);
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Could not create grammar!", "Grammar does not exist"}));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), -1);
    EXPECT_EQ(manager->getCommandMinimumRequiredConfidence(), -1);
    EXPECT_EQ(manager->getCommandMaximumRequiredConfidence(), 100);
    EXPECT_FALSE(manager->setCommandRequiredConfidence(95));
    EXPECT_FALSE(manager->setDictationRequiredConfidence(50));
    EXPECT_FALSE(manager->setActivated(100, true));
    EXPECT_TRUE(manager->getActiveGrammars().empty());
    EXPECT_EQ(manager->addCommand(10, "open"), -1);
    log.clear();
    EXPECT_FALSE(manager->phraseExists("open"));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"KSR_Manager must have an initialized engine!"});
}

TEST_F(ManagerSetup, ActivationKeysGrammarThatCannotBeCreatedFailsTheManager)
{
    Script::failOnce("Context.CreateGrammar", E_OUTOFMEMORY);
    manager = std::make_unique<RecordingManager>();
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
    // The new grammar record is dropped, and its destructor finds no SAPI
    // grammar to switch off.
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Could not create grammar!", "Grammar does not exist"}));
}

TEST_F(ManagerSetup, ActivationKeysRuleThatCannotBeCreatedFailsTheManager)
{
    Script::failOnce("Grammar.GetRule", E_FAIL);
    manager = std::make_unique<RecordingManager>();
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
    EXPECT_EQ(manager->activationKeysGrammar(), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create rule Activation Keys!"});
}

TEST_F(ManagerSetup, DestructionReleasesEveryComObject)
{
    build();
    const KSR::GrammarId id = manager->addCommandGrammar("north");
    auto kept = manager->getGrammar(id);
    manager.reset();
    // A grammar the host still holds keeps its SAPI grammar (and so the
    // context) alive until the host lets go.
    EXPECT_GT(SapiFakes::liveObjects(), 0);
    EXPECT_NE(world.grammar(id), nullptr);
    kept.reset();
}

TEST_F(ManagerSetup, DestructionSwitchesTheActivationKeysGrammarOffLast)
{
    build();
    manager.reset();
    const auto all = calls();
    const std::vector<std::string> tail = {"Grammar[100].SetGrammarState(SPGS_DISABLED)",
                                           "Grammar[100].SetRuleState(null, null, SPRS_INACTIVE)",
                                           "Grammar[100] destroyed", "Context destroyed", "Recognizer destroyed",
                                           "Token destroyed"};
    EXPECT_EQ(all, tail);
}

TEST_F(ManagerSetup, DestructionTearsTheLoggerDown)
{
    build();
    auto spy = std::make_shared<ConsoleSpy>();
    KSR_Logger::_instance()->AttachObserver(spy);
    KSR_Logger::Error("before");
    manager.reset();
    KSR_Logger::Error("after");
    EXPECT_EQ(spy->lines, std::vector<std::string>{"KSR Error: before\n"});
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"before", "after"}));
}

TEST_F(ManagerSetup, CopyGetsAnEngineOfItsOwnLeadingToTheCopy)
{
    build();
    const KSR::GrammarId id = manager->addCommandGrammar("north");
    const KSR::RuleId rule = manager->addRule(id, "Commands");
    manager->addCommand(rule, "open");
    manager->setActivated(id, true);
    auto copy = std::make_unique<RecordingManager>();
    // A RecordingManager copy would copy the records too; copy the manager
    // part over the new one instead.
    static_cast<KSR_Manager&>(*copy) = *manager;
    manager.reset();
    ASSERT_NE(copy->engine(), nullptr);
    EXPECT_TRUE(copy->isInitialized());
    EXPECT_NE(copy->getGrammar(id), nullptr);
    ASSERT_EQ(world.say("open"), SPEI_RECOGNITION);
    while (context().queued() > 0)
        copy->engine()->processSREvents();
    ASSERT_EQ(copy->recognitions.size(), 1u);
    EXPECT_EQ(copy->recognitions[0].text, "open");
    EXPECT_EQ(copy->recognitions[0].ruleId, rule);
    KSR_Manager constructed(*copy);
    EXPECT_EQ(constructed.getGrammar(id), copy->getGrammar(id));
    copy.reset();
}
