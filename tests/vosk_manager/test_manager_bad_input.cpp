// Bad input from the host gets a clear result (false, -1, all bits set or an
// empty list), at most the documented log line, and changes nothing else.
#include "manager_fixture.h"

using Strings = std::vector<std::string>;

namespace {

class BadInput : public ManagerTest {
protected:
    void build()
    {
        initialize();
        manager->addDictationGrammar("");  // 101, rule 11
        grammarId = manager->addCommandGrammar("north");  // 102
        ruleId = manager->addRule(grammarId, "files");  // 12
        ASSERT_EQ(manager->addCommand(ruleId, "open file"), 0);
        manager->setActivated(grammarId, true);
        manager->startRecognizing();
        prime();
        log.clear();
    }

    std::string lastCommandGrammar() { return FakeVosk::grammars().back(); }

    KSR::GrammarId grammarId = 0;
    KSR::RuleId ruleId = 0;
};

}  // namespace

TEST_F(BadInput, UnknownIds)
{
    build();
    EXPECT_EQ(manager->addRule(9999, "rule"), KSR::InvalidRuleId);
    EXPECT_EQ(manager->addCommand(9999, "open file"), -1);
    EXPECT_FALSE(manager->removeCommand(9999, 0));
    EXPECT_FALSE(manager->removeCommand(ruleId, 77));
    EXPECT_FALSE(manager->removeCommand(ruleId, -1));
    EXPECT_FALSE(manager->setActivated(9999, true));
    EXPECT_FALSE(manager->setActivated(KSR::InvalidGrammarId, true));
    EXPECT_FALSE(manager->setRuleActivated(KSR::InvalidRuleId, true));
    EXPECT_FALSE(manager->setActivationKey(KSR::GrammarId(9999), "south"));
    EXPECT_TRUE(manager->getRuleIds(9999).empty());
    EXPECT_EQ(log.errors(), (Strings{"Requested grammar id has been removed!", "Requested grammar id has been removed!",
                                     "Invalid grammar id!", "Requested grammar id has been removed!"}));
    EXPECT_EQ(log.logs(), (Strings{"Cannot add rule to grammar!", "Cannot activate grammar!", "Cannot activate grammar!",
                                   "Requested rule does not exist!"}));
    EXPECT_TRUE(manager->recognitions().empty());
}

TEST_F(BadInput, EmptyPhrasesAndStrayBlanksAreRefused)
{
    build();
    EXPECT_EQ(manager->addCommand(ruleId, ""), -1);
    EXPECT_EQ(manager->addCommand(ruleId, " "), -1);
    EXPECT_EQ(manager->addCommand(ruleId, "open  file"), -1);
    EXPECT_EQ(manager->addCommand(ruleId, "save file "), -1);
    EXPECT_EQ(log.logs(), (Strings{"Word  is not included in current acoustic model!",
                                   "Word  is not included in current acoustic model!",
                                   "Word  is not included in current acoustic model!",
                                   "Word  is not included in current acoustic model!"}));
    EXPECT_FALSE(manager->phraseExists(""));
    EXPECT_EQ(manager->getAvailableCommandNames(grammarId), (Strings{"open file"}));
    // An empty phrase from the engine is no command.
    manager->commandRecognized("", KSR::Recognized);
    EXPECT_EQ(manager->failures(), 1);
}

TEST_F(BadInput, WordsMissingFromTheModel)
{
    build();
    EXPECT_EQ(manager->addCommand(ruleId, "open the pod bay doors"), -1);
    EXPECT_EQ(log.logs(), (Strings{"Word the is not included in current acoustic model!"}));
    EXPECT_EQ(manager->getAvailableCommandNames(grammarId), (Strings{"open file"}));
}

TEST_F(BadInput, PhraseWithADoubleQuoteIsRefusedAndTheGrammarStaysValidJson)
{
    build();
    EXPECT_EQ(manager->addCommand(ruleId, "open \"file"), -1);
    EXPECT_EQ(log.logs(), (Strings{"Word \"file is not included in current acoustic model!"}));
    // Even a grammar that holds one (added directly) reaches the library escaped.
    const auto grammar = manager->getGrammar(grammarId);
    EXPECT_EQ(grammar->addCommand(ruleId, "say \"hi\"", KSR::High), 1);
    prime();
    EXPECT_NE(lastCommandGrammar().find("\"say \\\"hi\\\"\""), std::string::npos) << lastCommandGrammar();
}

TEST_F(BadInput, DuplicateRuleName)
{
    build();
    EXPECT_EQ(manager->addRule(grammarId, "files"), KSR::InvalidRuleId);
    EXPECT_EQ(manager->getRuleIds(grammarId), (std::vector<unsigned long>{ruleId}));
    EXPECT_TRUE(manager->isRuleActivated(ruleId));  // flags kept
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(BadInput, DuplicatePhraseInOneRule)
{
    build();
    EXPECT_EQ(manager->addCommand(ruleId, "OPEN FILE"), -1);
    EXPECT_EQ(log.logs(), (Strings{"Command open file has already been added to rule files!"}));
}

TEST_F(BadInput, RemovingTwice)
{
    build();
    EXPECT_TRUE(manager->removeCommand(ruleId, 0));
    // The record is still there (removed commands keep their ids), so the
    // second removal finds it too; the command stays unavailable.
    EXPECT_TRUE(manager->removeCommand(ruleId, 0));
    EXPECT_TRUE(manager->getAvailableCommandNames(grammarId).empty());
    manager->commandRecognized("open file", KSR::Recognized);
    EXPECT_EQ(manager->failures(), 1);
    EXPECT_TRUE(manager->recognitions().empty());
}

TEST_F(BadInput, KeysWithCapitals)
{
    build();
    EXPECT_TRUE(manager->setActivationKey(grammarId, "SoUtH"));
    EXPECT_EQ(manager->getGrammar(grammarId)->activationKey(), "south");
    prime();
    say(Json::sure("south"));
    EXPECT_TRUE(manager->getGrammar(grammarId)->isActive());
    EXPECT_FALSE(manager->removeActivationKey("SOUTH"));  // removal takes the key exactly
    EXPECT_TRUE(manager->removeActivationKey("south"));
    const KSR::GrammarId capitalKey = manager->addCommandGrammar("NORTH");
    EXPECT_EQ(manager->getGrammar(capitalKey)->activationKey(), "north");
}

TEST_F(BadInput, KeyOutsideTheVocabularyFailsTheNewGrammar)
{
    build();
    EXPECT_EQ(manager->addCommandGrammar("xyzzy"), KSR::InvalidGrammarId);
    EXPECT_EQ(log.logs(), (Strings{"Word xyzzy is not included in current acoustic model!"}));
}

TEST_F(BadInput, OutOfRangeConfidence)
{
    build();
    for (int value : {101, -1, 1000, -2147483647 - 1})
        EXPECT_FALSE(manager->setCommandRequiredConfidence(value)) << value;
    EXPECT_EQ(manager->getCommandRequiredConfidence(), 90);
}

TEST_F(BadInput, NullOrEmptyAudio)
{
    build();
    // A result is waiting for the next chunk the recognizer hears.
    FakeVosk::pushStep(FakeVosk::Kind::Command, 1, Json::sure("open file"));
    const auto bytesFed = [] {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        return FakeVosk::state().bytesFed[static_cast<int>(FakeVosk::Kind::Command)];
    };
    const long long before = bytesFed();
    manager->processAudio(nullptr, 3200);
    manager->processAudio(chunk.data(), 0);
    manager->processAudio(chunk.data(), -5);
    EXPECT_TRUE(manager->reports().empty());
    EXPECT_EQ(bytesFed(), before);
    // None of them reached the recognizer: a real chunk still finds the result.
    feed();
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{grammarId, ruleId, 0, "open file"}}));
}

TEST_F(BadInput, ForcedWordsWithCapitalsAndUnknownWords)
{
    build();
    EXPECT_TRUE(manager->setForcedWords({"SMITH"}));
    EXPECT_FALSE(manager->setForcedWords({""}));
    EXPECT_EQ(log.logs(), (Strings{"Word  is not included in current acoustic model!",
                                   "Forced word  is not included in current acoustic model!"}));
}
