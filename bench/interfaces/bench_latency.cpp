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
// Goal: the module adds at most 20 ms to the plain loop (median).
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

// What one clip gave.
struct Trial {
    std::string expected;
    Clock::time_point lastLoud{};
    Clock::time_point plainAt{};
    Clock::time_point moduleAt{};
    std::string plainText, moduleText;
    bool plainHeard = false, moduleHeard = false;
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

    std::vector<Trial> trials;
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t c = 0; c < kClips.size(); ++c) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                trial = Trial();
                trial.expected = kPhrases[c];
            }
            std::atomic<bool> played{false};
            std::thread player([&] {
                mic.play(std::string(KSR_SHARED_DIR "/audio/") + kClips[c] + ".wav");
                played = true;
            });
            while (!played)
                pump(5);
            player.join();
            const Clock::time_point end = Clock::now() + std::chrono::seconds(4);
            while (Clock::now() < end) {
                pump(5);
                std::lock_guard<std::mutex> lock(mutex);
                if (trial.plainHeard && trial.moduleHeard)
                    break;
            }
            pump(1200);  // quiet before the next clip
            std::lock_guard<std::mutex> lock(mutex);
            trials.push_back(trial);
        }
    }
    iface.stop();
    plain.stop();
    vosk_model_free(model);

    std::vector<double> plainMs, moduleMs, differenceMs;
    int plainWrong = 0, moduleWrong = 0;
    for (const Trial& t : trials) {
        const bool plainOk = t.plainHeard && t.plainText == t.expected;
        const bool moduleOk = t.moduleHeard && t.moduleText == t.expected;
        plainWrong += !plainOk;
        moduleWrong += !moduleOk;
        if (plainOk)
            plainMs.push_back(ms(t.plainAt - t.lastLoud));
        if (moduleOk)
            moduleMs.push_back(ms(t.moduleAt - t.lastLoud));
        if (plainOk && moduleOk)
            differenceMs.push_back(ms(t.moduleAt - t.plainAt));
    }
    std::printf("  %zu clips played (%d rounds of %zu commands); missed or wrong: plain %d, module %d\n",
                trials.size(), kRounds, kClips.size(), plainWrong, moduleWrong);
    std::printf("  %-44s %12s %12s %12s %8s\n", "figure (ms)", "plain loop", "module", "difference", "ratio");
    const double plainMedian = Bench::percentile(plainMs, 0.5), moduleMedian = Bench::percentile(moduleMs, 0.5);
    const double plainP95 = Bench::percentile(plainMs, 0.95), moduleP95 = Bench::percentile(moduleMs, 0.95);
    std::printf("  %-44s %12.1f %12.1f %12.1f %8.3f\n", "median latency, end of speech to result", plainMedian,
                moduleMedian, Bench::percentile(differenceMs, 0.5), moduleMedian / plainMedian);
    std::printf("  %-44s %12.1f %12.1f %12.1f %8.3f\n", "95th percentile latency", plainP95, moduleP95,
                Bench::percentile(differenceMs, 0.95), moduleP95 / plainP95);
    std::printf("  %-44s %12.1f %12.1f %12.1f\n", "smallest", Bench::percentile(plainMs, 0.0),
                Bench::percentile(moduleMs, 0.0), Bench::percentile(differenceMs, 0.0));
    std::printf("  %-44s %12.1f %12.1f %12.1f\n", "largest", Bench::percentile(plainMs, 1.0),
                Bench::percentile(moduleMs, 1.0), Bench::percentile(differenceMs, 1.0));
    std::printf("  goal: the module adds at most 20 ms (median of the per-clip difference): %s\n",
                Bench::percentile(differenceMs, 0.5) <= 20.0 ? "met" : "NOT met");
    return 0;
}
