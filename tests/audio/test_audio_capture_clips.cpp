// A clip played into the virtual microphone comes back through AudioDevice,
// at each capture rate, resampled to 16000 Hz, whole and in order, also to
// a listener that reads it only after it ended.
//
// The server mixes the clip with the microphone's quiet keep-alive noise
// (peaks near 120). At 16000 Hz nothing is resampled anywhere, so the
// capture is the clip plus that noise, sample for sample. At 44100 and 48000
// Hz the server resamples the 16000 Hz sink up and AudioDevice resamples it
// back down; the reference is the clip sent through the same two
// conversions by sox. Lost or repeated samples are found by measuring the
// clip's delay piece by piece: one sample missing or doubled moves every
// later piece by a whole sample.

#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>

#include "audio/audio_device.h"
#include "capture_reader.h"
#include "signal_analysis.h"
#include "test_data.h"
#include "virtual_mic.h"
#include "wav_file.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using namespace std::chrono_literals;

static const bool kEnvironment = VirtualMic::configure();

namespace {

const char* const kClip = "cmd_open_file.wav";

// How a listener reads while the clip plays: as it comes, or not at all
// until half a second after it ended, as a listening thread held up by a
// busy machine.
enum class Reading { AsItComes, AfterAStall };

// Starts capture, plays the clip, keeps reading until 400 ms after it ended.
CaptureReader captureClip(AudioDevice& device, const std::string& clip, bool* played,
                          Reading reading = Reading::AsItComes)
{
    CaptureReader reader;
    std::atomic<bool> done{false};
    std::thread player([&] {
        *played = VirtualMic::play(clip);
        done = true;
    });
    while (!done) {
        if (reading == Reading::AsItComes)
            reader.readOnce(device);
        std::this_thread::sleep_for(5ms);
    }
    player.join();
    if (reading == Reading::AfterAStall)
        std::this_thread::sleep_for(500ms);
    reader.readFor(device, 400ms);
    return reader;
}

// The clip at 16000 Hz after 16000 -> rate -> 16000 Hz conversions by sox.
std::vector<double> soxReference(const std::string& clip, int rate)
{
    if (rate == 16000)
        return Signal::toDouble(readWav(clip).samples);
    char dir[] = "/tmp/ksr-audio-reference-XXXXXX";
    if (!::mkdtemp(dir))
        return {};
    const std::string up = std::string(dir) + "/up.wav";
    const std::string back = std::string(dir) + "/back.wav";
    const std::string command = "sox '" + clip + "' -r " + std::to_string(rate) + " '" + up + "' && sox '" + up +
                                "' -r 16000 '" + back + "'";
    std::vector<double> reference;
    if (std::system(command.c_str()) == 0)
        reference = Signal::toDouble(readWav(back).samples);
    std::remove(up.c_str());
    std::remove(back.c_str());
    ::rmdir(dir);
    return reference;
}

struct ClipCheck {
    long offset = 0;
    double fraction = 0.0;     // sub-sample part of the clip's delay
    double correlation = 0.0;
    double maxResidual = 0.0;  // largest |captured - reference| over the clip
    int pieces = 0;            // voiced pieces whose delay was measured
    double delaySpread = 0.0;  // largest minus smallest delay of the pieces
};

ClipCheck checkClip(const std::vector<double>& captured, const std::vector<double>& reference)
{
    ClipCheck check;
    check.offset = Signal::findOffset(captured, reference);
    // Resampling on the way leaves a delay that is not a whole number of
    // samples; compare against the reference delayed by the same fraction.
    check.fraction = Signal::fractionalOffset(captured, reference, check.offset, 0, reference.size()) -
                     static_cast<double>(check.offset);
    const std::vector<double> aligned =
        std::fabs(check.fraction) > 0.01 ? Signal::delayed(reference, check.fraction) : reference;
    check.correlation = Signal::correlation(captured, check.offset, aligned, 0, aligned.size());
    for (std::size_t i = 0; i < aligned.size(); ++i) {
        const long j = check.offset + static_cast<long>(i);
        if (j >= 0 && j < static_cast<long>(captured.size()))
            check.maxResidual = std::max(check.maxResidual, std::fabs(captured[j] - aligned[i]));
    }
    // Delay of each voiced tenth of the clip.
    const std::size_t piece = reference.size() / 10;
    double low = 1e9, high = -1e9;
    for (std::size_t from = 0; from + piece <= reference.size(); from += piece) {
        if (Signal::rms(reference, from, from + piece) < 300.0)
            continue;
        const double delay = Signal::fractionalOffset(captured, reference, check.offset, from, from + piece);
        low = std::min(low, delay);
        high = std::max(high, delay);
        ++check.pieces;
    }
    check.delaySpread = check.pieces > 0 ? high - low : 1e9;
    return check;
}

void expectClipComesBack(int captureRate, Reading reading = Reading::AsItComes)
{
    const std::string clip = TestData::clip(kClip);
    KSR_REQUIRE_DATA(clip);
    const std::vector<double> reference = soxReference(clip, captureRate);
    ASSERT_GT(reference.size(), 16000u) << "sox failed";

    AudioDevice device;
    device.setResampling(true);
    device.setFrequency(false, captureRate);
    device.setFrequency(true, 16000);
    // Half a second would not outlast the stall: a listener held up that
    // long asks the device to keep more.
    if (reading == Reading::AfterAStall) {
        ASSERT_TRUE(device.setCaptureBufferMilliseconds(AudioDevice::RecommendedCaptureBufferMs));
    }
    CaptureStderr();
    ASSERT_TRUE(device.startCapture());
    bool played = false;
    const auto start = std::chrono::steady_clock::now();
    const CaptureReader reader = captureClip(device, clip, &played, reading);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(device.stopCapture());
    EXPECT_EQ(GetCapturedStderr(), "");
    ASSERT_TRUE(played);

    const std::vector<double> captured = Signal::toDouble(reader.samples);
    ASSERT_GT(captured.size(), reference.size());
    if (reading == Reading::AsItComes)
        EXPECT_GT(reader.reads, 50) << "the clip should arrive over many reads";
    else  // the device's buffer was asked to hold four seconds
        ASSERT_LT(took, 3500ms) << "the player took too long to start for this check";

    const ClipCheck check = checkClip(captured, reference);
    EXPECT_GE(check.offset, 0);
    EXPECT_LE(check.offset + static_cast<long>(reference.size()), static_cast<long>(captured.size()));
    EXPECT_GT(check.correlation, 0.99);
    EXPECT_GE(check.pieces, 5);
    EXPECT_LT(check.delaySpread, 0.3) << "a sample was lost or repeated";
    if (captureRate == 16000) {
        EXPECT_LE(check.maxResidual, 160.0) << "more than the keep-alive noise differs";
    }
    std::printf("capture %d Hz -> 16000 Hz: correlation %.5f, %d reads, delay %ld%+.3f samples, "
                "delay spread %.3f samples, largest difference %.0f\n",
                captureRate, check.correlation, reader.reads, check.offset, check.fraction, check.delaySpread,
                check.maxResidual);
}

}  // namespace

TEST(AudioCaptureClip, At16000IsTheClipSampleForSample)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    ASSERT_TRUE(kEnvironment);
    expectClipComesBack(16000);
}

TEST(AudioCaptureClip, At44100ResampledTo16000MatchesSox)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    expectClipComesBack(44100);
}

TEST(AudioCaptureClip, At48000ResampledTo16000MatchesSox)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    expectClipComesBack(48000);
}

// A listening thread held up for longer than the clip (a final result, a
// grammar rebuild, a busy machine) finds all of it waiting when it reads
// again.
TEST(AudioCaptureClip, AListenerHeldUpForTwoAndAHalfSecondsLosesNothing)
{
    KSR_REQUIRE_VIRTUAL_MIC();
    expectClipComesBack(16000, Reading::AfterAStall);
}

// The checks themselves catch a single lost sample.
TEST(AudioCaptureClip, CheckNoticesALostSample)
{
    const std::string clip = TestData::clip(kClip);
    KSR_REQUIRE_DATA(clip);
    const std::vector<double> reference = Signal::toDouble(readWav(clip).samples);
    ASSERT_GT(reference.size(), 16000u);
    std::vector<double> captured(3000, 0.0);
    captured.insert(captured.end(), reference.begin(), reference.end());
    captured.resize(captured.size() + 3000, 0.0);
    const ClipCheck whole = checkClip(captured, reference);
    EXPECT_EQ(whole.offset, 3000);
    EXPECT_LT(whole.delaySpread, 0.01);
    captured.erase(captured.begin() + 3000 + static_cast<long>(reference.size() / 2));
    const ClipCheck broken = checkClip(captured, reference);
    EXPECT_GT(broken.delaySpread, 0.7);
}
