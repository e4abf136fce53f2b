// A program on the delay-loaded libvosk.dll, run from a folder without it:
// it starts, the manager and the engine say why they cannot recognize, and
// every later call fails cleanly instead of ending the process.

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "ksr_vosk_manager.h"
#include "log_capture.h"
#include "test_data.h"
#include "vosk/vosk_library.h"
#include "vosk_engine.h"

namespace {

using Strings = std::vector<std::string>;

const std::string kNoLibrary =
    "Model:  initializeModel: libvosk.dll could not be loaded (Windows error 126): put libvosk.dll and the DLLs it "
    "needs (libstdc++-6.dll, libgcc_s_seh-1.dll, libwinpthread-1.dll) next to the program";

TEST(MissingLibrary, TheCheckNamesTheDllAndWhatToDo)
{
    // Nothing here may have loaded it: the test would prove nothing.
    ASSERT_EQ(GetModuleHandleW(L"libvosk.dll"), nullptr);
    EXPECT_EQ("Model:  initializeModel: " + Vosk::libraryProblem(), kNoLibrary);
    EXPECT_EQ(Vosk::libraryProblem(), Vosk::libraryProblem());
}

TEST(MissingLibrary, TheEngineLogsWhyAndHasNoModel)
{
    LogCapture log;
    Vosk::Engine engine;
    EXPECT_FALSE(engine.initialize(TestData::modelPath()));
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_EQ(log.errors(), (Strings{kNoLibrary, "Acoustic model " + TestData::modelPath() + " is invalid!"}));
}

TEST(MissingLibrary, TheManagerStaysAliveWithoutAnEngine)
{
    LogCapture log;
    {
        KSR_VoskManager manager;
        EXPECT_FALSE(manager.initialize(TestData::modelPath()));
        EXPECT_FALSE(manager.isInitialized());
        EXPECT_EQ(log.errors(), (Strings{kNoLibrary, "Acoustic model " + TestData::modelPath() + " is invalid!"}));
        log.clear();

        // The calls a host makes next fail or do nothing.
        const KSR::GrammarId grammar = manager.addCommandGrammar("north");
        const KSR::RuleId rule = manager.addRule(grammar, "files");
        EXPECT_EQ(manager.addCommand(rule, "open file"), KSR::InvalidCommandId);
        EXPECT_FALSE(manager.wordsExist("open"));
        EXPECT_EQ(manager.getCommandRequiredConfidence(), -1);
        manager.startRecognizing();
        const std::vector<char> quiet(3200, 0);
        manager.processAudio(quiet.data(), static_cast<int>(quiet.size()));
        manager.stopRecognizing();
        // The same lines as for any manager whose initialize failed.
        EXPECT_EQ(log.errors(), (Strings{"KSR_VoskManager should be properly initialized before register a grammar!",
                                         "KSR_VoskManager should be properly initialized before register a grammar!",
                                         "KSR_VoskManager must have an initialized engine!",
                                         "KSR_VoskManager must have an initialized engine!"}));
    }
    EXPECT_EQ(GetModuleHandleW(L"libvosk.dll"), nullptr);
}

}  // namespace
