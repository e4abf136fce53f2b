// KSR_Manager: what happens to the engine's results, hypotheses, failures
// and state changes. The tests speak to the recognizer double, which hears
// what the manager's grammars committed to SAPI.

#include "manager_test.h"
#include "sr_data_compare.h"

using SapiFakes::commandPhrase;
using SapiFakes::Utterance;

namespace {

class ManagerRouting : public ManagerTest {
protected:
    void SetUp() override { build(); }

    // Grammar with one rule "Commands" holding `phrases`, switched on.
    KSR::GrammarId commandGrammar(const std::string& key, const std::vector<std::string>& phrases,
                                  KSR::RuleId* ruleOut = nullptr)
    {
        const KSR::GrammarId id = manager->addCommandGrammar(key);
        const KSR::RuleId rule = manager->addRule(id, "Commands");
        for (const auto& phrase : phrases)
            manager->addCommand(rule, phrase);
        manager->setActivated(id, true);
        if (ruleOut)
            *ruleOut = rule;
        return id;
    }
    bool isOn(KSR::GrammarId id)
    {
        SapiFakes::FakeGrammar* grammar = world.grammar(id);
        if (!grammar) {
            ADD_FAILURE() << "no SAPI grammar " << id;
            return false;
        }
        return grammar->grammarState() == SPGS_ENABLED;
    }
};

}  // namespace

TEST_F(ManagerRouting, RecognitionIsReportedWithItsIds)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId id = commandGrammar("", {"open file", "close file"}, &rule);
    log.clear();
    EXPECT_EQ(say("close file"), SPEI_RECOGNITION);
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, rule, 1, "close file")});
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Recognized: close file gID:101 rID:11 cID:1"});
}

TEST_F(ManagerRouting, CommandIdMinusOneIsPrintedAsSixtyFourOnes)
{
    const KSR::GrammarId id = manager->addDictationGrammar("");
    manager->setActivated(id, true);
    log.clear();
    EXPECT_EQ(say("hello world"), SPEI_RECOGNITION);
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, 0, -1, "hello world")});
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Recognized: hello world gID:101 rID:0 cID:18446744073709551615"});
}

// A result naming a grammar and a rule that the manager never made.
TEST_F(ManagerRouting, AllBitsRuleIdIsPrintedUnsigned)
{
    pushRecognition(SPEI_RECOGNITION, commandPhrase(777, 0xFFFFFFFFu, 2, "x"));
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Recognized: x gID:777 rID:4294967295 cID:2"});
}

TEST_F(ManagerRouting, HypothesisIsReportedAndLogged)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId id = commandGrammar("", {"open file"}, &rule);
    log.clear();
    EXPECT_EQ(say(Utterance("open").withHypotheses().unfinished()), SPEI_UNDEFINED);
    EXPECT_EQ(manager->hypotheses, std::vector<KSR::SRData>{KSR::srData(id, rule, 0, "open")});
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Hypothesis: open"});
}

TEST_F(ManagerRouting, DictationHypothesisPassesUnchanged)
{
    const KSR::GrammarId id = manager->addDictationGrammar("");
    manager->setActivated(id, true);
    say(Utterance("some words").withHypotheses());
    EXPECT_EQ(manager->hypotheses, std::vector<KSR::SRData>{KSR::srData(id, 0, -1, "some")});
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, 0, -1, "some words")});
}

TEST_F(ManagerRouting, FalseRecognitionIsReportedAsFailure)
{
    commandGrammar("", {"open file"});
    log.clear();
    EXPECT_EQ(say("paint the fence"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(manager->failures, 1);
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Recognition failed..."});
    EXPECT_TRUE(manager->recognitions.empty());
}

TEST_F(ManagerRouting, ACommandOfASwitchedOffGrammarOrRuleIsNotHeard)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId id = commandGrammar("", {"open file"}, &rule);
    ASSERT_TRUE(manager->setActivated(id, false));
    EXPECT_EQ(say("open file"), SPEI_FALSE_RECOGNITION);
    ASSERT_TRUE(manager->setActivated(id, true));
    ASSERT_TRUE(manager->setRuleActivated(rule, false));
    EXPECT_EQ(say("open file"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(manager->failures, 2);
    EXPECT_TRUE(manager->recognitions.empty());
    ASSERT_TRUE(manager->setRuleActivated(rule, true));
    EXPECT_EQ(say("open file"), SPEI_RECOGNITION);
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, rule, 0, "open file")});
}

TEST_F(ManagerRouting, NothingIsHeardWhileTheRecognizerIsOff)
{
    commandGrammar("", {"open file"});
    ASSERT_TRUE(manager->engine()->setEngineActivated(false));
    pump();
    log.clear();
    EXPECT_EQ(say("open file"), SPEI_UNDEFINED);
    EXPECT_TRUE(manager->recognitions.empty());
    EXPECT_EQ(manager->failures, 0);
    EXPECT_TRUE(log.logs().empty());
}

// Commands ask SAPI for high confidence ("+"), which the manager set to 90.
TEST_F(ManagerRouting, ACommandHeardBelowTheCommandConfidenceIsNotReported)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId id = commandGrammar("", {"open file"}, &rule);
    log.clear();
    EXPECT_EQ(say("open file", 0.89f), SPEI_RECOGNITION);
    EXPECT_TRUE(manager->recognitions.empty());
    EXPECT_EQ(manager->failures, 0);
    EXPECT_TRUE(log.logs().empty());
    EXPECT_EQ(say("open file", 0.9f), SPEI_RECOGNITION);
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, rule, 0, "open file")});
}

TEST_F(ManagerRouting, TheConfidenceInTheFirstWordDecides)
{
    commandGrammar("", {"open file"});
    say(Utterance("open file").wordConfidences({0.95f, 0.1f}));
    EXPECT_EQ(manager->recognitions.size(), 1u);
    say(Utterance("open file").wordConfidences({0.5f, 1.0f}));
    EXPECT_EQ(manager->recognitions.size(), 1u);
}

TEST_F(ManagerRouting, CommandsAndDictationListenSideBySide)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId commands = commandGrammar("", {"open file"}, &rule);
    const KSR::GrammarId dictation = manager->addDictationGrammar("");
    manager->setActivated(dictation, true);
    say("open file");
    say("dear sir");
    EXPECT_EQ(manager->recognitions, (std::vector<KSR::SRData>{KSR::srData(commands, rule, 0, "open file"),
                                                               KSR::srData(dictation, 0, -1, "dear sir")}));
}

TEST_F(ManagerRouting, ResultsForARemovedCommandAreDropped)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId id = commandGrammar("", {"open file", "close file"}, &rule);
    ASSERT_TRUE(manager->removeCommand(rule, 0));
    log.clear();
    // SAPI still hears the words: they never left its grammar.
    EXPECT_EQ(say(Utterance("open file").withHypotheses()), SPEI_RECOGNITION);
    EXPECT_TRUE(manager->hypotheses.empty());
    EXPECT_TRUE(manager->recognitions.empty());
    EXPECT_EQ(log.quietCount(), 0u);
    say("close file");
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, rule, 1, "close file")});
}

TEST_F(ManagerRouting, ACommandRemovedAndAddedAgainIsReportedAgain)
{
    KSR::RuleId rule = 0;
    const KSR::GrammarId id = commandGrammar("", {"open file"}, &rule);
    ASSERT_TRUE(manager->removeCommand(rule, 0));
    ASSERT_EQ(manager->addCommand(rule, "open file"), 0);
    say("open file");
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(id, rule, 0, "open file")});
}

TEST_F(ManagerRouting, SayingAKeySwitchesItsGrammarOnAndTheOtherKeyedOnesOff)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    const KSR::GrammarId b = commandGrammar("south", {"close"});
    const KSR::GrammarId c = commandGrammar("", {"save"});
    manager->setActivated(a, false);
    manager->setActivated(c, false);
    activations.clear();
    log.clear();
    // SAPI holds the key with its confidence prefix and reports the bare
    // word, which is what the manager compares with the keys.
    ASSERT_EQ(world.grammar(100)->transitions().at(0).word, "+north");
    EXPECT_EQ(say("north"), SPEI_RECOGNITION);
    EXPECT_TRUE(isOn(a));
    EXPECT_FALSE(isOn(b));
    EXPECT_FALSE(isOn(c));
    EXPECT_EQ(activations, (std::vector<std::pair<KSR::GrammarId, bool>>{{a, true}, {b, false}}));
    EXPECT_TRUE(manager->recognitions.empty());
    for (const auto& line : log.logs())
        EXPECT_NE(line.rfind("Recognized: ", 0), 0u) << line;

    // C keeps whatever state it had.
    manager->setActivated(c, true);
    say("south");
    EXPECT_FALSE(isOn(a));
    EXPECT_TRUE(isOn(b));
    EXPECT_TRUE(isOn(c));
}

TEST_F(ManagerRouting, AKeyNeedsTheCommandConfidence)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    manager->setActivated(a, false);
    activations.clear();
    EXPECT_EQ(say("north", 0.89f), SPEI_RECOGNITION);
    EXPECT_FALSE(isOn(a));
    EXPECT_TRUE(activations.empty());
    say("north", 0.9f);
    EXPECT_TRUE(isOn(a));
}

TEST_F(ManagerRouting, KeysAreHeardOnlyWhileTheKeyGrammarIsOn)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    manager->setActivated(a, false);
    ASSERT_TRUE(manager->setActivated(100, false));
    EXPECT_EQ(say("north"), SPEI_FALSE_RECOGNITION);
    EXPECT_FALSE(isOn(a));
    EXPECT_EQ(manager->failures, 1);
}

TEST_F(ManagerRouting, AKeyNoGrammarHasAnyMoreSwitchesEveryKeyedGrammarOff)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    ASSERT_TRUE(manager->setActivationKey(a, "east"));
    // The old key stays in SAPI's grammar.
    EXPECT_EQ(say("north"), SPEI_RECOGNITION);
    EXPECT_FALSE(isOn(a));
    say("east");
    EXPECT_TRUE(isOn(a));
}

TEST_F(ManagerRouting, AKeyHypothesisIsOnlyAHypothesis)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    manager->setActivated(a, false);
    activations.clear();
    log.clear();
    say(Utterance("north").withHypotheses().unfinished());
    EXPECT_FALSE(isOn(a));
    EXPECT_TRUE(activations.empty());
    EXPECT_EQ(log.logs(), std::vector<std::string>{"Hypothesis: north"});
}

TEST_F(ManagerRouting, ARemovedKeyIsNotHeard)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    manager->setActivated(a, false);
    ASSERT_TRUE(manager->removeActivationKey("north"));
    EXPECT_EQ(say("north"), SPEI_RECOGNITION);
    EXPECT_FALSE(isOn(a));
    EXPECT_TRUE(manager->recognitions.empty());
}

TEST_F(ManagerRouting, ARemovedKeyGivenAgainIsHeardAgain)
{
    const KSR::GrammarId a = commandGrammar("north", {"open"});
    manager->setActivated(a, false);
    ASSERT_TRUE(manager->removeActivationKey("north"));
    ASSERT_TRUE(manager->setActivationKey(a, "north"));
    say("north");
    EXPECT_TRUE(isOn(a));
}

// SAPI reports a word in the spelling its grammar holds, whatever was said.
TEST_F(ManagerRouting, AKeyIsComparedInTheSpellingItWasGiven)
{
    const KSR::GrammarId a = commandGrammar("West", {"open"});
    manager->setActivated(a, false);
    say("west");
    EXPECT_TRUE(isOn(a));
}

TEST_F(ManagerRouting, RecognizerOffAndOnRestoresExactlyTheGrammarsThatWereOn)
{
    const KSR::GrammarId a = commandGrammar("", {"open"});
    const KSR::GrammarId b = commandGrammar("", {"close"});
    manager->setActivated(b, false);
    activations.clear();
    log.clear();

    ASSERT_TRUE(manager->engine()->setEngineActivated(false));
    pump();
    EXPECT_FALSE(isOn(a));
    EXPECT_FALSE(isOn(100));
    EXPECT_EQ(log.logs(), std::vector<std::string>{"engineStateChanged DE-ACTIVATED"});

    ASSERT_TRUE(manager->engine()->setEngineActivated(true));
    pump();
    EXPECT_TRUE(isOn(a));
    EXPECT_TRUE(isOn(100));
    EXPECT_FALSE(isOn(b));
    EXPECT_EQ(log.logs(),
              (std::vector<std::string>{"engineStateChanged DE-ACTIVATED", "engineStateChanged ACTIVATED"}));
    EXPECT_EQ(activations, (std::vector<std::pair<KSR::GrammarId, bool>>{
                               {100, false}, {a, false}, {100, true}, {a, true}}));
}

TEST_F(ManagerRouting, GrammarSwitchedOnWhileTheRecognizerIsOffIsSwitchedOffWithTheNextChange)
{
    const KSR::GrammarId a = commandGrammar("", {"open"});
    const KSR::GrammarId b = commandGrammar("", {"close"});
    manager->setActivated(b, false);
    manager->engineStateChanged(false);
    manager->setActivated(b, true);
    manager->engineStateChanged(true);
    // Both are on: a restored, b never switched off.
    EXPECT_TRUE(isOn(a));
    EXPECT_TRUE(isOn(b));
    manager->engineStateChanged(false);
    EXPECT_FALSE(isOn(a));
    EXPECT_FALSE(isOn(b));
    manager->engineStateChanged(true);
    EXPECT_TRUE(isOn(a));
    EXPECT_TRUE(isOn(b));
}

TEST_F(ManagerRouting, ActivatingBeforeTheFirstStateChangeRestoresNothing)
{
    const KSR::GrammarId a = commandGrammar("", {"open"});
    manager->setActivated(a, false);
    log.clear();
    manager->engineStateChanged(true);
    EXPECT_FALSE(isOn(a));
    EXPECT_EQ(log.logs(), std::vector<std::string>{"engineStateChanged ACTIVATED"});
}
