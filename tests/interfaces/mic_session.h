#ifndef KSR_TESTS_MIC_SESSION_H
#define KSR_TESTS_MIC_SESSION_H

// A K_VoskInterface listening with the real libvosk and the shared model,
// and the clips played into its microphone while the host thread runs its
// events, as a host application would. The microphone is the virtual one
// (scripts/virtual_mic.sh), played at real-time pace, or, built with
// KSR_TEST_CLIP_MICROPHONE, the OpenAL test double (clip_microphone.h),
// which hands the clips over as fast as the interface reads them. On the
// double, one program runs its tests with each of the host's listening
// settings, chosen by its "--listening=" argument (see ListeningSettings).

#include <gtest/gtest.h>

#include <QWidget>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "interface_test_support.h"
#include "interfaces/silence_gate.h"
#include "signal_recorder.h"
#include "test_data.h"
#ifndef KSR_TEST_CLIP_MICROPHONE
#include "virtual_mic.h"
#endif

#ifdef KSR_TEST_CLIP_MICROPHONE
#include "clip_microphone.h"
#include "test_arguments.h"
#endif

// The host's listening settings a session runs with: "polling" (none, the
// default and the only one on the virtual microphone), "fast" (paced, with
// the early end of commands and chaining), "quiet" (paced, skipping
// silence) or "all" (the three together).
struct ListeningSettings {
    int paceMs = 0;
    int fastCommandsMs = 0;
    bool silenceSkipping = false;
    bool known = true;
};

inline ListeningSettings listeningSettings()
{
    ListeningSettings settings;
#ifdef KSR_TEST_CLIP_MICROPHONE
    const std::string name = TestArguments::value("listening", "polling");
    if (name == "polling")
        return settings;
    settings.paceMs = 10;
    if (name == "fast" || name == "all")
        settings.fastCommandsMs = 250;
    if (name == "quiet" || name == "all")
        settings.silenceSkipping = true;
    settings.known = name == "fast" || name == "quiet" || name == "all";
#endif
    return settings;
}

#ifdef KSR_TEST_CLIP_MICROPHONE

inline ClipMicrophone::Player& clipPlayer()
{
    static ClipMicrophone::Player player;
    return player;
}

// Plays a clip through the OpenAL test double, with `quietMs` of the
// microphone's quiet noise after it (and, with silence skipping, the long
// quiet before it), and waits until the interface has handled all of it;
// then `done` says whether what the test waits for arrived. Nothing more
// can come: the listener's time stands still until the next clip.
template <typename Done>
bool hearClipAfterQuiet(int quietBeforeMs, const std::string& clip, Done done, int quietMs = 1800)
{
    ClipMicrophone::Player& player = clipPlayer();
    std::vector<short> sound = player.quiet(quietBeforeMs);
    const std::vector<short> speech = player.clip(TestData::clip(clip));
    EXPECT_FALSE(speech.empty()) << "could not read " << clip << " as 16 kHz mono";
    const std::vector<short> after = player.quiet(quietMs);
    sound.insert(sound.end(), speech.begin(), speech.end());
    sound.insert(sound.end(), after.begin(), after.end());
    EXPECT_TRUE(player.playAndWait(sound)) << "the interface did not read " << clip << " within a minute";
    return done();
}

template <typename Done>
bool hearClip(const std::string& clip, Done done, int afterMs = 6000, int quietMs = 1800)
{
    (void)afterMs;
    // Skipping silence, a quiet long enough for the recognizers to have
    // stopped hearing comes first: the clip must bring them back without
    // losing its first word.
    const int quietBefore = listeningSettings().silenceSkipping ? SilenceGate::kQuietToCloseMs + 500 : 0;
    return hearClipAfterQuiet(quietBefore, clip, done, quietMs);
}
#else
// Plays a clip into the microphone while the host thread runs its events,
// then keeps running them until `done` holds and at least `quietMs` have
// passed since the clip ended, or `afterMs` have passed. The quiet lets
// every recognizer end the utterance (about one second of trailing quiet)
// before the next clip, as a speaker's pause would.
template <typename Done>
bool hearClip(const std::string& clip, Done done, int afterMs = 6000, int quietMs = 1800)
{
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
#endif

class MicSession : public testing::Test {
protected:
    void SetUp() override
    {
#ifdef KSR_TEST_CLIP_MICROPHONE
        FakeOpenAl::reset();
        {
            std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
            FakeOpenAl::state().recordCalls = false;  // the loop asks thousands of times
        }
#else
        KSR_REQUIRE_VIRTUAL_MIC();
#endif
        KSR_REQUIRE_DATA(TestData::modelPath());
        KSR_REQUIRE_DATA(TestData::audioDir());
        setModelVariable(QString::fromStdString(TestData::modelPath()));
        iface.reset(new CountingInterface(&host));
        ASSERT_TRUE(iface->isInitialized());
        // The same tests again with the host's listening settings on.
        const ListeningSettings settings = listeningSettings();
        ASSERT_TRUE(settings.known) << "unknown --listening= setting";
        if (settings.paceMs > 0)
            iface->setListeningPace(settings.paceMs);
        if (settings.silenceSkipping)
            iface->setSilenceSkipping(true);
        if (settings.fastCommandsMs > 0) {
            ASSERT_TRUE(iface->setFastCommands(settings.fastCommandsMs));
            ASSERT_TRUE(iface->setCommandChaining(true));
        }
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
        ASSERT_TRUE(leadIn());
    }

    // The microphone's quiet noise for a moment, so that the decoder hears
    // a lead-in before the first clip. False when the interface stopped
    // reading.
    bool leadIn()
    {
#ifdef KSR_TEST_CLIP_MICROPHONE
        return clipPlayer().playAndWait(clipPlayer().quiet(400));
#else
        pumpEvents(400);
        return true;
#endif
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
