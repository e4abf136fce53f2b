// End to end with the real libvosk, the shared model and the shared clips:
// audio fed through KSR_VoskManager::processAudio in chunks of 100 ms, the
// reports recorded by a subclass, as the host interface would receive them.
//
// Every clip used here was first checked with a plain libvosk run (a grammar
// recognizer over the phrase list and a free recognizer side by side, fed the
// same way): the command, key and formatting clips come out exact with every
// word at confidence 1.0, and so do dict_hello_world, dict_i_think_so,
// dict_this_is_the_cat, num_two_plus_two, num_six_times_seven, num_105,
// num_3400 and the letter clips spell_cat, spell_smith and spell_wxyz.
// spell_hello is not used: it usually loses an "l". There are no clips of
// "start numerals" or "add period"; numerals are switched on by the host
// here, and "add period" is covered by the tests against the libvosk double.
//
#include "real_manager_fixture.h"

TEST_F(RealManager, CommandsOfTwoKeyedGrammarsAndSwitchingByKey)
{
    // The engine only listens once it has a literal keyword, which comes with
    // the dictation grammar; it stays off here.
    const KSR::GrammarId dictation = manager->addDictationGrammar("");
    const KSR::GrammarId north = manager->addCommandGrammar("north");
    const KSR::GrammarId south = manager->addCommandGrammar("south");
    const KSR::RuleId files = manager->addRule(north, "files");
    const KSR::RuleId saving = manager->addRule(south, "saving");
    ASSERT_EQ(manager->addCommand(files, "open file"), 0);
    ASSERT_EQ(manager->addCommand(saving, "save file"), 0);
    ASSERT_EQ(manager->addCommand(saving, "go back"), 1);
    manager->setActivated(south, true);
    manager->startRecognizing();
    activations.clear();

    // A command of the active grammar: its ids and text.
    hear("cmd_save_file.wav");
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{south, saving, 0, "save file"}}));
    EXPECT_EQ(recognizedLines(), (Strings{"Recognized: save file gID:103 rID:13 cID:0"}));

    // A command of the inactive grammar is not in the phrase list.
    hear("cmd_open_file.wav");
    EXPECT_EQ(manager->recognitions().size(), 1U);

    // The key of "north" switches it on and "south" off, reporting nothing.
    hear("key_north.wav");
    EXPECT_EQ(activations, (Activations{{north, true}, {south, false}}));
    EXPECT_TRUE(manager->getGrammar(north)->isActive());
    EXPECT_FALSE(manager->getGrammar(south)->isActive());
    EXPECT_FALSE(manager->getGrammar(dictation)->isActive());  // no key: unchanged
    EXPECT_EQ(recognizedLines().size(), 1U);

    // Now "save file" is no longer heard, "open file" is.
    hear("cmd_save_file.wav");
    hear("cmd_open_file.wav");
    EXPECT_EQ(manager->recognitions(),
              (std::vector<KSR::SRData>{{south, saving, 0, "save file"}, {north, files, 0, "open file"}}));

    // A command added while listening is heard without restarting anything.
    EXPECT_EQ(manager->addCommand(files, "close window"), 1);
    hear("cmd_close_window.wav");
    ASSERT_EQ(manager->recognitions().size(), 3U);
    EXPECT_EQ(manager->recognitions()[2], (KSR::SRData{north, files, 1, "close window"}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(RealManager, DictationIsFormatted)
{
    const KSR::GrammarId dictation = listenWithDictation();
    EXPECT_EQ(dictationCalls, (std::vector<bool>{true}));

    hear("dict_hello_world.wav");
    hear("fmt_add_comma.wav");
    hear("dict_i_think_so.wav");
    hear("fmt_new_line.wav");
    hear("dict_this_is_the_cat.wav");
    EXPECT_EQ(texts(), (Strings{"Hello world", ",", " I think so", "\n", "This is the cat"}));
    const auto recognitions = manager->recognitions();
    ASSERT_EQ(recognitions.size(), 5U);
    EXPECT_EQ(recognitions[0], (KSR::SRData{dictation, KSR::InvalidRuleId, -1, "Hello world"}));
    // Every formatting phrase is in the model: "new line" is the seventh,
    // "add comma" the eleventh, after "literal" (0).
    EXPECT_EQ(recognitions[1], (KSR::SRData{dictation, 11, 11, ","}));
    EXPECT_EQ(recognitions[3], (KSR::SRData{dictation, 11, 7, "\n"}));
    EXPECT_EQ(dictationCalls.size(), 1U);
}

TEST_F(RealManager, SpokenNumbersBecomeDigitsInNumeralsMode)
{
    listenWithDictation();
    manager->setNumeralModeEnabled(true);
    EXPECT_EQ(numeralsCalls, (std::vector<bool>{true}));

    hear("num_two_plus_two.wav");
    hear("num_six_times_seven.wav");
    hear("num_105.wav");
    hear("num_3400.wav");
    EXPECT_EQ(texts(), (Strings{"2 + 2 = 4", " 6 * 7 = 42", " 105", " 3400"}));
}

TEST_F(RealManager, SpellingModeBySpokenPhrases)
{
    listenWithDictation();

    hear("fmt_start_spelling.wav");
    EXPECT_EQ(spellingCalls, (std::vector<bool>{true}));
    EXPECT_TRUE(manager->spellingModeEnabled());
    hear("spell_cat.wav");
    hear("spell_smith.wav");
    hear("fmt_stop_spelling.wav");
    EXPECT_EQ(spellingCalls, (std::vector<bool>{true, false}));
    hear("dict_hello_world.wav");
    // Letters arrive as spelled (no capital, no blank); the text after them
    // gets its blank.
    EXPECT_EQ(texts(), (Strings{"", "c a t", "s m i t h", "", " hello world"}));
}

TEST_F(RealManager, CapitalsOnUpperCasesTheDictatedText)
{
    listenWithDictation();

    hear("fmt_capitals_on.wav");
    EXPECT_EQ(capitalsCalls, (std::vector<bool>{true}));
    hear("dict_hello_world.wav");
    EXPECT_EQ(texts(), (Strings{"", "HELLO WORLD"}));
}

TEST_F(RealManager, LiteralPhraseArrivesAsText)
{
    // The formatting rule is heard with dictation off, so the literal text
    // gets neither capital nor blank.
    const KSR::GrammarId dictation = manager->addDictationGrammar("");
    ASSERT_TRUE(manager->setRuleActivated(11, true));
    manager->startRecognizing();
    hear("fmt_literal_new_line.wav");
    EXPECT_EQ(manager->recognitions(), (std::vector<KSR::SRData>{{dictation, KSR::InvalidRuleId, -1, "new line"}}));
    EXPECT_FALSE(manager->isDictationModeEnabled());
}
