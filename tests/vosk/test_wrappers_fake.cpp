// The model and recognizer wrappers against the libvosk test double, so that
// null handles and every return value of accept_waveform are exercised.
#include <gtest/gtest.h>

#include "fake_vosk.h"
#include "log_capture.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_model.h"

class VoskWrappers : public testing::Test {
protected:
    void SetUp() override { FakeVosk::reset(); }
    LogCapture log;
};

TEST_F(VoskWrappers, NewModelHasNoHandleAndRate16000)
{
    Vosk::Model model;
    EXPECT_EQ(model.handle(), nullptr);
    EXPECT_EQ(model.sampleRate(), 16000U);
}

TEST_F(VoskWrappers, FailedInitializeLogsAndKeepsPreviousRate)
{
    FakeVosk::state().modelNewFails = true;
    Vosk::Model model;
    EXPECT_FALSE(model.initialize("/not/a/model", 8000));
    EXPECT_EQ(model.sampleRate(), 16000U);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"KSR Error: Model:  initializeModel: mp_voskModel is null\n"}));
}

TEST_F(VoskWrappers, InitializeStoresRateAndFreesTheModel)
{
    {
        Vosk::Model model;
        EXPECT_TRUE(model.initialize("/some/model", 8000));
        EXPECT_EQ(model.sampleRate(), 8000U);
        EXPECT_EQ(FakeVosk::state().lastModelPath, "/some/model");
        EXPECT_EQ(FakeVosk::state().modelsAlive, 1);
    }
    EXPECT_EQ(FakeVosk::state().modelsAlive, 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(VoskWrappers, FindWordOnUninitializedModelLogsOnce)
{
    Vosk::Model model;
    EXPECT_FALSE(model.findWord("open"));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Recognizer: findWord: mp_voskModel is null"}));
}

TEST_F(VoskWrappers, FindWordAsksTheVocabulary)
{
    FakeVosk::state().vocabulary = {"open", "file"};
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    EXPECT_TRUE(model.findWord("open"));
    EXPECT_TRUE(model.findWord("file"));
    EXPECT_FALSE(model.findWord("zzyzx"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(VoskWrappers, AcceptWaveformIsTrueForOneAndMinusOneFalseForZero)
{
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    Vosk::Recognizer recognizer(model, 16000.0f);
    ASSERT_TRUE(recognizer.isValid());
    FakeVosk::pushStep(FakeVosk::Kind::Dictation, 1, "{}");
    FakeVosk::pushStep(FakeVosk::Kind::Dictation, 0, "{}");
    FakeVosk::pushStep(FakeVosk::Kind::Dictation, -1, "{}");
    const char data[4] = {0, 0, 0, 0};
    EXPECT_TRUE(recognizer.acceptWaveform(data, 4));
    EXPECT_FALSE(recognizer.acceptWaveform(data, 4));
    EXPECT_TRUE(recognizer.acceptWaveform(data, 4));
    EXPECT_EQ(FakeVosk::state().bytesFed[0], 12);
}

TEST_F(VoskWrappers, ResultsAreCopiesOfTheLibraryText)
{
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    Vosk::Recognizer recognizer(model, 16000.0f, "[\"open file\",\"[unk]\"]");
    ASSERT_TRUE(recognizer.isValid());
    FakeVosk::pushStep(FakeVosk::Kind::Command, 0, "{\"partial\" : \"open\"}");
    FakeVosk::pushStep(FakeVosk::Kind::Command, 1, "{\"text\" : \"open file\"}");
    FakeVosk::pushFinal(FakeVosk::Kind::Command, "{\"text\" : \"\"}");
    const char data[2] = {0, 0};
    EXPECT_FALSE(recognizer.acceptWaveform(data, 2));
    EXPECT_EQ(recognizer.partialResult(), "{\"partial\" : \"open\"}");
    EXPECT_TRUE(recognizer.acceptWaveform(data, 2));
    EXPECT_EQ(recognizer.result(), "{\"text\" : \"open file\"}");
    EXPECT_EQ(recognizer.finalResult(), "{\"text\" : \"\"}");
    EXPECT_EQ(FakeVosk::grammars(), (std::vector<std::string>{"[\"open file\",\"[unk]\"]"}));
}

TEST_F(VoskWrappers, EveryRecognizerAsksForWordsRightAfterCreation)
{
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    Vosk::Recognizer free(model, 16000.0f);
    Vosk::Recognizer grammar(model, 16000.0f, "[\"go\"]");
    EXPECT_EQ(FakeVosk::state().setWordsCalls, 2);
}

TEST_F(VoskWrappers, RecognizerIsFreedOnDestruction)
{
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    {
        Vosk::Recognizer recognizer(model, 16000.0f);
        EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Dictation), 1);
    }
    EXPECT_EQ(FakeVosk::alive(FakeVosk::Kind::Dictation), 0);
}

TEST_F(VoskWrappers, FailedRecognizerReturnsEmptyAndLogsItsOwnMessages)
{
    FakeVosk::state().dictationNewFails = true;
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    Vosk::Recognizer recognizer(model, 16000.0f);
    EXPECT_FALSE(recognizer.isValid());
    const char data[2] = {0, 0};
    EXPECT_FALSE(recognizer.acceptWaveform(data, 2));
    EXPECT_EQ(recognizer.result(), "");
    EXPECT_EQ(recognizer.partialResult(), "");
    EXPECT_EQ(recognizer.finalResult(), "");
    EXPECT_EQ(log.errors(), (std::vector<std::string>{
                                "Recognizer: acceptWaveform: mp_voskRecognizer is null",
                                "Recognizer: result: mp_voskRecognizer is null",
                                "Recognizer: partialResult: mp_voskRecognizer is null",
                                "Recognizer: finalResult: mp_voskRecognizer is null"}));
    EXPECT_EQ(FakeVosk::state().setWordsCalls, 0);
}

TEST_F(VoskWrappers, FailedGrammarRecognizerIsInvalid)
{
    FakeVosk::state().grammarNewFails = true;
    Vosk::Model model;
    ASSERT_TRUE(model.initialize("m", 16000));
    Vosk::Recognizer recognizer(model, 16000.0f, "[\"go\"]");
    EXPECT_FALSE(recognizer.isValid());
    EXPECT_EQ(recognizer.finalResult(), "");
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Recognizer: finalResult: mp_voskRecognizer is null"}));
}
