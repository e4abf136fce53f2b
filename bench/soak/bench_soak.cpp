// ksr-bench-soak: a working day of listening, compressed.
//
// Phase 1 writes the day's clips into recordings of 20 and 40 minutes
// (--recording-minutes, the long one) and has ksr-demo --wav transcribe
// each in a child process; goal: the long one's peak resident memory within
// 1.05 of the short one's, as files are read block by block. It comes first
// because the kernel counts a spawning process's peak resident memory in its
// child's: spawned after the model was loaded here, the children would all
// seem as big as this process.
//
// Phase 2 feeds hours of audio faster than real time through KSR_VoskManager
// on the real libvosk and the shared model (soak_day.h): commands under
// constant grammar and rule switching, keys, dictation with formatting
// phrases, numerals, spelling and capitals, noise and quiet, commands added
// and removed every minute, thresholds changed, listening restarted. Every
// report (an hour of audio by default) prints the resident memory, the heap
// in use, the real-time factor and the results expected, received, lost and
// wrong. Goals, judged on runs of two hours or more: memory growth after the
// first (warm-up) hour at most 1 MiB per hour, the last hour's real-time
// factor within 1.05 of the first's; on every run: nothing lost, nothing
// wrong, no crash.
//
// Phase 3 runs the Qt host interface on a private virtual microphone in real
// time (soak_microphone.h): started and stopped from the host thread every
// few seconds, the microphone pulled out and put back, paced listening with
// silence skipping. Goals: every start followed by exactly one
// listeningStopped, every disconnect by a reconnect or a stop, no wrong
// result.
//
// Usage: ksr-bench-soak [--hours H | --minutes M] [--report-minutes R]
//                       [--mic-minutes M] [--recording-minutes M] [--chunk-ms C]
//                       [--fast-commands MS] [--seed N]
// Phase 2 hands the manager 20 ms chunks (--chunk-ms) and runs with the early
// end of commands at 250 ms (--fast-commands, 0 for the module's defaults),
// as a desktop host that listens all day sets it.
// KSR_SOAK_TRACE=1 prints the module's log lines on standard error.
// Exit status: 0 when every goal that applies is met, 1 when one is missed,
// 2 on bad arguments, 77 when the model or clips are missing (a skip; under
// CI=true missing data is a failure instead).
#include <QApplication>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench_support.h"
#include "ksr_logger.h"
#include "soak_day.h"
#include "soak_microphone.h"
#include "soak_recording.h"

namespace {

const double kGrowthGoalMiBPerHour = 1.0;
const double kRealTimeGoal = 1.05;
const double kRecordingGoal = 1.05;
const int kSkipped = 77;

std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value && *value) ? std::string(value) : fallback;
}

struct Arguments {
    double hours = 8.0;
    double reportMinutes = 60.0;
    double micMinutes = 3.0;
    double recordingMinutes = 40.0;
    double chunkMs = 20.0;
    double fastCommands = 250.0;
    unsigned seed = 20261124;
};

bool parse(int argc, char** argv, Arguments& args)
{
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (i + 1 >= argc)
            return false;
        const double value = std::atof(argv[++i]);
        if (name == "--hours")
            args.hours = value;
        else if (name == "--minutes")
            args.hours = value / 60.0;
        else if (name == "--report-minutes")
            args.reportMinutes = value;
        else if (name == "--mic-minutes")
            args.micMinutes = value;
        else if (name == "--recording-minutes")
            args.recordingMinutes = value;
        else if (name == "--fast-commands")
            args.fastCommands = value;
        else if (name == "--chunk-ms")
            args.chunkMs = value;
        else if (name == "--seed")
            args.seed = static_cast<unsigned>(value);
        else
            return false;
        if (!(value >= 0.0))
            return false;
    }
    return args.reportMinutes > 0.0 && args.chunkMs >= 1.0;
}

// Least-squares slope of y over x.
double slope(const std::vector<double>& x, const std::vector<double>& y)
{
    const double n = static_cast<double>(x.size());
    double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sx += x[i];
        sy += y[i];
        sxx += x[i] * x[i];
        sxy += x[i] * y[i];
    }
    const double d = n * sxx - sx * sx;
    return d > 0.0 ? (n * sxy - sx * sy) / d : 0.0;
}

void printRow(const Soak::Row& row)
{
    std::printf("%7.2f h | %8.1f | %8.1f | %6.4f | %8ld | %8ld | %4ld | %5ld | %6ld | %8ld | %8ld\n",
                row.audioHours, row.residentMiB, row.heapMiB, row.realTimeFactor, row.expected, row.received,
                row.lost, row.wrong, row.unsure, row.failures, row.commands);
    std::fflush(stdout);
}

// The day's verdict; true when every goal that applies is met.
bool judgeDay(const Soak::DayReport& day, double hours)
{
    long expected = 0, received = 0, lost = 0, wrong = 0, unsure = 0;
    for (const Soak::Row& row : day.rows) {
        expected += row.expected;
        received += row.received;
        lost += row.lost;
        wrong += row.wrong;
        unsure += row.unsure;
    }
    // A day too short to hold every kind of utterance and host change
    // proves less than it seems to.
    std::string heard, missing;
    for (const std::string& kind : Soak::dayKinds()) {
        const auto found = day.counts.find(kind);
        const long count = found == day.counts.end() ? 0 : found->second;
        heard += (heard.empty() ? "" : ", ") + kind + " " + std::to_string(count);
        if (count == 0)
            missing += (missing.empty() ? "" : ", ") + kind;
    }
    std::printf("heard: %s\n", heard.c_str());
    if (!missing.empty())
        std::printf("never happened: %s (goal: every kind)\n", missing.c_str());
    std::printf("totals: %ld expected, %ld received, %ld lost, %ld wrong (goal: 0 lost, 0 wrong); "
                "%ld spelled clips dropped as unsure by the letters recognizer\n",
                expected, received, lost, wrong, unsure);
    bool met = lost == 0 && wrong == 0 && missing.empty();
    if (hours < 2.0 || day.rows.size() < 3) {
        std::printf("memory growth and slowdown: not judged on a run shorter than two hours\n");
        return met;
    }
    // From the end of the first hour on: the warm-up is over.
    std::vector<double> at, resident, heap;
    for (const Soak::Row& row : day.rows)
        if (row.audioHours >= 1.0 - 1e-9) {
            at.push_back(row.audioHours);
            resident.push_back(row.residentMiB);
            heap.push_back(row.heapMiB);
        }
    const double residentGrowth = slope(at, resident);
    const double heapGrowth = slope(at, heap);
    const double slowdown = day.rows.back().realTimeFactor / day.rows.front().realTimeFactor;
    std::printf("growth after the warm-up hour: resident %+.3f MiB/h, heap %+.3f MiB/h (goal: <= %.1f)\n",
                residentGrowth, heapGrowth, kGrowthGoalMiBPerHour);
    double worst = 0.0;
    for (const Soak::Row& row : day.rows)
        worst = std::max(worst, row.realTimeFactor);
    std::printf("real-time factor, last row / first: %.3f (goal: <= %.2f); worst row / first: %.3f\n", slowdown,
                kRealTimeGoal, worst / day.rows.front().realTimeFactor);
    met = met && residentGrowth <= kGrowthGoalMiBPerHour && heapGrowth <= kGrowthGoalMiBPerHour &&
          slowdown <= kRealTimeGoal;
    return met;
}

bool judgeMicrophone(const Soak::MicrophoneReport& mic)
{
    if (!mic.ran) {
        std::printf("phase 3 did not run: %s\n", mic.whyNot.c_str());
        return false;
    }
    std::printf("%.0f s: %d starts asked, %d stops asked, %d listeningStarted, %d listeningStopped, "
                "%d starts not followed by exactly one listeningStopped, %d ends other than Stopped (goal: 0, 0)\n",
                mic.seconds, mic.startsAsked, mic.stopsAsked, mic.started, mic.stopped, mic.unpairedStarts,
                mic.endsNotStopped);
    std::printf("microphone pulled out %d times: %d disconnects, %d reconnects, %d answered by neither (goal: 0)\n",
                mic.unplugs, mic.disconnects, mic.reconnects, mic.disconnectsUnanswered);
    std::printf("%d clips played, %d of them whole while listening; %d commands heard, %d wrong results "
                "(goal: 0)\n",
                mic.clipsPlayed, mic.clipsHeardWhole, mic.commandsHeard, mic.wrongResults);
    return mic.ok();
}

bool judgeRecording(const Arguments& args, const std::string& model, const std::string& audio)
{
    const std::string demo = KSR_DEMO_PROGRAM;
    if (demo.empty()) {
        std::printf("phase 1 did not run: ksr-demo is not built (KSR_BUILD_TOOLS=OFF)\n");
        return false;
    }
    Soak::RecordingOptions options;
    options.minutes = args.recordingMinutes;
    options.demoProgram = demo;
    options.modelDir = model;
    options.clipDirs = {audio, KSR_PROJECT_CLIPS};
    options.clips = Soak::dayClips();
    options.seed = args.seed;
    const Soak::RecordingReport recording = Soak::runRecordingPhase(options);
    if (!recording.ran) {
        std::printf("phase 1 did not run: %s\n", recording.whyNot.c_str());
        return false;
    }
    std::printf("peak resident memory: %.1f MiB for %.0f min, %.1f MiB for %.0f min: %.3f (goal: <= %.2f)\n",
                recording.shortPeakMiB, recording.shortMinutes, recording.longPeakMiB, recording.longMinutes,
                recording.ratio(), kRecordingGoal);
    return recording.ratio() <= kRecordingGoal;
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments args;
    if (!parse(argc, argv, args)) {
        std::fprintf(stderr,
                     "usage: %s [--hours H | --minutes M] [--report-minutes R] [--mic-minutes M]\n"
                     "       [--recording-minutes M] [--chunk-ms C] [--fast-commands MS] [--seed N]\n",
                     argv[0]);
        return 2;
    }
    const std::string model = envOr("KSR_TEST_MODEL", KSR_SHARED_DIR "/models/en-us-synth");
    const std::string audio = envOr("KSR_TEST_AUDIO", KSR_SHARED_DIR "/audio");
    for (const std::string& path : {model, audio})
        if (!Bench::fileExists(path)) {
            const bool ci = envOr("CI", "") == "true";
            std::printf("%s: %s is missing%s\n", argv[0], path.c_str(), ci ? "" : "; skipped");
            return ci ? 1 : kSkipped;
        }

    // The module's quiet log lines, for finding out why a result went astray.
    if (envOr("KSR_SOAK_TRACE", "") == "1")
        KSR_Logger::setTraceFunction(
            [](KSR_Logger::Level, const std::string& line) { std::fprintf(stderr, "trace: %s\n", line.c_str()); });
    bool met = true;
    if (args.recordingMinutes > 0.0) {
        std::printf("phase 1: recordings of %.0f and %.0f min transcribed by ksr-demo --wav\n",
                    args.recordingMinutes / 2.0, args.recordingMinutes);
        met = judgeRecording(args, model, audio) && met;
    }
    if (args.hours > 0.0) {
        std::printf("phase 2: %.2f h of audio through the manager and libvosk, faster than real time "
                    "(%.0f ms chunks, early end %.0f ms, seed %u)\n",
                    args.hours, args.chunkMs, args.fastCommands, args.seed);
        std::printf("  audio   | resident | heap MiB | RTF    | expected | received | lost | wrong | unsure | failures | "
                    "commands\n");
        Soak::DayOptions options;
        options.hours = args.hours;
        options.reportSeconds = args.reportMinutes * 60.0;
        options.seed = args.seed;
        options.chunkSeconds = args.chunkMs / 1000.0;
        options.fastCommands = static_cast<int>(args.fastCommands);
        options.modelDir = model;
        options.clipDirs = {audio, KSR_PROJECT_CLIPS};
        const Soak::DayReport day = Soak::runDay(options, printRow, [](const std::string& mistake) {
            std::printf("  mistake %s\n", mistake.c_str());
            std::fflush(stdout);
        });
        if (!day.ran) {
            std::printf("phase 2 did not run: %s\n", day.whyNot.c_str());
            return 1;
        }
        met = judgeDay(day, args.hours) && met;
    }
    if (args.micMinutes > 0.0) {
        if (!std::getenv("QT_QPA_PLATFORM"))
            ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        QApplication application(argc, argv);
        std::printf("phase 3: %.1f min of listening to a virtual microphone in real time\n", args.micMinutes);
        Soak::MicrophoneOptions options;
        options.minutes = args.micMinutes;
        options.modelDir = model;
        options.audioDir = audio;
        options.seed = args.seed;
        met = judgeMicrophone(Soak::runMicrophonePhase(options)) && met;
    }
    std::printf("%s\n", met ? "every goal met" : "a goal was missed");
    return met ? 0 : 1;
}
