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

TEST(DemoMicrophone, PrintsWhatIsSpokenIntoTheMicrophone)
{
    ASSERT_TRUE(kEnvironment);
    KSR_REQUIRE_VIRTUAL_MIC();
    KSR_REQUIRE_DATA(TestData::modelPath());
    DemoRun run;
    std::thread demo([&] {
        run = runDemo({"--model", TestData::modelPath(), "--grammar", kGrammar, "--json", "--mic", "--seconds", "8"});
    });
    // The model loads and capture starts within a few seconds.
    std::this_thread::sleep_for(std::chrono::seconds(3));
    const bool played = VirtualMic::play(TestData::clip("cmd_save_file.wav"));
    demo.join();
    ASSERT_TRUE(played);
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<DemoEvent> events = parseEvents(run);
    ASSERT_FALSE(events.empty()) << run.out;
    EXPECT_EQ(events.front().event, "listening");
    EXPECT_EQ(events.front().text, "");  // the device is in "device"; the text field stays empty
    std::vector<std::string> commands;
    for (const DemoEvent& event : events)
        if (event.event == "command")
            commands.push_back(event.text + " in " + event.grammarName);
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
