// The fast-commands pieces against the libvosk test double: the phrase
// index, the voice-activity measure, chain delivery and the confidence of
// each chained phrase, and dictated text held while the command recognizer
// decides.
#include "vosk/trailing_talk.h"
#include <cstdlib>
#include <tuple>
#include <fstream>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <set>

#include "common/command_pattern_set.h"
#include "fake_vosk.h"
#include "vosk/phrase_index.h"
#include "vosk/voice_activity.h"
#include "vosk_engine.h"

using FakeVosk::Kind;
using Strings = std::vector<std::string>;

namespace {

std::string partial(const std::string& text) { return "{\n  \"partial\" : \"" + text + "\"\n}"; }

std::string final(const std::string& text, const Strings& confs)
{
    std::string json = "{\n  \"result\" : [";
    for (std::size_t i = 0; i < confs.size(); ++i)
        json += std::string(i ? ", " : "") + "{\n      \"conf\" : " + confs[i] + ",\n      \"word\" : \"w\"\n    }";
    return json + "],\n  \"text\" : \"" + text + "\"\n}";
}

struct Delivery {
    std::string text;
    int state;
    bool operator==(const Delivery& other) const { return text == other.text && state == other.state; }
};

std::ostream& operator<<(std::ostream& out, const Delivery& d) { return out << "(" << d.text << ", " << d.state << ")"; }

using Deliveries = std::vector<Delivery>;

}  // namespace

TEST(PhraseIndex, SplitsLeftmostLongest)
{
    const Vosk::PhraseIndex index({"new line", "literal", "literal new line", "add comma", "add"}, {});
    EXPECT_EQ(index.split("new line new line"), (Strings{"new line", "new line"}));
    EXPECT_EQ(index.split("literal new line"), (Strings{"literal new line"}));
    EXPECT_EQ(index.split("add comma add"), (Strings{"add comma", "add"}));
    EXPECT_TRUE(index.split("new line house").empty());
    EXPECT_TRUE(index.split("").empty());
}

TEST(PhraseIndex, KeyedPhrasesCountOnlyAfterTheirKey)
{
    const Vosk::PhraseIndex index({"north", "south", "undo"}, {{"north", {"open file"}}, {"south", {"undo"}}});
    EXPECT_EQ(index.split("north open file"), (Strings{"north", "open file"}));
    EXPECT_TRUE(index.split("open file").empty());
    EXPECT_TRUE(index.split("south open file").empty());
    EXPECT_EQ(index.classify("north open file", true), Vosk::PhraseMatch::Complete);
    EXPECT_EQ(index.classify("open file", true), Vosk::PhraseMatch::None);
}

TEST(PhraseIndex, ClassifiesForTheEarlyEnd)
{
    const Vosk::PhraseIndex index({"open", "open file", "undo", "new line"}, {});
    EXPECT_EQ(index.classify("open", false), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("open file", false), Vosk::PhraseMatch::Complete);
    EXPECT_EQ(index.classify("new", false), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("undo undo", false), Vosk::PhraseMatch::None);
    EXPECT_EQ(index.classify("undo undo", true), Vosk::PhraseMatch::Complete);
    EXPECT_EQ(index.classify("undo new", true), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("undo open", true), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("undo house", true), Vosk::PhraseMatch::None);
}

namespace {

std::vector<std::int16_t> tone(std::size_t samples, double amplitude)
{
    std::vector<std::int16_t> out(samples);
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = static_cast<std::int16_t>(amplitude * std::sin(0.3 * static_cast<double>(i)));
    return out;
}

}  // namespace

TEST(VoiceActivity, SpeechAboveTheFloorIsVoiceAndQuietCountsFromItsEnd)
{
    Vosk::VoiceActivity voice;
    const auto noise = tone(16000, 30.0);
    voice.feed(noise.data(), noise.size());
    EXPECT_EQ(voice.samplesSinceVoice(), 16000);  // steady noise is never voice
    const auto speech = tone(4800, 3000.0);
    voice.feed(speech.data(), speech.size());
    EXPECT_EQ(voice.samplesSinceVoice(), 0);
    voice.feed(noise.data(), 2400);
    EXPECT_EQ(voice.samplesSinceVoice(), 2400);
    EXPECT_EQ(voice.samplesHeard(), 16000 + 4800 + 2400);
}

TEST(VoiceActivity, ARisenNoiseFloorIsQuietAfterTheWindow)
{
    Vosk::VoiceActivity voice;
    const auto quiet = tone(16000, 30.0);
    voice.feed(quiet.data(), quiet.size());
    // 20 dB louder noise: voice until the quiet frames have left the window.
    const auto louder = tone(32000, 300.0);
    voice.feed(louder.data(), louder.size());
    // The 59 frames after the jump still find a quiet frame in their 600 ms.
    EXPECT_EQ(voice.samplesSinceVoice(), 32000 - 59 * 160);
}

class EngineFast : public testing::Test {
protected:
    void SetUp() override
    {
        FakeVosk::reset();
        chunk.assign(3200, '\0');  // 100 ms of digital silence: always quiet
        ASSERT_TRUE(engine.initialize("/model"));
        engine.setLiteralKeyword("literal");
        engine.setCommandsList({"new line", "add comma", "add space", "north"});
        ASSERT_TRUE(engine.setActivated(true));
        engine.setCommandRecognizedFunction(
            [this](const std::string& text, KSR::RecognitionState state) { commands.push_back({text, state}); });
        engine.setDictationRecognizedFunction(
            [this](std::string& text, KSR::RecognitionState state) { dictated.push_back({text, state}); });
        feed(1);  // the chunk a fresh grammar drops
    }

    void feed(int chunks)
    {
        for (int i = 0; i < chunks; ++i)
            engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
    }

    Deliveries finals(const Deliveries& all)
    {
        Deliveries out;
        for (const Delivery& d : all)
            if (d.state != KSR::Hypothesis)
                out.push_back(d);
        return out;
    }

    Vosk::Engine engine;
    std::string chunk;
    Deliveries commands, dictated;
};

TEST_F(EngineFast, ChainIsDeliveredPhraseByPhrase)
{
    engine.setChaining(true);
    FakeVosk::pushStep(Kind::Command, 1, final("new line add comma", {"1.0", "1.0", "0.95", "0.92"}));
    feed(1);
    EXPECT_EQ(commands, (Deliveries{{"new line", 2}, {"add comma", 2}}));
}

TEST_F(EngineFast, OneWeakPhraseMakesTheChainOneFailure)
{
    engine.setChaining(true);
    // "add comma" alone has minimum 85: it fails though the mean of all is 95.
    FakeVosk::pushStep(Kind::Command, 1, final("new line add comma", {"1.0", "1.0", "0.85", "1.0"}));
    feed(1);
    EXPECT_EQ(commands, (Deliveries{{"new line add comma", 0}}));
}

TEST_F(EngineFast, ChainWithAnUnknownWordGivesNothing)
{
    engine.setChaining(true);
    FakeVosk::pushStep(Kind::Command, 1, final("new line [unk] add comma", {"1.0", "1.0", "1.0", "1.0", "1.0"}));
    feed(1);
    EXPECT_TRUE(commands.empty());
}

TEST_F(EngineFast, ChainIsNoCommandWithChainingOff)
{
    FakeVosk::pushStep(Kind::Command, 1, final("new line add comma", {"1.0", "1.0", "1.0", "1.0"}));
    feed(1);
    EXPECT_TRUE(commands.empty());
}

TEST_F(EngineFast, EarlyEndTakesTheFinalResultAfterTheQuietTime)
{
    engine.setEarlyEnd(250);
    FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "1.0"}));
    // The partial stays; 250 ms of quiet after it changed is the third chunk after it.
    for (int i = 0; i < 2; ++i)
        FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    feed(3);
    EXPECT_TRUE(finals(commands).empty());
    FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    feed(1);
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);
}

TEST_F(EngineFast, HeldDictationOfATakenCommandIsDropped)
{
    engine.setEarlyEnd(250);
    engine.setDictationModeEnabled(true);
    feed(1);  // the mode switch's flush
    FakeVosk::pushStep(Kind::Dictation, 0, partial("add"));
    FakeVosk::pushStep(Kind::Command, 0, partial("add"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("add comma", {"1.0", "1.0"}));
    FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "1.0"}));
    for (int i = 0; i < 3; ++i)
        FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    feed(5);
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    EXPECT_TRUE(finals(dictated).empty());
}

TEST_F(EngineFast, HeldDictationIsReleasedInOrderWithinTheBound)
{
    engine.setEarlyEnd(250);
    engine.setDictationModeEnabled(true);
    feed(1);
    FakeVosk::pushStep(Kind::Dictation, 0, partial("add"));
    FakeVosk::pushStep(Kind::Command, 0, partial("add"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("add", {"1.0"}));
    // The command recognizer never gets past the beginning of "add comma".
    FakeVosk::setCycle(Kind::Command, {{0, partial("add")}});
    FakeVosk::pushStep(Kind::Dictation, 0, partial("hello"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("hello", {"1.0"}));
    feed(4);
    EXPECT_TRUE(finals(dictated).empty());
    feed(8);  // up to a second of audio after the hold began
    EXPECT_TRUE(finals(dictated).empty());
    feed(2);
    EXPECT_EQ(finals(dictated), (Deliveries{{"add", 2}, {"hello", 2}}));
}

TEST_F(EngineFast, HeldDictationGoesOutAtTheEndOfCapture)
{
    engine.setEarlyEnd(250);
    engine.setDictationModeEnabled(true);
    feed(1);
    FakeVosk::pushStep(Kind::Dictation, 0, partial("add"));
    FakeVosk::pushStep(Kind::Command, 0, partial("add"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("add", {"1.0"}));
    FakeVosk::pushStep(Kind::Command, 0, partial("add"));
    feed(2);
    EXPECT_TRUE(finals(dictated).empty());
    engine.processFinalAudio();
    EXPECT_EQ(finals(dictated), (Deliveries{{"add", 2}}));
}

// What happens to held text and to the command that decides it when the
// command itself, the host or the end of capture changes the rules.
class EngineHeldText : public EngineFast {
protected:
    void SetUp() override
    {
        EngineFast::SetUp();
        engine.setEarlyEnd(250);
        engine.setDictationModeEnabled(true);
        feed(1);  // the mode switch's flush
    }

    // The dictation recognizer ends "add comma" while the command
    // recognizer still hears the same phrase: the text is held.
    void holdAddComma()
    {
        FakeVosk::pushStep(Kind::Dictation, 0, partial("add comma"));
        FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
        FakeVosk::pushStep(Kind::Dictation, 1, final("add comma", {"1.0", "1.0"}));
        FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
        feed(2);
        ASSERT_TRUE(finals(dictated).empty());
        ASSERT_TRUE(finals(commands).empty());
    }
};

TEST_F(EngineHeldText, ACommandThatSwitchesDictationOffKeepsItsWordsOutOfTheText)
{
    // An activation key switches the dictation grammar off from inside the
    // command function.
    engine.setCommandRecognizedFunction([this](const std::string& text, KSR::RecognitionState state) {
        commands.push_back({text, state});
        if (state == KSR::Recognized)
            engine.setDictationModeEnabled(false);
    });
    holdAddComma();
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "1.0"}));
    FakeVosk::setCycle(Kind::Command, {{0, partial("add comma")}});
    feed(4);
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    EXPECT_TRUE(finals(dictated).empty());
    EXPECT_FALSE(engine.dictationModeEnabled());
}

TEST_F(EngineHeldText, TheEarlyEndSwitchedOffWhileTextIsHeldStillWaitsForTheVerdict)
{
    holdAddComma();
    engine.setEarlyEnd(0);
    // The command recognizer then ends the utterance itself.
    FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    FakeVosk::pushStep(Kind::Command, 1, final("add comma", {"1.0", "1.0"}));
    feed(2);
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    EXPECT_TRUE(finals(dictated).empty());
}

TEST_F(EngineHeldText, TextHeldWhenTheEarlyEndIsSwitchedOffGoesOutWithinTheBound)
{
    holdAddComma();
    engine.setEarlyEnd(0);
    // The command recognizer never decides: the text waits a second at most.
    FakeVosk::setCycle(Kind::Command, {{0, partial("add comma")}});
    feed(9);
    EXPECT_TRUE(finals(dictated).empty());
    feed(2);
    EXPECT_EQ(finals(dictated), (Deliveries{{"add comma", 2}}));
}

TEST_F(EngineHeldText, StopWhileTheVerdictIsPendingDeliversTheCommandNotItsWords)
{
    holdAddComma();
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "1.0"}));
    engine.processFinalAudio();
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    EXPECT_TRUE(finals(dictated).empty());
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);
}

TEST_F(EngineHeldText, StopWithHeldTextThatIsNoCommandDeliversTheText)
{
    holdAddComma();
    FakeVosk::pushFinal(Kind::Command, final("add", {"1.0"}));
    engine.processFinalAudio();
    EXPECT_TRUE(finals(commands).empty());
    EXPECT_EQ(finals(dictated), (Deliveries{{"add comma", 2}}));
}

TEST_F(EngineHeldText, AWeakCommandAtStopLetsTheHeldTextGo)
{
    holdAddComma();
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "0.5"}));
    engine.processFinalAudio();
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 0}}));
    EXPECT_EQ(finals(dictated), (Deliveries{{"add comma", 2}}));
}

TEST_F(EngineHeldText, EndingTheUtteranceDeliversTheCommandFirstAndKeepsItsWordsOutOfTheText)
{
    holdAddComma();
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "1.0"}));
    FakeVosk::pushFinal(Kind::Dictation, final("add comma", {"1.0", "1.0"}));
    engine.endUtterance();
    EXPECT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    EXPECT_TRUE(finals(dictated).empty());
}

TEST(EngineEndOfUtterance, DictationHeardBelowTheEndOfUtteranceIsDeliveredNotLost)
{
    FakeVosk::reset();
    Vosk::Engine engine;
    ASSERT_TRUE(engine.initialize("/model"));
    engine.setLiteralKeyword("literal");
    engine.setCommandsList({"new line"});
    ASSERT_TRUE(engine.setActivated(true));
    Deliveries dictated, commands;
    engine.setCommandRecognizedFunction(
        [&](const std::string& text, KSR::RecognitionState state) { commands.push_back({text, state}); });
    engine.setDictationRecognizedFunction(
        [&](std::string& text, KSR::RecognitionState state) { dictated.push_back({text, state}); });
    engine.setDictationModeEnabled(true);
    const std::string chunk(3200, '\0');
    for (int i = 0; i < 2; ++i)  // the grammar's and the mode's first chunks
        engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
    FakeVosk::pushStep(Kind::Dictation, 0, partial("hello"));
    engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
    // Soft speech: the recognizers never found the end themselves.
    FakeVosk::pushFinal(Kind::Command, final("", {}));
    FakeVosk::pushFinal(Kind::Dictation, final("hello", {"1.0"}));
    engine.endUtterance();
    EXPECT_EQ(dictated.back(), (Delivery{"hello", KSR::Recognized}));
    EXPECT_TRUE(commands.empty());
    // Spelling delivers its letters the same way.
    engine.setSpellingEnabled(true);
    engine.applyPendingChanges();
    FakeVosk::pushFinal(Kind::Spelling, final("c a t", {"1.0", "1.0", "1.0"}));
    engine.endUtterance();
    EXPECT_EQ(dictated.back(), (Delivery{"c a t", KSR::Recognized}));
}

TEST(EnginePendingChanges, AGrammarChangeMadeWhileNoAudioFlowedCostsNoChunk)
{
    FakeVosk::reset();
    Vosk::Engine engine;
    ASSERT_TRUE(engine.initialize("/model"));
    engine.setLiteralKeyword("literal");
    engine.setCommandsList({"new line"});
    ASSERT_TRUE(engine.setActivated(true));
    engine.setDictationRecognizedFunction([](std::string&, KSR::RecognitionState) {});
    engine.setCommandRecognizedFunction([](const std::string&, KSR::RecognitionState) {});
    engine.setDictationModeEnabled(true);
    const std::string chunk(3200, '\0');
    for (int i = 0; i < 2; ++i)
        engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
    // The host switches rules and spelling on while no audio flows.
    engine.setCommandsList({"new line", "add comma"});
    ASSERT_TRUE(engine.setActivated(true));
    engine.setSpellingEnabled(true);
    engine.applyPendingChanges();
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().calls.clear();
    }
    engine.processAudio(chunk.data(), static_cast<int>(chunk.size()));
    // The first chunk after the pause reaches the new command recognizer
    // and the spelling recognizer, and is taken from neither.
    const Strings calls = FakeVosk::calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "new:Command"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "accept:Command"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "accept:Spelling"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "final:Command"), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "final:Spelling"), 0);
}

TEST(EnginePendingChanges, NothingHappensWhileTheEngineIsOff)
{
    FakeVosk::reset();
    Vosk::Engine engine;
    engine.applyPendingChanges();
    engine.endUtterance();
    EXPECT_TRUE(FakeVosk::calls().empty());
}

TEST(PhraseIndex, TellsAWholePhraseFromTheBeginningOfOne)
{
    const Vosk::PhraseIndex index({"page", "page down", "select all", "undo"}, {});
    EXPECT_TRUE(index.isWhole("page", false));
    EXPECT_TRUE(index.isWhole("page down", false));
    EXPECT_FALSE(index.isWhole("select", false));
    EXPECT_FALSE(index.isWhole("undo page", false));
    EXPECT_TRUE(index.isWhole("undo page", true));
    EXPECT_FALSE(index.isWhole("undo select", true));
    EXPECT_FALSE(index.isWhole("", true));
}

namespace {

long long bytesFed(Kind kind)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    return FakeVosk::state().bytesFed[static_cast<int>(kind)];
}

// The early end with both quiet times: 100 ms chunks of digital silence
// (always quiet), a long quiet of 300 ms and a short one of 100 ms.
class EngineQuietTimes : public EngineFast {
protected:
    void SetUp() override
    {
        EngineFast::SetUp();
        engine.setCommandsList({"page", "page down", "select all", "undo"});
        ASSERT_TRUE(engine.setActivated(true));
        feed(1);  // the chunk the new grammar drops
        engine.setEarlyEnd(300);
        engine.setEarlyEndShortQuiet(100);
    }

    // The recognizer's partial is `phrase` from the next chunk on; the
    // command arrives on the chunk `quietChunks` after it appeared.
    void expectEndAfter(const std::string& phrase, int quietChunks)
    {
        FakeVosk::setCycle(Kind::Command, {{0, partial(phrase)}});
        FakeVosk::pushFinal(Kind::Command, final(phrase, {"1.0"}));
        feed(quietChunks);
        EXPECT_TRUE(finals(commands).empty());
        feed(1);
        EXPECT_EQ(finals(commands), (Deliveries{{phrase, 2}}));
    }
};

}  // namespace

TEST_F(EngineQuietTimes, APhraseNoLongerOneBeginsWithEndsAfterTheShortQuiet)
{
    expectEndAfter("undo", 1);
}

TEST_F(EngineQuietTimes, APhraseALongerOneBeginsWithWaitsTheLongQuiet)
{
    expectEndAfter("page", 3);  // "down" may still come for 300 ms
}

TEST_F(EngineQuietTimes, TheShortQuietIsNeverLongerThanTheLongOne)
{
    engine.setEarlyEndShortQuiet(1000);
    EXPECT_EQ(engine.earlyEndShortQuiet(), 1000);
    expectEndAfter("undo", 3);
}

TEST_F(EngineQuietTimes, WithoutAShortQuietEveryPhraseWaitsTheLongOne)
{
    engine.setEarlyEndShortQuiet(-5);
    EXPECT_EQ(engine.earlyEndShortQuiet(), 0);
    expectEndAfter("undo", 3);
}

// libvosk's partial runs ahead of a pause inside a phrase ("select all"
// while only "select" was said); the final result then holds "select"
// alone. The utterance is heard again, whole, once the speaker goes on.
TEST_F(EngineQuietTimes, AnEarlyEndThatHeardOnlyTheBeginningOfAPhraseHearsItAgainWithTheNextWords)
{
    FakeVosk::pushStep(Kind::Command, 0, partial("select all"));
    FakeVosk::pushStep(Kind::Command, 0, partial("select all"));
    FakeVosk::pushFinal(Kind::Command, final("select", {"1.0"}));
    feed(2);
    EXPECT_TRUE(finals(commands).empty());
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);

    // Quiet: no recognizer is made for it.
    feed(2);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);

    // The next words: the new recognizer hears the kept utterance (two
    // chunks), the quiet since (two) and this chunk at once.
    const auto voice = tone(1600, 3000.0);
    const long long before = bytesFed(Kind::Command);
    FakeVosk::pushStep(Kind::Command, 1, final("select all", {"1.0", "1.0"}));
    engine.processAudio(reinterpret_cast<const char*>(voice.data()), static_cast<int>(voice.size() * 2));
    EXPECT_EQ(bytesFed(Kind::Command) - before, 4 * 3200 + 3200);
    EXPECT_EQ(finals(commands), (Deliveries{{"select all", 2}}));
}

TEST_F(EngineQuietTimes, TheBeginningOfAPhraseWithNothingAfterItIsNoCommand)
{
    FakeVosk::pushStep(Kind::Command, 0, partial("select all"));
    FakeVosk::pushStep(Kind::Command, 0, partial("select all"));
    FakeVosk::pushFinal(Kind::Command, final("select", {"1.0"}));
    feed(2);
    feed(11);  // more than a second of quiet: the kept words are let go
    const auto voice = tone(1600, 3000.0);
    const long long before = bytesFed(Kind::Command);
    engine.processAudio(reinterpret_cast<const char*>(voice.data()), static_cast<int>(voice.size() * 2));
    // Only the last 300 ms of quiet before the voice, and the voice.
    EXPECT_EQ(bytesFed(Kind::Command) - before, 3 * 3200 + 3200);
    EXPECT_TRUE(finals(commands).empty());
}

TEST_F(EngineQuietTimes, WordsThatCanBecomeNoCommandEndAfterTheLongQuiet)
{
    FakeVosk::setCycle(Kind::Command, {{0, partial("[unk]")}});
    feed(3);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 1);
    feed(1);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);
    EXPECT_TRUE(commands.empty());
}

namespace {

// A sine of `hertz` at 16 kHz, from sample `from` on (so that pieces join).
std::vector<std::int16_t> sine(double hertz, double amplitude, std::size_t samples, std::size_t from = 0)
{
    std::vector<std::int16_t> out(samples);
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = static_cast<std::int16_t>(
            amplitude * std::sin(2.0 * 3.14159265358979323846 * hertz * static_cast<double>(from + i) / 16000.0));
    return out;
}

std::vector<std::int16_t> mixed(const std::vector<std::int16_t>& a, const std::vector<std::int16_t>& b)
{
    std::vector<std::int16_t> out(a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        out[i] = static_cast<std::int16_t>(a[i] + b[i]);
    return out;
}

}  // namespace

// A 30 Hz rumble as loud as the voice: its energy in 10 ms frames swings
// with its phase, and heard whole it would never let the quiet begin.
// The speaker's rule hears above it.
TEST(VoiceActivity, ARumbleUnderTheVoiceDoesNotHideTheQuietAfterIt)
{
    Vosk::VoiceActivity voice(Vosk::VoiceActivity::Rule::TheSpeaker);
    const std::size_t lead = 16000, speech = 4800, after = 4800;
    const auto rumble = sine(30.0, 3000.0, lead + speech + after);
    voice.feed(rumble.data(), lead);
    const auto said = mixed(std::vector<std::int16_t>(rumble.begin() + lead, rumble.begin() + lead + speech),
                            sine(764.0, 3000.0, speech));
    voice.feed(said.data(), said.size());
    EXPECT_EQ(voice.samplesSinceVoice(), 0);
    voice.feed(rumble.data() + lead + speech, after);
    EXPECT_EQ(voice.samplesSinceVoice(), static_cast<long long>(after));
}

// Talk around the speaker, more than 20 dB below the speaker's voice and
// coming and going every 50 ms: not the speaker while the speaker's voice
// is within the last second, voice again once it is not.
TEST(VoiceActivity, TalkFarBelowTheSpeakerIsQuietForASecondAfterTheSpeaker)
{
    Vosk::VoiceActivity voice(Vosk::VoiceActivity::Rule::TheSpeaker);
    const auto floor = tone(16000, 20.0);
    voice.feed(floor.data(), floor.size());
    const auto speaker = tone(4800, 3000.0);
    voice.feed(speaker.data(), speaker.size());
    ASSERT_EQ(voice.samplesSinceVoice(), 0);
    // 2 s of talk at a twentieth of the speaker's amplitude (-26 dB), on for
    // 50 ms and off for 50 ms: each "on" stands 20 dB above the floor.
    std::vector<std::int16_t> talk;
    for (int burst = 0; burst < 20; ++burst) {
        const auto on = tone(800, 150.0);
        const auto off = tone(800, 15.0);
        talk.insert(talk.end(), on.begin(), on.end());
        talk.insert(talk.end(), off.begin(), off.end());
    }
    voice.feed(talk.data(), 16000);  // the speaker's voice left the last second at its end
    EXPECT_EQ(voice.samplesSinceVoice(), 16000);
    voice.feed(talk.data() + 16000, 800);
    EXPECT_EQ(voice.samplesSinceVoice(), 0);
}

// A voice that brings no words (a click, a noise floor that rose): the
// recognizer it woke shows no partial, and after the long quiet it sleeps
// again until the next voice instead of decoding the noise for seconds.
TEST_F(EngineQuietTimes, ARecognizerThatHearsNoWordsSleepsAgainAfterTheLongQuiet)
{
    feed(1);  // the recognizer of the new grammar is made
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 1);
    feed(2);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 1);
    feed(1);  // 300 ms without words or voice
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);

    const long long asleep = bytesFed(Kind::Command);
    feed(5);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);
    EXPECT_EQ(bytesFed(Kind::Command), asleep);

    // The next voice: a recognizer with the last 300 ms of quiet and the voice.
    const auto voice = tone(1600, 3000.0);
    FakeVosk::pushStep(Kind::Command, 1, final("undo", {"1.0"}));
    engine.processAudio(reinterpret_cast<const char*>(voice.data()), static_cast<int>(voice.size() * 2));
    EXPECT_EQ(bytesFed(Kind::Command) - asleep, 3 * 3200 + 3200);
    EXPECT_EQ(finals(commands), (Deliveries{{"undo", 2}}));
}

TEST_F(EngineQuietTimes, ARecognizerWithNoWordsStaysAwakeWhileTheVoiceGoesOn)
{
    feed(1);  // the recognizer of the new grammar is made, on quiet
    // 400 ms of a steady tone: voice throughout for the detector, which
    // takes a sound for the floor once the quiet has left its 600 ms.
    const auto voice = tone(1600, 3000.0);
    for (int i = 0; i < 4; ++i)
        engine.processAudio(reinterpret_cast<const char*>(voice.data()), static_cast<int>(voice.size() * 2));
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 1);
    feed(2);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 1);
    feed(1);
    EXPECT_EQ(FakeVosk::alive(Kind::Command), 0);
}

// The words of a taken command are flushed from the dictation recognizer;
// it then hears nothing until the next voice, and wakes with the last
// 300 ms before it, as the command recognizer does.
TEST_F(EngineFast, AfterATakenCommandTheDictationRecognizerSleepsUntilTheNextVoice)
{
    engine.setEarlyEnd(250);
    engine.setDictationModeEnabled(true);
    feed(1);  // the mode switch's flush
    FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    FakeVosk::pushFinal(Kind::Command, final("add comma", {"1.0", "1.0"}));
    for (int i = 0; i < 3; ++i)
        FakeVosk::pushStep(Kind::Command, 0, partial("add comma"));
    feed(4);
    ASSERT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));

    const long long asleep = bytesFed(Kind::Dictation);
    feed(6);
    EXPECT_EQ(bytesFed(Kind::Dictation), asleep);

    const auto voice = tone(1600, 3000.0);
    FakeVosk::pushStep(Kind::Dictation, 1, final("hello", {"1.0"}));
    engine.processAudio(reinterpret_cast<const char*>(voice.data()), static_cast<int>(voice.size() * 2));
    EXPECT_EQ(bytesFed(Kind::Dictation) - asleep, 3 * 3200 + 3200);
    EXPECT_EQ(finals(dictated), (Deliveries{{"hello", 2}}));
}

TEST_F(EngineFast, WithoutTheEarlyEndTheDictationRecognizerHearsEveryChunkAfterACommand)
{
    engine.setDictationModeEnabled(true);
    feed(1);
    FakeVosk::pushStep(Kind::Command, 1, final("add comma", {"1.0", "1.0"}));
    feed(1);
    ASSERT_EQ(finals(commands), (Deliveries{{"add comma", 2}}));
    const long long before = bytesFed(Kind::Dictation);
    feed(3);
    EXPECT_EQ(bytesFed(Kind::Dictation) - before, 3 * 3200);
}

// Commands with arguments: patterns join the phrases in the index, the
// grammar, the early end's quiet times and chains.
namespace {

std::shared_ptr<const KSR::CommandPatternSet> patternSet(const Strings& texts, const KSR::SpokenLists& lists = {})
{
    std::set<std::string> names;
    for (const auto& list : lists)
        names.insert(list.first);
    std::vector<std::shared_ptr<const KSR::CommandPattern>> patterns;
    for (const std::string& text : texts) {
        std::string error;
        patterns.push_back(KSR::CommandPattern::parse(text, names, error));
        EXPECT_TRUE(patterns.back()) << text << ": " << error;
    }
    return std::make_shared<const KSR::CommandPatternSet>(patterns, lists);
}

}  // namespace

TEST(PhraseIndexPatterns, ANumberThatCouldGoOnIsABeginning)
{
    const Vosk::PhraseIndex index({"save file"}, {}, patternSet({"go to line <line:number 1..100>"}));
    EXPECT_EQ(index.classify("go to", false), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("go to line", false), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("go to line twenty", false), Vosk::PhraseMatch::Beginning);  // twenty one
    EXPECT_EQ(index.classify("go to line six", false), Vosk::PhraseMatch::Beginning);     // six four
    EXPECT_EQ(index.classify("go to line twenty one", false), Vosk::PhraseMatch::Complete);
    EXPECT_EQ(index.classify("go to line one hundred", false), Vosk::PhraseMatch::Complete);
    EXPECT_EQ(index.classify("go to line two hundred", false), Vosk::PhraseMatch::None);
    EXPECT_EQ(index.classify("go to save", false), Vosk::PhraseMatch::None);
    EXPECT_TRUE(index.isWhole("go to line twenty", false));
    EXPECT_FALSE(index.isWhole("go to line", false));
}

TEST(PhraseIndexPatterns, ChainsSplitAtTheEndOfAPatternsCommand)
{
    const Vosk::PhraseIndex index({"save file", "page"}, {},
                                  patternSet({"go to line <line:number 1..100>", "turn <c:list colours>"},
                                             {{"colours", {{"red", "1"}, {"dark red", "2"}}}}));
    EXPECT_EQ(index.split("go to line forty two save file"), (Strings{"go to line forty two", "save file"}));
    EXPECT_EQ(index.split("turn dark red page"), (Strings{"turn dark red", "page"}));
    EXPECT_EQ(index.split("save file go to line seven"), (Strings{"save file", "go to line seven"}));
    EXPECT_TRUE(index.split("go to line two hundred save file").empty());
    EXPECT_EQ(index.classify("save file go to line", true), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("save file turn dark", true), Vosk::PhraseMatch::Beginning);
    EXPECT_EQ(index.classify("save file turn dark red", true), Vosk::PhraseMatch::Complete);
    EXPECT_EQ(index.classify("turn red", true), Vosk::PhraseMatch::Complete);
}

namespace {

struct WordsDelivery {
    std::string text;
    std::vector<int> confidences;
    int state;
    bool operator==(const WordsDelivery& other) const
    {
        return text == other.text && confidences == other.confidences && state == other.state;
    }
};

std::ostream& operator<<(std::ostream& out, const WordsDelivery& d)
{
    out << "(" << d.text << ", [";
    for (int c : d.confidences)
        out << c << " ";
    return out << "], " << d.state << ")";
}

class EnginePatterns : public EngineQuietTimes {
protected:
    void SetUp() override
    {
        EngineQuietTimes::SetUp();
        engine.setCommandPatterns(patternSet({"go to line <line:number 1..100>", "select <n:number 1..20> words"}));
        ASSERT_TRUE(engine.setActivated(true));
        engine.setCommandWordsFunction(
            [this](const std::string& text, const std::vector<int>& confidences, KSR::RecognitionState state) {
                heard.push_back({text, confidences, state});
                commands.push_back({text, state});
            });
        feed(1);  // the chunk the new grammar drops
    }

    std::vector<WordsDelivery> heard;
};

}  // namespace

TEST_F(EnginePatterns, ThePatternsPhrasesJoinTheCommandGrammar)
{
    const Strings grammars = FakeVosk::grammars();
    ASSERT_FALSE(grammars.empty());
    const std::string& last = grammars.back();
    for (const char* phrase : {"\"go to line one\"", "\"select one words\"", "\"forty\"", "\"hundred\"", "\"undo\""})
        EXPECT_NE(last.find(phrase), std::string::npos) << phrase << " in " << last;
}

TEST_F(EnginePatterns, APatternsCommandComesWithTheConfidenceOfEachWord)
{
    engine.setEarlyEnd(0);
    FakeVosk::pushStep(Kind::Command, 1, final("go to line forty two", {"1.0", "1.0", "0.99", "0.95", "0.931"}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line forty two", {100, 100, 99, 95, 93}, 2}}));
}

// Words that begin like a command with arguments and can no longer be one
// are a failed command; other words that are no command give nothing.
TEST_F(EnginePatterns, ANumberOutsideItsRangeOrWordsLeftOverAreAFailure)
{
    engine.setEarlyEnd(0);
    FakeVosk::pushStep(Kind::Command, 1, final("go to line two hundred", {"1.0", "1.0", "1.0", "1.0", "1.0"}));
    feed(1);
    FakeVosk::pushStep(Kind::Command, 1, final("select twenty one words", {"1.0", "1.0", "1.0", "1.0"}));
    feed(1);
    FakeVosk::pushStep(Kind::Command, 1, final("go to line five words", {"1.0", "1.0", "1.0", "1.0", "1.0"}));
    feed(1);
    FakeVosk::pushStep(Kind::Command, 1, final("words line", {"1.0", "1.0"}));
    feed(1);
    FakeVosk::pushStep(Kind::Command, 1, final("go to", {"1.0", "1.0"}));  // the utterance is over
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line two hundred", {100, 100, 100, 100, 100}, 0},
                                                 {"select twenty one words", {100, 100, 100, 100}, 0},
                                                 {"go to line five words", {100, 100, 100, 100, 100}, 0},
                                                 {"go to", {100, 100}, 0}}));
}

TEST_F(EnginePatterns, HypothesesOfAPatternCarryNoConfidences)
{
    engine.setEarlyEnd(0);
    FakeVosk::pushStep(Kind::Command, 0, partial("go to line forty"));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line forty", {}, 1}}));
}

TEST_F(EnginePatterns, ANumberThatCouldGoOnWaitsTheLongQuiet)
{
    expectEndAfter("go to line twenty", 3);  // "one" may still come
}

TEST_F(EnginePatterns, ANumberThatCannotGoOnEndsAfterTheShortQuiet)
{
    expectEndAfter("go to line twenty one", 1);
}

TEST_F(EnginePatterns, AChainHandsEachCommandItsOwnWords)
{
    engine.setEarlyEnd(0);
    engine.setChaining(true);
    FakeVosk::pushStep(Kind::Command, 1,
                       final("go to line forty two undo select three words",
                             {"1.0", "1.0", "1.0", "0.97", "0.96", "0.95", "1.0", "0.94", "1.0"}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line forty two", {100, 100, 100, 97, 96}, 2},
                                                 {"undo", {95}, 2},
                                                 {"select three words", {100, 94, 100}, 2}}));
}

namespace {

// "find <query:text>" beside the number patterns, with the early end off.
class EngineTextSlot : public EnginePatterns {
protected:
    void SetUp() override
    {
        EnginePatterns::SetUp();
        engine.setEarlyEnd(0);
        engine.setCommandPatterns(patternSet({"go to line <line:number 1..100>", "find <query:text>"}));
        ASSERT_TRUE(engine.setActivated(true));
        feed(1);  // the chunk the new grammar drops
    }
};

}  // namespace

TEST_F(EngineTextSlot, WordsTheGrammarCannotNameAreHeardAgainAsFreeSpeech)
{
    FakeVosk::pushStep(Kind::Command, 0, partial("find"));
    FakeVosk::pushStep(Kind::Command, 0, partial("find [unk]"));
    FakeVosk::pushStep(Kind::Dictation, 0, partial("find hello"));
    feed(2);
    EXPECT_TRUE(heard.empty());
    // The free recognizer heard both chunks at once, and hears on.
    EXPECT_EQ(bytesFed(Kind::Dictation), 2 * static_cast<long long>(chunk.size()));
    FakeVosk::pushStep(Kind::Dictation, 1, final("find hello world", {"1.0", "0.98", "0.97"}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"find hello world", {100, 98, 97}, 2}}));
    EXPECT_EQ(bytesFed(Kind::Dictation), 3 * static_cast<long long>(chunk.size()));
    // The command recognizer comes back for the next utterance.
    FakeVosk::pushStep(Kind::Command, 1, final("go to line seven", {"1.0", "1.0", "1.0", "1.0"}));
    feed(1);
    EXPECT_EQ(heard.back(), (WordsDelivery{"go to line seven", {100, 100, 100, 100}, 2}));
}

TEST_F(EngineTextSlot, FreeWordsThatAreNoCommandGiveNothing)
{
    FakeVosk::pushStep(Kind::Command, 0, partial("find [unk]"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("fine hello world", {"1.0", "1.0", "1.0"}));
    feed(1);
    EXPECT_TRUE(heard.empty());
}

// Grammar words in a text slot are no better: the grammar recognizer puts
// the nearest ones where the free words were ("find close word" for "find
// hello world").
TEST_F(EngineTextSlot, WordsTheGrammarNamedAreHeardAgainToo)
{
    FakeVosk::pushStep(Kind::Command, 1, final("find line", {"1.0", "1.0"}));
    FakeVosk::pushStep(Kind::Dictation, 1, final("find lime", {"1.0", "0.95"}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"find lime", {100, 95}, 2}}));
    EXPECT_EQ(bytesFed(Kind::Dictation), static_cast<long long>(chunk.size()));
}

namespace {

std::string alternatives(const std::vector<std::pair<std::string, double>>& readings)
{
    std::string json = "{\"alternatives\" : [";
    for (std::size_t i = 0; i < readings.size(); ++i)
        json += std::string(i ? ", " : "") + "{\"confidence\" : " + std::to_string(readings[i].second) +
                ", \"result\" : [], \"text\" : \"" + readings[i].first + "\"}";
    return json + "]}";
}

std::vector<int> maxAlternativesAsked()
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    return FakeVosk::state().maxAlternatives;
}

}  // namespace

// "two" after "forty" and "to" sound alike: the best reading is no command,
// the next, nearly as likely, is one. Its changed word is as sure as the
// sound was: the share of the readings that say either word there.
TEST_F(EnginePatterns, ANearlyAsLikelyReadingThatIsACommandIsTaken)
{
    engine.setEarlyEnd(0);
    FakeVosk::pushStep(Kind::Command, 1, final("go to line forty to", {"1.0", "1.0", "1.0", "0.98", "0.55"}));
    FakeVosk::pushFinal(Kind::Command, alternatives({{"go to line forty to", 75.2}, {"go to line forty two", 74.44},
                                                     {"go to line forty", 70.0}}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line forty two", {100, 100, 100, 98, 99}, 2}}));
    EXPECT_EQ(maxAlternativesAsked(), (std::vector<int>{5}));
}

TEST_F(EnginePatterns, AReadingFarLessLikelyIsNotTakenAndTheCommandFails)
{
    engine.setEarlyEnd(0);
    FakeVosk::pushStep(Kind::Command, 1, final("go to line forty to", {"1.0", "1.0", "1.0", "0.98", "0.55"}));
    FakeVosk::pushFinal(Kind::Command,
                        alternatives({{"go to line forty to", 75.2}, {"go to line forty two", 72.9}}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line forty to", {100, 100, 100, 98, 55}, 0}}));
}

TEST_F(EnginePatterns, AReadingOfOtherLengthOrNoCommandIsNotTaken)
{
    engine.setEarlyEnd(0);
    FakeVosk::pushStep(Kind::Command, 1, final("select two to words", {"1.0", "1.0", "0.6", "1.0"}));
    FakeVosk::pushFinal(Kind::Command, alternatives({{"select two to words", 50.0}, {"select two words", 49.9},
                                                     {"select to two words", 49.8}}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"select two to words", {100, 100, 60, 100}, 0}}));
}

TEST_F(EnginePatterns, AReadingThatIsAChainIsDeliveredAsOne)
{
    engine.setEarlyEnd(0);
    engine.setChaining(true);
    FakeVosk::pushStep(Kind::Command, 1,
                       final("go to line forty to undo", {"1.0", "1.0", "1.0", "1.0", "0.6", "1.0"}));
    FakeVosk::pushFinal(Kind::Command,
                        alternatives({{"go to line forty to undo", 106.18}, {"go to line forty two undo", 105.56}}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"go to line forty two", {100, 100, 100, 100, 100}, 2},
                                                 {"undo", {100}, 2}}));
}

// The free recognizer's own end of utterance may come late; half a second
// of quiet after the speaker's voice ends the sentence, so that a command
// said next is not taken as more text.
TEST_F(EngineTextSlot, HalfASecondOfQuietAfterTheVoiceEndsTheText)
{
    const std::vector<std::int16_t> voice = tone(1600, 3000.0);
    const std::string quiet = chunk;
    FakeVosk::pushStep(Kind::Command, 0, partial("find [unk]"));
    chunk.assign(reinterpret_cast<const char*>(voice.data()), voice.size() * 2);
    feed(3);  // the text stage begins on the first chunk and hears voice
    chunk = quiet;
    FakeVosk::pushFinal(Kind::Dictation, final("find hello world", {"1.0", "1.0", "1.0"}));
    feed(4);
    EXPECT_TRUE(heard.empty());  // 400 ms of quiet: the sentence may go on
    feed(2);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"find hello world", {100, 100, 100}, 2}}));
}

TEST_F(EngineTextSlot, WithChainingCommandsBeforeFreeTextAreHeardToo)
{
    engine.setChaining(true);
    FakeVosk::pushStep(Kind::Command, 0, partial("undo find [unk]"));
    FakeVosk::pushStep(Kind::Dictation, 1, final("undo find hello world", {"1.0", "1.0", "0.97", "1.0"}));
    feed(1);
    EXPECT_EQ(heard, (std::vector<WordsDelivery>{{"undo", {100}, 2}, {"find hello world", {100, 97, 100}, 2}}));
}

TEST_F(EngineTextSlot, WithoutChainingWordsBeforeTheTextAreNoCommand)
{
    FakeVosk::pushStep(Kind::Command, 0, partial("undo find [unk]"));
    feed(1);
    EXPECT_EQ(bytesFed(Kind::Dictation), 0);  // no free recognizer
    EXPECT_TRUE(heard.empty());
}

TEST(VoiceActivity, TalkFarBelowTheSpeakerIsNeverLoud)
{
    Vosk::VoiceActivity voice(Vosk::VoiceActivity::Rule::TheSpeaker);
    const auto quiet = tone(8000, 10.0);
    voice.feed(quiet.data(), quiet.size());
    EXPECT_EQ(voice.loudEnd(), 0);
    const auto speaker = tone(4800, 3000.0);
    voice.feed(speaker.data(), speaker.size());
    const long long speakerEnd = voice.samplesHeard();
    EXPECT_EQ(voice.loudEnd(), speakerEnd);
    // 15.6 dB below: voice for the end of a command, but not loud.
    const auto talk = tone(2400, 500.0);
    voice.feed(talk.data(), talk.size());
    EXPECT_EQ(voice.samplesSinceVoice(), 0);
    EXPECT_EQ(voice.loudEnd(), speakerEnd);
    // 6 dB below the speaker: loud.
    const auto nearer = tone(1600, 1500.0);
    voice.feed(nearer.data(), nearer.size());
    EXPECT_EQ(voice.loudEnd(), voice.samplesHeard());
}

TEST(TrailingTalk, TheLastWordsFromTheCutOnGo)
{
    const std::string json = "{\"result\":[{\"conf\":1.0,\"end\":0.9,\"start\":0.3,\"word\":\"save\"},"
                             "{\"conf\":0.98,\"end\":1.3,\"start\":0.9,\"word\":\"file\"},"
                             "{\"conf\":0.7,\"end\":1.9,\"start\":1.2,\"word\":\"[unk]\"}],\"text\":\"save file [unk]\"}";
    // "[unk]" starts before the cut at 1.4 s, but most of it lies after.
    EXPECT_EQ(Vosk::withoutWordsFrom(json, 1.4),
              "{\"result\":[{\"conf\":1.0,\"end\":0.9,\"start\":0.3,\"word\":\"save\"},"
              "{\"conf\":0.98,\"end\":1.3,\"start\":0.9,\"word\":\"file\"}],\"text\":\"save file\"}");
    EXPECT_EQ(Vosk::withoutWordsFrom(json, 1.0),
              "{\"result\":[{\"conf\":1.0,\"end\":0.9,\"start\":0.3,\"word\":\"save\"}],\"text\":\"save\"}");
    EXPECT_EQ(Vosk::withoutWordsFrom(json, 1.6), "");  // nothing goes
    EXPECT_EQ(Vosk::withoutWordsFrom("{\"text\":\"save file\"}", 0.0), "");  // no word times
    EXPECT_EQ(Vosk::withoutWordsFrom("not json", 0.0), "");
}

TEST(TrailingTalk, WordTimesFollowTheModelsFrameSubsampling)
{
    const std::string folder = testing::TempDir() + "ksr_word_times";
    std::system(("mkdir -p '" + folder + "/conf'").c_str());
    EXPECT_DOUBLE_EQ(Vosk::secondsPerWordTime(folder), 1.0);  // no model.conf: libvosk's own factor
    std::ofstream(folder + "/conf/model.conf") << "--beam=13.0\n--frame-subsampling-factor=1\n";
    EXPECT_DOUBLE_EQ(Vosk::secondsPerWordTime(folder), 1.0 / 3.0);
    std::ofstream(folder + "/conf/model.conf") << "--frame-subsampling-factor=3\n";
    EXPECT_DOUBLE_EQ(Vosk::secondsPerWordTime(folder), 1.0);
}

namespace {

// A final result whose words carry times, as libvosk writes them.
std::string timedFinal(const std::vector<std::tuple<std::string, double, double>>& words)
{
    std::string json = "{\"result\":[";
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        json += std::string(i ? "," : "") + "{\"conf\":1.0,\"end\":" + std::to_string(std::get<2>(words[i])) +
                ",\"start\":" + std::to_string(std::get<1>(words[i])) + ",\"word\":\"" + std::get<0>(words[i]) + "\"}";
        text += (i ? " " : "") + std::get<0>(words[i]);
    }
    return json + "],\"text\":\"" + text + "\"}";
}

class EngineTrailingTalk : public EngineQuietTimes {
protected:
    void SetUp() override
    {
        EngineQuietTimes::SetUp();
        feed(3);  // quiet before the speaker, for the voice detector's floor
    }

    // `chunks` of 100 ms at `amplitude`.
    void feedTone(int chunks, double amplitude)
    {
        const auto samples = tone(1600, amplitude);
        for (int i = 0; i < chunks; ++i)
            engine.processAudio(reinterpret_cast<const char*>(samples.data()), 3200);
    }
};

}  // namespace

// The speaker says "undo" and stops; talk 15 dB below goes on, so the quiet
// never comes, and libvosk's own end hears the talk as one more word.
TEST_F(EngineTrailingTalk, WordsHeardAfterTheSpeakersLastLoudFrameAreNotTheSpeakers)
{
    FakeVosk::setCycle(Kind::Command, {{0, partial("undo")}});
    feedTone(2, 3000.0);
    feedTone(3, 500.0);
    EXPECT_TRUE(finals(commands).empty());
    FakeVosk::pushStep(Kind::Command, 1, timedFinal({{"undo", 0.0, 0.2}, {"[unk]", 0.2, 1.2}}));
    feedTone(1, 500.0);
    EXPECT_EQ(finals(commands), (Deliveries{{"undo", 2}}));
}

// "page" while "page down" is on: the speaker may be pausing inside the
// longer phrase, so the talk's word keeps the result from being "page"
// until the long quiet has passed since the speaker's last loud frame.
TEST_F(EngineTrailingTalk, APhraseThatCouldGoOnWaitsTheLongQuietBeforeTalkIsDropped)
{
    FakeVosk::setCycle(Kind::Command, {{0, partial("page")}});
    feedTone(2, 3000.0);
    feedTone(1, 500.0);
    FakeVosk::pushStep(Kind::Command, 1, timedFinal({{"page", 0.0, 0.2}, {"[unk]", 0.2, 1.2}}));
    feedTone(1, 500.0);  // 200 ms after the speaker; the long quiet is 300 ms
    EXPECT_TRUE(finals(commands).empty());
}

// Without the early end every result is taken as libvosk gives it.
TEST_F(EngineTrailingTalk, WithoutTheEarlyEndTalkAfterACommandIsKept)
{
    engine.setEarlyEnd(0);
    FakeVosk::setCycle(Kind::Command, {{0, partial("undo")}});
    feedTone(2, 3000.0);
    feedTone(3, 500.0);
    FakeVosk::pushStep(Kind::Command, 1, timedFinal({{"undo", 0.0, 0.2}, {"[unk]", 0.2, 1.2}}));
    feedTone(1, 500.0);
    EXPECT_TRUE(finals(commands).empty());
}

namespace {

// 100 ms of talk: 70 ms at `amplitude`, then 30 ms at a quarter of it
// (12 dB less), as a room's talk swings between syllables.
std::vector<std::int16_t> talkChunk(double amplitude)
{
    std::vector<std::int16_t> chunk = tone(1120, amplitude);
    const auto dip = tone(480, amplitude / 4.0);
    chunk.insert(chunk.end(), dip.begin(), dip.end());
    return chunk;
}

void feedTalk(Vosk::VoiceActivity& voice, int chunks, double amplitude)
{
    const auto chunk = talkChunk(amplitude);
    for (int i = 0; i < chunks; ++i)
        voice.feed(chunk.data(), chunk.size());
}

}  // namespace

TEST(VoiceActivity, TalkBeforeTheSpeakerIsToldAndWhereTheSpeakerBeganAndEnded)
{
    Vosk::VoiceActivity voice(Vosk::VoiceActivity::Rule::TheSpeaker);
    const auto quiet = tone(8000, 10.0);
    voice.feed(quiet.data(), quiet.size());
    feedTalk(voice, 10, 500.0);
    EXPECT_EQ(voice.speakerAmidTalk().onset, -1);  // the talk is the loudest yet: no speaker above it
    const long long speakerBegins = voice.samplesHeard();
    const auto speaker = tone(4800, 3000.0);
    voice.feed(speaker.data(), speaker.size());
    const long long speakerEnds = voice.samplesHeard();
    feedTalk(voice, 3, 500.0);
    const Vosk::VoiceActivity::AmidTalk talk = voice.speakerAmidTalk();
    EXPECT_EQ(talk.onset, speakerBegins);
    EXPECT_EQ(talk.end, speakerEnds);
    EXPECT_EQ(voice.loudEnd(), speakerEnds);
    // A frame more than 3 dB above the talk's loudest is the speaker's, loud or not.
    const auto weak = tone(800, 800.0);  // 11.5 dB below the speaker, 4 dB above the talk
    voice.feed(weak.data(), weak.size());
    EXPECT_EQ(voice.speakerAmidTalk().end, voice.samplesHeard());
    EXPECT_EQ(voice.loudEnd(), speakerEnds);
}

TEST(VoiceActivity, NoTalkIsToldBeforeASpeakerInQuietOrSteadyNoise)
{
    for (const double before : {10.0, 500.0}) {
        Vosk::VoiceActivity voice(Vosk::VoiceActivity::Rule::TheSpeaker);
        const auto steady = tone(24000, before);  // a steady level swings by no 6 dB
        voice.feed(steady.data(), steady.size());
        const auto speaker = tone(4800, 3000.0);
        voice.feed(speaker.data(), speaker.size());
        feedTalk(voice, 3, 500.0);
        EXPECT_EQ(voice.speakerAmidTalk().onset, -1) << before;
    }
}

TEST(VoiceActivity, NoTalkIsToldWhenTheSpeakerHasSpokenForLongerThanTheHistory)
{
    Vosk::VoiceActivity voice(Vosk::VoiceActivity::Rule::TheSpeaker);
    const auto quiet = tone(8000, 10.0);
    voice.feed(quiet.data(), quiet.size());
    feedTalk(voice, 10, 500.0);
    const auto speaker = tone(16000 * 5, 3000.0);  // five seconds without a pause
    voice.feed(speaker.data(), speaker.size());
    feedTalk(voice, 3, 500.0);
    EXPECT_EQ(voice.speakerAmidTalk().onset, -1);
}

TEST(TrailingTalk, TheFirstWordsBeforeTheSpeakerGoToo)
{
    const std::string json = "{\"result\":[{\"conf\":0.5,\"end\":0.4,\"start\":0.0,\"word\":\"close\"},"
                             "{\"conf\":1.0,\"end\":0.9,\"start\":0.45,\"word\":\"save\"},"
                             "{\"conf\":0.98,\"end\":1.3,\"start\":0.9,\"word\":\"file\"},"
                             "{\"conf\":0.7,\"end\":1.9,\"start\":1.2,\"word\":\"[unk]\"}],\"text\":\"close save file [unk]\"}";
    const std::string saveFile = "{\"result\":[{\"conf\":1.0,\"end\":0.9,\"start\":0.45,\"word\":\"save\"},"
                                 "{\"conf\":0.98,\"end\":1.3,\"start\":0.9,\"word\":\"file\"}],\"text\":\"save file\"}";
    EXPECT_EQ(Vosk::onlyWordsWithin(json, 0.5, 1.4), saveFile);
    EXPECT_EQ(Vosk::onlyWordsWithin(json, 0.5, 10.0, 2), saveFile);  // at most two words
    EXPECT_EQ(Vosk::onlyWordsWithin(json, 0.0, 10.0), "");           // nothing goes
    EXPECT_EQ(Vosk::onlyWordsWithin(json, 0.5, 0.6),
              "{\"result\":[],\"text\":\"\"}");  // every word goes
}

namespace {

class EngineTalkAround : public EngineTrailingTalk {
protected:
    void feedTalk(int chunks)
    {
        const auto samples = talkChunk(500.0);
        for (int i = 0; i < chunks; ++i)
            engine.processAudio(reinterpret_cast<const char*>(samples.data()), 3200);
    }
};

}  // namespace

// Talk goes on before, during and after the speaker's "undo", and the
// decoder hears it as words on both sides. The command ends the short quiet
// after the speaker's last loud frame, without the talk's words.
TEST_F(EngineTalkAround, ACommandAmidTalkEndsTheShortQuietAfterTheSpeakerWithoutTheTalksWords)
{
    FakeVosk::setCycle(Kind::Command, {{0, partial("[unk] undo")}});
    feedTalk(10);
    feedTone(3, 3000.0);
    EXPECT_TRUE(finals(commands).empty());
    // The recognizer began 300 to 400 ms before the talk: "undo" lies
    // between 1.05 and 1.15 s after the talk began, inside the speaker's words.
    FakeVosk::pushFinal(Kind::Command, timedFinal({{"[unk]", 0.0, 0.9}, {"undo", 1.3, 1.6}, {"[unk]", 1.75, 2.6}}));
    feedTalk(1);  // 100 ms: the short quiet
    EXPECT_EQ(finals(commands), (Deliveries{{"undo", 2}}));
}

// Without talk before the speaker the same words do not end early: the
// speaker's weak syllables can be as far below their vowels as talk is.
TEST_F(EngineTalkAround, WithoutTalkBeforeTheSpeakerTalkAfterThemEndsNothingEarly)
{
    FakeVosk::setCycle(Kind::Command, {{0, partial("undo")}});
    feedTone(3, 3000.0);
    feedTalk(5);
    EXPECT_TRUE(finals(commands).empty());
}

// "page" while "page down" is on: the speaker may be pausing. Amid talk it
// waits the long quiet after the speaker's last frame above the talk, and
// not at all once the partial heard more: "down" may have been too weak
// to be loud.
TEST_F(EngineTalkAround, APhraseThatCouldGoOnAmidTalkWaitsTheLongQuietAndNoMoreWords)
{
    FakeVosk::setCycle(Kind::Command, {{0, partial("[unk] page")}});
    feedTalk(10);
    feedTone(3, 3000.0);
    FakeVosk::pushFinal(Kind::Command, timedFinal({{"[unk]", 0.0, 0.9}, {"page", 1.3, 1.6}}));
    feedTalk(2);
    EXPECT_TRUE(finals(commands).empty());
    feedTalk(1);  // 300 ms: the long quiet
    EXPECT_EQ(finals(commands), (Deliveries{{"page", 2}}));

    commands.clear();
    FakeVosk::setCycle(Kind::Command, {{0, partial("[unk] page")}});
    feedTalk(10);
    feedTone(3, 3000.0);
    FakeVosk::setCycle(Kind::Command, {{0, partial("[unk] page down")}});
    feedTalk(5);
    EXPECT_TRUE(finals(commands).empty());
}
