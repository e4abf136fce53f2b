// Vosk::Engine::processAudio and the switches against the libvosk test
// double: what each chunk feeds, reads, delivers, flushes and frees, in
// order. The registered functions write their calls into the double's call
// log, so one list shows library calls and deliveries as they happened.
#include <gtest/gtest.h>

#include "engine_test_access.h"
#include "fake_vosk.h"
#include "log_capture.h"
#include "vosk_engine.h"

using FakeVosk::Kind;
using Vosk::Engine;
using Vosk::EngineTestAccess;
using Strings = std::vector<std::string>;

namespace {

std::string partial(const std::string& text) { return "{\n  \"partial\" : \"" + text + "\"\n}"; }

std::string final(const std::string& text, const std::vector<std::string>& confs)
{
    std::string json = "{\n  \"result\" : [";
    for (std::size_t i = 0; i < confs.size(); ++i)
        json += std::string(i ? ", " : "") + "{\n      \"conf\" : " + confs[i] + ",\n      \"word\" : \"w\"\n    }";
    return json + "],\n  \"text\" : \"" + text + "\"\n}";
}

std::string sure(const std::string& text)
{
    std::vector<std::string> confs;
    for (char c : text + " ")
        if (c == ' ')
            confs.push_back("1.000000");
    return final(text, confs);
}

void note(const std::string& entry)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::state().calls.push_back(entry);
}

void clearCalls()
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::state().calls.clear();
}

const std::string kPhrases =
    "[\"[unk]\",\"open file\",\"close\",\"literal open file\",\"literal close\",\"literal literal\","
    "\"force Smith\"]";

const std::string kGoBackPhrases =
    "[\"[unk]\",\"go back\",\"literal go back\",\"literal literal\",\"force Smith\"]";

}  // namespace

class EngineAudio : public testing::Test {
protected:
    void SetUp() override
    {
        FakeVosk::reset();
        chunk.assign(3200, '\0');
    }

    // Initialized, keywords and forced word set, the example list, active,
    // both functions registered, and the chunks that a fresh grammar and a
    // mode switch drop already processed: no command recognizer is left.
    void ready(bool dictation = false, bool spelling = false)
    {
        ASSERT_TRUE(engine.initialize("/model"));
        engine.setLiteralKeyword("literal");
        engine.setForcedWordsKeyword("force");
        engine.setForcedWordsList({"Smith"});
        engine.setCommandsList({"open file", "close"});
        ASSERT_TRUE(engine.setActivated(true));
        registerFunctions();
        if (dictation)
            engine.setDictationModeEnabled(true);
        if (spelling)
            engine.setSpellingEnabled(true);
        feed();  // drops the chunk and clears the grammar mark
        if (dictation || spelling)
            feed();  // flushes the mode switch
        ASSERT_FALSE(EngineTestAccess::commandsChanged(engine));
        ASSERT_FALSE(EngineTestAccess::modeChanged(engine));
        clearCalls();
    }

    void registerFunctions()
    {
        engine.setCommandRecognizedFunction([this](const std::string& command, KSR::RecognitionState state) {
            note("command:" + command + ":" + std::to_string(state));
            if (onCommand)
                onCommand(command, state);
        });
        engine.setDictationRecognizedFunction([this](std::string& text, KSR::RecognitionState state) {
            note("dictation:" + text + ":" + std::to_string(state));
            if (onDictation)
                onDictation(text, state);
        });
    }

    void feed() { engine.processAudio(chunk.data(), static_cast<int>(chunk.size())); }

    LogCapture log;
    Engine engine;
    std::vector<char> chunk;
    std::function<void(const std::string&, KSR::RecognitionState)> onCommand;
    std::function<void(std::string&, KSR::RecognitionState)> onDictation;
};

// --- when nothing is processed ----------------------------------------------

TEST_F(EngineAudio, DeactivatedEngineDeliversNothingAndCreatesNoRecognizer)
{
    ASSERT_TRUE(engine.initialize("/model"));
    engine.setLiteralKeyword("literal");
    engine.setCommandsList({"open file"});
    registerFunctions();
    engine.setDictationModeEnabled(true);
    clearCalls();
    FakeVosk::pushStep(Kind::Command, 1, sure("open file"));
    feed();
    feed();
    EXPECT_TRUE(FakeVosk::calls().empty());
    EXPECT_EQ(FakeVosk::created(Kind::Command), 0);
    // Still marked: the chunks were dropped before the grammar stage.
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
}

TEST_F(EngineAudio, SwitchedOffEngineDropsChunks)
{
    ready(true);
    EXPECT_TRUE(engine.setActivated(false));
    FakeVosk::pushStep(Kind::Command, 1, sure("open file"));
    feed();
    EXPECT_TRUE(FakeVosk::calls().empty());
}

TEST_F(EngineAudio, UninitializedEngineDropsChunks)
{
    registerFunctions();
    feed();
    EXPECT_TRUE(FakeVosk::calls().empty());
}

TEST_F(EngineAudio, NullOrEmptyChunkIsDropped)
{
    ready(true);
    engine.processAudio(nullptr, 3200);
    engine.processAudio(chunk.data(), 0);
    engine.processAudio(chunk.data(), -2);
    EXPECT_TRUE(FakeVosk::calls().empty());
}

TEST_F(EngineAudio, AnyNonZeroLengthIsFedUnchanged)
{
    ready();
    engine.processAudio(chunk.data(), 7);
    EXPECT_EQ(FakeVosk::state().bytesFed[static_cast<int>(Kind::Command)], 3200 + 7);
}

// --- the first chunk of a new grammar ---------------------------------------

TEST_F(EngineAudio, FirstChunkAfterActivationBuildsFeedsAndDropsTheRecognizer)
{
    ASSERT_TRUE(engine.initialize("/model"));
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force");
    engine.setForcedWordsList({"Smith"});
    engine.setCommandsList({"open file", "close"});
    ASSERT_TRUE(engine.setActivated(true));
    registerFunctions();
    engine.setDictationModeEnabled(true);
    clearCalls();
    FakeVosk::pushStep(Kind::Command, 1, sure("open file"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "result:Command", "free:Command"}));
    EXPECT_EQ(FakeVosk::grammars().back(), kPhrases);
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
    // The mode switch is still pending: the command stage did not reach it.
    EXPECT_TRUE(EngineTestAccess::modeChanged(engine));
}

TEST_F(EngineAudio, FirstChunkAfterSetCommandsListGoesToTheOldRecognizerAndIsDropped)
{
    ready(true);
    FakeVosk::pushStep(Kind::Command, 0, partial("open"));
    feed();  // builds the recognizer of the current grammar
    clearCalls();
    engine.setCommandsList({"go back"});
    ASSERT_TRUE(engine.setActivated(true));
    FakeVosk::pushStep(Kind::Command, 1, sure("open file"));
    FakeVosk::pushStep(Kind::Dictation, 1, sure("open file"));
    feed();
    // Fed to the old recognizer, result dropped, recognizer freed, no dictation.
    EXPECT_EQ(FakeVosk::calls(), (Strings{"accept:Command", "result:Command", "free:Command"}));
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
    clearCalls();
    // The next chunk builds the new grammar and reaches dictation again.
    FakeVosk::pushStep(Kind::Command, 0, partial("go back"));
    feed();
    EXPECT_EQ(FakeVosk::grammars().back(), kGoBackPhrases);
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "command:go back:1", "accept:Dictation",
                       "result:Dictation", "dictation:open file:2", "final:Dictation"}));
}

TEST_F(EngineAudio, ChangeWithoutRebuildDropsOneChunkAndRebuildsTheOldPhrases)
{
    ready();
    feed();
    clearCalls();
    engine.setLiteralKeyword("verbatim");
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"accept:Command", "partial:Command", "free:Command"}));
    clearCalls();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command"}));
    EXPECT_EQ(FakeVosk::grammars().back(), kPhrases);
    // The keyword change alone is not built (no list replaced since).
    EXPECT_TRUE(engine.setActivated(true));
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine), kPhrases);
}

TEST_F(EngineAudio, ListReplacedOnAnotherThreadBeforeActivationIsNotLost)
{
    ready();
    feed();
    // setCommandsList, then a chunk clears the mark, then setActivated(true).
    engine.setCommandsList({"go back"});
    feed();
    feed();  // a recognizer of the old phrases
    ASSERT_TRUE(engine.setActivated(true));
    clearCalls();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"accept:Command", "partial:Command", "free:Command"}));
    feed();
    EXPECT_EQ(FakeVosk::grammars().back(), kGoBackPhrases);
}

// --- command stage: states ----------------------------------------------------

TEST_F(EngineAudio, PartialCommandIsDeliveredWithStateOneAndTheRecognizerKept)
{
    ready();
    FakeVosk::pushStep(Kind::Command, 0, partial("open file"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command", "command:open file:1"}));
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineAudio, ConfidentFinalCommandIsDeliveredFlushedAndTheRecognizerFreed)
{
    ready();
    FakeVosk::pushStep(Kind::Command, 1, sure("open file"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "result:Command", "command:open file:2",
                                          "final:Command", "free:Command"}));
    EXPECT_FALSE(EngineTestAccess::hasCommandRecognizer(engine));
}

TEST_F(EngineAudio, WeakFinalCommandIsDeliveredWithStateZeroWithoutFlush)
{
    ready();
    FakeVosk::pushStep(Kind::Command, 1, final("open file", {"0.95", "0.85"}));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "result:Command", "command:open file:0", "free:Command"}));
}

TEST_F(EngineAudio, TextOutsideTheListDeliversNothingAndKeepsTheRecognizer)
{
    ready();
    FakeVosk::pushStep(Kind::Command, 0, partial("open"));
    FakeVosk::pushStep(Kind::Command, 1, final("[unk]", {"1.0"}));
    FakeVosk::pushStep(Kind::Command, 1, sure("open window"));
    feed();
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command", "accept:Command",
                                          "result:Command", "accept:Command", "result:Command"}));
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_EQ(FakeVosk::created(Kind::Command), 2);  // the dropped first chunk's and this one
}

TEST_F(EngineAudio, DeliveredFinalResultMakesTheNextChunkBuildAFreshRecognizer)
{
    ready();
    FakeVosk::pushStep(Kind::Command, 1, sure("close"));
    feed();
    ASSERT_FALSE(EngineTestAccess::hasCommandRecognizer(engine));
    engine.setCommandConfidenceThreshold(95);  // not a grammar input
    feed();
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_EQ(FakeVosk::created(Kind::Command), 3);
    EXPECT_EQ(FakeVosk::grammars().back(), kPhrases);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 1);
}

TEST_F(EngineAudio, EmptyCommandFunctionKeepsTheRecognizer)
{
    ready();
    engine.setCommandRecognizedFunction(nullptr);
    FakeVosk::pushStep(Kind::Command, 1, sure("close"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "result:Command"}));
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
}

// --- command stage: keyword text ----------------------------------------------

TEST_F(EngineAudio, LiteralPhraseReachesTheDictationFunctionInEachState)
{
    ready();  // dictation mode off
    FakeVosk::pushStep(Kind::Command, 0, partial("literal open file"));
    FakeVosk::pushStep(Kind::Command, 1, final("literal close", {"0.95", "0.85"}));
    FakeVosk::pushStep(Kind::Command, 1, sure("literal literal"));
    feed();
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "dictation:open file:1",
                       "accept:Command", "result:Command", "dictation:close:0", "free:Command",
                       "new:Command", "accept:Command", "result:Command", "dictation:literal:2", "final:Command",
                       "free:Command"}));
}

TEST_F(EngineAudio, ForcedWordReachesTheDictationFunction)
{
    ready();
    FakeVosk::pushStep(Kind::Command, 1, sure("force Smith"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "result:Command", "dictation:Smith:2",
                                          "final:Command", "free:Command"}));
}

TEST_F(EngineAudio, KeywordTextWithoutDictationFunctionIsNotDelivered)
{
    ready();
    engine.setDictationRecognizedFunction(nullptr);
    FakeVosk::pushStep(Kind::Command, 1, sure("literal close"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "result:Command"}));
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
}

TEST_F(EngineAudio, DictationFunctionMayEditTheEnginesText)
{
    ready(true);
    std::string seen;
    onDictation = [&seen](std::string& text, KSR::RecognitionState) {
        text += " (edited)";
        seen = text;
    };
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello"));
    feed();
    EXPECT_EQ(seen, "hello (edited)");
}

// --- dictation stage ------------------------------------------------------------

TEST_F(EngineAudio, DictationStatesOneTwoAndZero)
{
    ready(true);
    FakeVosk::pushStep(Kind::Dictation, 0, partial("hello wor"));
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello world"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("hello world", {"0.5", "0.6"}));
    FakeVosk::pushStep(Kind::Dictation, 0, partial(""));
    feed();
    feed();
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "accept:Dictation", "partial:Dictation",
                       "dictation:hello wor:1", "accept:Command", "partial:Command", "accept:Dictation",
                       "result:Dictation", "dictation:hello world:2", "final:Dictation", "accept:Command",
                       "partial:Command", "accept:Dictation", "result:Dictation", "dictation:hello world:0",
                       "accept:Command", "partial:Command", "accept:Dictation", "partial:Dictation"}));
}

TEST_F(EngineAudio, WorkedExampleIsAWeakCommandButConfidentDictation)
{
    ready(true);
    FakeVosk::pushStep(Kind::Command, 1, final("open file", {"0.95", "0.85"}));
    FakeVosk::pushStep(Kind::Dictation, 1, final("open file", {"0.95", "0.85"}));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "result:Command", "command:open file:0", "free:Command",
                       "accept:Dictation", "result:Dictation", "dictation:open file:2", "final:Dictation"}));
}

TEST_F(EngineAudio, ConfidentCommandFlushesDictationInTheSameChunk)
{
    ready(true);
    FakeVosk::pushStep(Kind::Command, 1, sure("open file"));
    FakeVosk::pushStep(Kind::Dictation, 1, sure("open file"));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "result:Command", "command:open file:2", "final:Command",
                       "free:Command", "accept:Dictation", "result:Dictation", "final:Dictation"}));
}

TEST_F(EngineAudio, ConfidentLiteralTextAlsoFlushesDictation)
{
    ready(true);
    FakeVosk::pushStep(Kind::Command, 1, sure("literal close"));
    FakeVosk::pushStep(Kind::Dictation, 0, partial("literal clo"));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "result:Command", "dictation:close:2", "final:Command",
                       "free:Command", "accept:Dictation", "partial:Dictation", "final:Dictation"}));
}

TEST_F(EngineAudio, PartialOrWeakCommandDoesNotFlushDictation)
{
    ready(true);
    FakeVosk::pushStep(Kind::Command, 0, partial("close"));
    FakeVosk::pushStep(Kind::Dictation, 0, partial("close"));
    FakeVosk::pushStep(Kind::Command, 1, final("close", {"0.5"}));
    FakeVosk::pushStep(Kind::Dictation, 1, sure("close"));
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "command:close:1", "accept:Dictation",
                       "partial:Dictation", "dictation:close:1", "accept:Command", "result:Command",
                       "command:close:0", "free:Command", "accept:Dictation", "result:Dictation",
                       "dictation:close:2", "final:Dictation"}));
}

TEST_F(EngineAudio, DictationNeedsItsModeAndItsFunction)
{
    ready(true);
    engine.setDictationRecognizedFunction(nullptr);
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command"}));
}

// --- spelling stage -------------------------------------------------------------

TEST_F(EngineAudio, SpellingDeliversOnlyFinalLetters)
{
    ready(true, true);
    FakeVosk::pushStep(Kind::Spelling, 0, partial("c a"));
    FakeVosk::pushStep(Kind::Spelling, 1, sure("c a t"));
    FakeVosk::pushStep(Kind::Spelling, 1, final("c a t", {"0.5", "0.5", "0.6"}));
    feed();
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "accept:Spelling", "accept:Command",
                       "partial:Command", "accept:Spelling", "result:Spelling", "dictation:c a t:2",
                       "final:Spelling", "accept:Command", "partial:Command", "accept:Spelling", "result:Spelling",
                       "dictation:c a t:0"}));
    EXPECT_EQ(FakeVosk::state().bytesFed[static_cast<int>(Kind::Dictation)], 0);
}

TEST_F(EngineAudio, SpelledLettersWithUnknownWordDeliverNothing)
{
    ready(true, true);
    FakeVosk::pushStep(Kind::Spelling, 1, sure("c [unk] t"));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "accept:Spelling", "result:Spelling"}));
}

TEST_F(EngineAudio, ConfidentCommandFlushesSpelling)
{
    ready(true, true);
    FakeVosk::pushStep(Kind::Command, 1, sure("close"));
    FakeVosk::pushStep(Kind::Spelling, 1, sure("c"));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "result:Command", "command:close:2", "final:Command",
                       "free:Command", "accept:Spelling", "result:Spelling", "final:Spelling"}));
}

// --- mode switches ---------------------------------------------------------------

TEST_F(EngineAudio, ModeSwitchIsFlushedOnceByTheCommandStage)
{
    ready(true);
    FakeVosk::pushStep(Kind::Command, 0, partial("clo"));
    feed();
    clearCalls();
    engine.setSpellingEnabled(true);
    FakeVosk::pushStep(Kind::Command, 0, partial("close"));
    FakeVosk::pushStep(Kind::Spelling, 1, sure("c"));
    feed();
    // The partial is not delivered; the spelling recognizer is not flushed.
    EXPECT_EQ(FakeVosk::calls(), (Strings{"accept:Command", "partial:Command", "final:Command", "free:Command",
                                          "accept:Spelling", "result:Spelling", "dictation:c:2", "final:Spelling"}));
    EXPECT_FALSE(EngineTestAccess::modeChanged(engine));
    clearCalls();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command", "accept:Spelling"}));
}

TEST_F(EngineAudio, WithoutCommandRecognizerTheDictationStageFlushesTheModeSwitch)
{
    ready(true);
    FakeVosk::state().commandNewFails = true;
    engine.setDictationModeEnabled(true);
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Dictation", "result:Dictation", "final:Dictation"}));
    EXPECT_FALSE(EngineTestAccess::modeChanged(engine));
    clearCalls();
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Dictation", "result:Dictation",
                                          "dictation:hello:2", "final:Dictation"}));
}

TEST_F(EngineAudio, WithoutCommandRecognizerTheSpellingStageFlushesOnItsNextFinalResult)
{
    ready(true, true);
    FakeVosk::state().commandNewFails = true;
    engine.setSpellingEnabled(true);
    FakeVosk::pushStep(Kind::Spelling, 0, partial("c"));
    FakeVosk::pushStep(Kind::Spelling, 1, sure("c"));
    feed();
    // No final result yet: the switch stays pending.
    EXPECT_TRUE(EngineTestAccess::modeChanged(engine));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Spelling", "new:Command", "accept:Spelling",
                                          "result:Spelling", "final:Spelling"}));
    EXPECT_FALSE(EngineTestAccess::modeChanged(engine));
}

// --- invalid command recognizer ---------------------------------------------------

TEST_F(EngineAudio, RefusedCommandRecognizerIsTriedOnEveryChunkWhileDictationRuns)
{
    FakeVosk::state().commandNewFails = true;
    ready(true);
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello"));
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Dictation", "result:Dictation", "dictation:hello:2",
                                          "final:Dictation", "new:Command", "accept:Dictation", "partial:Dictation"}));
    EXPECT_FALSE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineAudio, EmptyPhraseListIsNotHandedToTheLibrary)
{
    ready(true);
    engine.setCommandsList({});
    EXPECT_FALSE(engine.setActivated(true));
    ASSERT_TRUE(engine.isActivated());
    feed();  // the grammar change drops one chunk
    clearCalls();
    FakeVosk::pushStep(Kind::Dictation, 1, sure("hello"));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"accept:Dictation", "result:Dictation", "dictation:hello:2", "final:Dictation"}));
}

// --- re-entrance -------------------------------------------------------------------

TEST_F(EngineAudio, CommandFunctionMayReplaceTheGrammarFromInside)
{
    ready(true);
    // As an activation key does: a new list and reactivation from the callback.
    onCommand = [this](const std::string& command, KSR::RecognitionState state) {
        if (command == "close" && state == KSR::Recognized) {
            engine.setCommandsList({"go back"});
            engine.setActivated(true);
        }
    };
    FakeVosk::pushStep(Kind::Command, 1, sure("close"));
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "result:Command", "command:close:2",
                                          "final:Command", "free:Command"}));
    EXPECT_FALSE(EngineTestAccess::commandsChanged(engine));
    clearCalls();
    FakeVosk::pushStep(Kind::Command, 0, partial("go back"));
    feed();
    EXPECT_EQ(FakeVosk::grammars().back(), kGoBackPhrases);
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command", "command:go back:1",
                                          "accept:Dictation", "partial:Dictation"}));
}

TEST_F(EngineAudio, GrammarChangeDuringAPartialDeliveryFreesTheRecognizer)
{
    ready(true);
    onCommand = [this](const std::string&, KSR::RecognitionState) { engine.setCommandsList({"go back"}); };
    FakeVosk::pushStep(Kind::Command, 0, partial("close"));
    feed();
    EXPECT_EQ(FakeVosk::calls(),
              (Strings{"new:Command", "accept:Command", "partial:Command", "command:close:1", "free:Command"}));
    EXPECT_FALSE(EngineTestAccess::hasCommandRecognizer(engine));
}

TEST_F(EngineAudio, FunctionsMayBeReplacedFromInsideThemselves)
{
    ready();
    onCommand = [this](const std::string&, KSR::RecognitionState) {
        engine.setCommandRecognizedFunction(nullptr);
        engine.setDictationRecognizedFunction(nullptr);
    };
    FakeVosk::pushStep(Kind::Command, 0, partial("close"));
    FakeVosk::pushStep(Kind::Command, 0, partial("close"));
    feed();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"new:Command", "accept:Command", "partial:Command", "command:close:1",
                                          "accept:Command", "partial:Command"}));
}

// --- initialize again and the end of capture -------------------------------------

TEST_F(EngineAudio, SecondInitializeLeavesTheCommandRecognizerToTheNextChunk)
{
    ready();
    feed();
    ASSERT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
    ASSERT_TRUE(engine.initialize("/model"));
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_TRUE(EngineTestAccess::commandsChanged(engine));
    clearCalls();
    feed();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"accept:Command", "partial:Command", "free:Command"}));
}

TEST_F(EngineAudio, FinalAudioFlushesEveryRecognizerInOrderAndDeliversNothing)
{
    ready(true);
    feed();
    clearCalls();
    FakeVosk::pushFinal(Kind::Command, sure("close"));
    FakeVosk::pushFinal(Kind::Dictation, sure("hello"));
    engine.processFinalAudio();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"final:Command", "final:Dictation", "final:Spelling"}));
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
}

TEST_F(EngineAudio, FinalAudioWithoutRecognizersDoesNothing)
{
    engine.processFinalAudio();
    EXPECT_TRUE(FakeVosk::calls().empty());
    ready();  // the dropped first chunk freed the command recognizer
    engine.processFinalAudio();
    EXPECT_EQ(FakeVosk::calls(), (Strings{"final:Dictation", "final:Spelling"}));
    EXPECT_TRUE(log.lines().empty());
}
