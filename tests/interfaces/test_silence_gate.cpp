// The silence gate on made-up audio: what the recognizers hear of quiet,
// of clicks and of speech, sample for sample. The audio is numbered so that
// what passes can be compared with where it came from.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "interfaces/silence_gate.h"

namespace {

const int kRate = 16000;
const int kChunkSamples = 160;  // 10 ms, as the capture loop hands them

// A stream of 10 ms chunks whose every sample is known by its position.
class Stream {
public:
    // Quiet room noise of about -60 dBFS.
    void quiet(int ms) { append(ms, [this](long long) { return static_cast<std::int16_t>(m_noise(m_random)); }); }
    // Exact zeros, as a muted or digital microphone gives.
    void zeros(int ms) { append(ms, [](long long) { return std::int16_t(0); }); }
    // A vowel-like tone far above the noise.
    void speech(int ms)
    {
        append(ms, [](long long at) { return static_cast<std::int16_t>(8000 * std::sin(at * 2 * M_PI * 220 / kRate)); });
    }
    // A single loud 10 ms chunk: a click, a bump of the desk.
    void click() { speech(10); }

    std::size_t chunks() const { return m_samples.size() / kChunkSamples; }
    const char* chunk(std::size_t index) const
    {
        return reinterpret_cast<const char*>(m_samples.data() + index * kChunkSamples);
    }
    // The samples from `first` (a sample index) for `count` samples.
    std::vector<std::int16_t> slice(std::size_t first, std::size_t count) const
    {
        return {m_samples.begin() + static_cast<std::ptrdiff_t>(first),
                m_samples.begin() + static_cast<std::ptrdiff_t>(first + count)};
    }

private:
    template <typename Sample>
    void append(int ms, Sample sample)
    {
        for (int i = 0; i < ms * kRate / 1000; ++i)
            m_samples.push_back(sample(static_cast<long long>(m_samples.size())));
    }

    std::vector<std::int16_t> m_samples;
    std::mt19937 m_random{7};
    std::normal_distribution<double> m_noise{0.0, 33.0};
};

// Feeds chunks [from, to) and gathers what passes, with the index of the
// chunk that let each piece through.
struct Passed {
    std::vector<std::int16_t> samples;
    std::vector<std::size_t> openedAt;  // chunks at which the gate (re)opened with a lead-in
    std::vector<std::size_t> closedAt;  // chunks that closed it
    int chunksHeld = 0;
};

void run(SilenceGate& gate, const Stream& stream, std::size_t from, std::size_t to, Passed& out)
{
    const int chunkBytes = kChunkSamples * 2;
    for (std::size_t index = from; index < to; ++index) {
        const bool wasOpen = gate.isOpen();
        if (!gate.take(stream.chunk(index), chunkBytes)) {
            ++out.chunksHeld;
            continue;
        }
        if (!wasOpen)
            out.openedAt.push_back(index);
        if (gate.justClosed())
            out.closedAt.push_back(index);
        const auto* samples = reinterpret_cast<const std::int16_t*>(gate.passed());
        out.samples.insert(out.samples.end(), samples, samples + gate.passedBytes() / 2);
    }
}

std::size_t chunkAt(int ms) { return static_cast<std::size_t>(ms / 10); }

}  // namespace

TEST(SilenceGate, StartsOpenAndPassesEveryChunkUntilThreeSecondsOfQuiet)
{
    Stream stream;
    stream.quiet(5000);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    // Exactly the first three seconds pass, unchanged; the last of them
    // closes the gate.
    EXPECT_EQ(passed.samples, stream.slice(0, 3 * kRate));
    EXPECT_EQ(passed.chunksHeld, 200);
    EXPECT_EQ(passed.closedAt, (std::vector<std::size_t>{chunkAt(3000) - 1}));
    EXPECT_FALSE(gate.isOpen());
    EXPECT_TRUE(passed.openedAt.empty());
}

TEST(SilenceGate, SpeechAfterLongQuietPassesWithTheHalfSecondBeforeIt)
{
    Stream stream;
    stream.quiet(6000);
    stream.speech(400);
    stream.quiet(500);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);

    // The gate opens on the third voiced chunk and hands over the half
    // second before the first voiced one and what came since, then every
    // chunk as it comes.
    ASSERT_EQ(passed.openedAt, (std::vector<std::size_t>{chunkAt(6000) + SilenceGate::kMinVoicedFrames - 1}));
    const std::size_t from = (6000 - SilenceGate::kLeadInMs) * kRate / 1000;
    std::vector<std::int16_t> expected = stream.slice(0, 3 * kRate);
    const std::vector<std::int16_t> rest = stream.slice(from, stream.chunks() * kChunkSamples - from);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(passed.samples, expected);
    EXPECT_TRUE(gate.isOpen());
}

TEST(SilenceGate, TheLeadInStartsHalfASecondBeforeTheSpeechInLargeChunks)
{
    // A capture that stalled hands over half a second at once; speech
    // starts right at the beginning of such a chunk. The recognizers still
    // get the half second of quiet before the first word.
    Stream stream;
    stream.quiet(6000);
    stream.speech(1000);
    SilenceGate gate(kRate);
    const int chunkMs = 500;
    const int chunkSamples = chunkMs * kRate / 1000;
    std::vector<std::int16_t> opening;
    for (int at = 0; at < 7000; at += chunkMs) {
        const char* chunk = stream.chunk(chunkAt(at));
        if (gate.take(chunk, chunkSamples * 2) && gate.justOpened()) {
            const auto* samples = reinterpret_cast<const std::int16_t*>(gate.passed());
            opening.assign(samples, samples + gate.passedBytes() / 2);
            EXPECT_EQ(at, 6000);
        }
    }
    EXPECT_EQ(opening, stream.slice((6000 - SilenceGate::kLeadInMs) * kRate / 1000,
                                    static_cast<std::size_t>(SilenceGate::kLeadInMs + chunkMs) * kRate / 1000));
}

TEST(SilenceGate, TheLeadInReachesBackAcrossTheChunksOfTheVoicedRun)
{
    // Speech begins two 10 ms chunks before the one that opens the gate:
    // the lead-in is counted from the run's first voiced frame.
    Stream stream;
    stream.quiet(6000);
    stream.speech(300);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, chunkAt(6000) + SilenceGate::kMinVoicedFrames, passed);
    ASSERT_EQ(passed.openedAt.size(), 1u);
    const std::size_t from = (6000 - SilenceGate::kLeadInMs) * kRate / 1000;
    const std::vector<std::int16_t> opening(passed.samples.begin() + 3 * kRate, passed.samples.end());
    EXPECT_EQ(opening, stream.slice(from, (chunkAt(6000) + SilenceGate::kMinVoicedFrames) * kChunkSamples - from));
}

TEST(SilenceGate, ShortClosedSpellsLoseNothingAndRepeatNothing)
{
    // Closed for 200 ms only: the lead-in is what came while it was closed,
    // so the recognizers hear the stream with no gap at all.
    Stream stream;
    stream.quiet(3200);
    stream.speech(300);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    ASSERT_EQ(passed.openedAt.size(), 1u);
    EXPECT_EQ(passed.samples, stream.slice(0, stream.chunks() * kChunkSamples));
}

TEST(SilenceGate, ClicksAndDigitalSilenceDoNotOpenIt)
{
    Stream stream;
    stream.quiet(4000);
    for (int i = 0; i < 5; ++i) {
        stream.click();
        stream.quiet(490);
    }
    stream.zeros(2000);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    EXPECT_TRUE(passed.openedAt.empty());
    EXPECT_EQ(passed.samples.size(), static_cast<std::size_t>(3 * kRate));
}

TEST(SilenceGate, NoiseAfterDigitalSilenceOpensItForAWhileOnly)
{
    // A microphone that delivered exact zeros (muted) and then room noise:
    // against a floor of zeros the noise sounds loud until the floor has
    // followed it, so the gate opens with a lead-in, and closes again
    // three seconds after the floor caught up.
    Stream stream;
    stream.quiet(3500);
    stream.zeros(1000);
    stream.quiet(6000);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    ASSERT_EQ(passed.openedAt, (std::vector<std::size_t>{chunkAt(4500) + SilenceGate::kMinVoicedFrames - 1}));
    EXPECT_FALSE(gate.isOpen());
    // Open from the jump until at most the 600 ms of the floor's window
    // and the three seconds after it.
    EXPECT_LE(passed.samples.size(), static_cast<std::size_t>((3000 + 500 + 600 + 3000) * kRate / 1000));
}

TEST(SilenceGate, StaysOpenThroughThePausesOfSpeech)
{
    // Words with pauses of up to 2.5 s between them: nothing is held back.
    Stream stream;
    stream.speech(300);
    for (int pause : {400, 1500, 2500}) {
        stream.quiet(pause);
        stream.speech(300);
    }
    stream.quiet(2900);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    EXPECT_EQ(passed.chunksHeld, 0);
    EXPECT_TRUE(passed.closedAt.empty());
    EXPECT_TRUE(gate.isOpen());
    EXPECT_EQ(passed.samples, stream.slice(0, stream.chunks() * kChunkSamples));
}

TEST(SilenceGate, ClosesThreeSecondsAfterTheLastSpeech)
{
    Stream stream;
    stream.quiet(500);
    stream.speech(300);
    stream.quiet(4000);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    // Open until three seconds after the end of the speech.
    EXPECT_EQ(passed.samples, stream.slice(0, (800 + 3000) * kRate / 1000));
    EXPECT_EQ(passed.closedAt, (std::vector<std::size_t>{chunkAt(800 + 3000) - 1}));
    EXPECT_FALSE(gate.isOpen());
}

TEST(SilenceGate, ResetOpensItAgain)
{
    Stream stream;
    stream.quiet(4000);
    SilenceGate gate(kRate);
    Passed passed;
    run(gate, stream, 0, stream.chunks(), passed);
    ASSERT_FALSE(gate.isOpen());
    gate.reset();
    EXPECT_TRUE(gate.isOpen());
    ASSERT_TRUE(gate.take(stream.chunk(0), kChunkSamples * 2));
    EXPECT_EQ(gate.passed(), stream.chunk(0));
    EXPECT_EQ(gate.passedBytes(), kChunkSamples * 2);
}

TEST(SilenceGate, EmptyAndBrokenChunksPassNothing)
{
    SilenceGate gate(kRate);
    const std::int16_t sample = 1000;
    EXPECT_FALSE(gate.take(nullptr, 320));
    EXPECT_FALSE(gate.take(reinterpret_cast<const char*>(&sample), 0));
    EXPECT_FALSE(gate.take(reinterpret_cast<const char*>(&sample), 1));
    EXPECT_EQ(gate.passedBytes(), 0);
    EXPECT_TRUE(gate.isOpen());
}
