// Routing of recognized command phrases to grammar, rule and command ids,
// the spoken activation keys and the reporting operations' log lines. The
// results reach the manager through the engine's registered command function
// (scripted libvosk results fed through processAudio), except where a test
// names a phrase the engine would never deliver.
#include "manager_fixture.h"

using FakeVosk::Kind;
using Strings = std::vector<std::string>;
using Activations = std::vector<std::pair<KSR::GrammarId, bool>>;

namespace {

class Routing : public ManagerTest {
protected:
    // Dictation grammar 101 (rule 11, gives the engine its literal keyword),
    // A = 102 keyed "north" (rule 12: open file, close window),
    // B = 103 keyed "south" (rule 13: save file),
    // C = 104 without key (rule 14: undo), all three switched on.
    void build()
    {
        initialize();
        dictation = manager->addDictationGrammar("");
        a = manager->addCommandGrammar("north");
        b = manager->addCommandGrammar("south");
        c = manager->addCommandGrammar("");
        ruleA = manager->addRule(a, "a");
        ruleB = manager->addRule(b, "b");
        ruleC = manager->addRule(c, "c");
        manager->addCommand(ruleA, "open file");
        manager->addCommand(ruleA, "close window");
        manager->addCommand(ruleB, "save file");
        manager->addCommand(ruleC, "undo");
        manager->setActivated(a, true);
        manager->setActivated(b, true);
        manager->setActivated(c, true);
        manager->setGrammarActivationFunction(
            [this](KSR::GrammarId id, bool on) { activations.push_back({id, on}); });
        manager->startRecognizing();
        prime();
        log.clear();
    }

    bool active(KSR::GrammarId id) { return manager->getGrammar(id)->isActive(); }

    std::vector<std::string> recognizedLines()
    {
        Strings lines;
        for (const auto& line : log.logs())
            if (line.rfind("Recognized: ", 0) == 0)
                lines.push_back(line);
        return lines;
    }

    KSR::GrammarId dictation = 0, a = 0, b = 0, c = 0;
    KSR::RuleId ruleA = 0, ruleB = 0, ruleC = 0;
    Activations activations;
};

}  // namespace

TEST_F(Routing, IdsOfTheFixtureAreAsDocumented)
{
    build();
    EXPECT_EQ((std::vector<KSR::GrammarId>{dictation, a, b, c}), (std::vector<KSR::GrammarId>{101, 102, 103, 104}));
    EXPECT_EQ((std::vector<KSR::RuleId>{ruleA, ruleB, ruleC}), (std::vector<KSR::RuleId>{12, 13, 14}));
}

TEST_F(Routing, ConfidentCommandIsReportedWithItsIdsAndLogged)
{
    build();
    say(Json::sure("close window"));
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{a, ruleA, 1, "close window"}}));
    EXPECT_EQ(log.logs(), (Strings{"Recognized: close window gID:102 rID:12 cID:1"}));
    prime();  // a fresh recognizer after a delivered final result
    say(Json::sure("undo"));
    EXPECT_EQ(manager->recognitions().back(), (KSR::SRData{c, ruleC, 0, "undo"}));
}

TEST_F(Routing, FailedResultGivesExactlyOneFailureLine)
{
    build();
    say(Json::final("open file", {"0.95", "0.85"}));  // below the command threshold of 90
    EXPECT_EQ(log.logs(), (Strings{"Recognition failed..."}));
    ASSERT_EQ(manager->reports().size(), 1U);
    EXPECT_EQ(manager->reports()[0].kind, Report::Failure);
    EXPECT_TRUE(activations.empty());
}

TEST_F(Routing, HypothesisCarriesTheIdsOfTheWholePhrase)
{
    build();
    say(Json::partial("save file"), 0);
    EXPECT_EQ(manager->hypotheses(), (std::vector<KSR::SRData>{{b, ruleB, 0, "save file"}}));
    EXPECT_EQ(log.logs(), (Strings{"Hypothesis: save file"}));
}

TEST_F(Routing, HypothesisOfAKeyDoesNotSwitchGrammars)
{
    build();
    say(Json::partial("north"), 0);
    EXPECT_EQ(log.logs(), (Strings{"Hypothesis: north"}));
    EXPECT_EQ(manager->hypotheses(), (std::vector<KSR::SRData>{{100, 10, 0, "north"}}));
    EXPECT_TRUE(active(a));
    EXPECT_TRUE(active(b));
    EXPECT_TRUE(activations.empty());
}

TEST_F(Routing, SpokenKeySwitchesKeyedGrammarsAndReportsNothing)
{
    build();
    manager->setActivated(a, false);
    prime();
    activations.clear();
    log.clear();
    say(Json::sure("north"));
    EXPECT_TRUE(active(a));
    EXPECT_FALSE(active(b));
    EXPECT_TRUE(active(c));  // no key: unchanged
    EXPECT_EQ(activations, (Activations{{a, true}, {b, false}}));
    EXPECT_TRUE(manager->recognitions().empty());
    EXPECT_TRUE(recognizedLines().empty());
    EXPECT_EQ(manager->reports().size(), 0U);
}

TEST_F(Routing, AfterAKeySwitchTheInactiveGrammarIsNoLongerHeard)
{
    build();
    say(Json::sure("north"));
    ASSERT_FALSE(active(b));
    prime();  // the switch rebuilt the phrase list
    feed();
    const Strings grammars = FakeVosk::grammars();
    EXPECT_EQ(grammars.back().find("save file"), std::string::npos) << grammars.back();
    EXPECT_NE(grammars.back().find("open file"), std::string::npos);
    // Should the recognizer still deliver it, the phrase is no command now.
    manager->commandRecognized("save file", KSR::Recognized);
    EXPECT_EQ(manager->failures(), 1);
    EXPECT_TRUE(manager->recognitions().empty());
    say(Json::sure("open file"));
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{a, ruleA, 0, "open file"}}));
}

TEST_F(Routing, RemovedCommandFailsAndReAddedCommandIsReported)
{
    build();
    ASSERT_TRUE(manager->removeCommand(ruleB, 0));
    manager->commandRecognized("save file", KSR::Recognized);
    EXPECT_EQ(manager->failures(), 1);
    EXPECT_EQ(manager->addCommand(ruleB, "save file"), 0);
    manager->commandRecognized("save file", KSR::Recognized);
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{b, ruleB, 0, "save file"}}));
}

TEST_F(Routing, UnknownPhraseIsAFailureNotAnError)
{
    build();
    manager->commandRecognized("nothing known", KSR::Recognized);
    manager->commandRecognized("nothing known", KSR::Hypothesis);
    EXPECT_EQ(manager->failures(), 2);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(log.logs(), (Strings{"Recognition failed...", "Recognition failed..."}));
}

TEST_F(Routing, AnyOtherStateCountsAsFinal)
{
    build();
    manager->commandRecognized("undo", static_cast<KSR::RecognitionState>(7));
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{c, ruleC, 0, "undo"}}));
}

TEST_F(Routing, ReportLinesPrintIdsUnsigned)
{
    initialize();
    manager->KSR_VoskManager::processRecognition({101, KSR::InvalidRuleId, -1, "hello"});
    manager->KSR_VoskManager::processRecognition({18446744073709551615ULL, 10, 2147483647, ""});
    EXPECT_EQ(log.logs(), (Strings{"Recognized: hello gID:101 rID:4294967295 cID:18446744073709551615",
                                   "Recognized:  gID:18446744073709551615 rID:10 cID:2147483647"}));
}

TEST_F(Routing, KeysAreLowerCasedAndAddedToTheKeyRule)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("");
    EXPECT_TRUE(manager->setActivationKey(grammarId, "EAST"));
    EXPECT_EQ(manager->getGrammar(grammarId)->activationKey(), "east");
    const auto keys = manager->activationKeysGrammar();
    const auto command = keys->getCommand(10, std::string("east"));
    ASSERT_TRUE(command);
    EXPECT_TRUE(command->available);
    EXPECT_EQ(command->grammarId, 100U);
    // A second grammar with the same key shares the rule's command.
    const KSR::GrammarId other = manager->addCommandGrammar("east");
    EXPECT_NE(other, KSR::InvalidGrammarId);
    EXPECT_EQ(keys->getAvailableCommandIds().size(), 0U);  // the key grammar is off until listening
    keys->setActivated(true);
    EXPECT_EQ(keys->getAvailableCommandNames(), (Strings{"east"}));
}

TEST_F(Routing, KeyOutsideTheVocabularyIsRefusedAndTheOldKeyKept)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("north");
    log.clear();
    EXPECT_FALSE(manager->setActivationKey(grammarId, "Abracadabra"));
    EXPECT_EQ(manager->getGrammar(grammarId)->activationKey(), "north");
    EXPECT_EQ(log.logs(), (Strings{"Word abracadabra is not included in current acoustic model!"}));
}

TEST_F(Routing, EmptyKeyClearsTheKeyAndTheOldPhraseStaysInTheRule)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("north");
    EXPECT_TRUE(manager->setActivationKey(grammarId, ""));
    EXPECT_EQ(manager->getGrammar(grammarId)->activationKey(), "");
    EXPECT_TRUE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->available);
}

TEST_F(Routing, AnOldKeySwitchesEveryKeyedGrammarOff)
{
    build();
    ASSERT_TRUE(manager->setActivationKey(a, "west"));
    prime();
    activations.clear();
    say(Json::sure("north"));
    EXPECT_FALSE(active(a));
    EXPECT_FALSE(active(b));
    EXPECT_TRUE(active(c));
    EXPECT_EQ(activations, (Activations{{a, false}, {b, false}}));
}

TEST_F(Routing, SetActivationKeyRefusesWhatItCannotKey)
{
    initialize();
    log.clear();
    EXPECT_FALSE(manager->setActivationKey(std::shared_ptr<KSR_VoskGrammar>(), "north"));
    EXPECT_FALSE(manager->setActivationKey(std::make_shared<KSR_VoskGrammar>(), "north"));  // no id yet
    EXPECT_FALSE(manager->setActivationKey(KSR::GrammarId(555), "north"));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(log.logs().empty());
}

TEST_F(Routing, WithoutKeyGrammarNoKeyCanBeSetOrRemoved)
{
    // Never initialized: no activation-key grammar.
    auto grammar = manager->createGrammar();
    EXPECT_FALSE(manager->setActivationKey(grammar, "north"));
    EXPECT_FALSE(manager->removeActivationKey("north"));
}

TEST_F(Routing, RemoveActivationKeyTakesTheKeyExactly)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("north");
    EXPECT_FALSE(manager->removeActivationKey("North"));
    EXPECT_FALSE(manager->removeActivationKey("south"));
    EXPECT_TRUE(manager->removeActivationKey("north"));
    EXPECT_FALSE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->available);
    EXPECT_EQ(manager->getGrammar(grammarId)->activationKey(), "north");  // kept by the grammar
    // The record is still found, so removing again succeeds again.
    EXPECT_TRUE(manager->removeActivationKey("north"));
    // Setting the key again makes the same command available.
    EXPECT_TRUE(manager->setActivationKey(grammarId, "north"));
    EXPECT_TRUE(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->available);
    EXPECT_EQ(manager->activationKeysGrammar()->getCommand(10, std::string("north"))->commandId, 0);
}

TEST_F(Routing, AddCommaIsReportedAsItsCharacterWithTheDictationIds)
{
    build();
    manager->setRuleActivated(11, true);
    prime();
    say(Json::sure("add comma"));
    // "add comma" is the eleventh formatting phrase, after "literal" (0).
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{dictation, 11, 11, ","}}));
}

TEST_F(Routing, APhraseInTwoGrammarsGoesToTheLowerGrammarAndInOneGrammarToTheHigherRule)
{
    initialize();
    manager->addDictationGrammar("");
    const KSR::GrammarId first = manager->addCommandGrammar("");
    const KSR::GrammarId second = manager->addCommandGrammar("");
    const KSR::RuleId firstLow = manager->addRule(first, "low");
    const KSR::RuleId firstHigh = manager->addRule(first, "high");
    const KSR::RuleId secondRule = manager->addRule(second, "other");
    manager->addCommand(secondRule, "undo");
    manager->addCommand(firstLow, "go back");
    manager->addCommand(firstHigh, "go back");
    manager->addCommand(secondRule, "go back");
    manager->addCommand(firstHigh, "zoom in");
    manager->setActivated(first, true);
    manager->setActivated(second, true);
    manager->startRecognizing();
    manager->commandRecognized("go back", KSR::Recognized);
    manager->commandRecognized("undo", KSR::Recognized);
    manager->commandRecognized("zoom in", KSR::Recognized);
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{first, firstHigh, 0, "go back"},
                                                                 {second, secondRule, 0, "undo"},
                                                                 {first, firstHigh, 1, "zoom in"}}));
}
