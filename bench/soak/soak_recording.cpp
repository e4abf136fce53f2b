#include "soak_recording.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>

#include "soak_audio.h"

extern char** environ;

namespace Soak {

namespace {

const double kGap = 1.5;

// Writes clip after clip (in a shuffled order that repeats) with quiet
// between them until the recording is `minutes` long, one clip at a time.
bool writeRecording(const std::string& path, double minutes, const ClipBank& bank,
                    const std::vector<std::string>& clips, unsigned seed)
{
    SF_INFO info{};
    info.samplerate = kSampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    std::unique_ptr<SNDFILE, SndfileCloser> file(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!file)
        return false;
    QuietNoise noise(seed);
    const Samples gap = noise.make(kGap);
    std::vector<std::string> order = clips;
    std::mt19937 random(seed);
    const auto total = static_cast<sf_count_t>(minutes * 60.0 * kSampleRate);
    sf_count_t written = sf_write_short(file.get(), gap.data(), static_cast<sf_count_t>(gap.size()));
    for (std::size_t i = 0; written < total; ++i) {
        if (i % order.size() == 0)
            std::shuffle(order.begin(), order.end(), random);
        const Samples& clip = bank.clip(order[i % order.size()]);
        written += sf_write_short(file.get(), clip.data(), static_cast<sf_count_t>(clip.size()));
        written += sf_write_short(file.get(), gap.data(), static_cast<sf_count_t>(gap.size()));
    }
    return true;
}

// Runs the demo on the recording, its output thrown away; the child's peak
// resident memory in MiB, or a negative value when it did not end well.
double demoPeakMiB(const RecordingOptions& options, const std::string& recording)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<std::string> arguments = {options.demoProgram, "--model", options.modelDir, "--wav", recording};
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, options.demoProgram.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return -1.0;
    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return -1.0;
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

}  // namespace

RecordingReport runRecordingPhase(const RecordingOptions& options)
{
    RecordingReport report;
    ClipBank bank(options.clipDirs);
    QuietNoise noise(options.seed + 3);
    if (!bank.load(options.clips, noise, report.whyNot))
        return report;
    const std::string folder = "/tmp/ksr-bench-soak-" + std::to_string(::getpid());
    const std::string shortPath = folder + "-short.wav", longPath = folder + "-long.wav";
    report.shortMinutes = options.minutes / 2.0;
    report.longMinutes = options.minutes;
    if (!writeRecording(shortPath, report.shortMinutes, bank, options.clips, options.seed) ||
        !writeRecording(longPath, report.longMinutes, bank, options.clips, options.seed)) {
        report.whyNot = "the recordings cannot be written to /tmp";
    } else {
        report.shortPeakMiB = demoPeakMiB(options, shortPath);
        report.longPeakMiB = demoPeakMiB(options, longPath);
        if (report.shortPeakMiB < 0.0 || report.longPeakMiB < 0.0)
            report.whyNot = options.demoProgram + " did not transcribe a recording";
    }
    std::remove(shortPath.c_str());
    std::remove(longPath.c_str());
    report.ran = report.whyNot.empty();
    return report;
}

}  // namespace Soak
