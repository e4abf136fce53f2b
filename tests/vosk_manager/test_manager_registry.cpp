// KSR_VoskManager set-up, grammar registry, confidence settings and the
// phrase list it hands to the engine, on the libvosk test double. Each test
// runs in a fresh process: the first grammar is 100 and the first rule 10.
#include "manager_fixture.h"

using FakeVosk::Kind;
using Strings = std::vector<std::string>;

namespace {

// The JSON grammar of the last command recognizer the engine made.
std::string lastCommandGrammar()
{
    const Strings grammars = FakeVosk::grammars();
    for (auto it = grammars.rbegin(); it != grammars.rend(); ++it)
        if (it->find("literal") != std::string::npos)
            return *it;
    return std::string();
}

}  // namespace

TEST_F(ManagerTest, ConstructionSilencesTheLibraryLog)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    EXPECT_EQ(FakeVosk::state().logLevels, (std::vector<int>{-1}));
}

TEST_F(ManagerTest, FirstGrammarOfTheProcessIsTheActivationKeyGrammar)
{
    initialize();
    EXPECT_TRUE(manager->isInitialized());
    ASSERT_TRUE(manager->activationKeysGrammar());
    EXPECT_EQ(manager->activationKeysGrammar()->id(), 100U);
    EXPECT_EQ(manager->getRuleIds(100), (std::vector<unsigned long>{10}));
    EXPECT_EQ(manager->addCommandGrammar(""), 101U);
    EXPECT_EQ(manager->addCommandGrammar(""), 102U);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ManagerTest, CreatedGrammarIsNotRegistered)
{
    initialize();
    const auto grammar = manager->createGrammar();
    EXPECT_EQ(grammar->id(), 101U);
    EXPECT_FALSE(manager->getGrammar(101));
    EXPECT_TRUE(manager->registerGrammar(grammar));
    EXPECT_FALSE(manager->registerGrammar(grammar));
    EXPECT_EQ(manager->getGrammar(101), grammar);
    EXPECT_TRUE(manager->unregisterGrammar(grammar));
    EXPECT_FALSE(manager->unregisterGrammar(grammar));
    EXPECT_FALSE(manager->registerGrammar(nullptr));
    EXPECT_FALSE(manager->unregisterGrammar(nullptr));
}

TEST_F(ManagerTest, ConfidenceBoundsAndDefault)
{
    // initialize sets the default itself, whatever the engine held before.
    EXPECT_TRUE(manager->setCommandRequiredConfidence(70));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 70);
    initialize();
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 90);
    EXPECT_EQ(manager->getCommandMinimumRequiredConfidence(), 50);
    EXPECT_EQ(manager->getCommandMaximumRequiredConfidence(), 100);
    EXPECT_FALSE(manager->setCommandRequiredConfidence(101));
    EXPECT_FALSE(manager->setCommandRequiredConfidence(-1));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 90);
    EXPECT_TRUE(manager->setCommandRequiredConfidence(0));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 0);
    EXPECT_TRUE(manager->setCommandRequiredConfidence(100));
    EXPECT_TRUE(manager->setDictationRequiredConfidence(49));
    EXPECT_EQ(manager->engine()->getDictationConfidenceThreshold(), 49);
    EXPECT_FALSE(manager->setDictationRequiredConfidence(101));
    EXPECT_FALSE(manager->setDictationRequiredConfidence(-5));
}

TEST_F(ManagerTest, UnknownGrammarIdsAreLogged)
{
    initialize();
    EXPECT_FALSE(manager->getGrammar(18446744073709551615ULL));
    EXPECT_FALSE(manager->getGrammar(555));
    EXPECT_EQ(log.errors(), (Strings{"Invalid grammar id!", "Requested grammar id has been removed!"}));
}

TEST_F(ManagerTest, GrammarOperationsBeforeInitializeFail)
{
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->addCommandGrammar("north"), KSR::InvalidGrammarId);
    EXPECT_FALSE(manager->getGrammar(100));
    EXPECT_EQ(log.errors(), (Strings{"KSR_VoskManager should be properly initialized before register a grammar!",
                                     "KSR_VoskManager should be properly initialized before register a grammar!"}));
    log.clear();
    // The engine exists but has no model yet.
    EXPECT_FALSE(manager->wordsExist("open"));
    EXPECT_EQ(log.errors(), (Strings{"KSR_VoskManager must have a valid acoustic model!"}));
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 90);
}

TEST_F(ManagerTest, FailedInitializeLeavesNoEngine)
{
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().modelNewFails = true;
    }
    EXPECT_FALSE(manager->initialize("/nowhere"));
    EXPECT_FALSE(manager->isInitialized());
    EXPECT_EQ(manager->engine(), nullptr);
    EXPECT_FALSE(manager->activationKeysGrammar());
    EXPECT_EQ(log.errors(), (Strings{"Model:  initializeModel: mp_voskModel is null",
                                     "Acoustic model /nowhere is invalid!"}));
    log.clear();
    EXPECT_EQ(manager->getCommandRequiredConfidence(), -1);
    EXPECT_FALSE(manager->setCommandRequiredConfidence(90));
    EXPECT_FALSE(manager->setDictationRequiredConfidence(80));
    EXPECT_FALSE(manager->wordsExist("open"));
    EXPECT_FALSE(manager->isDictationModeEnabled());
    EXPECT_FALSE(manager->spellingModeEnabled());
    EXPECT_FALSE(manager->initialize("/model"));  // the engine is gone for good
    EXPECT_EQ(log.errors(), (Strings{"KSR_VoskManager must have an initialized engine!"}));
    // Listening calls without an engine do nothing.
    manager->startRecognizing();
    manager->stopRecognizing();
    manager->processAudio(chunk.data(), 3200);
}

TEST_F(ManagerTest, CommandPhraseIsStoredLowerCase)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("");
    const KSR::RuleId ruleId = manager->addRule(grammarId, "files");
    EXPECT_EQ(manager->addCommand(ruleId, "Open File"), 0);
    const auto grammar = manager->getGrammar(grammarId);
    const auto command = grammar->getCommand(ruleId, std::string("open file"));
    ASSERT_TRUE(command);
    EXPECT_EQ(command->phrase, "open file");
    EXPECT_TRUE(manager->phraseExists("OPEN file"));
    EXPECT_FALSE(manager->phraseExists("open sesame"));
    EXPECT_EQ(log.logs(), (Strings{"Word sesame is not included in current acoustic model!"}));
}

TEST_F(ManagerTest, DestroyGrammarKeepsItRegistered)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("");
    EXPECT_TRUE(manager->destroyGrammar(manager->getGrammar(grammarId)));
    EXPECT_TRUE(manager->getGrammar(grammarId));
    EXPECT_FALSE(manager->destroyGrammar(nullptr));
}

TEST_F(ManagerTest, NewCommandGrammarIsRegisteredOffAndAnnounced)
{
    initialize();
    std::vector<std::pair<KSR::GrammarId, bool>> activations;
    manager->setGrammarActivationFunction(
        [&activations](KSR::GrammarId id, bool on) { activations.push_back({id, on}); });
    const KSR::GrammarId grammarId = manager->addCommandGrammar("North");
    EXPECT_EQ(grammarId, 101U);
    EXPECT_FALSE(manager->getGrammar(grammarId)->isActive());
    EXPECT_EQ(manager->getGrammar(grammarId)->activationKey(), "north");
    EXPECT_EQ(activations, (std::vector<std::pair<KSR::GrammarId, bool>>{{101, false}}));
    EXPECT_TRUE(manager->setActivated(grammarId, true));
    EXPECT_EQ(manager->getActiveGrammars(), (std::vector<KSR::GrammarId>{101}));
    EXPECT_EQ(activations.back(), (std::pair<KSR::GrammarId, bool>{101, true}));
}

TEST_F(ManagerTest, LookupsOfUnknownGrammarsAndRulesAddTheirOwnLine)
{
    initialize();
    EXPECT_EQ(manager->addRule(555, "rule"), KSR::InvalidRuleId);
    EXPECT_FALSE(manager->setActivated(555, true));
    EXPECT_FALSE(manager->isDictationGrammar(555));
    EXPECT_EQ(log.errors(), (Strings{"Requested grammar id has been removed!", "Requested grammar id has been removed!",
                                     "Requested grammar id has been removed!"}));
    EXPECT_EQ(log.logs(), (Strings{"Cannot add rule to grammar!", "Cannot activate grammar!", "Cannot probe grammar!"}));
    log.clear();
    EXPECT_FALSE(manager->isRuleActivated(999));
    EXPECT_FALSE(manager->setRuleActivated(999, true));
    EXPECT_EQ(log.logs(), (Strings{"Requested rule does not exist!", "Requested rule does not exist!"}));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(manager->getAvailableCommandIds(555).empty());
    EXPECT_TRUE(manager->getAvailableCommandNames(555).empty());
    EXPECT_TRUE(manager->getRuleIds(555).empty());
}

TEST_F(ManagerTest, RuleSwitchesForwardToTheGrammarThatHasTheRule)
{
    initialize();
    const KSR::GrammarId a = manager->addCommandGrammar("");
    const KSR::GrammarId b = manager->addCommandGrammar("");
    manager->addRule(a, "first");
    const KSR::RuleId ruleB = manager->addRule(b, "second");
    manager->addCommand(ruleB, "zoom in");
    EXPECT_FALSE(manager->isRuleActivated(ruleB));
    EXPECT_TRUE(manager->setRuleActivated(ruleB, true));
    EXPECT_TRUE(manager->isRuleActivated(ruleB));
    EXPECT_FALSE(manager->getGrammar(b)->isActive());
    EXPECT_EQ(manager->getAvailableCommandNames(b), (Strings{"zoom in"}));
    EXPECT_EQ(manager->getAvailableCommandIds(b), (std::vector<int>{0}));
    EXPECT_TRUE(manager->removeCommand(ruleB, 0));
    EXPECT_TRUE(manager->getAvailableCommandNames(b).empty());
    EXPECT_FALSE(manager->removeCommand(4242, 0));
}

TEST_F(ManagerTest, WithoutDictationGrammarTheEngineHasNoLiteralKeywordAndStaysOff)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("");
    manager->addCommand(manager->addRule(grammarId, "files"), "open file");
    manager->setActivated(grammarId, true);
    manager->startRecognizing();
    EXPECT_FALSE(manager->engine()->isActivated());
}

TEST_F(ManagerTest, StartRecognizingHandsEveryAvailableCommandToTheEngine)
{
    initialize();
    manager->addDictationGrammar("");  // 101, gives the engine its literal keyword
    const KSR::GrammarId files = manager->addCommandGrammar("north");
    const KSR::GrammarId windows = manager->addCommandGrammar("south");
    const KSR::RuleId filesRule = manager->addRule(files, "files");
    const KSR::RuleId windowsRule = manager->addRule(windows, "windows");
    manager->addCommand(filesRule, "open file");
    manager->addCommand(filesRule, "close");
    manager->addCommand(windowsRule, "close window");
    manager->setActivated(files, true);  // windows stays off

    manager->startRecognizing();
    EXPECT_TRUE(manager->engine()->isActivated());
    EXPECT_TRUE(manager->activationKeysGrammar()->isActive());
    prime();
    EXPECT_EQ(lastCommandGrammar(),
              "[\"[unk]\",\"north\",\"south\",\"close\",\"open file\",\"literal north\",\"literal south\","
              "\"literal close\",\"literal open file\",\"literal literal\"]");
}

TEST_F(ManagerTest, AGrammarChangeWhileListeningRebuildsThePhraseList)
{
    initialize();
    manager->addDictationGrammar("");
    const KSR::GrammarId files = manager->addCommandGrammar("");
    const KSR::RuleId rule = manager->addRule(files, "files");
    manager->addCommand(rule, "open file");
    manager->setActivated(files, true);
    manager->startRecognizing();
    prime();
    ASSERT_EQ(lastCommandGrammar(), "[\"[unk]\",\"open file\",\"literal open file\",\"literal literal\"]");

    EXPECT_EQ(manager->addCommand(rule, "save file"), 1);
    EXPECT_TRUE(manager->engine()->isActivated());
    prime();
    EXPECT_EQ(lastCommandGrammar(),
              "[\"[unk]\",\"open file\",\"save file\",\"literal open file\",\"literal save file\",\"literal literal\"]");
    say(Json::sure("save file"));
    ASSERT_EQ(manager->recognitions().size(), 1U);
    EXPECT_EQ(manager->recognitions()[0], (KSR::SRData{files, rule, 1, "save file"}));
}

// After a grammar change the first chunk only drops the command recognizer
// and the second builds one from the new phrases; two chunks without a new
// recognizer therefore mean no rebuild was asked for.
TEST_F(ManagerTest, UnregisteringDoesNotRebuildButTheNextStartDrops)
{
    const KSR::GrammarId files = listenToFilesAndWindows();
    const std::size_t built = FakeVosk::grammars().size();
    // The host still holds the grammar, so unregistering destroys nothing.
    const std::shared_ptr<KSR_VoskGrammar> held = manager->getGrammar(files);
    EXPECT_TRUE(manager->unregisterGrammar(held));
    feed();
    feed();
    EXPECT_EQ(FakeVosk::grammars().size(), built);  // no rebuild
    manager->stopRecognizing();
    EXPECT_FALSE(manager->engine()->isActivated());
    manager->startRecognizing();
    prime();  // drops the recognizer kept from before the stop
    feed();
    EXPECT_EQ(FakeVosk::grammars().size(), built + 1);
    EXPECT_EQ(lastCommandGrammar(), "[\"[unk]\",\"close window\",\"literal close window\",\"literal literal\"]");
}

// The grammar's destructor switches it off, which notifies the manager: while
// listening, the phrase list is rebuilt, without the unregistered grammar.
TEST_F(ManagerTest, DroppingTheLastReferenceOfAnUnregisteredGrammarRebuilds)
{
    const KSR::GrammarId files = listenToFilesAndWindows();
    const std::size_t built = FakeVosk::grammars().size();
    std::shared_ptr<KSR_VoskGrammar> held = manager->getGrammar(files);
    ASSERT_TRUE(manager->unregisterGrammar(held));
    held.reset();  // the last reference
    EXPECT_TRUE(manager->engine()->isActivated());
    prime();
    feed();
    EXPECT_EQ(FakeVosk::grammars().size(), built + 1);
    EXPECT_EQ(lastCommandGrammar(), "[\"[unk]\",\"close window\",\"literal close window\",\"literal literal\"]");
}

TEST_F(ManagerTest, AnEmptyPhraseListLeavesTheEngineOff)
{
    initialize();
    manager->addDictationGrammar("");
    manager->startRecognizing();
    EXPECT_FALSE(manager->engine()->isActivated());
}

TEST_F(ManagerTest, ARuleSwitchedOnIsHeardWhileItsGrammarIsOff)
{
    initialize();
    manager->addDictationGrammar("");
    const KSR::GrammarId files = manager->addCommandGrammar("");
    const KSR::RuleId rule = manager->addRule(files, "files");
    manager->addCommand(rule, "open file");
    manager->setRuleActivated(rule, true);
    manager->startRecognizing();
    prime();
    say(Json::sure("open file"));
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{files, rule, 0, "open file"}}));
}

TEST_F(ManagerTest, DestroyingTheManagerWhileTheHostHoldsAGrammarIsSafe)
{
    initialize();
    const KSR::GrammarId grammarId = manager->addCommandGrammar("");
    std::shared_ptr<KSR_VoskGrammar> held = manager->getGrammar(grammarId);
    manager.reset();
    // The grammar's last notification finds no manager and does nothing.
    EXPECT_NE(held->addRule("after"), KSR::InvalidRuleId);
    EXPECT_EQ(held->getRuleIds().size(), 1U);
    held.reset();
}
