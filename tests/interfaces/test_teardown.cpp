// Every way a host may end an interface ends cleanly: each runs in a
// process of its own (teardown_host), which must reach its end, exit with 0
// and write no abort, assertion or sanitizer report. A way that is not clean
// would abort the process, so it must not run inside this one.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "test_data.h"
#include "virtual_mic.h"

static const bool kEnvironment = VirtualMic::configure();

namespace {

struct Outcome {
    int exitCode = -1;
    std::string output;  // standard output and error
};

Outcome runHost(const std::string& way, const std::string& environment = "")
{
    Outcome outcome;
    const std::string command = environment + " timeout 60 '" KSR_TEARDOWN_HOST "' " + way + " 2>&1";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return outcome;
    char chunk[4096];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
        outcome.output.append(chunk, got);
    const int status = ::pclose(pipe);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

void expectClean(const Outcome& outcome)
{
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("ok\n"), std::string::npos) << outcome.output;
    for (const char* sign : {"QThread: Destroyed", "Assertion", "Aborted", "AddressSanitizer", "LeakSanitizer",
                             "ThreadSanitizer", "runtime error"})
        EXPECT_EQ(outcome.output.find(sign), std::string::npos) << sign << " in:\n" << outcome.output;
}

class Teardown : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(kEnvironment);
        KSR_REQUIRE_VIRTUAL_MIC();
    }
};

}  // namespace

TEST_F(Teardown, DeletingTheParentWidgetWhileListening) { expectClean(runHost("delete-parent-while-listening")); }

TEST_F(Teardown, StartingAgainAfterTheParentWidgetWasDeleted)
{
    expectClean(runHost("start-again-after-parent-deleted"));
}

TEST_F(Teardown, DeletingTheInterfaceWhileListening) { expectClean(runHost("delete-interface-while-listening")); }

TEST_F(Teardown, StoppingWhenStartFoundNoModel) { expectClean(runHost("stop-without-model")); }

TEST_F(Teardown, DeletingTheParentWidgetWhenStartFoundNoModel) { expectClean(runHost("delete-parent-without-model")); }

TEST_F(Teardown, DeletingTheInterfaceWhenStartFoundNoModel) { expectClean(runHost("delete-without-model")); }

TEST_F(Teardown, LeavingTheEventLoopWhileAnInterfaceWithoutParentListens)
{
    expectClean(runHost("quit-while-listening"));
}

// The host leaks its interface (its own leak, so leak checking is off for
// this one): leaving the event loop still stops listening, and the process
// ends without the audio library tripping over a running capture.
TEST_F(Teardown, LeavingTheEventLoopWithAListeningInterfaceThatIsNeverDeleted)
{
    const char* asan = std::getenv("ASAN_OPTIONS");
    const std::string options = std::string(asan ? asan : "") + (asan && *asan ? ":" : "") + "detect_leaks=0";
    expectClean(runHost("quit-while-listening-never-delete", "ASAN_OPTIONS='" + options + "'"));
}
