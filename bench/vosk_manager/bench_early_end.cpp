// ksr-bench-early-end: end of speech to command, per noise condition, for
// each way of ending a command early, against libvosk's own end of
// utterance in the same run.
//
// The clips (scripts/make_noise_set.sh, made in the build folder when
// missing): 17 phrases in two voices, clean and under white, pink, brown and
// babble noise 15 dB below the speech, the noise running on for 1.5 s after
// the speech. Phrases that nothing in the grammar can continue, phrases a
// longer one begins with ("page" while "page down" is on), phrases with a
// pause inside ("page … down", 200 and 350 ms) and speech of no command.
//
// Each clip goes through a KSR_VoskManager (real libvosk, the shared model)
// in 10 ms chunks, as the capture loop hands them over, after a restart of
// recognition. A result's time is where the chunk that gave it ends in the
// clip, plus the time the manager took for the chunks up to then beyond
// what the audio itself took (a listening thread that runs behind), with
// the thread's CPU time per chunk as the chunk's cost: so the figure is
// what a real-time loop on an idle core of this machine would see, and does
// not move with other load. Delivery to a host thread adds well under 1 ms.
//
// Outcomes per clip: right (the first result is the clip's command), cut
// (a shorter phrase the command begins with), wrong, missed, extra (any
// further result, or any for a clip of no command).
// Goals for the grammar-aware rows: median <= 150 ms and p95 <= 200 ms for
// phrases nothing can continue, in every noise condition; nothing cut or
// wrong; nothing from speech of no command. Told apart from those: at least
// 9 in 10 commands heard (the model itself misses a few clips, early end or
// not, and under babble libvosk's own end hears none).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cpu_clock.h"
#include "ksr_vosk_manager.h"
#include "wav_samples.h"
#include "vosk/vosk_c_api.h"

namespace {

const int kRate = 16000;
const int kChunk = 160;  // 10 ms

std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value && *value) ? std::string(value) : fallback;
}

struct Clip {
    std::string name, words, command, noise;
    int speechEndMs = 0;
    std::vector<short> samples;
};

struct Row {
    const char* name;
    int longQuiet;   // 0: no early end
    int shortQuiet;  // the quiet after a phrase nothing can continue
    bool chaining;
};

const Row kRows[] = {
    {"libvosk's end of utterance", 0, 0, false},
    {"fixed 250 ms", 250, 250, false},
    {"grammar-aware 120/500 ms", KSR_VoskManager::RecommendedFastCommandsQuiet,
     KSR_VoskManager::DefaultFastCommandsShortQuiet, false},
    {"grammar-aware, chaining", KSR_VoskManager::RecommendedFastCommandsQuiet,
     KSR_VoskManager::DefaultFastCommandsShortQuiet, true},
};

const std::vector<std::string> kPhrases = {"open file", "close window", "save file", "go back", "select all",
                                           "page down", "zoom in",   "page",      "zoom",    "new line",
                                           "new line new line"};

double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

bool canContinue(const std::string& phrase)
{
    for (const std::string& other : kPhrases)
        if (other.size() > phrase.size() && other.compare(0, phrase.size() + 1, phrase + " ") == 0)
            return true;
    return false;
}

class Listener : public KSR_VoskManager {
public:
    struct Heard {
        std::string text;
        double atMs;
    };
    // Timed by the caller once the chunk that gave it is done.
    void processRecognition(KSR::SRData data) override { heard.push_back({data.text, 0.0}); }
    void processRecognitionFailed() override {}
    void processHypothesis(KSR::SRData) override {}

    std::vector<Heard> heard;
};

struct Trial {
    const Clip* clip;
    std::vector<Listener::Heard> heard;
};

std::vector<Trial> hearAll(const Row& row, const std::string& model, const std::vector<Clip>& clips)
{
    Listener listener;
    std::vector<Trial> trials;
    if (!listener.initialize(model))
        return trials;
    listener.setFastCommands(row.longQuiet);
    listener.setFastCommandsShortQuiet(row.shortQuiet);
    listener.setCommandChaining(row.chaining);
    // The dictation grammar stays off; the engine takes its literal keyword from it.
    listener.addDictationGrammar("");
    const KSR::GrammarId grammar = listener.addCommandGrammar("");
    const KSR::RuleId rule = listener.addRule(grammar, "commands");
    for (const std::string& phrase : kPhrases)
        listener.addCommand(rule, phrase);
    listener.setActivated(grammar, true);
    for (const Clip& clip : clips) {
        listener.stopRecognizing();
        listener.startRecognizing();
        listener.heard.clear();
        double doneMs = 0;  // when the listening thread is done with the chunks so far
        for (std::size_t at = 0; at + kChunk <= clip.samples.size(); at += kChunk) {
            const double arrivesMs = static_cast<double>(at + kChunk) * 1000.0 / kRate;
            const double before = threadCpuMs();
            const std::size_t already = listener.heard.size();
            listener.processAudio(reinterpret_cast<const char*>(clip.samples.data() + at), kChunk * 2);
            doneMs = std::max(doneMs, arrivesMs) + (threadCpuMs() - before);
            for (std::size_t i = already; i < listener.heard.size(); ++i)
                listener.heard[i].atMs = doneMs;
        }
        trials.push_back({&clip, listener.heard});
    }
    listener.stopRecognizing();
    return trials;
}

struct Tally {
    std::vector<double> cannotContinueMs, canContinueMs;
    int right = 0, cut = 0, wrong = 0, missed = 0, extra = 0;
};

void count(const Trial& trial, Tally& tally)
{
    const Clip& clip = *trial.clip;
    if (clip.command.empty()) {
        tally.extra += static_cast<int>(trial.heard.size());
        return;
    }
    if (trial.heard.empty()) {
        ++tally.missed;
        return;
    }
    tally.extra += static_cast<int>(trial.heard.size()) - 1;
    const Listener::Heard& first = trial.heard.front();
    if (first.text == clip.command) {
        ++tally.right;
        (canContinue(clip.command) ? tally.canContinueMs : tally.cannotContinueMs)
            .push_back(first.atMs - clip.speechEndMs);
    } else if (clip.command.compare(0, first.text.size() + 1, first.text + " ") == 0) {
        ++tally.cut;
    } else {
        ++tally.wrong;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string model = envOr("KSR_TEST_MODEL", KSR_SHARED_DIR "/models/en-us-synth");
    const std::string set = argc > 1 ? argv[1] : KSR_NOISE_SET_DIR;
    std::printf("ksr-bench-early-end: end of speech to command, per noise condition (10 ms chunks)\n");
    if (std::system(("test -s '" + set + "/clips.tsv' || '" KSR_SOURCE_DIR "/scripts/make_noise_set.sh' '" + set +
                     "' >/dev/null")
                        .c_str()) != 0) {
        std::printf("  the clips could not be made in %s (espeak-ng, sox: scripts/setup.sh)\n", set.c_str());
        return 1;
    }
    std::ifstream tsv(set + "/clips.tsv");
    std::vector<Clip> clips;
    std::string line;
    while (std::getline(tsv, line)) {
        std::vector<std::string> field;
        std::stringstream fields(line);
        for (std::string item; std::getline(fields, item, '\t');)
            field.push_back(item);
        if (field.size() != 7)
            continue;
        Clip clip{field[0], field[1], field[2], field[3], std::atoi(field[6].c_str()), {}};
        if (!Bench::readMonoSamples(set + "/" + clip.name + ".wav", kRate, clip.samples)) {
            std::printf("  unreadable clip %s/%s.wav\n", set.c_str(), clip.name.c_str());
            return 1;
        }
        clips.push_back(std::move(clip));
    }
    vosk_set_log_level(-2);
    const std::vector<std::string> noises = {"clean", "white", "pink", "brown", "babble"};
    std::printf("  %zu clips; ms from the end of speech to the command; p50/p95\n", clips.size());
    std::printf("  %-28s %-7s %17s %17s %6s %4s %6s %7s %6s\n", "", "noise", "cannot continue", "can continue",
                "right", "cut", "wrong", "missed", "extra");
    bool goalMet = true;
    std::string fewHeard;  // noises where a grammar-aware row heard fewer than 9 in 10
    const char* only = std::getenv("KSR_BENCH_ONLY");  // a part of a row's name: that row alone
    for (const Row& row : kRows) {
        if (only && !std::strstr(row.name, only))
            continue;
        const std::vector<Trial> trials = hearAll(row, model, clips);
        if (trials.size() != clips.size()) {
            std::printf("  no model at %s\n", model.c_str());
            return 1;
        }
        for (const std::string& noise : noises) {
            Tally tally;
            for (const Trial& trial : trials)
                if (trial.clip->noise == noise)
                    count(trial, tally);
            const double p50 = Bench::percentile(tally.cannotContinueMs, 0.5);
            const double p95 = Bench::percentile(tally.cannotContinueMs, 0.95);
            std::printf("  %-28s %-7s %8.0f/%-8.0f %8.0f/%-8.0f %6d %4d %6d %7d %6d\n",
                        noise == noises.front() ? row.name : "", noise.c_str(), p50, p95,
                        Bench::percentile(tally.canContinueMs, 0.5), Bench::percentile(tally.canContinueMs, 0.95),
                        tally.right, tally.cut, tally.wrong, tally.missed, tally.extra);
            if (row.longQuiet > 0 && row.shortQuiet < row.longQuiet) {
                goalMet = goalMet && p50 <= 150.0 && p95 <= 200.0 && tally.cut == 0 && tally.wrong == 0 &&
                          tally.extra == 0;
                if (tally.right * 10 < (tally.right + tally.missed) * 9 && fewHeard.find(noise) == std::string::npos)
                    fewHeard += " " + noise;
            }
        }
        if (std::getenv("KSR_BENCH_VERBOSE"))
            for (const Trial& trial : trials) {
                std::printf("    %-34s", trial.clip->name.c_str());
                for (const Listener::Heard& heard : trial.heard)
                    std::printf(" \"%s\" %+.0f ms", heard.text.c_str(), heard.atMs - trial.clip->speechEndMs);
                std::printf("\n");
            }
    }
    std::printf("  goal, grammar-aware: median <= 150 ms, p95 <= 200 ms for phrases nothing can continue, in every "
                "noise; nothing cut, wrong or extra: %s\n",
                goalMet ? "met" : "NOT met");
    std::printf("  goal, grammar-aware: 9 in 10 commands heard in every noise: %s%s\n",
                fewHeard.empty() ? "met" : "NOT met, under", fewHeard.c_str());
    return 0;
}
