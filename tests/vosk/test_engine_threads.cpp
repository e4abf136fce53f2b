// Vosk::Engine across threads: one thread feeds audio in a loop while
// another changes the command list, keywords, forced words, thresholds,
// modes, functions and activation thousands of times. The registered
// functions re-enter the engine as the manager's do (an activation key
// replaces the list and reactivates from inside the command function). Run
// under ThreadSanitizer: no race report, no crash, no deadlock.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <thread>

#include "watchdog.h"
#include "engine_test_access.h"
#include "fake_vosk.h"
#include "log_capture.h"
#include "vosk_engine.h"

using FakeVosk::Kind;
using FakeVosk::Step;
using Vosk::Engine;
using Vosk::EngineTestAccess;
using Strings = std::vector<std::string>;

namespace {

std::string partial(const std::string& text) { return "{\"partial\" : \"" + text + "\"}"; }

std::string sure(const std::string& text)
{
    std::string words;
    for (char c : text + " ")
        if (c == ' ')
            words += std::string(words.empty() ? "" : ",") + "{\"conf\" : 1.0}";
    return "{\"result\" : [" + words + "], \"text\" : \"" + text + "\"}";
}

std::string weak(const std::string& text) { return "{\"result\" : [{\"conf\" : 0.5}], \"text\" : \"" + text + "\"}"; }

const Strings kListA{"open file", "close", "north"};
const Strings kListB{"save file", "north", "go back", "zoom in"};

}  // namespace

class EngineThreads : public testing::Test {
protected:
    void SetUp() override
    {
        FakeVosk::reset();
        FakeVosk::state().recordCalls = false;
        FakeVosk::setCycle(Kind::Command, {Step{0, partial("open file")}, Step{1, sure("open file")},
                                           Step{0, partial("literal close")}, Step{1, sure("literal close")},
                                           Step{1, sure("north")}, Step{1, weak("close")},
                                           Step{1, sure("force Smith")}, Step{0, partial("")}});
        FakeVosk::setCycle(Kind::Dictation, {Step{0, partial("hello")}, Step{1, sure("hello world")},
                                             Step{1, weak("hello")}});
        FakeVosk::setCycle(Kind::Spelling, {Step{0, partial("c")}, Step{1, sure("c a t")}, Step{1, sure("[unk]")}});

        ASSERT_TRUE(engine.initialize("/model"));
        engine.setLiteralKeyword("literal");
        engine.setForcedWordsKeyword("force");
        engine.setForcedWordsList({"Smith"});
        engine.setCommandsList(kListA);
        ASSERT_TRUE(engine.setActivated(true));
        engine.setDictationModeEnabled(true);
    }

    // The manager's shape of callbacks: an activation key rebuilds the
    // grammar from inside the command function; the dictation function edits
    // its text and reads the engine's state.
    void registerReentrantFunctions()
    {
        engine.setCommandRecognizedFunction([this](const std::string& command, KSR::RecognitionState state) {
            ++commands;
            if (command == "north" && state == KSR::Recognized) {
                engine.setCommandsList(keyToggle++ % 2 ? kListA : kListB);
                engine.setActivated(true);
            }
        });
        engine.setDictationRecognizedFunction([this](std::string& text, KSR::RecognitionState) {
            ++dictated;
            text += engine.spellingEnabled() ? "" : ".";
        });
    }

    // Feeds chunks until `stop`, then 200 more with nobody else touching the
    // engine.
    void feedUntil(const std::atomic<bool>& stop)
    {
        const std::vector<char> chunk(320, '\0');
        const auto feedOne = [&] {
            engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
            if (++fed % 97 == 0)
                engine.processFinalAudio();
        };
        while (!stop)
            feedOne();
        for (int i = 0; i < 200; ++i)
            feedOne();
    }

    LogCapture log;
    Engine engine;
    std::atomic<long> commands{0};
    std::atomic<long> dictated{0};
    std::atomic<long> fed{0};
    int keyToggle = 0;  // worker thread only
};

TEST_F(EngineThreads, HostChangesEveryInputWhileTheWorkerFeedsAudio)
{
    Watchdog watchdog(std::chrono::seconds(60), "engine threads");
    registerReentrantFunctions();
    std::atomic<bool> stop{false};
    std::thread worker([&] { feedUntil(stop); });

    // At least 4000 rounds, and on until the worker has fed 1000 chunks
    // meanwhile, so that the two really overlap.
    long rounds = 0;
    for (int i = 0; i < 4000 || fed < 1000; ++i, ++rounds) {
        // A grammar change drops the next chunk: not every round, so that
        // chunks also get through and deliver.
        if (i % 4 == 0) {
            engine.setCommandsList(i % 3 ? kListA : kListB);
            engine.setActivated(true);
        }
        switch (i % 8) {
        case 0: engine.setLiteralKeyword(i % 16 ? "literal" : "say literally"); break;
        case 1: engine.setForcedWordsKeyword(i % 16 ? "force" : ""); break;
        case 2: engine.setForcedWordsList(i % 16 ? Strings{"Smith", "Jones"} : Strings{}); break;
        case 3: engine.setDictationModeEnabled(i % 16 != 3); break;
        case 4: engine.setSpellingEnabled(i % 16 == 4); break;
        case 5: engine.setActivated(false); break;
        case 6:
            engine.setCommandConfidenceThreshold(80 + i % 20);
            engine.setDictationConfidenceThreshold(70 + i % 40);
            break;
        case 7: registerReentrantFunctions(); break;
        }
        engine.setActivated(true);
        // Readers on the host thread as well.
        (void)engine.isActivated();
        (void)engine.dictationModeEnabled();
        (void)engine.getCommandConfidenceThreshold();
        if (i % 10 == 0)
            std::this_thread::yield();
    }
    const long deliveredMeanwhile = commands + dictated;
    stop = true;
    worker.join();

    EXPECT_GE(rounds, 4000);
    EXPECT_GE(fed.load(), 1200);
    // Deliveries (and so re-entrant calls) happened while the host changed
    // the inputs, and went on afterwards.
    EXPECT_GT(deliveredMeanwhile, 0);
    EXPECT_GT(commands.load(), 0);
    EXPECT_GT(dictated.load(), 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineThreads, LastGrammarOfTheHostWinsOnceTheWorkerCatchesUp)
{
    Watchdog watchdog(std::chrono::seconds(60), "engine threads");
    // No re-entrant grammar changes here: only the host changes the list.
    engine.setCommandRecognizedFunction([this](const std::string&, KSR::RecognitionState) { ++commands; });
    engine.setDictationRecognizedFunction([this](std::string&, KSR::RecognitionState) { ++dictated; });
    std::atomic<bool> stop{false};
    std::thread worker([&] { feedUntil(stop); });
    for (int i = 0; i < 3000; ++i) {
        engine.setCommandsList(i % 2 ? kListA : kListB);
        engine.setActivated(true);
    }
    engine.setCommandsList({"zoom in"});
    engine.setActivated(true);
    stop = true;
    worker.join();

    // Whatever the interleaving, the phrases of the last list are built and
    // the next chunks run a recognizer made from them.
    const std::string expected = "[\"[unk]\",\"zoom in\",\"literal zoom in\",\"literal literal\",\"force Smith\"]";
    EXPECT_EQ(EngineTestAccess::commandsPhrases(engine), expected);
    FakeVosk::setCycle(Kind::Command, {Step{0, partial("zoom in")}});
    const std::vector<char> chunk(320, '\0');
    for (int i = 0; i < 3; ++i)
        engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
    EXPECT_EQ(FakeVosk::grammars().back(), expected);
    EXPECT_TRUE(EngineTestAccess::hasCommandRecognizer(engine));
    EXPECT_GT(commands.load(), 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineThreads, FunctionsAreReplacedWhileTheWorkerCallsThem)
{
    Watchdog watchdog(std::chrono::seconds(60), "engine threads");
    std::atomic<bool> stop{false};
    std::thread worker([&] { feedUntil(stop); });
    for (int i = 0; i < 5000; ++i) {
        // A function that owns state: a stale copy must stay callable.
        auto counter = std::make_shared<long>(0);
        engine.setCommandRecognizedFunction([this, counter](const std::string&, KSR::RecognitionState) {
            ++*counter;
            ++commands;
        });
        engine.setDictationRecognizedFunction(i % 2 ? KSR::DictationRecognizedFunction()
                                                    : [this, counter](std::string&, KSR::RecognitionState) {
                                                          ++*counter;
                                                          ++dictated;
                                                      });
        if (i % 100 == 0)
            std::this_thread::yield();
    }
    stop = true;
    worker.join();
    EXPECT_GT(commands.load(), 0);
    EXPECT_TRUE(log.lines().empty());
}
