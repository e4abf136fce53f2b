// Reading the recognizers' JSON results and the confidence rules of
// Vosk::Engine.
#include <gtest/gtest.h>

#include <climits>

#include "engine_test_access.h"
#include "fake_vosk.h"
#include "log_capture.h"
#include "vosk_engine.h"

using Vosk::Engine;
using Vosk::EngineTestAccess;
using Strings = std::vector<std::string>;

namespace {

// A final result as the library writes it, one word object per confidence.
std::string finalResult(const std::string& text, const std::vector<std::string>& confs)
{
    std::string json = "{\n  \"result\" : [";
    for (std::size_t i = 0; i < confs.size(); ++i) {
        json += (i ? ", {" : "{");
        json += "\n      \"conf\" : " + confs[i] + ",\n      \"end\" : 1.0,\n      \"start\" : 0.5,\n"
                "      \"word\" : \"w\"\n    }";
    }
    json += "],\n  \"text\" : \"" + text + "\"\n}";
    return json;
}

}  // namespace

class EngineResults : public testing::Test {
protected:
    void SetUp() override { FakeVosk::reset(); }
    std::string toString(const std::string& json) { return EngineTestAccess::jsonToString(engine, json); }
    bool confident(const std::string& json, Engine::RecognitionMode mode)
    {
        return EngineTestAccess::isConfident(engine, json, mode);
    }
    LogCapture log;
    Engine engine;
};

// --- jsonToString -----------------------------------------------------------

TEST_F(EngineResults, PartialResultGivesItsPartialWords)
{
    EXPECT_EQ(toString("{\n  \"partial\" : \"open fi\"\n}"), "open fi");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineResults, FinalResultGivesItsText)
{
    EXPECT_EQ(toString(finalResult("open file", {"1.000000", "0.95"})), "open file");
    EXPECT_EQ(toString("{\"text\" : \"\"}"), "");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineResults, PartialWinsOverText)
{
    EXPECT_EQ(toString("{\"text\" : \"b\", \"partial\" : \"a\"}"), "a");
}

TEST_F(EngineResults, ObjectWithoutEitherMemberComesBackUnchanged)
{
    const std::string json = "{ \"alternatives\" : [] }";
    EXPECT_EQ(toString(json), json);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineResults, PlainTextIsLoggedAndReturned)
{
    EXPECT_EQ(toString("hello"), "hello");
    EXPECT_EQ(log.lines(), Strings{"KSR Error: Engine: given data is not in JSON format\n"});
}

TEST_F(EngineResults, RootThatIsNotAnObjectIsNotJsonForTheEngine)
{
    EXPECT_EQ(toString("[\"a\"]"), "[\"a\"]");
    EXPECT_EQ(toString(""), "");
    EXPECT_EQ(log.errors(), (Strings{"Engine: given data is not in JSON format",
                                     "Engine: given data is not in JSON format"}));
}

TEST_F(EngineResults, MemberThatIsNotAStringReadsEmpty)
{
    EXPECT_EQ(toString("{\"partial\" : 5}"), "");
    EXPECT_EQ(toString("{\"text\" : null}"), "");
    EXPECT_TRUE(log.lines().empty());
}

// --- isConfident ------------------------------------------------------------

TEST_F(EngineResults, PartialResultIsNeverConfidentAndNotLogged)
{
    EXPECT_FALSE(confident("{\n  \"partial\" : \"open file\"\n}", Engine::Command));
    EXPECT_FALSE(confident("{\n  \"partial\" : \"open file\"\n}", Engine::Dictation));
    EXPECT_FALSE(confident("{\"text\" : \"\"}", Engine::Dictation));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineResults, UnknownWordIsNeverConfident)
{
    engine.setCommandConfidenceThreshold(0);
    engine.setDictationConfidenceThreshold(0);
    EXPECT_FALSE(confident(finalResult("[unk] file", {"1.0", "1.0"}), Engine::Command));
    EXPECT_FALSE(confident(finalResult("[unk] file", {"1.0", "1.0"}), Engine::Dictation));
    // Found anywhere in the text, also only among the words.
    const std::string wordOnly = "{\"result\" : [{\"conf\" : 1.0, \"word\" : \"[unk]\"}], \"text\" : \"file\"}";
    EXPECT_FALSE(confident(wordOnly, Engine::Command));
    EXPECT_FALSE(confident(wordOnly, Engine::Dictation));
}

TEST_F(EngineResults, EveryWordMustReachTheCommandThreshold)
{
    const std::string json = finalResult("open the file", {"1.0", "1.0", "0.89"});
    EXPECT_FALSE(confident(json, Engine::Command));  // minimum 89 < 90, average 96
    EXPECT_TRUE(confident(json, Engine::Dictation));
    engine.setCommandConfidenceThreshold(89);
    EXPECT_TRUE(confident(json, Engine::Command));
    engine.setCommandConfidenceThreshold(96);
    engine.setDictationConfidenceThreshold(96);
    EXPECT_FALSE(confident(json, Engine::Command));
    EXPECT_TRUE(confident(json, Engine::Dictation));
    engine.setDictationConfidenceThreshold(97);
    EXPECT_FALSE(confident(json, Engine::Dictation));
}

TEST_F(EngineResults, WorkedExampleTruncatesTheSinglePrecisionAverage)
{
    const std::string json = finalResult("open file", {"0.95", "0.85"});
    // Defaults: minimum 85 fails the command threshold 90; average 89 passes 80.
    EXPECT_FALSE(confident(json, Engine::Command));
    EXPECT_TRUE(confident(json, Engine::Dictation));
    // The average is 89, not 90.
    engine.setDictationConfidenceThreshold(89);
    EXPECT_TRUE(confident(json, Engine::Dictation));
    engine.setDictationConfidenceThreshold(90);
    EXPECT_FALSE(confident(json, Engine::Dictation));
    // The minimum is 85.
    engine.setCommandConfidenceThreshold(85);
    EXPECT_TRUE(confident(json, Engine::Command));
    engine.setCommandConfidenceThreshold(86);
    EXPECT_FALSE(confident(json, Engine::Command));
}

TEST_F(EngineResults, SingleCertainWordGivesOneHundred)
{
    const std::string json = finalResult("north", {"1.000000"});
    engine.setCommandConfidenceThreshold(100);
    engine.setDictationConfidenceThreshold(100);
    EXPECT_TRUE(confident(json, Engine::Command));
    EXPECT_TRUE(confident(json, Engine::Dictation));
    engine.setCommandConfidenceThreshold(101);
    engine.setDictationConfidenceThreshold(101);
    EXPECT_FALSE(confident(json, Engine::Command));
    EXPECT_FALSE(confident(json, Engine::Dictation));
}

TEST_F(EngineResults, MinimumNeverRisesAboveOneHundred)
{
    const std::string json = finalResult("north", {"1.5"});
    engine.setCommandConfidenceThreshold(101);
    engine.setDictationConfidenceThreshold(101);
    EXPECT_FALSE(confident(json, Engine::Command));  // minimum stays 100
    EXPECT_TRUE(confident(json, Engine::Dictation));  // average 150
}

TEST_F(EngineResults, ThresholdZeroAcceptsEveryFinalResultWithWords)
{
    engine.setCommandConfidenceThreshold(0);
    EXPECT_TRUE(confident(finalResult("open file", {"0.0", "0.01"}), Engine::Command));
    EXPECT_TRUE(confident(finalResult("open", {"0.3"}), Engine::Command));
    // A word without "conf" still counts.
    EXPECT_TRUE(confident("{\"result\" : [{\"word\" : \"open\"}], \"text\" : \"open\"}", Engine::Command));
    // No words: the average of none is not a number, never confident.
    EXPECT_FALSE(confident("{\"result\" : [], \"text\" : \"\"}", Engine::Command));
    engine.setDictationConfidenceThreshold(0);
    EXPECT_FALSE(confident("{\"result\" : [], \"text\" : \"\"}", Engine::Dictation));
}

TEST_F(EngineResults, WordsWithoutConfidenceLowerTheAverage)
{
    // Sum 1.0 over two words: average 50.
    const std::string json = "{\"result\" : [{\"conf\" : 1.0}, {\"word\" : \"x\"}], \"text\" : \"a b\"}";
    engine.setDictationConfidenceThreshold(50);
    EXPECT_TRUE(confident(json, Engine::Dictation));
    engine.setDictationConfidenceThreshold(51);
    EXPECT_FALSE(confident(json, Engine::Dictation));
}

TEST_F(EngineResults, AnyModeOtherThanCommandUsesTheDictationRule)
{
    const std::string json = finalResult("open file", {"0.95", "0.85"});
    EXPECT_TRUE(confident(json, static_cast<Engine::RecognitionMode>(7)));
}

TEST_F(EngineResults, TextThatIsNotJsonIsLoggedAndNotConfident)
{
    EXPECT_FALSE(confident("open file", Engine::Dictation));
    EXPECT_EQ(log.lines(), Strings{"KSR Error: Engine: given data is not in JSON format\n"});
}

TEST_F(EngineResults, UnreadableConfidenceCountsAsZero)
{
    const std::string json = "{\"result\" : [{\"conf\" : \"high\"}], \"text\" : \"open\"}";
    EXPECT_FALSE(confident(json, Engine::Dictation));
    engine.setDictationConfidenceThreshold(0);
    EXPECT_TRUE(confident(json, Engine::Dictation));
}

// --- resultToCommand --------------------------------------------------------

class ResultToCommand : public EngineResults {
protected:
    void SetUp() override
    {
        EngineResults::SetUp();
        engine.setLiteralKeyword("literal");
        engine.setCommandsList({"open file", "close"});
        EngineTestAccess::createCommandsPhrases(engine);
        EngineTestAccess::setCommandsChanged(engine, false);
    }
    std::string command(const std::string& json) { return EngineTestAccess::resultToCommand(engine, json); }
};

TEST_F(ResultToCommand, ExactPhraseIsTheCommand)
{
    EXPECT_EQ(command(finalResult("open file", {"1.0", "1.0"})), "open file");
    EXPECT_EQ(command("{\"partial\" : \"close\"}"), "close");
    // Phrases added by the build count as well.
    EXPECT_EQ(command("{\"text\" : \"literal open file\"}"), "literal open file");
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(log.quietCount(), 0U);
}

TEST_F(ResultToCommand, AnythingElseIsNoCommand)
{
    EXPECT_EQ(command("{\"partial\" : \"open\"}"), "");
    EXPECT_EQ(command("{\"text\" : \"[unk]\"}"), "");
    EXPECT_EQ(command("{\"text\" : \"Open file\"}"), "");
    EXPECT_EQ(command("{\"text\" : \"open file \"}"), "");
    EXPECT_EQ(command("{\"partial\" : \"\"}"), "");
    EXPECT_EQ(command(""), "");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResultToCommand, NothingWhileTheGrammarIsBeingRebuilt)
{
    EngineTestAccess::setCommandsChanged(engine, true);
    EXPECT_EQ(command(finalResult("open file", {"1.0", "1.0"})), "");
}

TEST_F(ResultToCommand, EmptyListIsAnOrdinaryLogLine)
{
    Engine empty;
    EXPECT_EQ(EngineTestAccess::resultToCommand(empty, "{\"text\" : \"open file\"}"), "");
    EXPECT_EQ(log.logs(), Strings{"Engine: commands list is empty"});
    EXPECT_TRUE(log.lines().empty());
    // An empty result is refused before the list is looked at.
    EXPECT_EQ(EngineTestAccess::resultToCommand(empty, ""), "");
    EXPECT_EQ(log.logs().size(), 1U);
}

TEST_F(ResultToCommand, TextThatIsNotJsonIsLoggedAndMatchedAsIs)
{
    EXPECT_EQ(command("close"), "close");
    EXPECT_EQ(log.errors(), Strings{"Engine: given data is not in JSON format"});
}

// --- resultToSpelling -------------------------------------------------------

TEST_F(EngineResults, SpelledLettersStaySeparated)
{
    EXPECT_EQ(EngineTestAccess::resultToSpelling(engine, finalResult("a b c", {"1.0", "1.0", "1.0"})), "a b c");
}

TEST_F(EngineResults, SpellingWithUnknownWordOrEmptyGivesNothing)
{
    EXPECT_EQ(EngineTestAccess::resultToSpelling(engine, finalResult("a [unk] c", {"1.0", "1.0", "1.0"})), "");
    EXPECT_EQ(EngineTestAccess::resultToSpelling(engine, ""), "");
    EXPECT_TRUE(log.lines().empty());
}
