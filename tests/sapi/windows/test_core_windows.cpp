// The recognition core (logger, types, Vosk engine and manager) built for
// Windows and linked whole, run against the libvosk test double.

#include <gtest/gtest.h>

#include "fake_vosk.h"
#include "ksr_logger.h"
#include "ksr_types.h"
#include "ksr_vosk_manager.h"
#include "log_capture.h"

TEST(CoreOnWindows, ErrorLinesReachTheConsole)
{
    LogCapture log;
    KSR_Logger::Error("disk C:\\ 100% full");
    KSR_Logger::Log("quiet");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"KSR Error: disk C:\\ 100% full\n"});
    EXPECT_EQ(log.logs(), std::vector<std::string>{"quiet"});
}

TEST(CoreOnWindows, SplitString)
{
    std::vector<std::string> pieces;
    EXPECT_EQ(KSR::splitString("a  b c", ' ', false, pieces), 3u);
    EXPECT_EQ(pieces, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(CoreOnWindows, VoskManagerBuildsGrammarsOverTheTestDouble)
{
    FakeVosk::reset();
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().vocabulary = {"open", "file", "north"};
    }
    KSR_VoskManager manager;
    ASSERT_TRUE(manager.initialize("C:\\models\\en-us"));
    EXPECT_TRUE(manager.isInitialized());
    const KSR::GrammarId grammar = manager.addCommandGrammar("north");
    ASSERT_NE(grammar, KSR::InvalidGrammarId);
    const KSR::RuleId rule = manager.addRule(grammar, "Commands");
    ASSERT_NE(rule, KSR::InvalidRuleId);
    EXPECT_EQ(manager.addCommand(rule, "Open File"), 0);
    EXPECT_TRUE(manager.phraseExists("open file"));
    EXPECT_FALSE(manager.phraseExists("close file"));
}
