// K_VoskInterface across threads, meant for ThreadSanitizer: the worker's
// capture loop reads the OpenAL test double, which hands it the sound the
// host thread keeps playing (bursts of a loud tone between quiet), with every
// listening setting on (paced, silence skipping, early end of commands,
// chaining, hypotheses on change only), and feeds the engine, whose libvosk
// test double answers every chunk with the next scripted result (commands,
// activation keys, formatting and mode phrases, literal phrases, dictated
// and spelled text). Meanwhile the host thread adds and removes commands,
// switches grammars, rules, keys, modes, thresholds and settings, lists
// microphones and changes the capture device and rate, which stops and
// restarts the worker. Bounded in time; a watchdog turns a deadlock into a
// failure. What arrives is checked: no command more often than the
// recognizer said it, no command's words in dictated text.
//
// The signals are received through direct connections into a locked
// record: queued delivery goes through Qt's own locks, which the sanitizer
// cannot see into (Qt is not instrumented), and is covered by the other
// interface tests.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QWidget>

#include <atomic>
#include <cctype>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "watchdog.h"
#include "../vosk_manager/manager_fixture.h"
#include "fake_openal.h"
#include "interface_test_support.h"
#include "test_data.h"

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

// 100 ms of sound at 16 kHz: 60 ms of a loud tone, then quiet, so that
// the silence gate stays open and the early end finds its quiet.
std::vector<short> burst()
{
    std::vector<short> out(1600);
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = i < 960 ? static_cast<short>(3000 * std::sin(0.2 * static_cast<double>(i))) : short(i % 7 - 3);
    return out;
}

// The lower-case letters of each word.
std::vector<std::string> words(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    std::string word;
    while (in >> word) {
        std::string letters;
        for (char c : word)
            if (std::isalpha(static_cast<unsigned char>(c)))
                letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (!letters.empty())
            out.push_back(letters);
    }
    return out;
}

}  // namespace

TEST(VoskInterfaceThreads, HostChangesEverythingWhileTheWorkerRecognizes)
{
    FakeOpenAl::reset();
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        FakeOpenAl::state().recordCalls = false;
    }
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
    iface.setListeningPace(K_VoskInterface::RecommendedListeningPace);
    iface.setSilenceSkipping(true);
    ASSERT_TRUE(iface.setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    ASSERT_TRUE(iface.setCommandChaining(true));
    iface.setHypothesisOnChangeOnly(true);
    std::atomic<int> results{0}, hypotheses{0}, failures{0}, grammars{0}, modes{0};
    std::mutex receivedMutex;
    std::vector<KSR::SRData> received;
    QObject::connect(&iface, &K_SRInterface::recognitionResult, &iface,
                     [&](KSR::SRData data) {
                         ++results;
                         std::lock_guard<std::mutex> lock(receivedMutex);
                         received.push_back(data);
                     },
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
    const std::vector<short> sound = burst();
    iface.start();
    // The microphone hears what is played once it is open.
    ASSERT_TRUE(waitFor([&] { return iface.isListening(); }, 10000)) << "capture never opened";
    for (int i = 0; i < 10; ++i)
        FakeOpenAl::play(sound);
    ASSERT_TRUE(waitFor([&] { return iface.isActive() && commandBytesFed() > 0; }, 10000))
        << "no audio reached the engine";

    std::mt19937 random(4711);
    std::uniform_int_distribution<int> pick(0, 25);
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
        case 21: iface.setFastCommands(i % 3 ? KSR_VoskManager::DefaultFastCommandsQuiet : 0); break;
        case 22: iface.setSilenceSkipping(i % 4 != 0); break;
        default: iface.phraseExists("open file"); break;
        }
        FakeOpenAl::play(sound);
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

    // No command more often than the command recognizer said it.
    std::map<std::string, int> given;
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        given = FakeVosk::state().finalTexts[int(Kind::Command)];
    }
    std::map<std::string, int> delivered;
    std::set<std::string> commandWords;
    for (const char* phrase : {"open file", "close window", "save file", "go back", "zoom in", "select all", "undo"})
        for (const std::string& word : words(phrase))
            commandWords.insert(word);
    std::lock_guard<std::mutex> lock(receivedMutex);
    for (const KSR::SRData& data : received) {
        if (data.grammarId == a || data.grammarId == b)
            ++delivered[data.text];
        // Dictated text holds the dictation recognizer's words only.
        if (data.grammarId == dictation && data.commandId < 0) {
            for (const std::string& word : words(data.text))
                EXPECT_EQ(commandWords.count(word), 0u) << "a command's word in the text \"" << data.text << "\"";
        }
    }
    for (const auto& phrase : delivered)
        EXPECT_LE(phrase.second, given[phrase.first]) << "\"" << phrase.first << "\" delivered more often than heard";
}
