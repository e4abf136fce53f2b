// The fast-commands settings with the real libvosk, the shared model, the
// shared clips and the clips of tests/clips (made by scripts/make_clips.sh:
// phrases in one breath, phrases after a short pause, speech of no command).
// Audio goes in 10 ms chunks, as the host interface hands it over.
//
// Every expectation was first checked with a plain run of the clips; with
// both settings off the clips give what the module gave before the settings
// existed, and those tests say so.
#include <algorithm>

#include "real_manager_fixture.h"

namespace {

std::string ownClip(const std::string& name) { return std::string(KSR_TEST_CLIPS "/") + name; }

const Strings kCommandClips{"cmd_close_window.wav", "cmd_select_all.wav", "cmd_go_back.wav",
                            "cmd_zoom_in.wav",      "cmd_scroll_down.wav", "cmd_save_file.wav",
                            "cmd_undo.wav",         "cmd_new_tab.wav",     "fmt_new_line.wav",
                            "fmt_add_comma.wav",    "cmd_open_file.wav"};

class FastCommands : public RealManager {
protected:
    void SetUp() override
    {
        RealManager::SetUp();
        chunkSamples = 160;
    }

    // "north" switches on "open file" and "close window", "south" (on at
    // the start) the rest; the dictation grammar stays off, its formatting
    // rule on, as a host without dictation would have it.
    void keyedGrammars()
    {
        dictation = manager->addDictationGrammar("");
        north = manager->addCommandGrammar("north");
        south = manager->addCommandGrammar("south");
        files = manager->addRule(north, "files");
        edit = manager->addRule(south, "edit");
        for (const char* phrase : {"open file", "close window"})
            ASSERT_NE(manager->addCommand(files, phrase), -1);
        for (const char* phrase : {"save file", "select all", "go back", "zoom in", "scroll down", "undo", "new tab"})
            ASSERT_NE(manager->addCommand(edit, phrase), -1);
        ASSERT_TRUE(manager->setRuleActivated(formattingRule(), true));
        manager->setActivated(south, true);
        activations.clear();
    }

    // One grammar with every command of the shared clips on.
    void allCommandsOn(std::initializer_list<const char*> extra = {})
    {
        dictation = manager->addDictationGrammar("");
        const KSR::GrammarId commands = manager->addCommandGrammar("");
        edit = manager->addRule(commands, "commands");
        for (const char* phrase : {"open file", "close window", "select all", "go back", "zoom in", "scroll down",
                                   "save file", "undo", "new tab"})
            ASSERT_NE(manager->addCommand(edit, phrase), -1);
        for (const char* phrase : extra)
            ASSERT_NE(manager->addCommand(edit, phrase), -1);
        ASSERT_TRUE(manager->setRuleActivated(formattingRule(), true));
        manager->setActivated(commands, true);
    }

    KSR::RuleId formattingRule() { return static_cast<KSR::RuleId>(manager->getRuleIds(dictation).front()); }

    // The document a host builds from the dictation grammar's results.
    std::string document()
    {
        std::string text;
        for (const auto& data : manager->recognitions())
            if (data.grammarId == dictation)
                text += data.text;
        return text;
    }

    Strings commandTexts()
    {
        Strings out;
        for (const auto& data : manager->recognitions())
            if (data.grammarId != dictation)
                out.push_back(data.text);
        return out;
    }

    KSR::GrammarId dictation = KSR::InvalidGrammarId, north = KSR::InvalidGrammarId, south = KSR::InvalidGrammarId;
    KSR::RuleId files = KSR::InvalidRuleId, edit = KSR::InvalidRuleId;
};

}  // namespace

TEST_F(FastCommands, SettingsAreOffByDefaultAndRefuseNegativeQuiet)
{
    EXPECT_EQ(manager->fastCommands(), 0);
    EXPECT_FALSE(manager->commandChaining());
    EXPECT_FALSE(manager->setFastCommands(-1));
    EXPECT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    EXPECT_EQ(manager->fastCommands(), 250);
    EXPECT_TRUE(manager->setCommandChaining(true));
    EXPECT_TRUE(manager->commandChaining());
}

TEST_F(FastCommands, KeyAndCommandInOneBreathSwitchAndThenRoute)
{
    keyedGrammars();
    ASSERT_TRUE(manager->setCommandChaining(true));
    manager->startRecognizing();
    hear(ownClip("chain_north_open_file.wav"));
    EXPECT_EQ(activations, (Activations{{north, true}, {south, false}}));
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{north, files, 0, "open file"}}));
    EXPECT_EQ(manager->failures(), 0);
}

TEST_F(FastCommands, KeyAndCommandInOneBreathGiveNothingWithChainingOff)
{
    keyedGrammars();
    manager->startRecognizing();
    hear(ownClip("chain_north_open_file.wav"));
    EXPECT_TRUE(activations.empty());
    EXPECT_TRUE(manager->recognitions().empty());
}

// The formatting rule heard with dictation off: with dictation on and the
// early end off, nothing holds the dictated words back (see BothSettingsOn).
TEST_F(FastCommands, FormattingPhrasesChain)
{
    keyedGrammars();
    ASSERT_TRUE(manager->setCommandChaining(true));
    manager->startRecognizing();
    hear(ownClip("chain_new_line_new_line.wav"));
    hear(ownClip("chain_add_comma_add_space.wav"));
    EXPECT_EQ(texts(), (Strings{"\n", "\n", ",", " "}));
}

TEST_F(FastCommands, FormattingPhrasesInOneBreathAreDictatedWithChainingOff)
{
    chunkSamples = 1600;
    listenWithDictation();
    hear(ownClip("chain_new_line_new_line.wav"));
    hear(ownClip("chain_add_comma_add_space.wav"));
    EXPECT_EQ(texts(), (Strings{"New line new line", " add comma add space"}));
}

TEST_F(FastCommands, AnUnknownWordInsideAChainGivesNoCommand)
{
    allCommandsOn();
    ASSERT_TRUE(manager->setCommandChaining(true));
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    manager->startRecognizing();
    hear(ownClip("chain_with_unknown_word.wav"));
    EXPECT_TRUE(manager->recognitions().empty());
}

// Every command clip gives the same result with the early end, earlier.
TEST_F(FastCommands, EveryCommandClipGivesTheSameResultEarlier)
{
    allCommandsOn();
    manager->startRecognizing();
    std::vector<std::size_t> clipStarts;
    for (const std::string& clip : kCommandClips) {
        clipStarts.push_back(samplesFed);
        hear(clip);
    }
    const std::vector<KSR::SRData> plain = manager->recognitions();
    ASSERT_EQ(plain.size(), kCommandClips.size()) << testing::PrintToString(plain);
    const std::vector<std::size_t> plainTimes = recognitionTimes;

    manager->clearReports();
    recognitionTimes.clear();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    std::vector<std::size_t> fastStarts;
    for (const std::string& clip : kCommandClips) {
        fastStarts.push_back(samplesFed);
        hear(clip);
    }
    EXPECT_EQ(manager->recognitions(), plain);
    ASSERT_EQ(recognitionTimes.size(), plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i) {
        const std::size_t before = plainTimes[i] - clipStarts[i], after = recognitionTimes[i] - fastStarts[i];
        // At least a tenth of a second sooner for every clip.
        EXPECT_LT(after + 1600, before) << kCommandClips[i];
    }
}

TEST_F(FastCommands, KeyClipSwitchesGrammarsEarlier)
{
    keyedGrammars();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    manager->startRecognizing();
    hear("key_north.wav");
    EXPECT_EQ(activations, (Activations{{north, true}, {south, false}}));
    hear("cmd_open_file.wav");
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{north, files, 0, "open file"}}));
}

TEST_F(FastCommands, OpenIsNotTakenWhileOpenFileMayStillCome)
{
    allCommandsOn({"open"});
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    manager->startRecognizing();
    hear("cmd_open_file.wav");
    EXPECT_EQ(commandTexts(), (Strings{"open file"}));
}

TEST_F(FastCommands, APhraseEndsEarlyBeforeMoreSpeechAfterAShortPause)
{
    allCommandsOn();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    manager->startRecognizing();
    hear(ownClip("pause_open_file_close_window.wav"));
    EXPECT_EQ(commandTexts(), (Strings{"open file", "close window"}));
    hear(ownClip("pause_open_file_hello_world.wav"));
    EXPECT_EQ(commandTexts(), (Strings{"open file", "close window", "open file"}));
}

TEST_F(FastCommands, APhraseBeforeMoreSpeechAfterAShortPauseIsLostWithTheSettingsOff)
{
    allCommandsOn();
    manager->startRecognizing();
    hear(ownClip("pause_open_file_close_window.wav"));
    hear(ownClip("pause_open_file_hello_world.wav"));
    EXPECT_TRUE(commandTexts().empty());
}

TEST_F(FastCommands, SpeechOfNoCommandGivesNothing)
{
    allCommandsOn();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    ASSERT_TRUE(manager->setCommandChaining(true));
    manager->startRecognizing();
    for (const char* clip : {"dict_hello_world.wav", "dict_what_time.wav", "dict_dogs_happy.wav", "dict_help_me.wav",
                             "noise_only.wav", "silence_only.wav"})
        hear(clip);
    hear(ownClip("oog_people_house.wav"));
    hear(ownClip("oog_good_morning.wav"));
    EXPECT_TRUE(manager->recognitions().empty());
}

TEST_F(FastCommands, DictatedTextIsUnchanged)
{
    listenWithDictation();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    hear("dict_hello_world.wav");
    hear("dict_i_think_so.wav");
    hear("dict_this_is_the_cat.wav");
    EXPECT_EQ(texts(), (Strings{"Hello world", " I think so", " this is the cat"}));
}

// The microphone sequence of the bug report, with dictation switched on
// before the first chunk, so that the free recognizer ends every utterance
// before the command recognizer does.
class NoCommandDictated : public FastCommands {
protected:
    void sequence()
    {
        allCommandsOn();
        manager->setActivated(dictation, true);
        manager->startRecognizing();
        for (const char* clip : {"dict_hello_world.wav", "fmt_add_comma.wav", "dict_i_think_so.wav", "fmt_new_line.wav",
                                 "cmd_open_file.wav", "fmt_add_comma.wav", "cmd_close_window.wav"})
            hear(clip, 1.2);
    }
    void ownSequence()
    {
        allCommandsOn();
        manager->setActivated(dictation, true);
        manager->startRecognizing();
        for (const char* clip : {"dict_this_is_the_cat.wav", "fmt_new_line.wav", "cmd_select_all.wav",
                                 "dict_help_me.wav", "fmt_add_comma.wav", "dict_what_time.wav", "cmd_undo.wav"})
            hear(clip, 1.2);
    }
};

TEST_F(NoCommandDictated, MicrophoneSequenceWithTheEarlyEnd)
{
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    sequence();
    EXPECT_EQ(document(), "Hello world, I think so\n,");
    EXPECT_EQ(commandTexts(), (Strings{"open file", "close window"}));
}

TEST_F(NoCommandDictated, MicrophoneSequenceWithTheSettingsOff)
{
    sequence();
    // As reported: three of the five commands were dictated before they came as commands.
    EXPECT_EQ(document(), "Hello world add comma, I think so\nOpen file, close window");
    EXPECT_EQ(commandTexts(), (Strings{"open file", "close window"}));
}

TEST_F(NoCommandDictated, OwnSequenceWithTheEarlyEnd)
{
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    ownSequence();
    EXPECT_EQ(document(), "This is the cat\nCan you help me, what time is it");
    EXPECT_EQ(commandTexts(), (Strings{"select all", "undo"}));
}

TEST_F(NoCommandDictated, BothSettingsOn)
{
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::DefaultFastCommandsQuiet));
    ASSERT_TRUE(manager->setCommandChaining(true));
    sequence();
    hear(ownClip("chain_new_line_new_line.wav"), 1.2);
    hear(ownClip("chain_add_comma_add_space.wav"), 1.2);
    EXPECT_EQ(document(), "Hello world, I think so\n,\n\n, ");
    EXPECT_EQ(commandTexts(), (Strings{"open file", "close window"}));
}

TEST_F(FastCommands, TheShortQuietIsOnByDefaultAndRefusesNegativeValues)
{
    EXPECT_EQ(manager->fastCommandsShortQuiet(), KSR_VoskManager::DefaultFastCommandsShortQuiet);
    EXPECT_EQ(manager->fastCommandsShortQuiet(), 120);
    EXPECT_FALSE(manager->setFastCommandsShortQuiet(-1));
    EXPECT_TRUE(manager->setFastCommandsShortQuiet(150));
    EXPECT_EQ(manager->fastCommandsShortQuiet(), 150);
}

// "select all" said with a long pause between its words: libvosk's partial
// reads "select all" during the pause, a tenth of a second of quiet passes,
// and the final result holds "select" alone. The words are heard again
// with "all", and the command arrives whole.
TEST_F(FastCommands, APauseInsideAPhraseDoesNotCutIt)
{
    allCommandsOn();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    ASSERT_TRUE(manager->setFastCommandsShortQuiet(100));
    manager->startRecognizing();
    hear("cmd_select_all.wav");
    hear("cmd_close_window.wav");
    EXPECT_EQ(commandTexts(), (Strings{"select all", "close window"}));
}

// With a phrase and a longer one that begins with it in one grammar, the
// shorter one said alone ends after the long quiet, and a pause inside the
// longer one (200 and 350 ms) does not cut it.
TEST_F(FastCommands, APhraseALongerOneBeginsWithIsNotCutByAPauseInsideTheLongerOne)
{
    allCommandsOn({"page", "page down", "zoom"});
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    manager->startRecognizing();
    hear(ownClip("prefix_page.wav"));
    hear(ownClip("pause_page_350_down.wav"));
    hear(ownClip("prefix_zoom.wav"));
    hear(ownClip("pause_zoom_200_in.wav"));
    EXPECT_EQ(commandTexts(), (Strings{"page", "page down", "zoom", "zoom in"}));
    EXPECT_EQ(manager->failures(), 0);
}

// "new … line", a pause of 350 ms inside a formatting phrase: one line break.
TEST_F(FastCommands, APauseInsideAFormattingPhraseDoesNotCutIt)
{
    allCommandsOn();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    manager->startRecognizing();
    hear(ownClip("pause_new_350_line.wav"));
    EXPECT_EQ(document(), "\n");
    EXPECT_TRUE(commandTexts().empty());
    EXPECT_EQ(manager->failures(), 0);
}

// Talk around the speaker (four other voices, 15 dB below) goes on after a
// command, and the decoder hears it as more words: "save file [unk]", "page
// down line". Those words come after the speaker's last loud frame, so the
// command is taken without them.
TEST_F(FastCommands, TalkAroundTheSpeakerAfterACommandIsNotTakenForMoreWords)
{
    allCommandsOn({"page down", "page", "zoom"});
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    manager->startRecognizing();
    hear(ownClip("babble_save_file.wav"));
    hear(ownClip("babble_page_down.wav"));
    EXPECT_EQ(commandTexts(), (Strings{"save file", "page down"}));
    EXPECT_EQ(manager->failures(), 0);
}

// Talk that goes on all along around the speaker (four other voices, 15 dB
// below): the audio never falls quiet, and the decoder hears the talk before
// and after the command as words too ("close save file [unk]"). The command
// is taken alone, while the talk still goes on: within 300 ms of the end of
// the speech (the clips' speech ends 1289 and 1050 ms into them).
TEST_F(FastCommands, ACommandAmidTalkThatGoesOnIsTakenAloneBeforeTheTalkEnds)
{
    allCommandsOn();
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    manager->startRecognizing();
    noise(1.0);
    started = true;
    std::vector<std::size_t> speechEnds;
    for (const auto& clip : {std::make_pair("room_talk_save_file.wav", 1289), std::make_pair("room_talk_go_back.wav", 1050)}) {
        speechEnds.push_back(samplesFed + static_cast<std::size_t>(clip.second) * 16);
        hear(ownClip(clip.first));
    }
    EXPECT_EQ(commandTexts(), (Strings{"save file", "go back"}));
    EXPECT_EQ(manager->failures(), 0);
    ASSERT_EQ(recognitionTimes.size(), speechEnds.size());
    for (std::size_t i = 0; i < speechEnds.size(); ++i)
        EXPECT_LT(recognitionTimes[i], speechEnds[i] + 300 * 16) << i;
}
