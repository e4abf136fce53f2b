// ksr-bench-audio: CPU cost of AudioDevice::readSamples with resampling from
// 48000 to 16000 Hz (mono, 16-bit), per second of audio, against a plain
// loop of alcCaptureSamples + swr_convert on the same data in the same run.
//
// 1. Live capture. A private virtual microphone (scripts/virtual_mic.sh) is
//    started; four capture streams at 48000 Hz are opened on it at once:
//    the AudioDevice under test and three bare OpenAL capture devices, each
//    with its own SwrContext: the baseline, a second baseline that shows
//    the noise floor of the method, and a baseline that also sizes each
//    conversion as AudioResampler::convert must (swr_get_delay and
//    av_rescale_rnd before swr_convert), which is where the wrapper's extra
//    cost lies. All receive the same stream from the server. Every 10 ms the loop calls readSamples() and the plain
//    ALC_CAPTURE_SAMPLES + alcCaptureSamples + swr_convert, taking turns at
//    going first, timing each with the thread's CPU clock; CPU time is
//    divided by the seconds of audio each side took in, in total and per
//    one-second block (the median of the block ratios is the figure held
//    against the goal: real-time capture has outliers from the server's
//    threads). Capture runs in real time, so this part lasts kLiveSeconds.
//    OpenAL Soft's loopback device (ALC_SOFT_loopback) renders playback
//    only and offers no capture, so it cannot stand in for the microphone.
// 2. Conversion only: the same 48000 Hz buffer converted in 10 ms chunks by
//    AudioResampler::convert and by swr_convert on an identically configured
//    context, alternating rounds, median of the rounds. This isolates the
//    wrapper from the noise of real-time capture.
// Goal: AudioDevice / plain <= 1.10.

#include <AL/al.h>
#include <AL/alc.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "audio/audio_device.h"
#include "audio/audio_resampler.h"

namespace {

const int kInRate = 48000;
const int kOutRate = 16000;
const double kLiveSeconds = 10.0;
const int kConversionRounds = 9;
const int kConversionSeconds = 60;  // of audio per round

double threadCpuSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// A context configured as AudioDevice configures its resampler.
SwrContext* plainContext()
{
    SwrContext* context = nullptr;
#if defined(FF_API_OLD_CHANNEL_LAYOUT) && FF_API_OLD_CHANNEL_LAYOUT
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    context = swr_alloc_set_opts(nullptr, AV_CH_LAYOUT_MONO, AV_SAMPLE_FMT_S16, kOutRate, AV_CH_LAYOUT_MONO,
                                 AV_SAMPLE_FMT_S16, kInRate, 0, nullptr);
#pragma GCC diagnostic pop
#else
    AVChannelLayout mono;
    av_channel_layout_from_mask(&mono, AV_CH_LAYOUT_MONO);
    swr_alloc_set_opts2(&context, &mono, AV_SAMPLE_FMT_S16, kOutRate, &mono, AV_SAMPLE_FMT_S16, kInRate, 0,
                        nullptr);
    av_channel_layout_uninit(&mono);
#endif
    if (context && swr_init(context) < 0)
        swr_free(&context);
    return context;
}

struct Side {
    double cpu = 0.0;     // seconds
    long inFrames = 0;    // 48000 Hz frames taken in
    long outFrames = 0;   // 16000 Hz frames handed out
    int calls = 0;
    int callsWithData = 0;
    std::vector<double> callMicros;   // CPU us of each call that found data
    std::vector<double> blockMicros;  // CPU us per second of audio, per one-second block
    double blockCpu = 0.0;
    long blockFrames = 0;

    void add(double spent, long in, long out, bool data)
    {
        cpu += spent;
        blockCpu += spent;
        inFrames += in;
        blockFrames += in;
        outFrames += out;
        ++calls;
        if (data) {
            ++callsWithData;
            callMicros.push_back(spent * 1e6);
        }
    }
    void closeBlock()
    {
        if (blockFrames > 0)
            blockMicros.push_back(blockCpu * 1e6 / (blockFrames / double(kInRate)));
        blockCpu = 0.0;
        blockFrames = 0;
    }
    double perAudioSecondMicros() const { return inFrames > 0 ? cpu * 1e6 / (inFrames / double(kInRate)) : 0.0; }
};

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Median over the one-second blocks of measured / baseline.
double medianBlockRatio(const Side& baseline, const Side& measured)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < baseline.blockMicros.size() && i < measured.blockMicros.size(); ++i)
        ratios.push_back(measured.blockMicros[i] / baseline.blockMicros[i]);
    return median(ratios);
}

void printRow(const char* what, double baseline, double measured)
{
    std::printf("  %-46s %12.2f %12.2f %8.3f\n", what, baseline, measured, baseline > 0 ? measured / baseline : 0.0);
}

std::string shellQuote(const std::string& text) { return "'" + text + "'"; }

// --- 1. live capture ---------------------------------------------------------

// The baseline: a bare capture device and context, drained and converted.
// With `estimate`, each conversion is first sized the way AudioResampler
// sizes it (swr_get_delay, av_rescale_rnd) and given that output count.
class PlainLoop {
public:
    explicit PlainLoop(bool estimate = false)
        : m_estimate(estimate),
          m_capture(alcCaptureOpenDevice(nullptr, kInRate, AL_FORMAT_MONO16, kInRate / 2)),
          m_context(plainContext()),
          m_in(kInRate * 16),
          m_out(kInRate * 16)
    {
        if (m_capture)
            alcCaptureStart(m_capture);
    }
    ~PlainLoop()
    {
        if (m_capture) {
            alcCaptureStop(m_capture);
            alcCaptureCloseDevice(m_capture);
        }
        swr_free(&m_context);
    }
    PlainLoop(const PlainLoop&) = delete;
    PlainLoop& operator=(const PlainLoop&) = delete;
    bool ok() const { return m_capture && m_context; }

    void read(Side* side)
    {
        const double start = threadCpuSeconds();
        ALCint waiting = 0;
        alcGetIntegerv(m_capture, ALC_CAPTURE_SAMPLES, 1, &waiting);
        int produced = 0;
        if (waiting > 0) {
            alcCaptureSamples(m_capture, m_in.data(), waiting);
            const std::uint8_t* inPlanes[] = {reinterpret_cast<const std::uint8_t*>(m_in.data())};
            std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(m_out.data())};
            int room = static_cast<int>(m_out.size());
            if (m_estimate)
                room = static_cast<int>(av_rescale_rnd(swr_get_delay(m_context, kInRate) + waiting, kOutRate,
                                                       kInRate, AV_ROUND_UP));
            produced = swr_convert(m_context, outPlanes, room, inPlanes, waiting);
        }
        const double spent = threadCpuSeconds() - start;
        if (side)
            side->add(spent, waiting > 0 ? waiting : 0, std::max(produced, 0), waiting > 0);
    }

private:
    bool m_estimate;
    ALCdevice* m_capture;
    SwrContext* m_context;
    std::vector<std::int16_t> m_in;
    std::vector<std::int16_t> m_out;
};

// plain: the baseline; again: a second baseline stream, which shows how far
// two identical loops differ in this run (the noise floor); estimate: the
// baseline plus AudioResampler's output estimate.
bool liveCapture(Side& plain, Side& again, Side& estimate, Side& device)
{
    AudioDevice audio;
    audio.setResampling(true);
    audio.setFrequency(false, kInRate);
    audio.setFrequency(true, kOutRate);
    if (!audio.startCapture())
        return false;
    PlainLoop first;
    PlainLoop second;
    PlainLoop third(true);
    if (!first.ok() || !second.ok() || !third.ok())
        return false;

    auto deviceRead = [&](Side* side) {
        const double start = threadCpuSeconds();
        const char* data = audio.readSamples();
        const double spent = threadCpuSeconds() - start;
        // AudioDevice does not report its input frames; its output scaled
        // back to 48000 Hz stands for them.
        const long out = data ? static_cast<long>(audio.readBytes() / 2) : 0;
        if (side)
            side->add(spent, out * (kInRate / kOutRate), out, data != nullptr);
    };

    // Half a second to settle, then the measured run; the three readers take
    // turns at going first.
    const auto settle = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (std::chrono::steady_clock::now() < settle) {
        deviceRead(nullptr);
        first.read(nullptr);
        second.read(nullptr);
        third.read(nullptr);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const auto begin = std::chrono::steady_clock::now();
    const auto end = begin + std::chrono::milliseconds(long(kLiveSeconds * 1000));
    auto nextBlock = begin + std::chrono::seconds(1);
    for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
        for (int turn = 0; turn < 4; ++turn) {
            switch ((i + turn) % 4) {
            case 0:
                deviceRead(&device);
                break;
            case 1:
                first.read(&plain);
                break;
            case 2:
                second.read(&again);
                break;
            default:
                third.read(&estimate);
                break;
            }
        }
        if (std::chrono::steady_clock::now() >= nextBlock) {
            plain.closeBlock();
            again.closeBlock();
            estimate.closeBlock();
            device.closeBlock();
            nextBlock += std::chrono::seconds(1);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    audio.stopCapture();
    return true;
}

// --- 2. conversion only ----------------------------------------------------

void conversionOnly(double& plainMicros, double& wrapperMicros)
{
    const int chunk = kInRate / 100;
    std::vector<std::int16_t> in(static_cast<std::size_t>(kInRate) * 2);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<std::int16_t>(8000.0 * std::sin(2.0 * 3.14159265358979 * 1000.0 * i / kInRate) +
                                          (std::rand() % 200 - 100));
    std::vector<std::int16_t> out(4096);
    std::uint8_t* outPlanes[] = {reinterpret_cast<std::uint8_t*>(out.data())};
    const int chunksPerRound = kConversionSeconds * 100;
    const int chunksInBuffer = static_cast<int>(in.size()) / chunk;
    long sink = 0;

    std::vector<double> plainRounds, wrapperRounds;
    for (int round = 0; round < kConversionRounds; ++round) {
        for (int side = 0; side < 2; ++side) {
            const bool wrapperFirst = round % 2 == 0;
            const bool wrapper = (side == 0) == wrapperFirst;
            AudioResampler resampler;
            resampler.setChannelLayouts(AV_CH_LAYOUT_MONO, AV_CH_LAYOUT_MONO);
            resampler.setSampleFormats(AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16);
            resampler.setRates(kInRate, kOutRate);
            SwrContext* context = plainContext();
            if (!resampler.init() || !context) {
                std::fprintf(stderr, "resampler set-up failed\n");
                std::exit(1);
            }
            const double start = threadCpuSeconds();
            for (int c = 0; c < chunksPerRound; ++c) {
                const std::uint8_t* inPlanes[] = {
                    reinterpret_cast<const std::uint8_t*>(in.data() + (c % chunksInBuffer) * chunk)};
                int produced = 0;
                if (wrapper)
                    resampler.convert(inPlanes, chunk, outPlanes, produced);
                else
                    produced = swr_convert(context, outPlanes, static_cast<int>(out.size()), inPlanes, chunk);
                sink += produced;
            }
            const double micros = (threadCpuSeconds() - start) * 1e6 / kConversionSeconds;
            (wrapper ? wrapperRounds : plainRounds).push_back(micros);
            swr_free(&context);
        }
    }
    if (sink == 42)
        std::printf(" ");
    plainMicros = median(plainRounds);
    wrapperMicros = median(wrapperRounds);
}

}  // namespace

int main()
{
    std::printf("ksr-bench-audio: AudioDevice::readSamples, resampling %d -> %d Hz mono 16-bit\n", kInRate,
                kOutRate);
    std::printf("  %-46s %12s %12s %8s\n", "figure", "plain loop", "AudioDevice", "ratio");

    // The microphone: a private server for this run only.
    const std::string dir = "/tmp/ksr-bench-audio-" + std::to_string(::getpid());
    ::setenv("VIRTUAL_MIC_DIR", dir.c_str(), 1);
    ::setenv("PULSE_SERVER", ("unix:" + dir + "/native").c_str(), 1);
    ::setenv("ALSOFT_DRIVERS", "pulse", 1);
    const std::string script = shellQuote(KSR_VIRTUAL_MIC_SCRIPT);
    const bool micUp = std::system((script + " start >/dev/null 2>&1").c_str()) == 0;

    Side plain, again, estimate, device;
    const bool live = micUp && liveCapture(plain, again, estimate, device);
    if (micUp)
        std::system((script + " stop >/dev/null 2>&1").c_str());
    std::system(("rm -rf " + shellQuote(dir)).c_str());

    if (live) {
        printRow("live: CPU us per second of audio", plain.perAudioSecondMicros(), device.perAudioSecondMicros());
        printRow("live: CPU us per call", plain.cpu * 1e6 / plain.calls, device.cpu * 1e6 / device.calls);
        printRow("live: median CPU us of a call with data", median(plain.callMicros), median(device.callMicros));
        printRow("live: seconds of 48 kHz audio taken in", plain.inFrames / double(kInRate),
                 device.inFrames / double(kInRate));
        printRow("live: calls", plain.calls, device.calls);
        printRow("live: calls with data", plain.callsWithData, device.callsWithData);
        std::printf("  %-46s %12s %12s %8.3f\n", "live: median of one-second block ratios", "", "",
                    medianBlockRatio(plain, device));
        printRow("noise floor: second plain loop, us per second", plain.perAudioSecondMicros(),
                 again.perAudioSecondMicros());
        printRow("noise floor: median CPU us of a call with data", median(plain.callMicros),
                 median(again.callMicros));
        std::printf("  %-46s %12s %12s %8.3f\n", "noise floor: median of block ratios", "", "",
                    medianBlockRatio(plain, again));
        printRow("plain loop + output estimate, us per second", plain.perAudioSecondMicros(),
                 estimate.perAudioSecondMicros());
        std::printf("  %-46s %12s %12s %8.3f\n", "plain loop + estimate: median of block ratios", "", "",
                    medianBlockRatio(plain, estimate));
        std::printf("  %-46s %12s %12s %8.3f\n", "AudioDevice / (plain loop + estimate), blocks", "", "",
                    medianBlockRatio(estimate, device));
    } else {
        std::printf("  live capture skipped: the virtual microphone did not start (scripts/setup.sh installs it)\n");
    }

    double plainMicros = 0.0, wrapperMicros = 0.0;
    conversionOnly(plainMicros, wrapperMicros);
    printRow("conversion only: CPU us per second of audio", plainMicros, wrapperMicros);

    const double liveRatio = live ? medianBlockRatio(plain, device) : 0.0;
    std::printf("goal: AudioDevice / plain <= 1.10 -> live (median block ratio) %s, conversion only %s\n",
                live ? (liveRatio <= 1.10 ? "met" : "NOT met") : "not measured",
                wrapperMicros / plainMicros <= 1.10 ? "met" : "NOT met");
    return 0;
}
