// Stopping and destroying a paced interface while its microphone is gone
// and while it is being opened again: prompt, nothing leaked, no race
// (built with ThreadSanitizer too). The libvosk test double stands in for
// recognition; a virtual microphone of this program's own comes and goes.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QWidget>

#include "fake_model.h"
#include "lifecycle_recorder.h"
#include "microphone_watch.h"
#include "private_mic.h"
#include "tsan_audio_libraries.h"

static const bool kEnvironment = PrivateMic::configure();

namespace {

using Events = std::vector<std::string>;

// stop() wakes a resting loop at once; this leaves room for a loaded
// machine and a sanitizer build.
const qint64 kPromptMs = 1000;

class LostMicrophoneStop : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(kEnvironment);
        ASSERT_TRUE(model.install());
        ASSERT_TRUE(PrivateMic::start());
        iface.reset(new CountingInterface(&host));
        ASSERT_TRUE(iface->isInitialized());
        // The literal keyword and a phrase, so that the engine listens.
        ASSERT_NE(iface->addDictationGrammar(""), KSR::InvalidGrammarId);
        ASSERT_NE(iface->addCommandGrammar("north"), KSR::InvalidGrammarId);
        iface->setListeningPace(K_VoskInterface::RecommendedListeningPace);
        watch.reset(new MicrophoneWatch(*iface));
        lifecycle.reset(new LifecycleRecorder(*iface));
    }
    void TearDown() override
    {
        lifecycle.reset();
        watch.reset();
        iface.reset();
        PrivateMic::stop();
    }

    void listenThenLose()
    {
        iface->start();
        ASSERT_TRUE(waitFor([&] { return iface->isListening(); }));
        const std::size_t before = watch->events().size();
        ASSERT_TRUE(PrivateMic::stop());
        ASSERT_TRUE(waitFor([&] { return watch->events().size() == before + 1; }));
        ASSERT_FALSE(watch->events().back().connected);
    }

    FakeModel model;
    QWidget host;
    std::unique_ptr<CountingInterface> iface;
    std::unique_ptr<MicrophoneWatch> watch;
    std::unique_ptr<LifecycleRecorder> lifecycle;
};

}  // namespace

TEST_F(LostMicrophoneStop, StopWhileTheMicrophoneIsGoneIsPrompt)
{
    listenThenLose();
    pumpEvents(300);  // the loop rests, waiting for its next try
    QElapsedTimer timer;
    timer.start();
    iface->stop();
    EXPECT_LT(timer.elapsed(), kPromptMs);
    EXPECT_FALSE(iface->workerThread()->isRunning());
    EXPECT_TRUE(waitFor([&] { return lifecycle->events() == Events{"started", "stopped:Stopped"}; }));
}

TEST_F(LostMicrophoneStop, DestroyingWhileTheMicrophoneIsGoneIsPrompt)
{
    listenThenLose();
    QPointer<QThread> worker = iface->workerThread();
    QElapsedTimer timer;
    timer.start();
    lifecycle.reset();
    watch.reset();
    iface.reset();
    EXPECT_LT(timer.elapsed(), kPromptMs);
    ASSERT_FALSE(worker.isNull());
    EXPECT_FALSE(worker->isRunning());
}

// The server comes back and the loop opens the microphone again while the
// host stops it, at a different moment each round.
TEST_F(LostMicrophoneStop, StopWhileTheMicrophoneReturnsIsPrompt)
{
    for (int round = 0; round < 4; ++round) {
        listenThenLose();
        ASSERT_TRUE(PrivateMic::start());
        pumpEvents(250 * round);
        QElapsedTimer timer;
        timer.start();
        iface->stop();
        EXPECT_LT(timer.elapsed(), kPromptMs) << "round " << round;
        EXPECT_FALSE(iface->workerThread()->isRunning()) << "round " << round;
        EXPECT_FALSE(iface->audioDevice()->isCapturing()) << "round " << round;
    }
    EXPECT_EQ(iface->ends, 4);
}

TEST_F(LostMicrophoneStop, AChangeOfPaceWhileTheMicrophoneIsGoneIsFollowed)
{
    listenThenLose();
    // Polling now: the loop turns without a microphone, as the polling
    // loop does, until the pace is set again and the microphone returns.
    iface->setListeningPace(0);
    pumpEvents(200);
    iface->setListeningPace(K_VoskInterface::RecommendedListeningPace);
    ASSERT_TRUE(PrivateMic::start());
    EXPECT_TRUE(waitFor([&] { return watch->events().size() == 2 && watch->events()[1].connected; }));
    iface->stop();
    EXPECT_FALSE(iface->audioDevice()->isCapturing());
}
