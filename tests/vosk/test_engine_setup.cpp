// Vosk::Engine set-up, grammar inputs, the JSON phrase list, the keyword rule
// and the switches, against the libvosk test double.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include "engine_test_access.h"
#include "fake_vosk.h"
#include "log_capture.h"
#include "vosk_engine.h"
#include "vosk_model.h"

using Vosk::Engine;
using Vosk::EngineTestAccess;
using Strings = std::vector<std::string>;

namespace {

const char* const kSpellingGrammar =
    "[\"a\",\"b\",\"c\",\"d\",\"e\",\"f\",\"g\",\"h\",\"i\",\"j\",\"k\",\"l\",\"m\",\"n\","
    "\"o\",\"p\",\"q\",\"r\",\"s\",\"t\",\"u\",\"v\",\"w\",\"x\",\"y\",\"z\",\"[unk]\"]";

}  // namespace

class EngineSetup : public testing::Test {
protected:
    void SetUp() override { FakeVosk::reset(); }
    LogCapture log;
};

// --- construction -----------------------------------------------------------

TEST_F(EngineSetup, NewEngineHasTheDefaults)
{
    Engine engine;
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_EQ(engine.getCommandConfidenceThreshold(), 90);
    EXPECT_EQ(engine.getDictationConfidenceThreshold(), 80);
    EXPECT_FALSE(engine.dictationModeEnabled());
    EXPECT_FALSE(engine.spellingEnabled());
    EXPECT_FALSE(engine.isActivated());
    EXPECT_FALSE(engine.microphoneSetupSupported());
    EXPECT_FALSE(engine.voiceTrainingSupported());
    EXPECT_FALSE(EngineTestAccess::initialized(engine));
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
    EXPECT_FALSE(EngineTestAccess::modeChanged(engine));
    EXPECT_EQ(EngineTestAccess::literalKeywordWords(engine), 0);
    EXPECT_EQ(EngineTestAccess::forcedWordsKeywordWords(engine), 0);
    EXPECT_TRUE(EngineTestAccess::commandsList(engine).empty());
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine), "");
    EXPECT_TRUE(FakeVosk::calls().empty());
    EXPECT_TRUE(log.lines().empty());
}

// --- initialize -------------------------------------------------------------

TEST_F(EngineSetup, InitializeWithEmptyPathLogsAndLeavesNoModel)
{
    Engine engine;
    EXPECT_FALSE(engine.initialize(""));
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_EQ(log.lines(), Strings{"KSR Error: Engine: You need to set a valid model!\n"});
    EXPECT_TRUE(FakeVosk::calls().empty());
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
}

TEST_F(EngineSetup, InitializeWithBadDirectoryLogsTheExactLine)
{
    FakeVosk::state().modelNewFails = true;
    Engine engine;
    EXPECT_FALSE(engine.initialize("/no/such/model"));
    EXPECT_EQ(engine.model(), nullptr);
    // The model wrapper logs its own line first.
    EXPECT_EQ(log.lines(), (Strings{"KSR Error: Model:  initializeModel: mp_voskModel is null\n",
                                    "KSR Error: Acoustic model /no/such/model is invalid!\n"}));
    EXPECT_EQ(FakeVosk::calls(), Strings{"model_new"});
    EXPECT_FALSE(EngineTestAccess::initialized(engine));
}

TEST_F(EngineSetup, InitializeBuildsModelDictationAndSpellingRecognizers)
{
    Engine engine;
    ASSERT_TRUE(engine.initialize("/some/model"));
    ASSERT_NE(engine.model(), nullptr);
    EXPECT_EQ(engine.model()->sampleRate(), 16000U);
    EXPECT_EQ(FakeVosk::state().lastModelPath, "/some/model");
    EXPECT_EQ(FakeVosk::calls(), (Strings{"model_new", "new:Dictation", "new:Spelling"}));
    EXPECT_EQ(FakeVosk::grammars(), Strings{kSpellingGrammar});
    EXPECT_EQ(std::string(kSpellingGrammar).size(), 113U);
    EXPECT_EQ(FakeVosk::state().setWordsCalls, 2);
    EXPECT_TRUE(EngineTestAccess::initialized(engine));
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    EXPECT_FALSE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineSetup, DestructionReleasesRecognizersBeforeTheModel)
{
    {
        Engine engine;
        ASSERT_TRUE(engine.initialize("/some/model"));
        FakeVosk::state().calls.clear();
    }
    EXPECT_EQ(FakeVosk::calls(), (Strings{"free:Dictation", "free:Spelling", "model_free"}));
    EXPECT_EQ(FakeVosk::state().modelsAlive, 0);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Dictation), 0);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Spelling), 0);
}

TEST_F(EngineSetup, DictationRecognizerFailureReleasesEverything)
{
    FakeVosk::state().dictationNewFails = true;
    Engine engine;
    EXPECT_FALSE(engine.initialize("/some/model"));
    EXPECT_EQ(log.lines(), Strings{"KSR Error: Engine: Dictation recognizer could not be created!\n"});
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_EQ(FakeVosk::state().modelsAlive, 0);
    EXPECT_FALSE(EngineTestAccess::hasDictationRecognizer(engine));
    EXPECT_FALSE(EngineTestAccess::hasSpellingRecognizer(engine));
    EXPECT_FALSE(EngineTestAccess::initialized(engine));
}

TEST_F(EngineSetup, SpellingRecognizerFailureReleasesEverything)
{
    FakeVosk::state().grammarNewFails = true;
    Engine engine;
    EXPECT_FALSE(engine.initialize("/some/model"));
    EXPECT_EQ(log.lines(), Strings{"KSR Error: Engine: Spelling recognizer could not be created!\n"});
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_EQ(FakeVosk::state().modelsAlive, 0);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Dictation), 0);
    EXPECT_FALSE(EngineTestAccess::hasDictationRecognizer(engine));
    EXPECT_FALSE(EngineTestAccess::initialized(engine));
}

TEST_F(EngineSetup, FailedSecondInitializeLeavesNoModelAndNoRecognizers)
{
    Engine engine;
    ASSERT_TRUE(engine.initialize("/some/model"));
    FakeVosk::state().modelNewFails = true;
    EXPECT_FALSE(engine.initialize("/other"));
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_FALSE(EngineTestAccess::initialized(engine));
    EXPECT_EQ(FakeVosk::state().modelsAlive, 0);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Dictation), 0);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Spelling), 0);
}

TEST_F(EngineSetup, SecondInitializeReplacesModelAndFreeRecognizers)
{
    Engine engine;
    ASSERT_TRUE(engine.initialize("/some/model"));
    FakeVosk::state().calls.clear();
    ASSERT_TRUE(engine.initialize("/other"));
    EXPECT_EQ(FakeVosk::calls(), (Strings{"free:Dictation", "free:Spelling", "model_free", "model_new",
                                          "new:Dictation", "new:Spelling"}));
    EXPECT_EQ(FakeVosk::state().modelsAlive, 1);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Dictation), 1);
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Spelling), 1);
}

// --- grammar inputs ---------------------------------------------------------

TEST_F(EngineSetup, EveryGrammarInputMarksTheGrammarChanged)
{
    Engine engine;
    engine.setCommandsList({"open file"});
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    EngineTestAccess::setCommandsChanged(engine, false);
    engine.setForcedWordsList({"Smith"});
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    EngineTestAccess::setCommandsChanged(engine, false);
    engine.setLiteralKeyword("literal");
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    EngineTestAccess::setCommandsChanged(engine, false);
    engine.setForcedWordsKeyword("force");
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    EngineTestAccess::setCommandsChanged(engine, false);
    // Thresholds do not touch the grammar.
    engine.setCommandConfidenceThreshold(50);
    engine.setDictationConfidenceThreshold(50);
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
    EXPECT_EQ(EngineTestAccess::commandsList(engine), Strings{"open file"});
    EXPECT_EQ(EngineTestAccess::forcedWordsList(engine), Strings{"Smith"});
}

TEST_F(EngineSetup, LiteralKeywordCountsItsNonEmptyWords)
{
    Engine engine;
    engine.setLiteralKeyword("  say   it ");
    EXPECT_EQ(EngineTestAccess::literalKeyword(engine), "  say   it ");
    EXPECT_EQ(EngineTestAccess::literalKeywordWords(engine), 2);
    engine.setLiteralKeyword("");
    EXPECT_EQ(EngineTestAccess::literalKeywordWords(engine), 0);
}

TEST_F(EngineSetup, ForcedWordsKeywordCountsTheWordsOfTheLiteralKeyword)
{
    Engine engine;
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force this");
    EXPECT_EQ(EngineTestAccess::forcedWordsKeyword(engine), "force this");
    EXPECT_EQ(EngineTestAccess::forcedWordsKeywordWords(engine), 1);
    // The count is taken when the forced keyword is set, not later.
    engine.setLiteralKeyword("one two three");
    EXPECT_EQ(EngineTestAccess::forcedWordsKeywordWords(engine), 1);
    engine.setForcedWordsKeyword("force");
    EXPECT_EQ(EngineTestAccess::forcedWordsKeywordWords(engine), 3);
}

TEST_F(EngineSetup, ThresholdsAreStoredWithoutRangeCheck)
{
    Engine engine;
    engine.setCommandConfidenceThreshold(-5);
    engine.setDictationConfidenceThreshold(250);
    EXPECT_EQ(engine.getCommandConfidenceThreshold(), -5);
    EXPECT_EQ(engine.getDictationConfidenceThreshold(), 250);
}

TEST_F(EngineSetup, ModeSettersStoreTheFlagAndMarkTheModeChanged)
{
    Engine engine;
    engine.setDictationModeEnabled(true);
    EXPECT_TRUE(engine.dictationModeEnabled());
    EXPECT_TRUE(EngineTestAccess::modeChanged(engine));
    Engine other;
    other.setSpellingEnabled(true);
    EXPECT_TRUE(other.spellingEnabled());
    EXPECT_FALSE(other.dictationModeEnabled());
    EXPECT_TRUE(EngineTestAccess::modeChanged(other));
    other.setSpellingEnabled(false);
    EXPECT_FALSE(other.spellingEnabled());
    EXPECT_TRUE(EngineTestAccess::modeChanged(other));
}

// --- createCommandsPhrases --------------------------------------------------

TEST_F(EngineSetup, PhraseListOfTheWorkedExample)
{
    Engine engine;
    engine.setCommandsList({"open file", "close"});
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force");
    engine.setForcedWordsList({"Smith"});
    EXPECT_EQ(EngineTestAccess::createCommandsPhrases(engine),
              "[\"[unk]\",\"open file\",\"close\",\"literal open file\",\"literal close\","
              "\"literal literal\",\"force Smith\"]");
    EXPECT_EQ(EngineTestAccess::commandsList(engine),
              (Strings{"open file", "close", "literal open file", "literal close", "literal literal",
                       "force Smith"}));
}

TEST_F(EngineSetup, PhraseListNeedsALiteralKeyword)
{
    Engine engine;
    engine.setCommandsList({"open file", "close"});
    engine.setForcedWordsKeyword("force");
    engine.setForcedWordsList({"Smith"});
    EXPECT_EQ(EngineTestAccess::createCommandsPhrases(engine), "");
    EXPECT_EQ(EngineTestAccess::commandsList(engine), (Strings{"open file", "close"}));
}

TEST_F(EngineSetup, PhraseListOfAnEmptyCommandListIsEmpty)
{
    Engine engine;
    engine.setLiteralKeyword("literal");
    EXPECT_EQ(EngineTestAccess::createCommandsPhrases(engine), "");
    EXPECT_TRUE(EngineTestAccess::commandsList(engine).empty());
}

TEST_F(EngineSetup, OnlyTheFirstUnknownWordIsRemovedFromTheList)
{
    Engine engine;
    engine.setCommandsList({"[unk]", "go", "[unk]"});
    engine.setLiteralKeyword("literal");
    EXPECT_EQ(EngineTestAccess::createCommandsPhrases(engine),
              "[\"[unk]\",\"go\",\"[unk]\",\"literal go\",\"literal [unk]\",\"literal literal\"]");
    EXPECT_EQ(EngineTestAccess::commandsList(engine),
              (Strings{"go", "[unk]", "literal go", "literal [unk]", "literal literal"}));
}

TEST_F(EngineSetup, ForcedWordsNeedTheirKeyword)
{
    Engine engine;
    engine.setCommandsList({"close"});
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsList({"Smith", "Jones"});
    EXPECT_EQ(EngineTestAccess::createCommandsPhrases(engine),
              "[\"[unk]\",\"close\",\"literal close\",\"literal literal\"]");
    EXPECT_EQ(EngineTestAccess::commandsList(engine), (Strings{"close", "literal close", "literal literal"}));
}

TEST_F(EngineSetup, ListGrowsOnEveryBuild)
{
    Engine engine;
    engine.setCommandsList({"close"});
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force");
    engine.setForcedWordsList({"Smith"});
    EngineTestAccess::createCommandsPhrases(engine);
    // The second build derives phrases from the derived phrases as well.
    EXPECT_EQ(EngineTestAccess::createCommandsPhrases(engine),
              "[\"[unk]\",\"close\",\"literal close\",\"literal literal\",\"force Smith\","
              "\"literal close\",\"literal literal close\",\"literal literal literal\","
              "\"literal force Smith\",\"literal literal\",\"force Smith\"]");
    EXPECT_EQ(EngineTestAccess::commandsList(engine).size(), 10U);
}

TEST_F(EngineSetup, PhrasesAreEscapedInTheListAndKeptRawForMatching)
{
    Engine engine;
    const std::string quote = "say \"hi\"";
    const std::string backslash = "back\\slash";
    const std::string control = std::string("tab\there\nnew\x01one");
    const std::string utf8 = "caf\xc3\xa9";
    engine.setCommandsList({quote, backslash, control, utf8});
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force");
    engine.setForcedWordsList({"O\"Neil"});
    const std::string phrases = EngineTestAccess::createCommandsPhrases(engine);
    EXPECT_EQ(phrases,
              "[\"[unk]\",\"say \\\"hi\\\"\",\"back\\\\slash\",\"tab\\there\\nnew\\u0001one\","
              "\"caf\xc3\xa9\",\"literal say \\\"hi\\\"\",\"literal back\\\\slash\","
              "\"literal tab\\there\\nnew\\u0001one\",\"literal caf\xc3\xa9\",\"literal literal\","
              "\"force O\\\"Neil\"]");

    // The text is a valid JSON array of the raw phrases.
    rapidjson::Document document;
    document.Parse(phrases.c_str());
    ASSERT_FALSE(document.HasParseError());
    ASSERT_TRUE(document.IsArray());
    Strings parsed;
    for (const auto& value : document.GetArray())
        parsed.emplace_back(value.GetString(), value.GetStringLength());
    const Strings raw = {quote,
                         backslash,
                         control,
                         utf8,
                         "literal " + quote,
                         "literal " + backslash,
                         "literal " + control,
                         "literal " + utf8,
                         "literal literal",
                         "force O\"Neil"};
    Strings expected{"[unk]"};
    expected.insert(expected.end(), raw.begin(), raw.end());
    EXPECT_EQ(parsed, expected);
    EXPECT_EQ(EngineTestAccess::commandsList(engine), raw);

    // Matching is against the raw phrase.
    EngineTestAccess::setCommandsChanged(engine, false);
    EXPECT_EQ(EngineTestAccess::resultToCommand(engine, "{\"text\" : \"say \\\"hi\\\"\"}"), quote);
    EXPECT_EQ(EngineTestAccess::commandToText(engine, "literal say \"hi\""), quote);
}

TEST_F(EngineSetup, EveryControlCharacterIsEscaped)
{
    Engine engine;
    std::string all;
    for (int c = 1; c < 0x20; ++c)
        all += static_cast<char>(c);
    engine.setCommandsList({all});
    engine.setLiteralKeyword("x");
    const std::string phrases = EngineTestAccess::createCommandsPhrases(engine);
    for (char c : phrases)
        EXPECT_GE(static_cast<unsigned char>(c), 0x20U);
    rapidjson::Document document;
    document.Parse(phrases.c_str());
    ASSERT_FALSE(document.HasParseError());
    ASSERT_TRUE(document.IsArray());
    EXPECT_EQ(std::string(document[1].GetString(), document[1].GetStringLength()), all);
}

// --- commandToText ----------------------------------------------------------

class CommandToText : public EngineSetup {
protected:
    void SetUp() override
    {
        EngineSetup::SetUp();
        engine.setLiteralKeyword("literal");
        engine.setForcedWordsKeyword("force");
    }
    std::string text(const std::string& command) { return EngineTestAccess::commandToText(engine, command); }
    Engine engine;
};

TEST_F(CommandToText, KeywordExamples)
{
    EXPECT_EQ(text("literal new line"), "new line");
    EXPECT_EQ(text("literal literal"), "literal");
    EXPECT_EQ(text("force Smith"), "Smith");
    EXPECT_EQ(text("open file"), "");
    EXPECT_EQ(text(""), "");
}

TEST_F(CommandToText, BareKeywordIsNoText)
{
    EXPECT_EQ(text("literal"), "");
    EXPECT_EQ(text("force"), "");
}

TEST_F(CommandToText, EveryOccurrenceOfTheKeywordIsRemoved)
{
    EXPECT_EQ(text("literal open literal file"), "open file");
    // Plain substring removal, also inside a word.
    EXPECT_EQ(text("literal aliteral b"), "ab");
    // The literal rule wins; the forced keyword stays.
    EXPECT_EQ(text("literal force Smith"), "force Smith");
    EXPECT_EQ(text("force force Smith"), "Smith");
}

TEST_F(CommandToText, PrefixComparesBytesExactly)
{
    EXPECT_EQ(text("Literal new line"), "");
    EXPECT_EQ(text("literalnew line"), "");
    EXPECT_EQ(text(" literal new line"), "");
}

TEST_F(CommandToText, ForcedKeywordUsesTheLiteralKeywordWordCount)
{
    engine.setLiteralKeyword("say it literally");
    engine.setForcedWordsKeyword("force");
    EXPECT_EQ(EngineTestAccess::forcedWordsKeywordWords(engine), 3);
    EXPECT_EQ(text("force Smith"), "");
    EXPECT_EQ(text("force Smith one two"), "Smith one two");
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force");
    EXPECT_EQ(text("force Smith"), "Smith");
}

TEST_F(CommandToText, EmptyKeywordsNeverMatch)
{
    Engine bare;
    EXPECT_EQ(EngineTestAccess::commandToText(bare, "open file"), "");
    EXPECT_EQ(EngineTestAccess::commandToText(bare, "literal new line"), "");
}

// --- setActivated -----------------------------------------------------------

class EngineActivation : public EngineSetup {
protected:
    void ready()
    {
        ASSERT_TRUE(engine.initialize("/some/model"));
        engine.setLiteralKeyword("literal");
        engine.setCommandsList({"open file", "close"});
    }
    Engine engine;
};

TEST_F(EngineActivation, FalseAlwaysDeactivates)
{
    ready();
    ASSERT_TRUE(engine.setActivated(true));
    ASSERT_TRUE(engine.isActivated());
    EXPECT_TRUE(engine.setActivated(false));
    EXPECT_FALSE(engine.isActivated());
    EXPECT_TRUE(engine.setActivated(false));
}

TEST_F(EngineActivation, TrueBuildsThePhrasesAndKeepsTheChangedMark)
{
    ready();
    EXPECT_TRUE(engine.setActivated(true));
    EXPECT_TRUE(engine.isActivated());
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine),
              "[\"[unk]\",\"open file\",\"close\",\"literal open file\",\"literal close\",\"literal literal\"]");
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineActivation, TrueWithoutChangeReportsSuccessButStaysOff)
{
    ready();
    ASSERT_TRUE(engine.setActivated(true));
    EngineTestAccess::setCommandsChanged(engine, false);  // as a processed chunk does
    EXPECT_TRUE(engine.setActivated(false));
    EXPECT_TRUE(engine.setActivated(true));
    EXPECT_FALSE(engine.isActivated());
}

TEST_F(EngineActivation, NeverInitializedEngine)
{
    // No grammar change: true, doing nothing.
    EXPECT_TRUE(engine.setActivated(true));
    EXPECT_FALSE(engine.isActivated());
    // A grammar change: false.
    engine.setLiteralKeyword("literal");
    engine.setCommandsList({"open file"});
    EXPECT_FALSE(engine.setActivated(true));
    EXPECT_FALSE(engine.isActivated());
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine), "");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineActivation, EmptyLiteralKeywordFails)
{
    ASSERT_TRUE(engine.initialize("/some/model"));
    engine.setCommandsList({"open file"});
    EXPECT_FALSE(engine.setActivated(true));
    EXPECT_FALSE(engine.isActivated());
    EXPECT_EQ(EngineTestAccess::commandsList(engine), Strings{"open file"});
}

TEST_F(EngineActivation, EmptyListFailsAndLeavesTheActivationAsItWas)
{
    ready();
    ASSERT_TRUE(engine.setActivated(true));
    engine.setCommandsList({});
    EXPECT_FALSE(engine.setActivated(true));
    EXPECT_TRUE(engine.isActivated());
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine), "");
}

TEST_F(EngineActivation, KeywordChangeAloneAddsTheDerivedPhrasesAgain)
{
    ready();
    ASSERT_TRUE(engine.setActivated(true));
    engine.setForcedWordsKeyword("force");
    ASSERT_TRUE(engine.setActivated(true));
    EXPECT_EQ(EngineTestAccess::commandsList(engine),
              (Strings{"open file", "close", "literal open file", "literal close", "literal literal",
                       "literal open file", "literal close", "literal literal open file",
                       "literal literal close", "literal literal literal", "literal literal"}));
}

TEST_F(EngineActivation, ListNotYetBuiltIsBuiltEvenWhenAChunkClearedTheMark)
{
    ready();
    ASSERT_TRUE(engine.setActivated(true));
    // The host replaces the list; the worker clears the mark before the
    // host's setActivated(true) arrives.
    engine.setCommandsList({"go back"});
    EngineTestAccess::setCommandsChanged(engine, false);
    EXPECT_TRUE(engine.setActivated(true));
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine), "[\"[unk]\",\"go back\",\"literal go back\",\"literal literal\"]");
    // Marked again so that audio processing rebuilds the recognizer.
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    // Built once: no further change, nothing more happens.
    EngineTestAccess::setCommandsChanged(engine, false);
    EXPECT_TRUE(engine.setActivated(true));
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
    EXPECT_EQ(EngineTestAccess::commandsList(engine).size(), 3U);
}
