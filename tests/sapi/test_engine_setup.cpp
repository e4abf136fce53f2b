// KSR_Engine: creating the recognizer, its audio input, language check,
// thresholds and context, and every way that can fail.

#include "sapi_test.h"

namespace Script = SapiFakes::Script;

namespace {

class EngineSetup : public SapiTest {
protected:
    // Initialises an engine that must fail, and checks that it logged exactly
    // `message`.
    void expectFailure(bool shared, const std::string& message)
    {
        KSR_Engine engine(shared);
        EXPECT_FALSE(engine.initialize());
        EXPECT_FALSE(engine.isInitialized());
        EXPECT_EQ(log.errors(), std::vector<std::string>{message});
    }
};

}  // namespace

TEST_F(EngineSetup, InprocRecognizerGetsTheDefaultAudioInputThenTheContext)
{
    KSR_Engine engine(false);
    EXPECT_TRUE(engine.initialize());
    EXPECT_TRUE(engine.isInitialized());
    EXPECT_EQ(calls(), inprocSetupCalls(world.defaultAudioTokenId));
    EXPECT_TRUE(log.lines().empty());

    ASSERT_NE(world.recognizer(), nullptr);
    EXPECT_FALSE(world.recognizer()->isShared());
    EXPECT_EQ(world.recognizer()->inputDescription(), "token " + world.defaultAudioTokenId);
    ASSERT_NE(world.context(), nullptr);
    EXPECT_EQ(engine.recoContext(), static_cast<ISpRecoContext*>(world.context()));
    EXPECT_NE(world.context()->eventHandle(), nullptr);
}

TEST_F(EngineSetup, SharedRecognizerKeepsTheSystemsAudioInput)
{
    KSR_Engine engine(true);
    EXPECT_TRUE(engine.initialize());
    std::vector<std::string> expected = {"CoCreateInstance(SpSharedRecognizer)"};
    const std::vector<std::string> tail = contextSetupCalls();
    expected.insert(expected.end(), tail.begin(), tail.end());
    EXPECT_EQ(calls(), expected);
    EXPECT_TRUE(world.recognizer()->isShared());
    EXPECT_FALSE(world.recognizer()->hasInput());
}

TEST_F(EngineSetup, InterestIsTheSameMaskForEventsAndQueue)
{
    KSR_Engine engine(false);
    ASSERT_TRUE(engine.initialize());
    EXPECT_EQ(world.context()->eventInterest(), 0x258e240000000ull);
    EXPECT_EQ(world.context()->queuedInterest(), 0x258e240000000ull);
}

TEST_F(EngineSetup, ThresholdsAreReadAndTheHighOneFromTheNormalProperty)
{
    world.setup().properties = {
        {"LowConfidenceThreshold", 15}, {"NormalConfidenceThreshold", 55}, {"HighConfidenceThreshold", 85}};
    KSR_Engine engine(false);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Normal), -1);
    ASSERT_TRUE(engine.initialize());
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Low), 15);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::Normal), 55);
    EXPECT_EQ(engine.getConfidenceThreshold(KSR::High), 55);
    EXPECT_EQ(engine.getConfidenceThreshold(static_cast<KSR::RequiredConfidence>(9)), 55);
}

TEST_F(EngineSetup, SecondInitializeAfterSuccessDoesNotTouchCom)
{
    KSR_Engine engine(false);
    ASSERT_TRUE(engine.initialize());
    clearCalls();
    EXPECT_TRUE(engine.initialize());
    EXPECT_TRUE(calls().empty());
}

// COM initialised but no speech recognizer installed (as under Wine).
TEST(EngineWithoutRecognizer, InprocRecognizerCannotBeCreated)
{
    SapiFakes::SapiWorld world({true, false});
    LogCapture log;
    {
        KSR_Engine engine(false);
        EXPECT_FALSE(engine.initialize());
        EXPECT_EQ(engine.recoContext(), nullptr);
    }
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create inproc Speech Recognition engine!"});
}

TEST(EngineWithoutRecognizer, SharedRecognizerCannotBeCreated)
{
    SapiFakes::SapiWorld world({true, false});
    LogCapture log;
    {
        KSR_Engine engine(true);
        EXPECT_FALSE(engine.initialize());
    }
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Could not create shared Speech Recognition engine!"});
}

TEST_F(EngineSetup, RefusedRecognizerCreation)
{
    Script::failOnce("CoCreateInstance(SpInprocRecognizer).create", E_OUTOFMEMORY);
    expectFailure(false, "Could not create inproc Speech Recognition engine!");
    Script::failOnce("CoCreateInstance(SpSharedRecognizer).create", E_ACCESSDENIED);
    log.clear();
    expectFailure(true, "Could not create shared Speech Recognition engine!");
}

TEST_F(EngineSetup, EveryFailureOnTheWayToTheAudioTokenHasOneMessage)
{
    for (const char* call : {"CoCreateInstance(SpObjectTokenCategory).create", "TokenCategory.SetId",
                             "TokenCategory.GetDefaultTokenId", "CoCreateInstance(SpObjectToken).create",
                             "Token.SetId"}) {
        SCOPED_TRACE(call);
        log.clear();
        Script::failOnce(call, E_FAIL);
        expectFailure(false, "Could not get default Audio token!");
    }
}

TEST_F(EngineSetup, TokenIdIsFreedWhenTheTokenCannotBeMade)
{
    Script::failOnce("CoCreateInstance(SpObjectToken).create", E_FAIL);
    expectFailure(false, "Could not get default Audio token!");
    // TearDown checks that the id string and every object were released.
}

TEST_F(EngineSetup, RefusedAudioInput)
{
    Script::failOnce("Recognizer.SetInput", E_INVALIDARG);
    expectFailure(false, "Could not set Audio input!");
    EXPECT_EQ(callsOf("TokenCategory destroyed").size(), 1u);
    EXPECT_EQ(callsOf("Token destroyed").size(), 1u);
}

TEST_F(EngineSetup, StatusFailure)
{
    Script::failOnce("Recognizer.GetStatus", E_FAIL);
    expectFailure(false, "Could not get status of Speech Recognition engine!");
}

TEST_F(EngineSetup, NoLanguageAtAllIsRefused)
{
    world.setup().languages = {};
    expectFailure(false, "Only english language is supported!");
}

TEST_F(EngineSetup, LanguageWithoutAnyOfTheEnglishBitsIsRefused)
{
    world.setup().languages = {0x0804, 0x0406};  // Chinese (0x04), Danish (0x06)
    expectFailure(false, "Only english language is supported!");
}

TEST_F(EngineSetup, LanguageCheckIsABitTestNotAnEquality)
{
    for (WORD language : {WORD(0x0409), WORD(0x0809), WORD(0x0407), WORD(0x040C), WORD(0x0411)}) {
        SCOPED_TRACE(language);
        world.setup().languages = {language};
        KSR_Engine engine(false);
        EXPECT_TRUE(engine.initialize());
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineSetup, LanguageCheckPassesAtTheFirstMatchingId)
{
    world.setup().languages = {0x0804, 0x0409};
    KSR_Engine engine(false);
    EXPECT_TRUE(engine.initialize());
}

TEST_F(EngineSetup, ThresholdReadFailuresNameTheThreshold)
{
    Script::failOnce("Recognizer.GetPropertyNum", E_FAIL);
    expectFailure(false, "Undetermined low confidence threshold!");

    log.clear();
    Script::answerOnce("Recognizer.GetPropertyNum", S_OK);
    Script::failOnce("Recognizer.GetPropertyNum", E_FAIL);
    expectFailure(false, "Undetermined normal confidence threshold!");

    log.clear();
    Script::answerOnce("Recognizer.GetPropertyNum", S_OK);
    Script::answerOnce("Recognizer.GetPropertyNum", S_OK);
    Script::failOnce("Recognizer.GetPropertyNum", E_FAIL);
    expectFailure(false, "Undetermined high confidence threshold!");
}

TEST_F(EngineSetup, ContextFailures)
{
    Script::failOnce("Recognizer.CreateRecoContext", E_FAIL);
    expectFailure(false, "Could not create recoContext!");
    log.clear();
    Script::failOnce("Context.SetNotifyWin32Event", E_FAIL);
    expectFailure(false, "Could not use Win32 events.");
    log.clear();
    Script::failOnce("Context.SetInterest", E_INVALIDARG);
    expectFailure(false, "Could not set context interest.");
}

TEST_F(EngineSetup, FailedInitializeKeepsItsObjectsAndARetryStartsOver)
{
    KSR_Engine engine(false);
    Script::failOnce("Recognizer.CreateRecoContext", E_FAIL);
    EXPECT_FALSE(engine.initialize());
    EXPECT_EQ(SapiFakes::Registry<SapiFakes::FakeRecognizer>::all().size(), 1u);

    clearCalls();
    EXPECT_TRUE(engine.initialize());
    // The first recognizer goes just before the second takes its place.
    const auto retry = calls();
    ASSERT_GE(retry.size(), 3u);
    EXPECT_EQ(retry[0], "Recognizer destroyed");
    EXPECT_EQ(retry[1], "Token destroyed");
    EXPECT_EQ(retry[2], "CoCreateInstance(SpInprocRecognizer)");
    EXPECT_EQ(SapiFakes::Registry<SapiFakes::FakeRecognizer>::all().size(), 1u);
}

TEST_F(EngineSetup, DestructionReleasesContextAndRecognizer)
{
    {
        KSR_Engine engine(false);
        ASSERT_TRUE(engine.initialize());
        EXPECT_EQ(SapiFakes::liveObjects(), 3);  // recognizer, its input token, context
        clearCalls();
    }
    EXPECT_EQ(calls(), (std::vector<std::string>{"Context destroyed", "Recognizer destroyed", "Token destroyed"}));
}

TEST_F(EngineSetup, CopySharesTheComObjectsAndTheSettings)
{
    auto copy = [] {
        KSR_Engine original(false);
        EXPECT_TRUE(original.initialize());
        EXPECT_TRUE(original.setConfidenceThreshold(KSR::High, 77));
        return std::make_unique<KSR_Engine>(original);
    }();
    EXPECT_TRUE(copy->isInitialized());
    EXPECT_EQ(copy->getConfidenceThreshold(KSR::High), 77);
    ASSERT_NE(world.context(), nullptr);
    EXPECT_EQ(copy->recoContext(), static_cast<ISpRecoContext*>(world.context()));
    EXPECT_EQ(world.context()->references(), 1u);
    EXPECT_TRUE(copy->setEngineActivated(false));
    copy.reset();
}

// The module never initialises COM: on a thread where the host has not,
// creation fails and the thread is left as it was.
TEST(EngineWithoutCom, FailsAndLeavesComUninitialised)
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
