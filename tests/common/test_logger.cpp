#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ksr_logger.h"
#include "log_capture.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

// Runs `action` and returns what reached standard error.
template <typename F>
std::string stderrOf(F action)
{
    CaptureStderr();
    action();
    return GetCapturedStderr();
}

// An observer attached to one console directly, not through the logger: a
// console made later does not have it.
struct ConsoleSpy : KSR::ConsoleObserver {
    void error(const std::string& text) override { lines.push_back(text); }
    std::vector<std::string> lines;
};

}  // namespace

TEST(Logger, ErrorWritesPrefixMessageAndLineFeedToStandardError)
{
    KSR_Logger::Destroy();
    EXPECT_EQ(stderrOf([] { KSR_Logger::Error("Engine: You need to set a valid model!"); }),
              "KSR Error: Engine: You need to set a valid model!\n");
}

TEST(Logger, EmptyErrorWritesPrefixAndLineFeed)
{
    LogCapture capture;
    EXPECT_EQ(stderrOf([] { KSR_Logger::Error(""); }), "KSR Error: \n");
    ASSERT_EQ(capture.lines().size(), 1U);
    EXPECT_EQ(capture.lines()[0], "KSR Error: \n");
}

TEST(Logger, QuietLevelsProduceNoOutputAtAll)
{
    LogCapture capture;
    const std::string out = stderrOf([] {
        KSR_Logger::Warning("warning %s");
        KSR_Logger::Message("message");
        KSR_Logger::Log("Recognized: open file gID:101 rID:10 cID:0");
        KSR_Logger::SuccessMsg("done");
    });
    EXPECT_EQ(out, "");
    EXPECT_TRUE(capture.lines().empty());
    // The quiet messages are still visible to a diagnostic trace.
    EXPECT_EQ(capture.logs(), (std::vector<std::string>{"Recognized: open file gID:101 rID:10 cID:0"}));
    EXPECT_EQ(capture.logs(KSR_Logger::Level::Warning), (std::vector<std::string>{"warning %s"}));
}

TEST(Logger, DestroyTwiceIsHarmless)
{
    LogCapture capture;
    const auto spy = std::make_shared<ConsoleSpy>();
    KSR_Logger::_instance()->AttachObserver(spy);
    KSR_Logger::Destroy();
    EXPECT_EQ(spy.use_count(), 1);  // the console that held it is gone
    KSR_Logger::Destroy();
    // A fresh console, with the standard observer and the attached one.
    EXPECT_EQ(stderrOf([] { KSR_Logger::Error("after two"); }), "KSR Error: after two\n");
    EXPECT_EQ(capture.errors(), (std::vector<std::string>{"after two"}));
    EXPECT_TRUE(spy->lines.empty());
}

TEST(Logger, ErrorAfterDestroyCreatesANewConsole)
{
    const auto spy = std::make_shared<ConsoleSpy>();
    KSR_Logger::_instance()->AttachObserver(spy);
    EXPECT_EQ(stderrOf([] { KSR_Logger::Error("before"); }), "KSR Error: before\n");
    EXPECT_EQ(spy->lines, (std::vector<std::string>{"KSR Error: before\n"}));
    KSR_Logger::Destroy();
    LogCapture capture;
    EXPECT_EQ(stderrOf([] { KSR_Logger::Error("after destroy"); }), "KSR Error: after destroy\n");
    // Written by a console made after Destroy: the first one's observer saw nothing more.
    EXPECT_EQ(spy->lines, (std::vector<std::string>{"KSR Error: before\n"}));
    EXPECT_EQ(capture.errors(), (std::vector<std::string>{"after destroy"}));
}

TEST(Logger, InstanceIsCreatedOnceAndKept)
{
    KSR_Logger::Destroy();
    KSR::Console* a = KSR_Logger::_instance();
    KSR::Console* b = KSR_Logger::_instance();
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a, b);
    // It is the console Error writes to.
    const auto spy = std::make_shared<ConsoleSpy>();
    a->AttachObserver(spy);
    stderrOf([] { KSR_Logger::Error("kept"); });
    EXPECT_EQ(spy->lines, (std::vector<std::string>{"KSR Error: kept\n"}));
}

TEST(Logger, AttachedObserverSurvivesDestroy)
{
    LogCapture capture;
    KSR_Logger::Error("one");
    KSR_Logger::Destroy();
    KSR_Logger::Error("two");
    EXPECT_EQ(capture.errors(), (std::vector<std::string>{"one", "two"}));
}

TEST(Logger, DoublePercentStillMeansPercent)
{
    LogCapture capture;
    KSR_Logger::Error("100%% sure");
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"KSR Error: 100% sure\n"}));
}

TEST(Logger, ConversionsInHostileMessagesPrintLiterally)
{
    LogCapture capture;
    const std::string hostile = "Acoustic model /tmp/%s%s%s%n%n%x%p%99999999d%.*s%ls%c%%%";
    std::string out = stderrOf([&] { KSR_Logger::Error(hostile); });
    // "%%" collapses to "%", every other "%" is printed as it stands.
    const std::string expected =
        "KSR Error: Acoustic model /tmp/%s%s%s%n%n%x%p%99999999d%.*s%ls%c%%\n";
    EXPECT_EQ(out, expected);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{expected}));
}

TEST(Logger, LonePercentAtEndOfMessage)
{
    LogCapture capture;
    KSR_Logger::Error("50%");
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"KSR Error: 50%\n"}));
}

TEST(Logger, EscapeFormatKeepsPairsAndDoublesSingles)
{
    EXPECT_EQ(KSR_Logger::escapeFormat("a%b"), "a%%b");
    EXPECT_EQ(KSR_Logger::escapeFormat("a%%b"), "a%%b");
    EXPECT_EQ(KSR_Logger::escapeFormat("%%%"), "%%%%");
    EXPECT_EQ(KSR_Logger::escapeFormat(""), "");
}

TEST(Logger, LongMessageIsWrittenWhole)
{
    LogCapture capture;
    const std::string big(100000, 'x');
    KSR_Logger::Error(big);
    ASSERT_EQ(capture.lines().size(), 1U);
    EXPECT_EQ(capture.lines()[0], "KSR Error: " + big + "\n");
}

TEST(Logger, AssignmentCopiesNothingAndReturnsItself)
{
    KSR_Logger a;
    KSR_Logger b;
    EXPECT_EQ(&(a = b), &a);
    EXPECT_EQ(&(a = std::move(b)), &a);
}

TEST(Logger, StandardObserverCanBeReplacedByTheHost)
{
    LogCapture capture;
    KSR_Logger::Destroy();
    KSR_Logger::setStandardObserver(nullptr);
    const std::string out = stderrOf([] { KSR_Logger::Error("host console only"); });
    KSR_Logger::Destroy();
    KSR_Logger::setStandardObserver(std::make_shared<KSR::ConsoleObserverStd>());
    EXPECT_EQ(out, "");
    EXPECT_EQ(capture.errors(), (std::vector<std::string>{"host console only"}));
}
