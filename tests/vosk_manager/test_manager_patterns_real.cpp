// Commands with arguments with the real libvosk, the shared model and the
// pattern clips of tests/clips (scripts/make_clips.sh, pat_*): each clip
// gives its command with the exact values, a value past the edge of its
// range or speech outside the grammar gives none, and neither the early end
// nor a pause between a verb and its value cuts a value short.
#include <sstream>

#include "real_manager_fixture.h"

namespace {

std::string ownClip(const std::string& name) { return std::string(KSR_TEST_CLIPS "/") + name + ".wav"; }

// A recognition written as "command text {name=value ...}".
std::string describe(const KSR::SRData& data)
{
    std::ostringstream out;
    out << data.text;
    if (!data.arguments.empty()) {
        out << " {";
        for (std::size_t i = 0; i < data.arguments.size(); ++i) {
            const KSR::Argument& argument = data.arguments[i];
            out << (i ? " " : "") << argument.name << "=";
            if (argument.type == KSR::SlotType::Number)
                out << argument.number;
            else
                out << argument.text;
        }
        out << "}";
    }
    return out.str();
}

struct Expected {
    const char* clip;
    Strings commands;  // what the clip gives, described
};

// Every clip of one command with a value, and what it must give.
const Expected kSingles[] = {
    {"pat_line_1", {"go to line one {line=1}"}},
    {"pat_line_10000", {"go to line ten thousand {line=10000}"}},
    {"pat_line_10001_past", {}},
    {"pat_volume_0", {"volume zero {level=0}"}},
    {"pat_volume_100", {"volume one hundred {level=100}"}},
    {"pat_volume_101_past", {}},
    {"pat_select_20_words", {"select twenty words {count=20}"}},
    {"pat_select_21_words_past", {}},
    {"pat_line_13", {"go to line thirteen {line=13}"}},
    {"pat_line_30", {"go to line thirty {line=30}"}},
    {"pat_line_105_and", {"go to line one hundred and five {line=105}"}},
    {"pat_line_42", {"go to line forty two {line=42}"}},
    {"pat_line_4_2_digits", {"go to line four two {line=42}"}},
    {"pat_line_21", {"go to line twenty one {line=21}"}},
    {"pat_line_16", {"go to line sixteen {line=16}"}},
    {"pat_line_6", {"go to line six {line=6}"}},
    {"pat_call_0042", {"call zero zero four two {code=0042}"}},
    {"pat_call_oh_501", {"call oh five oh one {code=0501}"}},
    {"pat_turn_dark_red", {"turn dark red {colour=#8b0000}"}},
    {"pat_turn_blue", {"turn blue {colour=#0000ff}"}},
    {"pat_word_c_a_t", {"word c a t {spelled=cat}"}},
    {"pat_find_hello_world", {"find hello world {query=hello world}"}},
    {"pat_find_people_house", {"find the people in the house {query=the people in the house}"}},
    {"pat_pause_100_line_42", {"go to line forty two {line=42}"}},
    {"pat_pause_250_line_42", {"go to line forty two {line=42}"}},
    {"pat_pause_400_line_42", {"go to line forty two {line=42}"}},
    {"pat_pause_250_volume_50", {"volume fifty {level=50}"}},
    {"pat_speed_120_line_73", {"go to line seventy three {line=73}"}},
    {"pat_speed_230_line_73", {"go to line seventy three {line=73}"}},
    {"pat_oog_line_is_long", {}},
    {"pat_oog_people_go_home", {}},
};

// Two commands in one breath, heard with chaining on.
const Expected kChains[] = {
    {"pat_chain_line_42_save_file", {"go to line forty two {line=42}", "save file"}},
    {"pat_chain_turn_red_close_window", {"turn red {colour=#ff0000}", "close window"}},
    {"pat_chain_save_file_find_hello_world", {"save file", "find hello world {query=hello world}"}},
};

class PatternClips : public RealManager {
protected:
    void SetUp() override
    {
        RealManager::SetUp();
        KSR_REQUIRE_DATA(std::string(KSR_TEST_CLIPS));
        chunkSamples = 160;  // 10 ms, as the host interface hands audio over
        dictation = manager->addDictationGrammar("");
        const KSR::GrammarId grammar = manager->addCommandGrammar("");
        const KSR::RuleId rule = manager->addRule(grammar, "arguments");
        ASSERT_TRUE(manager->setList("colours", {{"red", "#ff0000"}, {"green", "#00ff00"}, {"blue", "#0000ff"},
                                                 {"dark red", "#8b0000"}}));
        for (const char* pattern : {"go to line <line:number 1..10000>", "select <count:number 1..20> words",
                                    "volume <level:number 0..100>", "turn <colour:list colours>",
                                    "call <code:digits 3..6>", "word <spelled:letters 1..8>", "find <query:text>"})
            ASSERT_NE(manager->addCommandPattern(rule, pattern), KSR::InvalidCommandId) << pattern;
        for (const char* phrase : {"save file", "open file", "close window", "page", "page down"})
            ASSERT_NE(manager->addCommand(rule, phrase), KSR::InvalidCommandId) << phrase;
        manager->setActivated(grammar, true);
        manager->startRecognizing();
    }

    KSR::GrammarId dictation = KSR::InvalidGrammarId;

    // Dictation on beside the commands (see listenWithDictation).
    void dictationOn()
    {
        manager->setActivated(dictation, true);
        noise(1.0);
        started = true;
        // Already on: only announces a change (see listenWithDictation).
        manager->setRuleActivated(static_cast<KSR::RuleId>(manager->getRuleIds(dictation).front()), true);
    }

    // What was dictated, and the commands.
    std::string dictated()
    {
        std::string text;
        for (const KSR::SRData& data : manager->recognitions())
            if (data.grammarId == dictation)
                text += data.text;
        return text;
    }

    Strings heard()
    {
        Strings out;
        for (const KSR::SRData& data : manager->recognitions())
            if (data.grammarId != dictation)
                out.push_back(describe(data));
        return out;
    }

    // Every clip on its own; the mismatches, described.
    Strings mismatches(const Expected* begin, const Expected* end)
    {
        Strings wrong;
        for (const Expected* expected = begin; expected != end; ++expected) {
            manager->clearReports();
            hear(ownClip(expected->clip));
            if (heard() != expected->commands) {
                std::string line = std::string(expected->clip) + " gave [";
                for (const std::string& command : heard())
                    line += command + "; ";
                wrong.push_back(line + "]");
            }
        }
        return wrong;
    }
};

}  // namespace

TEST_F(PatternClips, EveryClipGivesItsCommandWithTheExactValues)
{
    EXPECT_EQ(mismatches(std::begin(kSingles), std::end(kSingles)), Strings{});
}

TEST_F(PatternClips, TheEarlyEndCutsNoValueShort)
{
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    EXPECT_EQ(mismatches(std::begin(kSingles), std::end(kSingles)), Strings{});
}

TEST_F(PatternClips, CommandsWithValuesChainInOrder)
{
    ASSERT_TRUE(manager->setCommandChaining(true));
    EXPECT_EQ(mismatches(std::begin(kChains), std::end(kChains)), Strings{});
}

TEST_F(PatternClips, ChainsWithTheEarlyEnd)
{
    ASSERT_TRUE(manager->setCommandChaining(true));
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    EXPECT_EQ(mismatches(std::begin(kChains), std::end(kChains)), Strings{});
}

// With dictation on, the words of a command and of its values are not also
// typed into the dictated text: the early end holds dictated text while the
// command recognizer decides (without it the two recognizers race, as for
// any command).
TEST_F(PatternClips, WithDictationOnAndTheEarlyEndNoValueIsAlsoDictated)
{
    ASSERT_TRUE(manager->setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet));
    dictationOn();
    for (const char* clip : {"pat_line_42", "pat_turn_dark_red", "pat_call_0042", "pat_line_105_and",
                             "pat_word_c_a_t", "pat_pause_400_line_42", "pat_find_hello_world",
                             "pat_find_people_house"}) {
        manager->clearReports();
        hear(ownClip(clip));
        EXPECT_EQ(heard().size(), 1U) << clip;
        EXPECT_EQ(dictated(), "") << clip;
    }
}

// A value past the edge of its range is a failed command; speech outside
// the grammar gives neither a command nor a failure.
TEST_F(PatternClips, AValuePastTheEdgeIsAFailedCommand)
{
    for (const char* clip : {"pat_line_10001_past", "pat_volume_101_past", "pat_select_21_words_past"}) {
        manager->clearReports();
        hear(ownClip(clip));
        EXPECT_EQ(manager->failures(), 1) << clip;
        EXPECT_TRUE(manager->recognitions().empty()) << clip;
    }
    for (const char* clip : {"pat_oog_line_is_long", "pat_oog_people_go_home", "oog_good_morning"}) {
        manager->clearReports();
        hear(ownClip(clip));
        // Hypotheses may pass by on the way; nothing is decided.
        EXPECT_TRUE(manager->recognitions().empty()) << clip;
        EXPECT_EQ(manager->failures(), 0) << clip;
    }
}

// A free-text slot ends with the speaker's quiet: a command said 0.8 s
// later is a command of its own, not more text. (After a command without
// the early end, libvosk's own end of utterance comes about a second after
// the speech, and words said before it lose their beginning: the next
// free text waits 1.2 s.)
TEST_F(PatternClips, ACommandSaidSoonAfterFreeTextIsNoPartOfIt)
{
    for (const int fast : {0, KSR_VoskManager::RecommendedFastCommandsQuiet}) {
        ASSERT_TRUE(manager->setFastCommands(fast));
        manager->clearReports();
        hear(ownClip("pat_find_hello_world"), 0.8);
        hear(ownClip("pat_line_42"), 1.2);
        hear(ownClip("pat_find_people_house"), 0.8);
        hear(ownClip("pat_turn_blue"));
        EXPECT_EQ(heard(), (Strings{"find hello world {query=hello world}", "go to line forty two {line=42}",
                                    "find the people in the house {query=the people in the house}",
                                    "turn blue {colour=#0000ff}"}))
            << "early end " << fast;
    }
}
