#ifndef KSR_TESTS_CLIP_MICROPHONE_H
#define KSR_TESTS_CLIP_MICROPHONE_H

// The microphone of the end-to-end tests that run faster than real time:
// the OpenAL test double (linked in place of libopenal) hands the listening
// interface what a test plays, as fast as the interface reads it. Clips are
// mixed with the quiet white noise the virtual microphone idles on (sox
// "whitenoise vol 0.003"), drawn from a fixed seed. Nothing arrives between
// clips, so the recognizers hear exactly [quiet][clip][quiet] in the same
// chunks on every run, whatever the machine's load: what they make of it
// is the same every time.

#include <QCoreApplication>

#include <random>
#include <string>
#include <vector>

#include "fake_openal.h"
#include "interface_test_support.h"
#include "wav_file.h"

namespace ClipMicrophone {

const int kRate = 16000;

class Player {
public:
    // Quiet noise only.
    std::vector<short> quiet(int ms)
    {
        std::vector<short> out(static_cast<std::size_t>(ms) * kRate / 1000);
        for (short& sample : out)
            sample = noise();
        return out;
    }

    // The clip over the noise; empty when the file cannot be read as 16 kHz mono.
    std::vector<short> clip(const std::string& path)
    {
        const WavFile wav = readWav(path);
        if (!wav.ok || wav.rate != kRate || wav.channels != 1)
            return {};
        std::vector<short> out(wav.samples.size());
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = static_cast<short>(std::max(-32768, std::min(32767, wav.samples[i] + noise())));
        return out;
    }

    // Plays `samples` (padded with quiet to whole 10 ms frames) and runs the
    // host thread's events until the listening interface has read all of it
    // and handled it: a short quiet marker played after it is read too,
    // which the capture loop reads only after it has fed everything before
    // it to the recognizers. False when the interface stopped reading (it
    // is not listening).
    bool playAndWait(std::vector<short> samples)
    {
        // Whole 10 ms frames: a paced listener reads nothing shorter.
        const std::size_t frame = kRate / 100;
        while (samples.size() % frame != 0)
            samples.push_back(noise());
        FakeOpenAl::play(samples);
        if (!waitFor([] { return FakeOpenAl::soundConsumed(); }, kReadLimitMs))
            return false;
        FakeOpenAl::play(quiet(10));
        const bool read = waitFor([] { return FakeOpenAl::soundConsumed(); }, kReadLimitMs);
        // The signals emitted meanwhile are queued to this thread.
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        return read;
    }

private:
    // Generous: decoding is faster than real time even under the sanitizers.
    static constexpr int kReadLimitMs = 60000;

    short noise() { return static_cast<short>(m_level(m_random)); }

    std::mt19937 m_random{20261123};
    std::uniform_int_distribution<int> m_level{-98, 98};
};

}  // namespace ClipMicrophone

#endif
