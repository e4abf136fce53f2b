// KSR_Engine: switching the recognizer on and off, the thresholds and the
// dialogs.

#include "sapi_test.h"

namespace Script = SapiFakes::Script;

namespace {

class EngineState : public SapiTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(engine.initialize());
        clearCalls();
    }
    void TearDown() override
    {
        holder.reset();
        SapiTest::TearDown();
    }
    SapiFakes::FakeRecognizer& recognizer() { return *world.recognizer(); }

    std::unique_ptr<KSR_Engine> holder = std::make_unique<KSR_Engine>(false);
    KSR_Engine& engine = *holder;
};

}  // namespace

TEST(EngineWithoutRecognizerObject, SwitchingAndThresholdsFail)
{
    LogCapture log;
    KSR_Engine engine(false);
    EXPECT_FALSE(engine.setEngineActivated(true));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Recognition engine does not exist!"});
    log.clear();
    EXPECT_FALSE(engine.setConfidenceThreshold(KSR::High, 80));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_FALSE(engine.microphoneSetupSupported());
    EXPECT_FALSE(engine.voiceTrainingSupported());
    engine.openMicrophoneSetup(reinterpret_cast<HWND>(0x10));
    engine.openVoiceTraining(reinterpret_cast<HWND>(0x10));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineState, SwitchingOffAnActiveRecognizer)
{
    EXPECT_TRUE(engine.setEngineActivated(false));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Recognizer.GetRecoState", "Recognizer.SetRecoState(SPRST_INACTIVE)"}));
    EXPECT_EQ(recognizer().recoState(), SPRST_INACTIVE);
}

TEST_F(EngineState, SwitchingOnAnInactiveRecognizer)
{
    recognizer().forceRecoState(SPRST_INACTIVE);
    EXPECT_TRUE(engine.setEngineActivated(true));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Recognizer.GetRecoState", "Recognizer.SetRecoState(SPRST_ACTIVE)"}));
    EXPECT_EQ(recognizer().recoState(), SPRST_ACTIVE);
}

TEST_F(EngineState, SwitchingToTheStateItHasCallsNothing)
{
    EXPECT_TRUE(engine.setEngineActivated(true));
    recognizer().forceRecoState(SPRST_INACTIVE);
    EXPECT_TRUE(engine.setEngineActivated(false));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Recognizer.GetRecoState", "Recognizer.GetRecoState"}));
}

TEST_F(EngineState, OtherStatesAreLeftAloneAndCountAsSuccess)
{
    recognizer().forceRecoState(SPRST_ACTIVE_ALWAYS);
    EXPECT_TRUE(engine.setEngineActivated(false));
    EXPECT_TRUE(engine.setEngineActivated(true));
    EXPECT_EQ(recognizer().recoState(), SPRST_ACTIVE_ALWAYS);
    recognizer().forceRecoState(SPRST_INACTIVE_WITH_PURGE);
    EXPECT_TRUE(engine.setEngineActivated(true));
    EXPECT_TRUE(engine.setEngineActivated(false));
    EXPECT_EQ(recognizer().recoState(), SPRST_INACTIVE_WITH_PURGE);
    EXPECT_TRUE(callsOf("Recognizer.SetRecoState").empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineState, StateReadAndChangeFailures)
{
    Script::failOnce("Recognizer.GetRecoState", E_FAIL);
    EXPECT_FALSE(engine.setEngineActivated(false));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not get state of the recognition engine"});
    log.clear();
    Script::failOnce("Recognizer.SetRecoState", E_FAIL);
    EXPECT_FALSE(engine.setEngineActivated(false));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to change the state of the recognition engine"});
    EXPECT_EQ(recognizer().recoState(), SPRST_ACTIVE);
}

TEST_F(EngineState, ThresholdIsWrittenWithTheRecognizerOffThenSwitchesItOn)
{
    EXPECT_TRUE(engine.setConfidenceThreshold(KSR::High, 85));
    const std::vector<std::string> expected = {
        "Recognizer.GetRecoState",
        "Recognizer.SetRecoState(SPRST_INACTIVE)",
        "Recognizer.SetPropertyNum(HighConfidenceThreshold, 85)",
        "Recognizer.GetRecoState",
        "Recognizer.SetRecoState(SPRST_ACTIVE)",
    };
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::High), 85);
    EXPECT_EQ(recognizer().property("HighConfidenceThreshold"), 85);
    EXPECT_EQ(recognizer().recoState(), SPRST_ACTIVE);
}

TEST_F(EngineState, EachLevelWritesItsOwnProperty)
{
    EXPECT_TRUE(engine.setConfidenceThreshold(KSR::Low, 11));
    EXPECT_TRUE(engine.setConfidenceThreshold(KSR::Normal, 44));
    EXPECT_EQ(callsOf("Recognizer.SetPropertyNum"),
              (std::vector<std::string>{"Recognizer.SetPropertyNum(LowConfidenceThreshold, 11)",
                                        "Recognizer.SetPropertyNum(NormalConfidenceThreshold, 44)"}));
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Low), 11);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Normal), 44);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::High), 50);
}

TEST_F(EngineState, AnUnknownLevelWritesTheNormalPropertyButStoresNothing)
{
    EXPECT_TRUE(engine.setConfidenceThreshold(static_cast<KSR::RequiredConfidence>(7), 33));
    EXPECT_EQ(recognizer().property("NormalConfidenceThreshold"), 33);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Normal), 50);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Low), 20);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::High), 50);
}

TEST_F(EngineState, ThresholdOnAnInactiveRecognizerActivatesIt)
{
    recognizer().forceRecoState(SPRST_INACTIVE);
    EXPECT_TRUE(engine.setConfidenceThreshold(KSR::Normal, 60));
    const std::vector<std::string> expected = {
        "Recognizer.GetRecoState",
        "Recognizer.SetPropertyNum(NormalConfidenceThreshold, 60)",
        "Recognizer.GetRecoState",
        "Recognizer.SetRecoState(SPRST_ACTIVE)",
    };
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(recognizer().recoState(), SPRST_ACTIVE);
}

TEST_F(EngineState, RefusedPropertyCountsAsSuccessAndLeavesTheRecognizerOff)
{
    Script::failOnce("Recognizer.SetPropertyNum", E_INVALIDARG);
    EXPECT_TRUE(engine.setConfidenceThreshold(KSR::High, 120));
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::High), 50);
    EXPECT_EQ(recognizer().recoState(), SPRST_INACTIVE);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineState, ThresholdFailures)
{
    Script::failOnce("Recognizer.GetRecoState", E_FAIL);
    EXPECT_FALSE(engine.setConfidenceThreshold(KSR::High, 70));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not get state of the recognition engine"});

    log.clear();
    Script::failOnce("Recognizer.SetRecoState", E_FAIL);
    EXPECT_FALSE(engine.setConfidenceThreshold(KSR::High, 70));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to change the state of the recognition engine"});
    EXPECT_EQ(recognizer().property("HighConfidenceThreshold"), 80);

    // Written, but the recognizer cannot be switched back on: not stored.
    log.clear();
    Script::answerOnce("Recognizer.GetRecoState", S_OK);
    Script::failOnce("Recognizer.GetRecoState", E_FAIL);
    EXPECT_FALSE(engine.setConfidenceThreshold(KSR::High, 70));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not get state of the recognition engine"});
    EXPECT_EQ(recognizer().property("HighConfidenceThreshold"), 70);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::High), 50);
}

TEST_F(EngineState, DialogSupportOnlyAsksWhetherSapiAnswers)
{
    EXPECT_TRUE(engine.microphoneSetupSupported());
    EXPECT_TRUE(engine.voiceTrainingSupported());
    EXPECT_EQ(calls(), (std::vector<std::string>{"Recognizer.IsUISupported(MicTraining, null, 0)",
                                                 "Recognizer.IsUISupported(UserTraining, null, 0)"}));
    Script::failOnce("Recognizer.IsUISupported", E_NOTIMPL);
    EXPECT_FALSE(engine.microphoneSetupSupported());
}

TEST(EngineDialogs, SupportedFlagOfSapiIsNotConsulted)
{
    SapiFakes::SapiWorld world;
    world.setup().uiSupported = FALSE;
    KSR_Engine engine(false);
    ASSERT_TRUE(engine.initialize());
    EXPECT_TRUE(engine.microphoneSetupSupported());
    EXPECT_TRUE(engine.voiceTrainingSupported());
}

TEST_F(EngineState, DialogsOpenOwnedByTheGivenWindow)
{
    engine.openMicrophoneSetup(reinterpret_cast<HWND>(0x1234));
    engine.openVoiceTraining(reinterpret_cast<HWND>(0x5678));
    EXPECT_EQ(calls(), (std::vector<std::string>{"Recognizer.DisplayUI(0x1234, null, MicTraining, null, 0)",
                                                 "Recognizer.DisplayUI(0x5678, null, UserTraining, null, 0)"}));
    Script::failOnce("Recognizer.DisplayUI", E_FAIL);
    engine.openVoiceTraining(reinterpret_cast<HWND>(0x5678));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineState, DialogsWithANullWindowDoNothing)
{
    engine.openMicrophoneSetup(nullptr);
    engine.openVoiceTraining(nullptr);
    EXPECT_TRUE(calls().empty());
}
