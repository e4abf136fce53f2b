#ifndef KSR_TESTS_MIC_SESSION_H
#define KSR_TESTS_MIC_SESSION_H

// A K_VoskInterface listening to the virtual microphone (scripts/
// virtual_mic.sh) with the real libvosk and the shared model, and the clips
// played into that microphone at real-time pace while the host thread runs
// its events, as a host application would.

#include <gtest/gtest.h>

#include <QWidget>

#include <atomic>
#include <memory>
#include <thread>

#include "interface_test_support.h"
#include "interfaces/silence_gate.h"
#include "signal_recorder.h"
#include "test_data.h"
#include "virtual_mic.h"

// Plays a clip into the microphone while the host thread runs its events,
// then keeps running them until `done` holds and at least `quietMs` have
// passed since the clip ended, or `afterMs` have passed. The quiet lets
// every recognizer end the utterance (about one second of trailing quiet)
// before the next clip, as a speaker's pause would.
template <typename Done>
bool hearClip(const std::string& clip, Done done, int afterMs = 6000, int quietMs = 1800)
{
#ifdef KSR_TEST_SILENCE_SKIPPING
    // A quiet long enough for the recognizers to have stopped hearing: the
    // clip must bring them back without losing its first word.
    pumpEvents(SilenceGate::kQuietToCloseMs + 500);
#endif
    std::atomic<bool> played{false};
    bool ok = false;
    std::thread player([&] {
        ok = VirtualMic::play(TestData::clip(clip));
        played = true;
    });
    waitFor([&] { return played.load(); }, 30000);
    player.join();
    EXPECT_TRUE(ok) << "could not play " << clip;
    QElapsedTimer sinceEnd;
    sinceEnd.start();
    const bool arrived = waitFor(done, afterMs);
    if (sinceEnd.elapsed() < quietMs)
        pumpEvents(int(quietMs - sinceEnd.elapsed()));
    return arrived;
}

class MicSession : public testing::Test {
protected:
    void SetUp() override
    {
        KSR_REQUIRE_VIRTUAL_MIC();
        KSR_REQUIRE_DATA(TestData::modelPath());
        KSR_REQUIRE_DATA(TestData::audioDir());
        setModelVariable(QString::fromStdString(TestData::modelPath()));
        iface.reset(new CountingInterface(&host));
        ASSERT_TRUE(iface->isInitialized());
        // The same tests, built again with the host's listening settings on.
#ifdef KSR_TEST_LISTENING_PACE
        iface->setListeningPace(KSR_TEST_LISTENING_PACE);
#endif
#ifdef KSR_TEST_SILENCE_SKIPPING
        iface->setSilenceSkipping(true);
#endif
#ifdef KSR_TEST_FAST_COMMANDS
        ASSERT_TRUE(iface->setFastCommands(KSR_TEST_FAST_COMMANDS));
        ASSERT_TRUE(iface->setCommandChaining(true));
#endif
        recorder.reset(new SignalRecorder(*iface));
    }
    void TearDown() override
    {
        if (iface)
            iface->stop();
        recorder.reset();
        iface.reset();
    }

    // Starts the worker and gives capture a moment to deliver the
    // microphone's quiet noise, so that the decoder hears a lead-in.
    void listen()
    {
        const int before = iface->starts;
        iface->start();
        ASSERT_TRUE(waitFor([&] { return iface->starts == before + 1 && iface->isActive(); }));
        ASSERT_TRUE(waitFor([&] { return iface->audioDevice()->isCapturing(); }));
        pumpEvents(400);
    }

    template <typename Done>
    bool hear(const std::string& clip, Done done, int afterMs = 6000, int quietMs = 1800)
    {
        return hearClip(clip, done, afterMs, quietMs);
    }

    // Plays a clip and waits until one more result has arrived.
    bool hearResult(const std::string& clip)
    {
        const std::size_t before = recorder->results().size();
        return hear(clip, [&] { return recorder->results().size() > before; });
    }

    // Plays a clip and lets the quiet after it pass whatever arrives.
    void hearAll(const std::string& clip, int quietMs = 1800)
    {
        hear(clip, [] { return false; }, quietMs, quietMs);
    }

    QWidget host;
    std::unique_ptr<CountingInterface> iface;
    std::unique_ptr<SignalRecorder> recorder;
};

#endif
