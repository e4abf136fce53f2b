// The SAPI back end on Windows' own COM, with no test double registered.
// Run under Wine, which has no speech recognizer: creation must fail with
// its message, the manager must end without an engine, and nothing may leak
// or crash. COM is initialised here, as the host does.

#include <gtest/gtest.h>

#include "com_memory.h"
#include "ksr_sapi_engine.h"
#include "ksr_sapi_manager.h"
#include "log_capture.h"

namespace {

class RealCom : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))); }
    void TearDown() override { CoUninitialize(); }
};

}  // namespace

TEST_F(RealCom, InprocRecognizerIsNotInstalled)
{
    IUnknown* recognizer = nullptr;
    EXPECT_EQ(CoCreateInstance(CLSID_SpInprocRecognizer, nullptr, CLSCTX_ALL, IID_ISpRecognizer,
                               reinterpret_cast<void**>(&recognizer)),
              REGDB_E_CLASSNOTREG);
}

TEST_F(RealCom, InprocEngineFailsCleanly)
{
    LogCapture log;
    SapiFakes::TaskMemoryWatch memory;
    {
        KSR_Engine engine(false);
        EXPECT_FALSE(engine.initialize());
        EXPECT_FALSE(engine.isInitialized());
        EXPECT_EQ(engine.recoContext(), nullptr);
        engine.processSREvents();
        EXPECT_FALSE(engine.setEngineActivated(true));
        EXPECT_FALSE(engine.microphoneSetupSupported());
        engine.openVoiceTraining(nullptr);
    }
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Could not create inproc Speech Recognition engine!",
                                                      "K_SpeechRecognition was not initialized!",
                                                      "Recognition engine does not exist!"}));
    EXPECT_EQ(memory.blocksInUse(), 0u);
}

TEST_F(RealCom, SharedEngineFailsCleanly)
{
    LogCapture log;
    {
        KSR_Engine engine(true);
        EXPECT_FALSE(engine.initialize());
        EXPECT_FALSE(engine.initialize());
    }
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Could not create shared Speech Recognition engine!",
                                                      "Could not create shared Speech Recognition engine!"}));
}

TEST_F(RealCom, ManagerEndsWithoutEngine)
{
    LogCapture log;
    SapiFakes::TaskMemoryWatch memory;
    {
        KSR_Manager manager;
        EXPECT_FALSE(manager.isInitialized());
        EXPECT_EQ(manager.engine(), nullptr);
        EXPECT_EQ(manager.activationKeysGrammar(), nullptr);
        EXPECT_EQ(manager.addCommandGrammar("north"), KSR::InvalidGrammarId);
        EXPECT_EQ(manager.addRule(100, "Commands"), KSR::InvalidRuleId);
        EXPECT_EQ(manager.addCommand(10, "open"), -1);
        EXPECT_FALSE(manager.setActivated(100, true));
        EXPECT_EQ(manager.getCommandRequiredConfidence(), -1);
        EXPECT_FALSE(manager.setCommandRequiredConfidence(95));
        EXPECT_TRUE(manager.getActiveGrammars().empty());
    }
    const auto errors = log.errors();
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.front(), "Could not create inproc Speech Recognition engine!");
    EXPECT_EQ(memory.blocksInUse(), 0u);
}

// Windows' own audio-input category: what the in-process recognizer would
// bind once it exists. Only reported: Wine may or may not provide a default.
TEST_F(RealCom, AudioInputCategoryCanBeOpened)
{
    ISpObjectTokenCategory* category = nullptr;
    const HRESULT created = CoCreateInstance(CLSID_SpObjectTokenCategory, nullptr, CLSCTX_ALL,
                                             IID_ISpObjectTokenCategory, reinterpret_cast<void**>(&category));
    if (FAILED(created))
        GTEST_SKIP() << "no token category class";
    const HRESULT opened = category->SetId(SPCAT_AUDIOIN, TRUE);
    std::printf("SetId(audio input category): 0x%08lx\n", static_cast<unsigned long>(opened));
    EXPECT_EQ(category->Release(), 0u);
}

// The module never initialises COM: without the host's CoInitializeEx the
// engine fails and the thread stays uninitialised.
TEST(RealComUninitialised, EngineFailsAndLeavesComAlone)
{
    LogCapture log;
    {
        KSR_Engine engine(false);
        EXPECT_FALSE(engine.initialize());
    }
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create inproc Speech Recognition engine!"});
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoUninitialize();
}
