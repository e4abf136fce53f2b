#ifndef KSR_TESTS_SAPI_SAPI_TEST_H
#define KSR_TESTS_SAPI_SAPI_TEST_H

// The fixture of the SAPI tests: a world with the SAPI doubles registered,
// the log captured, and at the end of every test the check that every COM
// object the back end touched was released and every block SAPI handed out
// was freed.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "com_memory.h"
#include "ksr_sapi_engine.h"
#include "log_capture.h"
#include "sapi_world.h"

class SapiTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_EQ(SapiFakes::liveObjects(), 0) << "COM objects still referenced";
        EXPECT_EQ(memory.blocksInUse(), 0u) << "CoTaskMemAlloc blocks not freed";
    }

    static std::vector<std::string> calls() { return SapiFakes::CallLog::calls(); }
    static void clearCalls() { SapiFakes::CallLog::clear(); }
    static std::vector<std::string> callsOf(const std::string& prefix)
    {
        return SapiFakes::CallLog::callsStartingWith(prefix);
    }

    // Handles every queued event of the newest context.
    void processAll(KSR_Engine& engine)
    {
        while (world.context() && world.context()->queued() > 0)
            engine.processSREvents();
    }

    SapiFakes::SapiWorld world;
    SapiFakes::TaskMemoryWatch memory;
    LogCapture log;
};

// The calls every successful set-up ends with, once a recognizer exists:
// its status and thresholds, then the context with its notification and
// interest.
inline std::vector<std::string> contextSetupCalls()
{
    return {
        "Recognizer.GetStatus",
        "Recognizer.GetPropertyNum(LowConfidenceThreshold)",
        "Recognizer.GetPropertyNum(NormalConfidenceThreshold)",
        "Recognizer.GetPropertyNum(NormalConfidenceThreshold)",
        "Recognizer.CreateRecoContext",
        "Context.SetNotifyWin32Event",
        "Context.GetNotifyEventHandle",
        "Context.SetInterest(0x258e240000000, 0x258e240000000)",
    };
}

// The calls of a successful in-process set-up, from the recognizer's
// creation to the context's interest.
inline std::vector<std::string> inprocSetupCalls(const std::string& tokenId)
{
    std::vector<std::string> calls = {
        "CoCreateInstance(SpInprocRecognizer)",
        "CoCreateInstance(SpObjectTokenCategory)",
        "TokenCategory.SetId(HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\AudioInput, 1)",
        "TokenCategory.GetDefaultTokenId",
        "CoCreateInstance(SpObjectToken)",
        "Token.SetId(null, " + tokenId + ", 0)",
        "Recognizer.SetInput(token " + tokenId + ", 1)",
        "TokenCategory destroyed",
    };
    const std::vector<std::string> tail = contextSetupCalls();
    calls.insert(calls.end(), tail.begin(), tail.end());
    return calls;
}

#endif
