// The wrappers against the real libvosk and the shared model and clips.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include "log_capture.h"
#include "test_data.h"
#include "vosk/vosk_c_api.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_model.h"
#include "wav_file.h"

class VoskReal : public testing::Test {
protected:
    static void SetUpTestSuite() { vosk_set_log_level(-1); }
    LogCapture log;
};

TEST_F(VoskReal, PathThatIsNotAModelFailsWithTheExactLine)
{
    Vosk::Model model;
    EXPECT_FALSE(model.initialize("/nonexistent/model/dir", 16000));
    EXPECT_EQ(model.sampleRate(), 16000U);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"KSR Error: Model:  initializeModel: mp_voskModel is null\n"}));
}

TEST_F(VoskReal, SharedModelLoadsAndKnowsItsWords)
{
    KSR_REQUIRE_DATA(TestData::modelPath());
    Vosk::Model model;
    ASSERT_TRUE(model.initialize(TestData::modelPath(), 16000));
    EXPECT_TRUE(model.findWord("open"));
    EXPECT_TRUE(model.findWord("north"));
    EXPECT_FALSE(model.findWord("flibbertigibbet"));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(VoskReal, GrammarRecognizerGivesFinalResultWithTextAndConfidences)
{
    KSR_REQUIRE_DATA(TestData::modelPath());
    KSR_REQUIRE_DATA(TestData::clip("cmd_open_file.wav"));
    Vosk::Model model;
    ASSERT_TRUE(model.initialize(TestData::modelPath(), 16000));
    // cmd_open_file comes out exact from a grammar recognizer over command phrases.
    Vosk::Recognizer recognizer(model, 16000.0f, "[\"[unk]\",\"open file\",\"close window\",\"north\"]");
    ASSERT_TRUE(recognizer.isValid());
    const WavFile wav = readWav(TestData::clip("cmd_open_file.wav"));
    ASSERT_TRUE(wav.ok);
    ASSERT_EQ(wav.rate, 16000);
    const std::size_t chunk = 1600;  // 100 ms
    std::string finalJson;
    for (std::size_t at = 0; at < wav.samples.size(); at += chunk) {
        const std::size_t n = std::min(chunk, wav.samples.size() - at);
        if (recognizer.acceptWaveform(reinterpret_cast<const char*>(&wav.samples[at]), static_cast<int>(n * 2)))
            finalJson = recognizer.result();
    }
    if (finalJson.empty())
        finalJson = recognizer.finalResult();
    rapidjson::Document doc;
    doc.Parse(finalJson.c_str());
    ASSERT_FALSE(doc.HasParseError()) << finalJson;
    ASSERT_TRUE(doc.HasMember("text"));
    EXPECT_STREQ(doc["text"].GetString(), "open file");
    ASSERT_TRUE(doc.HasMember("result")) << finalJson;
    ASSERT_TRUE(doc["result"].IsArray());
    ASSERT_EQ(doc["result"].Size(), 2U);
    for (const auto& word : doc["result"].GetArray()) {
        ASSERT_TRUE(word.HasMember("conf"));
        EXPECT_GT(word["conf"].GetDouble(), 0.9);
    }
}

TEST_F(VoskReal, FreeRecognizerGivesPartialResults)
{
    KSR_REQUIRE_DATA(TestData::modelPath());
    KSR_REQUIRE_DATA(TestData::clip("dict_hello_world.wav"));
    Vosk::Model model;
    ASSERT_TRUE(model.initialize(TestData::modelPath(), 16000));
    Vosk::Recognizer recognizer(model, 16000.0f);
    ASSERT_TRUE(recognizer.isValid());
    const WavFile wav = readWav(TestData::clip("dict_hello_world.wav"));
    ASSERT_TRUE(wav.ok);
    std::string text;
    for (std::size_t at = 0; at < wav.samples.size(); at += 1600) {
        const std::size_t n = std::min<std::size_t>(1600, wav.samples.size() - at);
        if (recognizer.acceptWaveform(reinterpret_cast<const char*>(&wav.samples[at]), static_cast<int>(n * 2))) {
            text += recognizer.result();
        } else {
            rapidjson::Document doc;
            doc.Parse(recognizer.partialResult().c_str());
            ASSERT_TRUE(doc.IsObject());
            EXPECT_TRUE(doc.HasMember("partial"));
        }
    }
    text += recognizer.finalResult();
    EXPECT_NE(text.find("hello world"), std::string::npos) << text;
}
