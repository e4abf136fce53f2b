// The demo host listening to the virtual microphone (scripts/virtual_mic.sh)
// through K_VoskInterface, as `ksr-demo --mic` does on a real machine.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "demo_runner.h"
#include "test_data.h"
#include "virtual_mic.h"

static const bool kEnvironment = VirtualMic::configure();

namespace {

const char* const kGrammar = KSR_SOURCE_DIR "/tools/demo/grammar.json";

}  // namespace

// Runs `ksr-demo --json --mic` with `extra` options for `seconds`, plays a
// command clip `playAfter` into the microphone and gives the commands the
// demo printed ("phrase in grammar").
std::vector<std::string> commandsHeard(const std::vector<std::string>& extra, int seconds,
                                       std::chrono::milliseconds playAfter, std::vector<DemoEvent>& events)
{
    std::vector<std::string> arguments = {"--model", TestData::modelPath(), "--grammar", kGrammar, "--json",
                                          "--mic", "--seconds", std::to_string(seconds)};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    DemoRun run;
    std::thread demo([&] { run = runDemo(arguments); });
    std::this_thread::sleep_for(playAfter);
    const bool played = VirtualMic::play(TestData::clip("cmd_save_file.wav"));
    demo.join();
    EXPECT_TRUE(played);
    EXPECT_EQ(run.status, 0) << run.err;
    events = parseEvents(run);
    std::vector<std::string> commands;
    for (const DemoEvent& event : events)
        if (event.event == "command")
            commands.push_back(event.text + " in " + event.grammarName);
    return commands;
}

TEST(DemoMicrophone, PrintsWhatIsSpokenIntoTheMicrophone)
{
    ASSERT_TRUE(kEnvironment);
    KSR_REQUIRE_VIRTUAL_MIC();
    KSR_REQUIRE_DATA(TestData::modelPath());
    std::vector<DemoEvent> events;
    // The model loads and capture starts within a few seconds.
    const std::vector<std::string> commands = commandsHeard({}, 8, std::chrono::seconds(3), events);
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front().event, "listening");
    EXPECT_EQ(events.front().text, "");  // the device is in "device"; the text field stays empty
    EXPECT_EQ(commands, std::vector<std::string>{"save file in edit"});
}

TEST(DemoMicrophone, SkippingSilenceACommandAfterALongQuietIsHeard)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    KSR_REQUIRE_DATA(TestData::modelPath());
    std::vector<DemoEvent> events;
    // Capture starts within three seconds; another four of quiet and the
    // recognizers have stopped hearing it when the command is spoken.
    const std::vector<std::string> commands =
        commandsHeard({"--skip-silence"}, 12, std::chrono::seconds(7), events);
    EXPECT_EQ(commands, std::vector<std::string>{"save file in edit"});
}

TEST(DemoMicrophone, AnUnknownDeviceExitsWith6AndListsTheDevices)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    KSR_REQUIRE_DATA(TestData::modelPath());
    const DemoRun run = runDemo({"--model", TestData::modelPath(), "--mic", "No Such Microphone", "--seconds", "1"});
    EXPECT_EQ(run.status, 6);
    EXPECT_NE(run.err.find("ksr-demo: no microphone named \"No Such Microphone\"; there are:\n  "),
              std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("Monitor of Null Output"), std::string::npos) << run.err;
}

TEST(DemoMicrophone, ListsTheCaptureDevices)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    const DemoRun run = runDemo({"--list-mics"});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("Remapped Monitor of Null Output  (default)\n"), std::string::npos) << run.out;
}
