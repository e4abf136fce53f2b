// The host switches the fast-commands settings while the recognition thread
// feeds audio (libvosk double): chains, early ends and held dictation run
// while the settings and the grammars change under them. Run under
// ThreadSanitizer in the "threads" build.
#include <atomic>
#include <chrono>
#include <thread>

#include "manager_fixture.h"
#include "watchdog.h"

using FakeVosk::Kind;
using FakeVosk::Step;
using Clock = std::chrono::steady_clock;

TEST_F(ManagerTest, HostSwitchesFastCommandSettingsWhileAudioFlows)
{
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().recordCalls = false;
    }
    FakeVosk::setCycle(Kind::Command, {Step{0, Json::partial("add")}, Step{0, Json::partial("add comma")},
                                       Step{0, Json::partial("add comma")}, Step{0, Json::partial("add comma")},
                                       Step{1, Json::sure("north open file")}, Step{1, Json::sure("new line new line")},
                                       Step{0, Json::partial("south")}, Step{1, Json::sure("south")}});
    FakeVosk::setCycle(Kind::Dictation, {Step{0, Json::partial("add")}, Step{1, Json::sure("add comma")},
                                         Step{1, Json::sure("hello")}});
    initialize();
    const KSR::GrammarId dictation = manager->addDictationGrammar("");
    const KSR::GrammarId a = manager->addCommandGrammar("north");
    const KSR::GrammarId b = manager->addCommandGrammar("south");
    manager->addCommand(manager->addRule(a, "a"), "open file");
    manager->addCommand(manager->addRule(b, "b"), "save file");
    manager->setActivated(dictation, true);
    manager->setActivated(b, true);
    manager->startRecognizing();

    Watchdog watchdog(std::chrono::seconds(60), "fast command threads");
    const Clock::time_point start = Clock::now();
    std::atomic<bool> hostDone{false};
    std::atomic<int> chunks{0}, switches{0};
    std::thread recognition([&] {
        const std::string audio(320, '\0');
        for (int i = 0; (i < 20000 || !hostDone) && Clock::now() - start < std::chrono::milliseconds(2500); ++i) {
            manager->processAudio(audio.data(), static_cast<int>(audio.size()));
            ++chunks;
        }
    });
    std::thread host([&] {
        for (int i = 0; i < 3000 && Clock::now() - start < std::chrono::milliseconds(2500); ++i) {
            switch (i % 5) {
            case 0: manager->setFastCommands(i % 3 ? 20 : 0); break;
            case 1: manager->setCommandChaining(i % 4 != 1); break;
            case 2: manager->setActivated(i % 2 ? a : b, true); break;
            case 3: manager->fastCommands(); manager->commandChaining(); break;
            default: manager->setActivated(dictation, i % 7 != 4); break;
            }
            ++switches;
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        hostDone = true;
    });
    host.join();
    recognition.join();
    manager->engine()->processFinalAudio();

    EXPECT_GT(chunks.load(), 100);
    EXPECT_GT(switches.load(), 100);
    int recognized = 0;
    for (const auto& report : manager->reports())
        recognized += report.kind == Report::Recognition;
    EXPECT_GT(recognized, 0);
}
