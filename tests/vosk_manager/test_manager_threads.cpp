// KSR_VoskManager across threads: a recognition thread feeds scripted audio
// results through processAudio (commands, activation keys, formatting and
// mode phrases, literal phrases, dictated and spelled text), while the host
// thread adds and removes commands, switches grammars, rules, keys, modes and
// thresholds thousands of times and rebuilds the phrase list. Run under
// ThreadSanitizer: no race report, no crash, no deadlock, bounded in time.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include "common/spoken_number.h"
#include "watchdog.h"
#include "manager_fixture.h"

using FakeVosk::Kind;
using FakeVosk::Step;
using Clock = std::chrono::steady_clock;

namespace {

const std::chrono::milliseconds kBudget(2500);
const int kHostOperations = 4000;
const int kChunks = 20000;

}  // namespace

TEST_F(ManagerTest, HostChangesEverythingWhileAudioIsProcessed)
{
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().recordCalls = false;
    }
    FakeVosk::setCycle(Kind::Command, {Step{0, Json::partial("open")},
                                       Step{1, Json::sure("open file")},
                                       Step{1, Json::sure("north")},
                                       Step{0, Json::partial("south")},
                                       Step{1, Json::sure("south")},
                                       Step{1, Json::final("close window", {"0.95", "0.85"})},
                                       Step{1, Json::sure("add comma")},
                                       Step{1, Json::sure("start numerals")},
                                       Step{1, Json::sure("literal new line")},
                                       Step{1, Json::sure("start spelling")},
                                       Step{1, Json::sure("capitals on")},
                                       Step{1, Json::sure("stop spelling")},
                                       Step{1, Json::sure("save file")},
                                       Step{1, Json::sure("new line")}});
    FakeVosk::setCycle(Kind::Dictation, {Step{0, Json::partial("hello")}, Step{1, Json::sure("hello i think")},
                                         Step{1, Json::sure("two plus two")}});
    FakeVosk::setCycle(Kind::Spelling, {Step{1, Json::sure("a b c")}, Step{0, Json::partial("")}});

    initialize();
    std::atomic<int> modeCalls{0};
    std::atomic<int> activationCalls{0};
    // Host callbacks read manager state back, as host slots may.
    manager->setDictationActivatedFunction([&](bool) { ++modeCalls; manager->isDictationModeEnabled(); });
    manager->setSpellingActivatedFunction([&](bool) { ++modeCalls; manager->spellingModeEnabled(); });
    manager->setNumeralsActivatedFunction([&](bool) { ++modeCalls; manager->numeralModeEnabled(); });
    manager->setCapitalsActivatedFunction([&](bool) { ++modeCalls; manager->capitalsModeEnabled(); });
    manager->setGrammarActivationFunction([&](KSR::GrammarId id, bool) {
        ++activationCalls;
        manager->getActiveGrammars();
        (void)id;
    });

    const KSR::GrammarId dictation = manager->addDictationGrammar("");
    const KSR::GrammarId a = manager->addCommandGrammar("north");
    const KSR::GrammarId b = manager->addCommandGrammar("south");
    const KSR::RuleId ruleA = manager->addRule(a, "a");
    const KSR::RuleId ruleB = manager->addRule(b, "b");
    manager->addCommand(ruleA, "open file");
    manager->addCommand(ruleA, "close window");
    manager->addCommand(ruleB, "save file");
    manager->setActivated(dictation, true);
    manager->setActivated(a, true);
    manager->setActivated(b, true);
    manager->startRecognizing();
    const std::shared_ptr<KSR_VoskGrammar> heldByHost = manager->getGrammar(b);

    Watchdog watchdog(std::chrono::seconds(60), "manager threads");
    const Clock::time_point start = Clock::now();
    std::atomic<bool> hostDone{false};
    std::atomic<int> chunksFed{0};
    std::atomic<int> hostOperations{0};
    std::atomic<int> listening{0};

    std::thread recognition([&] {
        const std::string audio(3200, '\0');
        // At least kChunks, and on until the host is done, so that the two
        // overlap to the end.
        for (int i = 0; (i < kChunks || !hostDone) && Clock::now() - start < kBudget; ++i) {
            manager->processAudio(audio.data(), static_cast<int>(audio.size()));
            ++chunksFed;
            if (manager->engine()->isActivated())
                ++listening;
        }
    });

    std::thread host([&] {
        std::mt19937 random(12345);
        std::uniform_int_distribution<int> pick(0, 21);
        const std::vector<std::string> phrases = {"go back", "zoom in", "select all", "undo", "open file"};
        for (int i = 0; i < kHostOperations && Clock::now() - start < kBudget; ++i) {
            const std::string& phrase = phrases[static_cast<std::size_t>(i) % phrases.size()];
            const int op = pick(random);
            switch (op) {
            case 0: manager->addCommand(ruleA, phrase); break;
            case 1: manager->removeCommand(ruleA, static_cast<KSR::CommandId>(i % 6)); break;
            case 2: manager->setActivated(a, i % 2 == 0); break;
            case 3: manager->setActivated(b, i % 3 != 0); break;
            case 4: manager->setActivated(dictation, i % 4 != 0); break;
            case 5: manager->setRuleActivated(ruleB, i % 2 == 0); break;
            case 6: manager->setActivationKey(a, i % 2 ? "north" : "east"); break;
            case 7: manager->removeActivationKey(i % 2 ? "east" : "west"); break;
            case 8: manager->setSpellingModeEnabled(i % 2 == 0); break;
            case 9: manager->setNumeralModeEnabled(i % 3 == 0); break;
            case 10: manager->setCapitalsModeEnabled(i % 5 == 0); break;
            case 11: manager->setCommandRequiredConfidence(i % 101); break;
            case 12: manager->setDictationRequiredConfidence(i % 101); break;
            case 13: heldByHost->setRuleActivated(ruleB, i % 2 != 0); break;
            case 14: heldByHost->addCommand(ruleB, phrase, KSR::Normal); break;
            case 15: manager->startRecognizing(); break;
            case 16:
                manager->stopRecognizing();
                manager->startRecognizing();
                break;
            case 17: {
                // A grammar that comes and goes.
                const auto grammar = manager->createGrammar();
                manager->registerGrammar(grammar);
                manager->setActivationKey(grammar, "west");
                manager->unregisterGrammar(grammar);
                break;
            }
            case 18: manager->setActivationKey(b, i % 2 ? "south" : "SOUTH"); break;
            case 19: manager->setForcedWords({"smith"}); break;
            case 20:
                manager->getActiveGrammars();
                manager->isRuleActivated(ruleA);
                manager->getCommandRequiredConfidence();
                break;
            default: manager->phraseExists("open file"); break;
            }
            ++hostOperations;
            // A short pause lets the engine listen between restarts, so that
            // audio is really recognized while the host keeps changing things.
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        manager->startRecognizing();  // leave it listening
        hostDone = true;
    });

    host.join();
    recognition.join();

    std::cout << "host operations: " << hostOperations << ", audio chunks: " << chunksFed
              << ", reports: " << manager->reports().size() << ", mode callbacks: " << modeCalls
              << ", grammar activations: " << activationCalls << ", chunks heard while listening: " << listening << std::endl;
    EXPECT_GT(hostOperations.load(), 100);
    EXPECT_GT(chunksFed.load(), 100);
    EXPECT_GT(listening.load(), 0);
    EXPECT_GT(modeCalls.load(), 0);
    EXPECT_GT(activationCalls.load(), 0);
    // Every report names a grammar the manager made (or none, for failures).
    const std::vector<Report> reports = manager->reports();
    EXPECT_FALSE(reports.empty());
    int recognized = 0;
    for (const auto& report : reports) {
        if (report.kind == Report::Failure)
            continue;
        EXPECT_TRUE(report.data.grammarId >= 100 && report.data.grammarId < 100000) << report.data;
        if (report.kind == Report::Recognition)
            ++recognized;
    }
    EXPECT_GT(recognized, 0);
}

// Commands with arguments across threads: the recognition thread hears
// pattern commands, chains of them and hypotheses, while the host adds and
// removes patterns, sets the lists they use and switches chaining and the
// early end.
TEST_F(ManagerTest, HostChangesPatternsAndListsWhileAudioIsProcessed)
{
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().recordCalls = false;
        for (const char* word : {"to", "turn", "red", "blue", "green", "dark"})
            FakeVosk::state().vocabulary.insert(word);
        for (const std::string& word : KSR::SpokenNumber::vocabulary())
            FakeVosk::state().vocabulary.insert(word);
    }
    FakeVosk::setCycle(Kind::Command, {Step{0, Json::partial("go to line forty")},
                                       Step{1, Json::sure("go to line forty two")},
                                       Step{1, Json::sure("turn dark red save file")},
                                       Step{0, Json::partial("turn")},
                                       Step{1, Json::sure("turn green")},
                                       Step{1, Json::sure("go to line seven turn blue")}});
    initialize();
    manager->addDictationGrammar("");
    const KSR::GrammarId grammar = manager->addCommandGrammar("");
    const KSR::RuleId rule = manager->addRule(grammar, "moves");
    ASSERT_TRUE(manager->setList("colours", {{"red", "1"}, {"dark red", "2"}}));
    ASSERT_NE(manager->addCommandPattern(rule, "go to line <n:number 1..100>"), KSR::InvalidCommandId);
    ASSERT_NE(manager->addCommandPattern(rule, "turn <c:list colours>"), KSR::InvalidCommandId);
    manager->addCommand(rule, "save file");
    manager->setActivated(grammar, true);
    manager->startRecognizing();

    Watchdog watchdog(std::chrono::seconds(60), "pattern threads");
    const Clock::time_point start = Clock::now();
    std::atomic<bool> hostDone{false};
    std::atomic<int> chunksFed{0};
    std::thread recognition([&] {
        const std::string audio(3200, '\0');
        for (int i = 0; (i < kChunks / 4 || !hostDone) && Clock::now() - start < kBudget; ++i) {
            manager->processAudio(audio.data(), static_cast<int>(audio.size()));
            ++chunksFed;
        }
    });
    std::thread host([&] {
        for (int i = 0; i < kHostOperations / 4 && Clock::now() - start < kBudget; ++i) {
            switch (i % 7) {
            case 0: manager->setList("colours", {{"red", "1"}, {"dark red", "2"}, {"blue", std::to_string(i)}}); break;
            case 1: manager->setList("colours", {{"green", "3"}}); break;
            case 2: manager->removeCommand(rule, 0); break;
            case 3: manager->addCommandPattern(rule, "go to line <n:number 1..100>"); break;
            case 4: manager->setCommandChaining(i % 2 == 0); break;
            case 5: manager->setFastCommands(i % 3 == 0 ? 0 : 250); break;
            case 6: manager->list("colours"); manager->patternProblem("turn <c:list colours>"); break;
            }
        }
        hostDone = true;
    });
    host.join();
    recognition.join();
    EXPECT_GT(chunksFed.load(), 0);
    // Some commands with arguments got through, each with its values.
    int withValues = 0;
    for (const KSR::SRData& data : manager->recognitions())
        withValues += data.arguments.empty() ? 0 : 1;
    EXPECT_GT(withValues, 0);
}
