// ksr-bench-latency: from the end of a spoken command to its result on the
// host thread, through K_VoskInterface, against a plain libvosk loop that
// reads the same microphone in the same run.
//
// A private virtual microphone is started (scripts/virtual_mic.sh) and the
// nine shared command clips are played into it at real-time pace, several
// rounds. Two listeners hear every clip at once:
//   - the module: K_VoskInterface capturing at 16000 Hz, one grammar with the
//     nine commands on (and the dictation grammar off, which the engine
//     needs for its literal keyword); the time is taken when
//     recognitionResult reaches a receiver on the host (main) thread through
//     the queued connection;
//   - the plain loop: OpenAL capture of the same microphone at 16000 Hz fed
//     straight to a libvosk grammar recognizer over the same phrases
//     (vosk_recognizer_accept_waveform, then result or partial result as the
//     engine reads them), sleeping 1 ms when nothing waits; the time is
//     taken when the result with the command's text is read.
// The end of the command is the moment the plain loop read the last
// non-silent sample of the clip (|sample| > 1000; the microphone's keep-alive
// noise peaks near 120). Latency = result time - that moment, per clip for
// both sides, and their difference per clip.
// The module is measured in several configurations of its settings, one
// after the other, each over every round of clips, while the plain loop
// hears everything: the table `kConfigurations` below has one line per
// row. Out-of-grammar clips (dictation and speech of no command) are played
// too: any result for them counts as an extra command.
// Goals: by default the module adds at most 20 ms to the plain loop
// (median), and paced listening at most 10 ms more than the polling loop;
// with the early end of a command on, end of speech to result
// at most 300 ms (median) and 400 ms (95th percentile), with no missed,
// wrong or extra command.
#include <QCoreApplication>
#include <QObject>

#include <cstdio>
#include <map>

#include "bench_support.h"
#include "k_vosk_interface.h"

namespace {

using Bench::Clock;

const int kRounds = 3;
const int kLoudSample = 1000;
const std::vector<std::string> kClips = {"cmd_open_file", "cmd_close_window", "cmd_select_all",
                                         "cmd_go_back",   "cmd_zoom_in",      "cmd_scroll_down",
                                         "cmd_save_file", "cmd_undo",         "cmd_new_tab"};
const std::vector<std::string> kPhrases = {"open file", "close window", "select all", "go back", "zoom in",
                                           "scroll down", "save file", "undo", "new tab"};
// Speech of no command: the module must stay silent.
const std::vector<std::string> kOutOfGrammarClips = {"dict_hello_world", "dict_what_time", "dict_dogs_happy"};

// One row of the table: the module's settings while it hears every round.
struct Configuration {
    const char* name;
    int pace;               // K_VoskInterface::setListeningPace; 0: the polling loop
    int fastCommandsQuiet;  // KSR_VoskManager::setFastCommands; 0: off
    bool chaining;          // KSR_VoskManager::setCommandChaining
};

const int kPaced = K_VoskInterface::RecommendedListeningPace;
const int kQuiet = KSR_VoskManager::DefaultFastCommandsQuiet;
const Configuration kConfigurations[] = {
    {"module, default settings", 0, 0, false},
    {"module, paced listening", kPaced, 0, false},
    {"module, early end", 0, kQuiet, false},
    {"module, early end and chaining", 0, kQuiet, true},
    {"module, paced, early end, chaining", kPaced, kQuiet, true},
};

// What one clip gave.
struct Trial {
    std::string expected;  // empty: an out-of-grammar clip
    Clock::time_point lastLoud{};
    Clock::time_point plainAt{};
    Clock::time_point moduleAt{};
    std::string plainText, moduleText;
    bool plainHeard = false, moduleHeard = false;
    int moduleResults = 0;
};

struct Counts {
    int missedOrWrong = 0;
    int extra = 0;  // more than one result for a clip, or any for an out-of-grammar clip
};

double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

void pump(int milliseconds)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (Clock::now() < end)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

}  // namespace

int main(int argc, char** argv)
{
    Bench::VirtualMicrophone mic;
    std::printf("ksr-bench-latency: end of a spoken command to its result on the host thread\n");
    if (!mic.up()) {
        std::printf("  the virtual microphone could not start (pulseaudio, sox: scripts/setup.sh)\n");
        return 1;
    }
    ::setenv("KALO_ACOUSTIC_MODEL_PATH", KSR_MODEL_DIR, 1);
    QCoreApplication app(argc, argv);
    K_SRInterface::registerKSRTypes();

    K_VoskInterface iface(nullptr);
    if (!iface.isInitialized()) {
        std::printf("  no model at %s\n", KSR_MODEL_DIR);
        return 1;
    }
    iface.addDictationGrammar("");
    const KSR::GrammarId commands = iface.addCommandGrammar("");
    const KSR::RuleId rule = iface.addRule(commands, "commands");
    for (const std::string& phrase : kPhrases)
        iface.addCommand(rule, phrase);
    iface.setActivated(commands, true);
    iface.microphoneFrequencyChangedSlot(16000);

    std::mutex mutex;
    Trial trial;
    QObject receiver;
    QObject::connect(&iface, &K_SRInterface::recognitionResult, &receiver, [&](KSR::SRData data) {
        std::lock_guard<std::mutex> lock(mutex);
        ++trial.moduleResults;
        if (!trial.moduleHeard) {
            trial.moduleAt = Clock::now();
            trial.moduleText = data.text;
            trial.moduleHeard = true;
        }
    });

    // The plain loop needs the engine's phrases: the commands, the keys and
    // the dictation grammar's formatting rule, as startRecognizing lists them.
    std::vector<std::string> plainPhrases;
    for (KSR::GrammarId id : {KSR::GrammarId(100), KSR::GrammarId(101), commands})
        for (const std::string& phrase : iface.getAvailableCommandNames(id))
            plainPhrases.push_back(phrase);
    vosk_set_log_level(-1);
    VoskModel* model = vosk_model_new(KSR_MODEL_DIR);
    Bench::PlainLoop plain(model, plainPhrases, std::chrono::milliseconds(1));
    const bool plainStarted = plain.start(
        [&](const std::string& text, Clock::time_point when) {
            std::lock_guard<std::mutex> lock(mutex);
            if (!trial.plainHeard) {
                trial.plainAt = when;
                trial.plainText = text;
                trial.plainHeard = true;
            }
        },
        [&](const std::int16_t* samples, int count, Clock::time_point when) {
            for (int i = 0; i < count; ++i)
                if (std::abs(samples[i]) > kLoudSample) {
                    std::lock_guard<std::mutex> lock(mutex);
                    trial.lastLoud = when;
                    break;
                }
        });
    if (!plainStarted) {
        std::printf("  the plain loop could not open the microphone\n");
        return 1;
    }
    iface.start();
    pump(1500);

    // Every clip of every round, in one configuration.
    const auto playRounds = [&]() {
        std::vector<Trial> trials;
        std::vector<std::pair<std::string, std::string>> clips;  // clip, expected text
        for (std::size_t c = 0; c < kClips.size(); ++c)
            clips.push_back({kClips[c], kPhrases[c]});
        for (const std::string& clip : kOutOfGrammarClips)
            clips.push_back({clip, std::string()});
        for (int round = 0; round < kRounds; ++round) {
            for (const auto& clip : clips) {
                {
                    std::lock_guard<std::mutex> lock(mutex);
                    trial = Trial();
                    trial.expected = clip.second;
                }
                std::atomic<bool> played{false};
                std::thread player([&] {
                    mic.play(std::string(KSR_SHARED_DIR "/audio/") + clip.first + ".wav");
                    played = true;
                });
                while (!played)
                    pump(5);
                player.join();
                const Clock::time_point end = Clock::now() + std::chrono::seconds(4);
                while (Clock::now() < end) {
                    pump(5);
                    std::lock_guard<std::mutex> lock(mutex);
                    if (!clip.second.empty() && trial.plainHeard && trial.moduleHeard)
                        break;
                }
                pump(1200);  // quiet before the next clip; a late extra result still counts
                std::lock_guard<std::mutex> lock(mutex);
                trials.push_back(trial);
            }
        }
        return trials;
    };

    std::vector<std::pair<const Configuration*, std::vector<Trial>>> runs;
    for (const Configuration& configuration : kConfigurations) {
        iface.setListeningPace(configuration.pace);
        iface.setFastCommands(configuration.fastCommandsQuiet);
        iface.setCommandChaining(configuration.chaining);
        pump(500);
        runs.push_back({&configuration, playRounds()});
    }
    iface.stop();
    plain.stop();
    vosk_model_free(model);

    std::printf("  %d rounds of %zu commands and %zu out-of-grammar clips per row; the plain loop heard every clip\n",
                kRounds, kClips.size(), kOutOfGrammarClips.size());
    std::printf("  %-34s %10s %10s %10s %10s %10s %8s %8s\n", "end of speech to result (ms)", "median", "p95",
                "smallest", "largest", "vs plain", "missed", "extra");
    std::vector<double> plainMs;
    Counts plainCounts;
    bool fastGoalMet = true;
    double defaultDifference = NAN, pacedDifference = NAN;
    for (const auto& run : runs) {
        std::vector<double> moduleMs, differenceMs;
        Counts counts;
        for (const Trial& t : run.second) {
            if (t.expected.empty()) {
                counts.extra += t.moduleResults;
                continue;
            }
            const bool plainOk = t.plainHeard && t.plainText == t.expected;
            const bool moduleOk = t.moduleHeard && t.moduleText == t.expected;
            counts.missedOrWrong += !moduleOk;
            counts.extra += std::max(0, t.moduleResults - 1);
            if (run.first == &kConfigurations[0]) {
                plainCounts.missedOrWrong += !plainOk;
                if (plainOk)
                    plainMs.push_back(ms(t.plainAt - t.lastLoud));
            }
            if (moduleOk)
                moduleMs.push_back(ms(t.moduleAt - t.lastLoud));
            if (plainOk && moduleOk)
                differenceMs.push_back(ms(t.moduleAt - t.plainAt));
        }
        if (run.first == &kConfigurations[0]) {
            std::printf("  %-34s %10.1f %10.1f %10.1f %10.1f %10s %8d %8s\n", "plain libvosk loop",
                        Bench::percentile(plainMs, 0.5), Bench::percentile(plainMs, 0.95),
                        Bench::percentile(plainMs, 0.0), Bench::percentile(plainMs, 1.0), "", plainCounts.missedOrWrong,
                        "");
            defaultDifference = Bench::percentile(differenceMs, 0.5);
        }
        if (run.first->pace > 0 && run.first->fastCommandsQuiet == 0)
            pacedDifference = Bench::percentile(differenceMs, 0.5);
        const double median = Bench::percentile(moduleMs, 0.5), p95 = Bench::percentile(moduleMs, 0.95);
        std::printf("  %-34s %10.1f %10.1f %10.1f %10.1f %+10.1f %8d %8d\n", run.first->name, median, p95,
                    Bench::percentile(moduleMs, 0.0), Bench::percentile(moduleMs, 1.0),
                    Bench::percentile(differenceMs, 0.5), counts.missedOrWrong, counts.extra);
        if (run.first->fastCommandsQuiet > 0)
            fastGoalMet = fastGoalMet && median <= 300.0 && p95 <= 400.0 && counts.missedOrWrong == 0 && counts.extra == 0;
    }
    std::printf("  (\"vs plain\": median of the per-clip difference to the plain loop)\n");
    std::printf("  goal, default settings: the module adds at most 20 ms (median of the per-clip difference): %s\n",
                defaultDifference <= 20.0 ? "met" : "NOT met");
    std::printf("  goal, paced listening adds at most 10 ms to the polling loop (median difference to the plain "
                "loop, %+.1f ms against %+.1f ms): %s\n",
                pacedDifference, defaultDifference, pacedDifference - defaultDifference <= 10.0 ? "met" : "NOT met");
    std::printf("  goal, early end: median <= 300 ms, p95 <= 400 ms, nothing missed, wrong or extra: %s\n",
                fastGoalMet ? "met" : "NOT met");
    return 0;
}
