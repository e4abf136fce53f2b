// Vosk::Engine against the real libvosk with the shared model and clips.
//
// Every clip used here was first run through a plain libvosk recognizer with
// the same phrase list (and the same noise padding, see clip_audio.h); the
// comment at each test says why the clip was chosen and what it gave.
#include <gtest/gtest.h>

#include <algorithm>

#include "clip_audio.h"
#include "log_capture.h"
#include "test_data.h"
#include "vosk/vosk_c_api.h"
#include "vosk_engine.h"

using Strings = std::vector<std::string>;

namespace {

struct Delivery {
    std::string text;
    int state;
    bool operator==(const Delivery& other) const { return text == other.text && state == other.state; }
};

std::ostream& operator<<(std::ostream& out, const Delivery& d) { return out << "(" << d.text << ", " << d.state << ")"; }

int countOf(const std::vector<Delivery>& list, const Delivery& wanted)
{
    return static_cast<int>(std::count(list.begin(), list.end(), wanted));
}

bool hasState(const std::vector<Delivery>& list, int state)
{
    return std::any_of(list.begin(), list.end(), [state](const Delivery& d) { return d.state == state; });
}

// The commands a host might register, as the manager hands them over
// (lower case), with the literal and forced-words keywords of dictation.
const Strings kCommands{"open file", "close window", "select all", "go back", "new line", "add comma", "north"};

}  // namespace

class EngineReal : public testing::Test {
protected:
    static void SetUpTestSuite() { vosk_set_log_level(-1); }

    void SetUp() override
    {
        KSR_REQUIRE_DATA(TestData::modelPath());
        KSR_REQUIRE_DATA(TestData::audioDir());
        ASSERT_TRUE(engine.initialize(TestData::modelPath()));
        engine.setLiteralKeyword("literal");
        engine.setForcedWordsKeyword("force");
        // A forced entry may be a short phrase: the engine treats it as text.
        engine.setForcedWordsList({"default rule", "smith"});
        engine.setCommandsList(kCommands);
        ASSERT_TRUE(engine.setActivated(true));
        engine.setCommandRecognizedFunction([this](const std::string& text, KSR::RecognitionState state) {
            commands.push_back({text, state});
        });
        engine.setDictationRecognizedFunction([this](std::string& text, KSR::RecognitionState state) {
            dictated.push_back({text, state});
        });
    }

    // Feeds a padded clip in chunks of 100 ms, as the capture loop would.
    void play(const std::string& clip)
    {
        const std::vector<short> samples = ClipAudio::padded(TestData::clip(clip));
        ASSERT_FALSE(samples.empty()) << clip;
        const std::size_t chunk = 1600;
        for (std::size_t at = 0; at < samples.size(); at += chunk) {
            const std::size_t n = std::min(chunk, samples.size() - at);
            engine.processAudio(reinterpret_cast<const char*>(&samples[at]), static_cast<int>(n * 2));
        }
    }

    LogCapture log;
    Vosk::Engine engine;
    std::vector<Delivery> commands;
    std::vector<Delivery> dictated;
};

TEST(EngineRealSetup, BadModelDirectoryLogsBothLines)
{
    vosk_set_log_level(-1);
    LogCapture log;
    Vosk::Engine engine;
    EXPECT_FALSE(engine.initialize("/nonexistent/model"));
    EXPECT_EQ(engine.model(), nullptr);
    EXPECT_EQ(log.lines(), (Strings{"KSR Error: Model:  initializeModel: mp_voskModel is null\n",
                                    "KSR Error: Acoustic model /nonexistent/model is invalid!\n"}));
}

// cmd_* clips come out exact from a command grammar, every word at conf 1.0;
// with this list the plain run gave partials "open", "open file" and the
// final "open file".
TEST_F(EngineReal, SpokenCommandIsDeliveredWithPartialsThenConfidently)
{
    play("cmd_open_file.wav");
    ASSERT_EQ(countOf(commands, {"open file", KSR::Recognized}), 1) << testing::PrintToString(commands);
    const auto firstPartial = std::find(commands.begin(), commands.end(), Delivery{"open file", KSR::Hypothesis});
    const auto final = std::find(commands.begin(), commands.end(), Delivery{"open file", KSR::Recognized});
    EXPECT_TRUE(firstPartial < final) << testing::PrintToString(commands);
    // "open" alone is no phrase of the list and is never delivered.
    EXPECT_EQ(countOf(commands, {"open", KSR::Hypothesis}), 0);
    EXPECT_TRUE(dictated.empty()) << testing::PrintToString(dictated);
    EXPECT_TRUE(log.lines().empty());
}

// Several speakers and noise floors (voices.tsv): all exact in plain runs.
TEST_F(EngineReal, EveryListedCommandClipIsRecognized)
{
    const std::vector<std::pair<std::string, std::string>> clips{
        {"cmd_close_window.wav", "close window"}, {"cmd_select_all.wav", "select all"},
        {"cmd_go_back.wav", "go back"}, {"key_north.wav", "north"}, {"fmt_new_line.wav", "new line"}};
    for (const auto& clip : clips) {
        commands.clear();
        play(clip.first);
        EXPECT_EQ(countOf(commands, {clip.second, KSR::Recognized}), 1)
            << clip.first << " " << testing::PrintToString(commands);
        EXPECT_EQ(std::count_if(commands.begin(), commands.end(),
                                [](const Delivery& d) { return d.state != KSR::Hypothesis; }),
                  1)
            << clip.first << " " << testing::PrintToString(commands);
    }
    EXPECT_TRUE(dictated.empty());
}

// Free speech outside the list: the plain grammar run turned "what time is
// it" into "[unk]" and "hello world" into "file literal" (conf 0.87/0.98),
// neither of them a phrase.
TEST_F(EngineReal, UtteranceOutsideTheListIsNoCommand)
{
    play("dict_what_time.wav");
    play("dict_hello_world.wav");
    EXPECT_TRUE(commands.empty()) << testing::PrintToString(commands);
    EXPECT_TRUE(dictated.empty()) << testing::PrintToString(dictated);
}

// "literal new line": exact at conf 1.0 in the plain run (partials "literal",
// "literal new line").
TEST_F(EngineReal, LiteralKeywordTurnsACommandIntoDictatedText)
{
    play("fmt_literal_new_line.wav");
    EXPECT_EQ(countOf(dictated, {"new line", KSR::Recognized}), 1) << testing::PrintToString(dictated);
    EXPECT_GE(countOf(dictated, {"new line", KSR::Hypothesis}), 1) << testing::PrintToString(dictated);
    EXPECT_FALSE(hasState(commands, KSR::Recognized)) << testing::PrintToString(commands);
}

// "force default rule", a clean voice: exact at conf 1.0 once the list holds
// the forced phrase.
TEST_F(EngineReal, ForcedWordReachesTheDictationFunction)
{
    play("fmt_force_default_rule.wav");
    EXPECT_EQ(countOf(dictated, {"default rule", KSR::Recognized}), 1) << testing::PrintToString(dictated);
    EXPECT_FALSE(hasState(commands, KSR::Recognized)) << testing::PrintToString(commands);
}

// Free recognition of the dict_* clips is exact, every word at conf 1.0.
TEST_F(EngineReal, DictationModeDeliversSentences)
{
    engine.setDictationModeEnabled(true);
    play("dict_this_is_the_cat.wav");
    play("dict_hello_world.wav");
    EXPECT_EQ(countOf(dictated, {"this is the cat", KSR::Recognized}), 1) << testing::PrintToString(dictated);
    EXPECT_EQ(countOf(dictated, {"hello world", KSR::Recognized}), 1) << testing::PrintToString(dictated);
    EXPECT_TRUE(hasState(dictated, KSR::Hypothesis));
    EXPECT_FALSE(hasState(commands, KSR::Recognized)) << testing::PrintToString(commands);
}

// A command spoken in dictation mode: the command is taken once, and from
// that chunk on its words are flushed from dictation. The free recognizer
// may end the utterance a chunk or more before the grammar recognizer does
// (it did with this clip), and then it has already dictated the words; the
// flush cannot undo that, it only keeps them from being dictated again.
TEST_F(EngineReal, CommandInDictationModeIsTakenOnceAndFlushedFromDictation)
{
    engine.setDictationModeEnabled(true);
    std::vector<std::string> order;
    engine.setCommandRecognizedFunction([&](const std::string& text, KSR::RecognitionState state) {
        commands.push_back({text, state});
        order.push_back("command:" + std::to_string(state));
    });
    engine.setDictationRecognizedFunction([&](std::string& text, KSR::RecognitionState state) {
        dictated.push_back({text, state});
        order.push_back("dictation:" + std::to_string(state));
    });
    play("cmd_close_window.wav");
    EXPECT_EQ(countOf(commands, {"close window", KSR::Recognized}), 1) << testing::PrintToString(commands);
    const auto taken = std::find(order.begin(), order.end(), "command:2");
    ASSERT_NE(taken, order.end());
    EXPECT_EQ(std::count_if(taken, order.end(), [](const std::string& e) { return e.rfind("dictation", 0) == 0; }), 0)
        << testing::PrintToString(order);
    EXPECT_LE(countOf(dictated, {"close window", KSR::Recognized}), 1) << testing::PrintToString(dictated);
}

// Spelling is the weakest (about one letter in eight wrong); spell_cat and
// spell_smith came out exact in the plain letter-grammar run, spell_hello did
// not ("h g l l o") and is not used.
TEST_F(EngineReal, SpellingModeDeliversLetters)
{
    engine.setDictationModeEnabled(true);
    engine.setSpellingEnabled(true);
    play("spell_cat.wav");
    play("spell_smith.wav");
    EXPECT_EQ(countOf(dictated, {"c a t", KSR::Recognized}), 1) << testing::PrintToString(dictated);
    EXPECT_EQ(countOf(dictated, {"s m i t h", KSR::Recognized}), 1) << testing::PrintToString(dictated);
    EXPECT_FALSE(hasState(dictated, KSR::Hypothesis));
}

// Phrases with a quote, a backslash or a line feed would make the library
// crash on the grammar text; escaped, the library only skips those words and
// the other phrases keep working.
TEST_F(EngineReal, PhrasesThatNeedEscapingDoNotBreakTheGrammar)
{
    Strings list = kCommands;
    list.push_back("say \"hi\"");
    list.push_back("back\\slash");
    list.push_back("two\nlines");
    engine.setCommandsList(list);
    ASSERT_TRUE(engine.setActivated(true));
    play("cmd_open_file.wav");
    EXPECT_EQ(countOf(commands, {"open file", KSR::Recognized}), 1) << testing::PrintToString(commands);
}

// The end of capture drops what the recognizers still hold.
TEST_F(EngineReal, FinalAudioDeliversNothing)
{
    engine.setDictationModeEnabled(true);
    const WavFile wav = readWav(TestData::clip("cmd_open_file.wav"));
    ASSERT_TRUE(wav.ok);
    // The clip alone ends without the trailing quiet that closes an utterance.
    for (std::size_t at = 0; at < wav.samples.size(); at += 1600) {
        const std::size_t n = std::min<std::size_t>(1600, wav.samples.size() - at);
        engine.processAudio(reinterpret_cast<const char*>(&wav.samples[at]), static_cast<int>(n * 2));
    }
    const std::size_t before = commands.size() + dictated.size();
    engine.processFinalAudio();
    EXPECT_EQ(commands.size() + dictated.size(), before);
    EXPECT_FALSE(hasState(commands, KSR::Recognized));
}
