// Model folders as Windows users name them: spaces, and characters outside
// ASCII (in the system's code page and outside it). The module hands libvosk
// a path it can open; the model loads and a command clip is recognized.

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "clip_audio.h"
#include "log_capture.h"
#include "test_data.h"
#include "vosk/vosk_c_api.h"
#include "vosk_engine.h"

namespace {

namespace fs = std::filesystem;

class ModelPaths : public testing::Test {
protected:
    static void SetUpTestSuite() { vosk_set_log_level(-1); }

    void SetUp() override
    {
        KSR_REQUIRE_DATA(TestData::modelPath());
        KSR_REQUIRE_DATA(TestData::audioDir());
        wchar_t temp[MAX_PATH];
        ASSERT_NE(GetTempPathW(MAX_PATH, temp), 0u);
        // A folder per test: ctest runs them side by side.
        root = fs::path(temp) / fs::u8path(std::string("kalo-sr model paths ") +
                                           testing::UnitTest::GetInstance()->current_test_info()->name());
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }

    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }

    // The shared model copied to `relative` (UTF-8) under the test's folder;
    // its path in UTF-8, as a host holds it.
    std::string copyModelTo(const std::string& relative)
    {
        const fs::path target = root / fs::u8path(relative);
        // Folder by folder: the runtime's recursive fs::copy stops at the
        // first folder it made ("File exists").
        const fs::path source = fs::u8path(TestData::modelPath());
        std::error_code error;
        fs::create_directories(target, error);
        for (auto entry = fs::recursive_directory_iterator(source, error);
             !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            const fs::path copy = target / fs::relative(entry->path(), source);
            if (entry->is_directory())
                fs::create_directories(copy, error);
            else
                fs::copy_file(entry->path(), copy, error);
        }
        EXPECT_FALSE(error) << error.message() << ": " << target.u8string();
        return target.u8string();
    }

    // Loads the model at `path` and plays cmd_open_file.wav with "open file"
    // among the commands: the commands heard.
    std::vector<std::string> commandsHeardWith(const std::string& path)
    {
        std::vector<std::string> heard;
        Vosk::Engine engine;
        if (!engine.initialize(path))
            return heard;
        engine.setLiteralKeyword("literal");  // the engine builds no grammar without one
        engine.setCommandsList({"open file", "close window"});
        EXPECT_TRUE(engine.setActivated(true));
        engine.setCommandRecognizedFunction([&](const std::string& text, KSR::RecognitionState state) {
            if (state == KSR::Recognized)
                heard.push_back(text);
        });
        const std::vector<short> samples = ClipAudio::padded(TestData::clip("cmd_open_file.wav"));
        EXPECT_FALSE(samples.empty());
        for (std::size_t at = 0; at < samples.size(); at += 1600) {
            const std::size_t n = std::min<std::size_t>(1600, samples.size() - at);
            engine.processAudio(reinterpret_cast<const char*>(&samples[at]), static_cast<int>(n * 2));
        }
        return heard;
    }

    fs::path root;
    LogCapture log;
};

}  // namespace

TEST_F(ModelPaths, SpacesAndACharacterOfTheCodePage)
{
    const std::string path = copyModelTo(u8"Users/Zo\u00eb/My Models/en us synth");
    EXPECT_EQ(commandsHeardWith(path), std::vector<std::string>{"open file"});
    EXPECT_TRUE(log.errors().empty());
}

// Greek and Chinese letters have no place in a Western code page: the short
// name stands in for the folder.
TEST_F(ModelPaths, CharactersOutsideTheCodePage)
{
    RecordProperty("ansi_code_page", static_cast<int>(GetACP()));
    const std::string path = copyModelTo(u8"\u039c\u03bf\u03bd\u03c4\u03ad\u03bb\u03b1 \u6a21\u578b/model");
    EXPECT_EQ(commandsHeardWith(path), std::vector<std::string>{"open file"});
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(ModelPaths, AMissingFolderIsNamedInTheLog)
{
    const std::string path = (root / fs::u8path(u8"Zo\u00eb/no model here")).u8string();
    EXPECT_TRUE(commandsHeardWith(path).empty());
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"KSR Error: Model:  initializeModel: mp_voskModel is null\n",
                                                     "KSR Error: Acoustic model " + path + " is invalid!\n"}));
}

// A folder that looks like a model (its feature configuration, a damaged
// acoustic model) but that libvosk refuses: the same lines as a missing one,
// and the program goes on.
TEST_F(ModelPaths, AModelThatLibvoskRejectsIsNamedInTheLog)
{
    const fs::path folder = root / fs::u8path(u8"Zo\u00eb/broken model");
    std::error_code error;
    fs::create_directories(folder / "am", error);
    fs::create_directories(folder / "conf", error);
    ASSERT_FALSE(error) << error.message();
    std::ofstream(folder / "conf" / "mfcc.conf") << "--sample-frequency=16000\n--use-energy=false\n";
    std::ofstream(folder / "am" / "final.mdl", std::ios::binary) << "not an acoustic model";
    const std::string path = folder.u8string();
    EXPECT_TRUE(commandsHeardWith(path).empty());
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"KSR Error: Model:  initializeModel: mp_voskModel is null\n",
                                                     "KSR Error: Acoustic model " + path + " is invalid!\n"}));
}
