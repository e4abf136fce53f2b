// The lifecycle signals as a host sees them: listeningStarted once the loop
// runs with its microphone open, listeningStopped once per run with how it
// ended. K_VoskInterface on the libvosk test double, listening to the
// virtual microphone (no clip is played: only whether capture opens
// matters here).
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QWidget>

#include "fake_model.h"
#include "lifecycle_recorder.h"
#include "tsan_audio_libraries.h"
#include "virtual_mic.h"

static const bool kEnvironment = VirtualMic::configure();

namespace {

using Events = std::vector<std::string>;

class ListeningLifecycle : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(kEnvironment);
        KSR_REQUIRE_VIRTUAL_MIC();
        ASSERT_TRUE(model.install());
    }

    void make()
    {
        iface.reset(new CountingInterface(&host));
        recorder.reset(new LifecycleRecorder(*iface));
    }

    void TearDown() override
    {
        recorder.reset();
        iface.reset();
    }

    bool eventsBecome(const Events& expected, int ms = 5000)
    {
        return waitFor([&] { return recorder->events() == expected; }, ms);
    }

    FakeModel model;
    QWidget host;
    std::unique_ptr<CountingInterface> iface;
    std::unique_ptr<LifecycleRecorder> recorder;
};

}  // namespace

TEST_F(ListeningLifecycle, ANormalRunReportsStartedThenStopped)
{
    make();
    EXPECT_FALSE(iface->isListening());
    iface->start();
    ASSERT_TRUE(eventsBecome({"started"}));
    EXPECT_TRUE(iface->isListening());
    EXPECT_TRUE(iface->isActive());
    EXPECT_TRUE(iface->audioDevice()->isCapturing());
    iface->stop();
    // stop() returns once the worker ended: the report is on its way.
    EXPECT_FALSE(iface->isListening());
    EXPECT_TRUE(eventsBecome({"started", "stopped:Stopped"}));
    pumpEvents(200);
    EXPECT_EQ(recorder->events(), (Events{"started", "stopped:Stopped"}));
}

TEST_F(ListeningLifecycle, EveryRunReportsItsOwnPair)
{
    make();
    for (int run = 0; run < 3; ++run) {
        iface->start();
        ASSERT_TRUE(waitFor([&] { return iface->isListening(); })) << "run " << run;
        iface->stop();
    }
    EXPECT_TRUE(eventsBecome({"started", "stopped:Stopped", "started", "stopped:Stopped", "started",
                              "stopped:Stopped"}));
}

// The polling loop turns without audio until stopped: it never listened.
TEST_F(ListeningLifecycle, AMicrophoneThatDoesNotOpenEndsAsAFailure)
{
    make();
    iface->microphoneDeviceChangedSlot("No such microphone");
    iface->start();
    ASSERT_TRUE(waitFor([&] { return iface->isActive(); }));
    pumpEvents(300);
    EXPECT_TRUE(recorder->events().empty());
    EXPECT_FALSE(iface->isListening());
    iface->stop();
    EXPECT_TRUE(eventsBecome({"stopped:Failed"}));
}

// Without a model the loop does not run: the run ends on its own, at once,
// and the thread with it.
TEST_F(ListeningLifecycle, NoModelEndsTheRunAtOnceAsAFailure)
{
    model.remove();
    make();
    ASSERT_FALSE(iface->isInitialized());
    iface->start();
    EXPECT_TRUE(eventsBecome({"stopped:Failed"}));
    EXPECT_TRUE(waitFor([&] { return !iface->workerThread()->isRunning(); }));
    EXPECT_FALSE(iface->isActive());
    EXPECT_FALSE(iface->isListening());
    iface->stop();
    pumpEvents(200);
    EXPECT_EQ(recorder->events(), (Events{"stopped:Failed"}));
}

TEST_F(ListeningLifecycle, AForcedTerminationIsReportedAsSuch)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "forced thread termination is not checked under ThreadSanitizer";
#endif
    StubbornLoop listener;
    LifecycleRecorder stubborn(listener);
    listener.start();
    ASSERT_TRUE(waitFor([&] { return stubborn.events() == Events{"started"}; }));
    QElapsedTimer timer;
    timer.start();
    listener.stop();
    EXPECT_GE(timer.elapsed(), 1900);
    EXPECT_FALSE(listener.workerThread()->isRunning());
    EXPECT_FALSE(listener.isListening());
    EXPECT_TRUE(waitFor([&] { return stubborn.events() == Events{"started", "stopped:Terminated"}; }));
    pumpEvents(200);
    EXPECT_EQ(stubborn.events(), (Events{"started", "stopped:Terminated"}));
    listener.release = true;
}
