// ksr-clip-check: which clips come out the same however they meet the
// recognizers. The end-to-end microphone tests play clips in real time, so
// where a clip starts relative to the recognizers' blocks of frames, how the
// capture loop cuts the audio and the noise before it differ from run to
// run; on some clips the model's words change with them. This program hears
// every clip many times through the module's own manager and engine, with
// the tests' grammars and modes and a different lead-in, chunking and noise
// each time, and reports the distinct outcomes. See usage() for the command
// line.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include "check_options.h"
#include "check_run.h"
#include "exit_codes.h"

using namespace ClipCheck;

namespace {

const int kSomeUnstable = 1;

int fail(int code, const std::string& message)
{
    std::fprintf(stderr, "ksr-clip-check: %s\n", message.c_str());
    return code;
}

bool isDirectory(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The *.wav files of a folder, by name.
bool listClips(const std::string& dir, std::vector<std::string>& paths, std::string& error)
{
    DIR* handle = ::opendir(dir.c_str());
    if (!handle) {
        error = "cannot read the folder " + dir;
        return false;
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(handle)) {
        const std::string name = entry->d_name;
        if (endsWith(name, ".wav"))
            names.push_back(name);
    }
    ::closedir(handle);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
        paths.push_back(dir + "/" + name);
    return true;
}

std::string modelPath(const Options& options)
{
    if (!options.modelPath.empty())
        return options.modelPath;
    const char* variable = std::getenv("KALO_ACOUSTIC_MODEL_PATH");
    if (variable && *variable)
        return variable;
    return KSR_BUNDLED_MODEL_DIR;
}

// One clip in one configuration and its runs.
struct Check {
    const ClipAudio* clip = nullptr;
    Mode mode = Mode::Commands;
    bool earlyEnd = false;
    std::vector<RunResult> runs;

    std::string after;

    std::string configuration() const
    {
        return std::string(modeName(mode)) + (after.empty() ? "" : " after " + after) +
               (earlyEnd ? ", early end on" : ", early end off");
    }
};

struct Outcome {
    std::string text;
    int count = 0;
    std::vector<std::string> chunkings;  // of the runs that gave it, each once
};

// Most frequent first; equal counts in the order they first came.
std::string chunkingsText(const Outcome& outcome)
{
    std::string out;
    for (const std::string& name : outcome.chunkings)
        out += (out.empty() ? "" : ", ") + name;
    return "chunks " + out;
}

std::vector<Outcome> outcomesOf(const Check& check)
{
    std::vector<Outcome> outcomes;
    for (const RunResult& run : check.runs) {
        auto found = std::find_if(outcomes.begin(), outcomes.end(),
                                  [&](const Outcome& outcome) { return outcome.text == run.outcome; });
        if (found == outcomes.end()) {
            outcomes.push_back({run.outcome, 0, {}});
            found = outcomes.end() - 1;
        }
        ++found->count;
        if (std::find(found->chunkings.begin(), found->chunkings.end(), run.chunking) == found->chunkings.end())
            found->chunkings.push_back(run.chunking);
    }
    std::stable_sort(outcomes.begin(), outcomes.end(),
                     [](const Outcome& a, const Outcome& b) { return a.count > b.count; });
    return outcomes;
}

int failureRuns(const Check& check)
{
    return static_cast<int>(
        std::count_if(check.runs.begin(), check.runs.end(), [](const RunResult& run) { return run.failures > 0; }));
}

void printCheck(const Check& check, bool verbose)
{
    const std::vector<Outcome> outcomes = outcomesOf(check);
    std::printf("%-34s %-32s %3zu runs  %s\n", check.clip->name.c_str(), check.configuration().c_str(),
                check.runs.size(), outcomes.size() == 1 ? "STABLE" : "UNSTABLE");
    for (const Outcome& outcome : outcomes) {
        std::printf("  %5d  %s\n", outcome.count, outcome.text.c_str());
        if (outcomes.size() > 1)
            std::printf("         (%s)\n", chunkingsText(outcome).c_str());
    }
    if (const int failed = failureRuns(check))
        std::printf("         (a failure signal in %d of %zu runs)\n", failed, check.runs.size());
    if (verbose)
        for (std::size_t i = 0; i < check.runs.size(); ++i)
            std::printf("         run %zu (%s): %s\n", i, check.runs[i].conditions.c_str(),
                        check.runs[i].outcome.c_str());
}

std::string markdownCode(const std::string& text)
{
    std::string out = "`";
    for (const char c : text) {
        if (c == '|')
            out += "\\|";
        else
            out += c;
    }
    return out + "`";
}

bool writeMarkdown(const std::string& path, const std::vector<Check>& checks)
{
    std::ofstream out(path);
    if (!out)
        return false;
    out << "| clip | configuration | runs | stable | outcomes (runs × what the host got) |\n"
        << "| --- | --- | --- | --- | --- |\n";
    for (const Check& check : checks) {
        const std::vector<Outcome> outcomes = outcomesOf(check);
        out << "| " << check.clip->name << " | " << check.configuration() << " | " << check.runs.size() << " | "
            << (outcomes.size() == 1 ? "**STABLE**" : "no") << " | ";
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            out << (i ? "<br>" : "") << outcomes[i].count << " × " << markdownCode(outcomes[i].text);
            if (outcomes.size() > 1)
                out << " (" << chunkingsText(outcomes[i]) << ")";
        }
        if (const int failed = failureRuns(check))
            out << "<br>(a failure signal in " << failed << " runs)";
        out << " |\n";
    }
    return static_cast<bool>(out);
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    std::string error;
    if (!parseOptions(argc, argv, options, error)) {
        std::fprintf(stderr, "ksr-clip-check: %s\n\n%s", error.c_str(), usage());
        return HostExit::Usage;
    }
    if (options.help) {
        std::printf("%s", usage());
        return HostExit::Ok;
    }

    const std::string model = modelPath(options);
    if (!isDirectory(model))
        return fail(HostExit::Model, "no acoustic model folder at " + model);
    if (options.clipDirs.empty())
        options.clipDirs = {KSR_CLIP_CHECK_SHARED_CLIPS, KSR_CLIP_CHECK_OWN_CLIPS};

    // Every clip is read first, so that a bad one stops the check before it
    // starts; the set-up clips are found among them.
    std::vector<ClipAudio> clips;
    for (const std::string& dir : options.clipDirs) {
        std::vector<std::string> paths;
        if (!listClips(dir, paths, error))
            return fail(HostExit::AudioFile, error);
        for (const std::string& path : paths) {
            ClipAudio clip;
            if (!readClip(path, clip, error))
                return fail(HostExit::AudioFile, "cannot read " + path + ": " + error);
            clips.push_back(std::move(clip));
        }
    }
    Preludes preludes;
    for (const ClipAudio& clip : clips) {
        if (clip.name == "cmd_close_window.wav" && !preludes.closeWindow)
            preludes.closeWindow = &clip;
        if (clip.name == "fmt_start_spelling.wav" && !preludes.startSpelling)
            preludes.startSpelling = &clip;
        if (clip.name == options.after && !preludes.before)
            preludes.before = &clip;
    }
    if (!options.after.empty() && !preludes.before)
        return fail(HostExit::Usage, "no clip named " + options.after + " for --after");

    std::vector<Check> checks;
    for (const ClipAudio& clip : clips) {
        if (!options.onlyClips.empty() &&
            std::find(options.onlyClips.begin(), options.onlyClips.end(), clip.name) == options.onlyClips.end())
            continue;
        const std::vector<Mode> modes =
            options.allModes ? allModes() : (options.modes.empty() ? defaultModes(clip.name) : options.modes);
        for (const Mode mode : modes) {
            if (modeNeedsCloseWindow(mode) && !preludes.closeWindow)
                return fail(HostExit::AudioFile, std::string(modeName(mode)) + " needs cmd_close_window.wav among the clips");
            if (modeNeedsStartSpelling(mode) && !preludes.startSpelling)
                return fail(HostExit::AudioFile, std::string(modeName(mode)) + " needs fmt_start_spelling.wav among the clips");
            for (const bool earlyEnd : {false, true}) {
                if ((earlyEnd && !options.earlyEndOn) || (!earlyEnd && !options.earlyEndOff))
                    continue;
                Check check;
                check.clip = &clip;
                check.mode = mode;
                check.earlyEnd = earlyEnd;
                check.after = options.after;
                check.runs.resize(static_cast<std::size_t>(options.runs));
                checks.push_back(std::move(check));
            }
        }
    }
    if (checks.empty())
        return fail(HostExit::Usage, "no clip to check");

    // Runs are independent sessions; the threads take them in turn and each
    // result goes to its own place, so the report does not depend on --jobs.
    const std::size_t runsPerCheck = static_cast<std::size_t>(options.runs);
    const std::size_t total = checks.size() * runsPerCheck;
    std::atomic<std::size_t> nextRun{0};
    std::atomic<bool> broken{false};
    std::vector<std::atomic<std::size_t>> left(checks.size());
    for (auto& count : left)
        count = runsPerCheck;
    std::atomic<std::size_t> checksDone{0};
    std::mutex progress;
    const auto started = std::chrono::steady_clock::now();
    const auto work = [&] {
        for (std::size_t task = nextRun++; task < total && !broken; task = nextRun++) {
            Check& check = checks[task / runsPerCheck];
            const int run = static_cast<int>(task % runsPerCheck);
            RunResult& result = check.runs[static_cast<std::size_t>(run)];
            const Chunking& chunking = options.chunkings[static_cast<std::size_t>(run) % options.chunkings.size()];
            result = runClip(model, *check.clip, preludes, check.mode, check.earlyEnd,
                             runSeed(options.seed, check.clip->name, run), chunking);
            if (!result.error.empty())
                broken = true;
            if (--left[task / runsPerCheck] == 0) {
                std::lock_guard<std::mutex> lock(progress);
                std::fprintf(stderr, "[%zu/%zu] %s, %s\n", ++checksDone, checks.size(), check.clip->name.c_str(),
                             check.configuration().c_str());
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 1; i < options.jobs; ++i)
        threads.emplace_back(work);
    work();
    for (std::thread& thread : threads)
        thread.join();
    for (const Check& check : checks)
        for (const RunResult& run : check.runs)
            if (!run.error.empty())
                return fail(HostExit::Model, run.error);

    std::printf("ksr-clip-check: %zu clip configurations, %d runs each, seed %llu\n\n", checks.size(), options.runs,
                static_cast<unsigned long long>(options.seed));
    std::size_t stable = 0;
    for (const Check& check : checks) {
        printCheck(check, options.verbose);
        if (outcomesOf(check).size() == 1)
            ++stable;
    }
    std::printf("\n%zu of %zu clip configurations stable\n", stable, checks.size());
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::fprintf(stderr, "ksr-clip-check: %zu runs in %.0f s\n", total, seconds);

    if (!options.markdownFile.empty() && !writeMarkdown(options.markdownFile, checks))
        return fail(HostExit::Usage, "cannot write " + options.markdownFile);
    return stable == checks.size() ? HostExit::Ok : kSomeUnstable;
}
