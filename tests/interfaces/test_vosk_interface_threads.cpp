// K_VoskInterface across threads, meant for ThreadSanitizer: the worker's
// capture loop reads the virtual microphone (its quiet keep-alive noise)
// and feeds the engine, whose libvosk test double answers every chunk with
// the next scripted result (commands, activation keys, formatting and mode
// phrases, literal phrases, dictated and spelled text). Meanwhile the host
// thread adds and removes commands, switches grammars, rules, keys, modes
// and thresholds, lists microphones and changes the capture device and
// rate, which stops and restarts the worker. Bounded in time; a watchdog
// turns a deadlock into a failure.
//
// The signals are received through direct connections into atomic
// counters: queued delivery goes through Qt's own locks, which the
// sanitizer cannot see into (Qt is not instrumented), and is covered by the
// other interface tests.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QWidget>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include "watchdog.h"
#include "../vosk_manager/manager_fixture.h"
#include "interface_test_support.h"
#include "test_data.h"
#include "virtual_mic.h"

// OpenAL and PulseAudio are not instrumented: their own threads share
// buffers under their own locks and lock-free queues, which the sanitizer
// sees only where they call intercepted functions (recvmsg, memcpy) and so
// reports as races. Reports from inside those libraries are left out.
extern "C" const char* __tsan_default_suppressions()
{
    return "called_from_lib:libopenal.so*\n"
           "called_from_lib:libpulse.so*\n"
           "called_from_lib:libpulsecommon-*.so\n";
}

static const bool kEnvironment = VirtualMic::configure();

using FakeVosk::Kind;
using FakeVosk::Step;
using Clock = std::chrono::steady_clock;

namespace {

const std::chrono::milliseconds kBudget(2500);

long long commandBytesFed()
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    return FakeVosk::state().bytesFed[int(Kind::Command)];
}

}  // namespace

TEST(VoskInterfaceThreads, HostChangesEverythingWhileTheWorkerRecognizes)
{
    ASSERT_TRUE(kEnvironment);
    KSR_REQUIRE_VIRTUAL_MIC();
    FakeVosk::reset();
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().vocabulary = testVocabulary();
        FakeVosk::state().recordCalls = false;
    }
    FakeVosk::setCycle(Kind::Command, {Step{0, Json::partial("open")}, Step{1, Json::sure("open file")},
                                       Step{1, Json::sure("north")}, Step{0, Json::partial("south")},
                                       Step{1, Json::sure("south")},
                                       Step{1, Json::final("close window", {"0.95", "0.85"})},
                                       Step{1, Json::sure("add comma")}, Step{1, Json::sure("start numerals")},
                                       Step{1, Json::sure("literal new line")}, Step{1, Json::sure("start spelling")},
                                       Step{1, Json::sure("capitals on")}, Step{1, Json::sure("stop spelling")},
                                       Step{1, Json::sure("save file")}, Step{1, Json::sure("new line")}});
    FakeVosk::setCycle(Kind::Dictation, {Step{0, Json::partial("hello")}, Step{1, Json::sure("hello i think")}});
    FakeVosk::setCycle(Kind::Spelling, {Step{1, Json::sure("a b c")}, Step{0, Json::partial("")}});

    QTemporaryDir folder;
    ASSERT_TRUE(writeModelFolder(folder.path() + "/model", "conf/mfcc.conf", "--sample-frequency=16000\n"));
    setModelVariable(folder.path() + "/model");

    QWidget host;
    CountingInterface iface(&host);
    ASSERT_TRUE(iface.isInitialized());
    std::atomic<int> results{0}, hypotheses{0}, failures{0}, grammars{0}, modes{0};
    QObject::connect(&iface, &K_SRInterface::recognitionResult, &iface, [&](KSR::SRData) { ++results; },
                     Qt::DirectConnection);
    QObject::connect(&iface, &K_SRInterface::hypothesisResult, &iface, [&](KSR::SRData) { ++hypotheses; },
                     Qt::DirectConnection);
    QObject::connect(&iface, &K_SRInterface::recognitionFailed, &iface, [&] { ++failures; }, Qt::DirectConnection);
    QObject::connect(&iface, &K_SRInterface::grammarActivatedSignal, &iface, [&](KSR::GrammarId, bool) { ++grammars; },
                     Qt::DirectConnection);
    for (auto signal : {&K_VoskInterface::dictationActivated, &K_VoskInterface::numeralsModeActivated,
                        &K_VoskInterface::spellingModeActivated, &K_VoskInterface::capitalsModeActivated})
        QObject::connect(&iface, signal, &iface, [&](bool) { ++modes; }, Qt::DirectConnection);

    const KSR::GrammarId dictation = iface.addDictationGrammar("");
    const KSR::GrammarId a = iface.addCommandGrammar("north");
    const KSR::GrammarId b = iface.addCommandGrammar("south");
    const KSR::RuleId ruleA = iface.addRule(a, "a");
    const KSR::RuleId ruleB = iface.addRule(b, "b");
    iface.addCommand(ruleA, "open file");
    iface.addCommand(ruleA, "close window");
    iface.addCommand(ruleB, "save file");
    iface.setActivated(dictation, true);
    iface.setActivated(a, true);
    iface.setActivated(b, true);
    iface.setMicrophoneSetupFunction([](K_VoskInterface* self, std::string& device, int& frequency) {
        self->availableFrequencies();
        frequency = frequency == 16000 ? 48000 : 16000;
        return !device.empty();
    });

    Watchdog watchdog(std::chrono::seconds(120), "interface threads");
    iface.start();
    ASSERT_TRUE(waitFor([&] { return iface.isActive() && commandBytesFed() > 0; }, 10000))
        << "no audio reached the engine";

    std::mt19937 random(4711);
    std::uniform_int_distribution<int> pick(0, 23);
    const std::vector<std::string> phrases = {"go back", "zoom in", "select all", "undo", "open file"};
    const std::shared_ptr<KSR_VoskGrammar> heldByHost = iface.getGrammar(b);
    const Clock::time_point begin = Clock::now();
    int operations = 0, restarts = 0;
    for (int i = 0; Clock::now() - begin < kBudget; ++i) {
        const std::string& phrase = phrases[static_cast<std::size_t>(i) % phrases.size()];
        switch (pick(random)) {
        case 0: iface.addCommand(ruleA, phrase); break;
        case 1: iface.removeCommand(ruleA, static_cast<KSR::CommandId>(i % 6)); break;
        case 2: iface.setActivated(a, i % 2 == 0); break;
        case 3: iface.setActivated(b, i % 3 != 0); break;
        case 4: iface.setActivated(dictation, i % 4 != 0); break;
        case 5: iface.setRuleActivated(ruleB, i % 2 == 0); break;
        case 6: iface.setActivationKey(a, i % 2 ? "north" : "east"); break;
        case 7: iface.removeActivationKey(i % 2 ? "east" : "west"); break;
        case 8: iface.setSpellingModeEnabled(i % 2 == 0); break;
        case 9: iface.setNumeralModeEnabled(i % 3 == 0); break;
        case 10: iface.setCapitalsModeEnabled(i % 5 == 0); break;
        case 11: iface.setCommandRequiredConfidence(i % 101); break;
        case 12: iface.setDictationRequiredConfidence(i % 101); break;
        case 13: heldByHost->setRuleActivated(ruleB, i % 2 != 0); break;
        case 14: heldByHost->addCommand(ruleB, phrase, KSR::Normal); break;
        case 15: iface.setForcedWords({"smith"}); break;
        case 16:
            iface.getActiveGrammars();
            iface.isRuleActivated(ruleA);
            iface.isDictationModeEnabled();
            iface.isActive();
            break;
        case 17: iface.availableMicrophones(); break;
        case 18:
            // Microphone changes stop and restart the worker; a few suffice.
            if (restarts < 6) {
                iface.microphoneFrequencyChangedSlot(restarts % 2 ? 16000 : 48000);
                ++restarts;
            }
            break;
        case 19:
            if (restarts < 6) {
                const std::list<std::string> devices = iface.availableMicrophones();
                if (!devices.empty())
                    iface.microphoneDeviceChangedSlot(
                        QString::fromStdString(restarts % 2 ? devices.front() : devices.back()));
                ++restarts;
            }
            break;
        case 20:
            if (restarts < 6) {
                iface.openMicrophoneSetup();
                ++restarts;
            }
            break;
        default: iface.phraseExists("open file"); break;
        }
        ++operations;
        // Audio comes at its own pace (a chunk per 10 ms) and a grammar
        // change drops the chunk it meets: pauses let chunks be recognized
        // between changes, bursts make changes meet each other.
        if (i % 4 == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    const long long fedWhileChanging = commandBytesFed();
    iface.stop();

    std::cout << "host operations: " << operations << ", restarts: " << restarts << ", loop starts: " << iface.starts
              << ", bytes to the command recognizer: " << fedWhileChanging << ", results: " << results
              << ", hypotheses: " << hypotheses << ", failures: " << failures << ", grammar switches: " << grammars
              << ", mode switches: " << modes << std::endl;
    EXPECT_GT(operations, 150);
    EXPECT_GT(fedWhileChanging, 16000);  // at least half a second of audio went through
    EXPECT_GT(results.load(), 0);
    EXPECT_GT(grammars.load(), 0);
    EXPECT_GT(modes.load(), 0);
    EXPECT_EQ(iface.starts, iface.ends);
    EXPECT_FALSE(iface.workerThread()->isRunning());
}
