// ksr-bench-patterns: what commands with arguments cost against the same
// commands written as a flat phrase list of the same words (real libvosk,
// the shared model, the pattern clips of tests/clips and the shared command
// clips, 10 ms chunks as the host interface hands them over).
//
// Twenty patterns, one of them "go to line <line:number 1..10000>"; the
// flat list holds each pattern said once with sample values in its slots
// and every word its slots take as a phrase of its own, so that both
// grammars hold the same words.
//  1. Rebuild: a command removed or added while listening, up to the first
//     chunk heard by the new command recognizer (CPU time, median of 31).
//     Goal: patterns / flat <= 1.10.
//  2. Listening: the CPU time of processAudio over the same stream of clips
//     and quiet, with default settings and with the early end (500/120 ms)
//     and chaining; the two clips of free text ("find hello world") cost the
//     pattern grammar a second recognizer while they are said, and the flat
//     grammar hears no command in them. Goal: patterns / flat <= 1.10.
//  3. End of speech to command with the early end, in audio time (the
//     chunk whose processing delivered it, against the clip's last voiced
//     10 ms): commands with a slot whose value cannot go on, with a value
//     that can ("go to line six" may become "six hundred"), and commands
//     without a slot heard by the flat grammar. Goal: the median of commands
//     with a slot within 10 ms of those without.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "cpu_clock.h"
#include "ksr_vosk_manager.h"
#include "wav_samples.h"
#include "vosk/vosk_c_api.h"

namespace {

const int kRate = 16000;
const int kChunk = 160;  // 10 ms
const int kRepetitions = 31;

std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value && *value) ? std::string(value) : fallback;
}

const std::string kModel = envOr("KSR_TEST_MODEL", KSR_SHARED_DIR "/models/en-us-synth");
const std::string kAudio = envOr("KSR_TEST_AUDIO", KSR_SHARED_DIR "/audio");
const std::string kClips = KSR_SOURCE_DIR "/tests/clips";

const std::vector<std::string> kPatterns = {
    "go to line <line:number 1..10000>", "select <count:number 1..20> words",
    "volume <level:number 0..100>",      "turn <colour:list colours>",
    "call <code:digits 3..6>",           "word <spelled:letters 1..8>",
    "find <query:text>",                 "scroll <n:number 1..50> (up | down)",
    "page (up | down) [<n:number 1..9>]", "zoom <n:number 1..5>",
    "open tab <n:number 1..20>",         "close tab <n:number 1..9>",
    "delete <n:number 1..99> words",     "next tab <n:number 1..9>",
    "previous tab <n:number 1..9>",      "play <n:number 1..10>",
    "pause <n:number 1..10>",            "redo <n:number 1..10>",
    "cut <n:number 1..10> words",        "copy <n:number 1..10> words",
};

// Commands without a slot, in both grammars.
const std::vector<std::string> kPlain = {"save file", "close window", "open file",   "go back",
                                         "zoom in",   "select all",   "scroll down", "undo"};

// The same commands as a host without patterns could write them: each said
// once with sample values, and the words of the slots.
std::vector<std::string> flatPhrases()
{
    std::vector<std::string> phrases = {
        "go to line one", "select one words", "volume zero",      "turn red",         "turn green",
        "turn blue",      "turn dark red",    "call one one one", "word a",           "find",
        "scroll one up",  "scroll one down",  "page up",          "page down",        "page up one",
        "page down one",  "zoom one",         "open tab one",     "close tab one",    "delete one words",
        "next tab one",   "previous tab one", "play one",         "pause one",        "redo one",
        "cut one words",  "copy one words"};
    for (const char* word : {"zero",    "one",      "two",      "three",   "four",     "five",      "six",
                             "seven",   "eight",    "nine",     "ten",     "eleven",   "twelve",    "thirteen",
                             "fourteen", "fifteen", "sixteen",  "seventeen", "eighteen", "nineteen", "twenty",
                             "thirty",  "forty",    "fifty",    "sixty",   "seventy",  "eighty",    "ninety",
                             "hundred", "thousand", "million",  "and",     "a",        "oh"})
        phrases.push_back(word);
    for (char letter = 'b'; letter <= 'z'; ++letter)
        phrases.push_back(std::string(1, letter));
    return phrases;
}

std::vector<short> quietNoise(std::size_t samples, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> level(-1.0, 1.0);
    std::vector<short> out(samples);
    for (short& sample : out)
        sample = static_cast<short>(level(random) * 0.003 * 32767);
    return out;
}

double rms(const std::vector<short>& samples, std::size_t at, std::size_t count)
{
    double sum = 0;
    for (std::size_t i = at; i < at + count; ++i)
        sum += static_cast<double>(samples[i]) * samples[i];
    return std::sqrt(sum / static_cast<double>(count));
}

// The end of the last 10 ms more than 20 dB above the clip's first 50 ms.
std::size_t speechEnd(const std::vector<short>& samples)
{
    const double floor = std::max(1.0, rms(samples, 0, 800));
    for (std::size_t at = samples.size() / kChunk * kChunk; at >= kChunk; at -= kChunk)
        if (rms(samples, at - kChunk, kChunk) > 10.0 * floor)
            return at;
    return samples.size();
}

struct Clip {
    std::string name;
    bool slot;         // a command with a value
    bool canGoOn;      // its value could still go on
    std::vector<short> samples;
    std::size_t end = 0;
};

class Listener : public KSR_VoskManager {
public:
    void processRecognition(KSR::SRData data) override { heard.push_back(data.text); }
    void processRecognitionFailed() override {}
    void processHypothesis(KSR::SRData) override {}
    std::vector<std::string> heard;
};

bool setUp(Listener& listener, bool patterns, KSR::RuleId* commands = nullptr)
{
    if (!listener.initialize(kModel))
        return false;
    listener.addDictationGrammar("");
    const KSR::GrammarId grammar = listener.addCommandGrammar("");
    const KSR::RuleId rule = listener.addRule(grammar, "commands");
    if (commands)
        *commands = rule;
    for (const std::string& phrase : kPlain)
        if (listener.addCommand(rule, phrase) == KSR::InvalidCommandId)
            return false;
    if (patterns) {
        listener.setList("colours", {{"red", "#ff0000"}, {"green", "#00ff00"}, {"blue", "#0000ff"},
                                     {"dark red", "#8b0000"}});
        for (const std::string& pattern : kPatterns)
            if (listener.addCommandPattern(rule, pattern) == KSR::InvalidCommandId) {
                std::fprintf(stderr, "ksr-bench-patterns: \"%s\" refused\n", pattern.c_str());
                return false;
            }
    } else {
        for (const std::string& phrase : flatPhrases())
            if (listener.addCommand(rule, phrase) == KSR::InvalidCommandId) {
                std::fprintf(stderr, "ksr-bench-patterns: \"%s\" refused\n", phrase.c_str());
                return false;
            }
    }
    listener.setActivated(grammar, true);
    return true;
}

double rebuildSeconds(bool patterns)
{
    Listener listener;
    KSR::RuleId rule = KSR::InvalidRuleId;
    if (!setUp(listener, patterns, &rule))
        return NAN;
    const std::vector<short> chunk = quietNoise(kChunk, 3);
    const auto hearChunks = [&](int count) {
        for (int n = 0; n < count; ++n)
            listener.processAudio(reinterpret_cast<const char*>(chunk.data()), kChunk * 2);
    };
    listener.startRecognizing();
    hearChunks(2);
    std::vector<double> times;
    for (int i = 0; i < kRepetitions; ++i) {
        // A command switched off and on again while listening: two rebuilds,
        // each up to the first chunk its new recognizer hears.
        const double start = Bench::cpuSeconds();
        listener.removeCommand(rule, 0);
        hearChunks(2);
        listener.addCommand(rule, kPlain.front());
        hearChunks(2);
        times.push_back((Bench::cpuSeconds() - start) / 2);
    }
    return Bench::median(times);
}

// Feeds every clip with quiet around it; the CPU time of processAudio, and
// per clip the delay from its speech end to each command heard, in ms.
struct Heard {
    double cpuSeconds = 0;
    std::vector<std::vector<double>> delays;  // per clip
    std::vector<std::vector<std::string>> texts;
};

Heard listen(const std::vector<Clip>& clips, bool patterns, bool early)
{
    Heard out;
    Listener listener;
    if (!setUp(listener, patterns))
        return out;
    if (early) {
        listener.setFastCommands(KSR_VoskManager::RecommendedFastCommandsQuiet);
        listener.setCommandChaining(true);
    }
    listener.startRecognizing();
    const std::vector<short> lead = quietNoise(kRate, 5);
    const std::vector<short> pause = quietNoise(kRate * 3 / 2, 6);
    const auto feed = [&](const std::vector<short>& samples, std::size_t end, std::vector<double>* delays) {
        for (std::size_t at = 0; at + kChunk <= samples.size(); at += kChunk) {
            const std::size_t before = listener.heard.size();
            const double start = Bench::cpuSeconds();
            listener.processAudio(reinterpret_cast<const char*>(samples.data() + at), kChunk * 2);
            out.cpuSeconds += Bench::cpuSeconds() - start;
            if (delays)
                for (std::size_t i = before; i < listener.heard.size(); ++i)
                    delays->push_back((static_cast<double>(at + kChunk) - static_cast<double>(end)) * 1000.0 / kRate);
        }
    };
    feed(lead, 0, nullptr);
    for (const Clip& clip : clips) {
        const std::size_t before = listener.heard.size();
        // The clip and the quiet after it, all of it timed.
        std::vector<short> heard = clip.samples;
        heard.insert(heard.end(), pause.begin(), pause.end());
        std::vector<double> delays;
        feed(heard, clip.end, &delays);
        out.delays.push_back(delays);
        out.texts.emplace_back(listener.heard.begin() + static_cast<long>(before), listener.heard.end());
    }
    return out;
}

}  // namespace

int main()
{
    if (!std::getenv("KSR_BENCH_VERBOSE"))
        vosk_set_log_level(-1);
    struct Source {
        const char* name;
        bool slot, canGoOn, own;
    };
    // Whether a value could go on: "thirteen" may become "thirteen hundred",
    // "zero zero four two" has room for two more digits, "four two" said
    // digit by digit for a third.
    const Source sources[] = {
        {"pat_line_42", true, false, true},          {"pat_line_21", true, false, true},
        {"pat_line_105_and", true, false, true},     {"pat_line_10000", true, false, true},
        {"pat_volume_100", true, false, true},       {"pat_select_20_words", true, false, true},
        {"pat_turn_dark_red", true, false, true},    {"pat_turn_blue", true, false, true},
        {"pat_speed_120_line_73", true, false, true}, {"pat_speed_230_line_73", true, false, true},
        {"pat_line_13", true, true, true},           {"pat_call_0042", true, true, true},
        {"pat_line_6", true, true, true},            {"pat_line_1", true, true, true},
        {"pat_line_30", true, true, true},           {"pat_line_4_2_digits", true, true, true},
        // Free text: heard again by a recognizer of free speech, which ends
        // on half a second of quiet whatever the early end.
        {"pat_find_hello_world", true, true, true},  {"pat_find_people_house", true, true, true},
        {"cmd_save_file", false, false, false},      {"cmd_close_window", false, false, false},
        {"cmd_open_file", false, false, false},      {"cmd_go_back", false, false, false},
        {"cmd_zoom_in", false, false, false},        {"cmd_select_all", false, false, false},
        {"cmd_scroll_down", false, false, false},    {"cmd_undo", false, false, false},
    };
    std::vector<Clip> clips;
    for (const Source& source : sources) {
        Clip clip{source.name, source.slot, source.canGoOn, {}, 0};
        const std::string path = (source.own ? kClips : kAudio) + "/" + source.name + ".wav";
        if (!Bench::readMonoSamples(path, kRate, clip.samples)) {
            std::fprintf(stderr, "ksr-bench-patterns: cannot read %s\n", path.c_str());
            return 1;
        }
        clip.end = speechEnd(clip.samples);
        clips.push_back(std::move(clip));
    }
    // The flat grammar hears the commands without a slot; the pattern
    // grammar, which has "save file" and the patterns, hears the rest.
    std::vector<Clip> withSlot, without;
    for (const Clip& clip : clips)
        (clip.slot ? withSlot : without).push_back(clip);

    std::printf("ksr-bench-patterns: 20 patterns (one \"go to line <line:number 1..10000>\") against a flat list "
                "of the same words\n\n");
    const double flatRebuild = rebuildSeconds(false);
    const double patternRebuild = rebuildSeconds(true);
    std::printf("%-44s %10s %10s %7s  %s\n", "", "flat", "patterns", "ratio", "goal");
    std::printf("%-44s %8.2f ms %8.2f ms %7.2f  <= 1.10\n", "rebuild while listening (CPU, median)",
                flatRebuild * 1000, patternRebuild * 1000, patternRebuild / flatRebuild);

    for (const bool early : {false, true}) {
        const Heard flat = listen(clips, false, early);
        const Heard patterned = listen(clips, true, early);
        std::printf("%-44s %8.2f s  %8.2f s  %7.2f  <= 1.10\n",
                    early ? "listening, early end + chaining (CPU)" : "listening, default settings (CPU)",
                    flat.cpuSeconds, patterned.cpuSeconds, patterned.cpuSeconds / flat.cpuSeconds);
        if (!early)
            continue;
        std::vector<double> noSlot, noSlotFlat, slotEnds, slotGoesOn;
        int missed = 0;
        const bool verbose = std::getenv("KSR_BENCH_VERBOSE") != nullptr;
        for (std::size_t i = 0; i < clips.size(); ++i) {
            for (const Heard* heard : {&patterned, &flat}) {
                if (heard == &flat && clips[i].slot)
                    continue;
                const std::vector<double>& delays = heard->delays[i];
                if (verbose)
                    std::printf("  %-8s %-22s %+7.0f ms %s\n", heard == &flat ? "flat" : "patterns",
                                clips[i].name.c_str(), delays.empty() ? NAN : delays.front(),
                                heard->texts[i].empty() ? "(nothing)" : heard->texts[i].front().c_str());
                if (delays.empty()) {
                    ++missed;
                    continue;
                }
                if (heard == &flat)
                    noSlotFlat.push_back(delays.front());
                else
                    (clips[i].slot ? (clips[i].canGoOn ? slotGoesOn : slotEnds) : noSlot).push_back(delays.front());
            }
        }
        std::printf("\nend of speech to command, early end 500/120 ms (audio time; median / p95 ms):\n");
        std::printf("  %-40s %6.0f / %4.0f  (%zu clips)\n", "commands without a slot, flat grammar",
                    Bench::percentile(noSlotFlat, 0.5), Bench::percentile(noSlotFlat, 0.95), noSlotFlat.size());
        std::printf("  %-40s %6.0f / %4.0f  (%zu clips)\n", "commands without a slot, pattern grammar",
                    Bench::percentile(noSlot, 0.5), Bench::percentile(noSlot, 0.95), noSlot.size());
        std::printf("  %-40s %6.0f / %4.0f  (%zu clips)  goal: median within 10 ms of the above\n",
                    "a slot whose value cannot go on", Bench::percentile(slotEnds, 0.5),
                    Bench::percentile(slotEnds, 0.95), slotEnds.size());
        std::printf("  %-40s %6.0f / %4.0f  (%zu clips; waits the long quiet)\n", "a value that could go on",
                    Bench::percentile(slotGoesOn, 0.5), Bench::percentile(slotGoesOn, 0.95), slotGoesOn.size());
        std::printf("  missed: %d\n", missed);
    }
    return 0;
}
