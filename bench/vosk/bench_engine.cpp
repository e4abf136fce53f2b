// ksr-bench-engine: what Vosk::Engine costs on top of the library.
//
// 1. Overhead: the same padded clips, in the same chunk size, through
//    (a) a plain libvosk loop with one grammar recognizer made from the
//        engine's own phrase list, and
//    (b) Vosk::Engine::processAudio with dictation off;
//    then with dictation on against a plain loop over two recognizers
//    (grammar + free). Goal b/a <= 1.05.
// 2. Real-time factor of (b): CPU seconds per second of audio.
// 3. The engine's own work: one metered run of (b), split into the time
//    inside libvosk and the rest.
// 4. The fast-command settings: the engine with the early end of a command
//    (the long quiet 500 ms, the short one 120 ms, as the demo programs set
//    them) and chaining on (b) against the same engine with both off (a), in
//    10 ms chunks as the capture loop feeds it. Goal b/a <= 1.05.
//    KSR_BENCH_VERBOSE prints each pair split by libvosk call, and what each
//    side delivered as final.
// 5. Grammar rebuild: from setCommandsList with N phrases to the first chunk
//    processed by the new command recognizer, against a plain
//    vosk_recognizer_new_grm of the same phrase text. Goal <= 1.10.
//
// Figures are process CPU seconds, median of the runs. The machine is shared
// and the same work varies by tens of per cent between runs, so a and b
// alternate, each pass in a process of its own.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "clip_audio.h"
#include "cpu_clock.h"
#include "model_phrases.h"
#include "engine_test_access.h"
#include "vosk/vosk_c_api.h"
#include "vosk_call_meter.h"
#include "vosk_engine.h"

namespace {

std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value && *value) ? std::string(value) : fallback;
}

const std::string kModel = envOr("KSR_TEST_MODEL", KSR_SHARED_DIR "/models/en-us-synth");
const std::string kAudio = envOr("KSR_TEST_AUDIO", KSR_SHARED_DIR "/audio");
// KSR_BENCH_REPETITIONS overrides the number of runs per figure.
const int kRepetitions = std::max(1, std::atoi(envOr("KSR_BENCH_REPETITIONS", "5").c_str()));

const std::vector<std::string> kCommands{"open file", "close window", "select all", "go back",
                                         "new line",  "add comma",    "north"};
// Commands, keyword text, dictation and letters, each padded with quiet.
const std::vector<std::string> kClips{"cmd_open_file.wav", "fmt_literal_new_line.wav", "dict_hello_world.wav",
                                      "spell_cat.wav", "fmt_force_default_rule.wav"};

// Keeps the compiler from dropping result reads.
volatile std::size_t g_sink = 0;

using Clips = std::vector<std::vector<short>>;

struct Row {
    std::string name;
    double baseline;
    double engine;
    double ratio;
    std::string goal;
};

void printRow(const Row& row)
{
    std::printf("%-56s %11.4f %11.4f %7.3f   %s\n", row.name.c_str(), row.baseline, row.engine,
                row.ratio, row.goal.c_str());
}

void configure(Vosk::Engine& engine, const std::vector<std::string>& commands)
{
    engine.setLiteralKeyword("literal");
    engine.setForcedWordsKeyword("force");
    engine.setForcedWordsList({"default rule", "smith"});
    engine.setCommandsList(commands);
    engine.setActivated(true);
}

// Calls `feed(data, bytes)` for every chunk of `audio`.
template <typename Feed>
void forEachChunk(const std::vector<short>& audio, std::size_t chunk, Feed feed)
{
    for (std::size_t at = 0; at < audio.size(); at += chunk) {
        const std::size_t n = std::min(chunk, audio.size() - at);
        feed(reinterpret_cast<const char*>(&audio[at]), static_cast<int>(n * 2));
    }
}

void feedPlain(VoskRecognizer* recognizer, const char* data, int bytes)
{
    const bool accepted = vosk_recognizer_accept_waveform(recognizer, data, bytes) != 0;
    const char* json = accepted ? vosk_recognizer_result(recognizer) : vosk_recognizer_partial_result(recognizer);
    g_sink = g_sink + std::strlen(json);
}

VoskRecognizer* grammarRecognizer(VoskModel* model, const std::string& grammar)
{
    VoskRecognizer* recognizer = vosk_recognizer_new_grm(model, 16000.0f, grammar.c_str());
    vosk_recognizer_set_words(recognizer, 1);
    return recognizer;
}

// One timed pass over all clips, (a) or (b), in a process of its own: the
// two sides must not share a heap or warm each other's caches (measured:
// whichever ran second after the other in the same process paid up to 20 %
// more). The model is loaded before the timing starts.
struct Pass {
    double total = 0.0;   // CPU seconds of the pass
    double inside = 0.0;  // of which inside libvosk's recognizer calls
    long delivered = 0;   // deliveries of the engine
    char finals[512] = {};  // what was delivered as final, for KSR_BENCH_VERBOSE
    Bench::CallSplit split;  // `inside` by libvosk call
};

void printSplit(const char* label, const Pass& pass)
{
    std::fprintf(stderr, "  %s:", label);
    for (int call = 0; call < Bench::CallKinds; ++call)
        std::fprintf(stderr, " %s %.3f s/%ld", Bench::callName(call), pass.split.seconds[call], pass.split.calls[call]);
    std::fprintf(stderr, "\n");
}

// Which side a pass measures.
enum class Side { Plain, Engine, EngineFast };

Pass runPass(Side side, bool dictation, std::size_t chunk, const Clips& clips)
{
    const bool engineSide = side != Side::Plain;
    Pass pass;
    VoskModel* model = vosk_model_new(kModel.c_str());
    Vosk::Engine engine;
    if (!model || !engine.initialize(kModel)) {
        std::fprintf(stderr, "cannot open the model %s\n", kModel.c_str());
        std::_Exit(1);
    }
    // Receivers as cheap as can be: the cost of delivering stays the engine's.
    // Final results are few; noting them does not show in the figures.
    auto noteFinal = [&pass](char kind, const std::string& text, KSR::RecognitionState state) {
        ++pass.delivered;
        if (state == KSR::Hypothesis)
            return;
        const std::size_t used = std::strlen(pass.finals);
        std::snprintf(pass.finals + used, sizeof pass.finals - used, "%c%s:%s ", kind,
                      state == KSR::Recognized ? "" : "?", text.c_str());
    };
    engine.setCommandRecognizedFunction(
        [&noteFinal](const std::string& text, KSR::RecognitionState state) { noteFinal('c', text, state); });
    engine.setDictationRecognizedFunction(
        [&noteFinal](std::string& text, KSR::RecognitionState state) { noteFinal('d', text, state); });
    configure(engine, kCommands);
    engine.setDictationModeEnabled(dictation);
    if (side == Side::EngineFast) {
        engine.setEarlyEnd(500);
        engine.setEarlyEndShortQuiet(120);
        engine.setChaining(true);
    }
    const std::string grammar = Vosk::EngineTestAccess::commandsPhrases(engine);
    // The free recognizer exists beforehand on both sides (the engine makes
    // its own in initialize).
    VoskRecognizer* freeRecognizer = vosk_recognizer_new(model, 16000.0f);
    vosk_recognizer_set_words(freeRecognizer, 1);

    const double start = Bench::cpuSeconds();
    Bench::startMetering();
    if (engineSide) {
        for (const auto& clip : clips)
            forEachChunk(clip, chunk, [&](const char* data, int bytes) { engine.processAudio(data, bytes); });
    } else {
        // One grammar recognizer for the whole pass, made inside the timing
        // as the engine makes its own on a chunk.
        VoskRecognizer* recognizer = grammarRecognizer(model, grammar);
        for (const auto& clip : clips) {
            forEachChunk(clip, chunk, [&](const char* data, int bytes) {
                feedPlain(recognizer, data, bytes);
                if (dictation)
                    feedPlain(freeRecognizer, data, bytes);
            });
        }
        vosk_recognizer_free(recognizer);
    }
    pass.inside = Bench::stopMetering();
    pass.split = Bench::lastSplit();
    pass.total = Bench::cpuSeconds() - start;
    vosk_recognizer_free(freeRecognizer);
    vosk_model_free(model);
    return pass;
}

Pass runPassInChild(Side side, bool dictation, std::size_t chunk, const Clips& clips)
{
    int channel[2];
    if (pipe(channel) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    const pid_t child = fork();
    if (child < 0) {
        std::perror("fork");
        std::exit(1);
    }
    if (child == 0) {
        close(channel[0]);
        vosk_set_log_level(-1);
        const Pass pass = runPass(side, dictation, chunk, clips);
        const bool written = write(channel[1], &pass, sizeof pass) == static_cast<ssize_t>(sizeof pass);
        std::_Exit(written ? 0 : 1);
    }
    close(channel[1]);
    Pass pass;
    const bool read = ::read(channel[0], &pass, sizeof pass) == static_cast<ssize_t>(sizeof pass);
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!read || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "a measuring process failed\n");
        std::exit(1);
    }
    return pass;
}

// kRepetitions pairs of passes: a and b alternate, their order swapped
// every run.
std::vector<std::pair<Pass, Pass>> pairedPasses(Side sideA, Side sideB, bool dictation, std::size_t chunk,
                                                const Clips& clips)
{
    std::vector<std::pair<Pass, Pass>> pairs;
    for (int rep = 0; rep < kRepetitions; ++rep) {
        Pass a, b;
        if (rep % 2) {
            b = runPassInChild(sideB, dictation, chunk, clips);
            a = runPassInChild(sideA, dictation, chunk, clips);
        } else {
            a = runPassInChild(sideA, dictation, chunk, clips);
            b = runPassInChild(sideB, dictation, chunk, clips);
        }
        pairs.push_back({a, b});
    }
    return pairs;
}

void overhead(const Clips& clips, double audioSeconds, std::size_t chunk, bool dictation, std::vector<Row>& rows)
{
    std::vector<double> plain, engine, pairRatios, engineOwn;
    long delivered = 0;
    for (const auto& pair : pairedPasses(Side::Plain, Side::Engine, dictation, chunk, clips)) {
        const Pass& a = pair.first;
        const Pass& b = pair.second;
        plain.push_back(a.total);
        engine.push_back(b.total);
        pairRatios.push_back(b.total / a.total);
        engineOwn.push_back((b.total - b.inside) / b.total);
        delivered += b.delivered;
        if (std::getenv("KSR_BENCH_VERBOSE"))
            std::fprintf(stderr, "dictation %d, chunk %zu: a %.3f (inside %.3f) b %.3f (inside %.3f)\n", dictation,
                         chunk, a.total, a.inside, b.total, b.inside);
    }
    if (delivered == 0)
        std::fprintf(stderr, "warning: the engine delivered nothing\n");
    const std::string what = std::string(dictation ? "dictation on" : "dictation off") + ", " +
                             std::to_string(chunk * 1000 / ClipAudio::kRate) + " ms";
    const double a = Bench::median(plain);
    const double b = Bench::median(engine);
    rows.push_back({"overhead [CPU s], " + what, a, b, b / a, "b/a <= 1.05"});
    // The pairs ran back to back, so their ratio is less exposed to the
    // machine's load than the ratio of the medians.
    rows.push_back({"  median of paired b/a, " + what, 1.0, Bench::median(pairRatios), Bench::median(pairRatios),
                    "b/a <= 1.05"});
    // The engine's own work: JSON reading, locks, copies, deliveries.
    const double own = Bench::median(engineOwn);
    rows.push_back({"  b's own work outside libvosk [CPU s], " + what, b, own * b, own, "(share of b)"});
    rows.push_back({"real-time factor [CPU s per s of audio], " + what, a / audioSeconds, b / audioSeconds, b / a,
                    "(a as baseline)"});
}

// The engine with the fast-command settings on (b) against off (a).
void fastSettings(const Clips& clips, bool dictation, std::vector<Row>& rows)
{
    const std::size_t chunk = 10 * ClipAudio::kRate / 1000;
    std::vector<double> off, on, pairRatios;
    for (const auto& pair : pairedPasses(Side::Engine, Side::EngineFast, dictation, chunk, clips)) {
        off.push_back(pair.first.total);
        on.push_back(pair.second.total);
        pairRatios.push_back(pair.second.total / pair.first.total);
        if (std::getenv("KSR_BENCH_VERBOSE"))
            std::fprintf(stderr, "dictation %d: off %.3f (inside %.3f, %ld delivered) on %.3f (inside %.3f, %ld delivered)\n", dictation,
                         pair.first.total, pair.first.inside, pair.first.delivered, pair.second.total, pair.second.inside, pair.second.delivered);
        if (std::getenv("KSR_BENCH_VERBOSE")) {
            printSplit("off", pair.first);
            printSplit("on ", pair.second);
            std::fprintf(stderr, "  off: %s\n  on : %s\n", pair.first.finals, pair.second.finals);
        }
    }
    const std::string what = std::string(dictation ? "dictation on" : "dictation off") + ", 10 ms";
    const double a = Bench::median(off), b = Bench::median(on);
    rows.push_back({"fast commands on vs off [CPU s], " + what, a, b, b / a, "b/a <= 1.05"});
    rows.push_back({"  median of paired b/a, " + what, 1.0, Bench::median(pairRatios), Bench::median(pairRatios),
                    "b/a <= 1.05"});
}

void rebuild(VoskModel* model, std::vector<Row>& rows)
{
    const std::vector<std::string> words = Bench::modelWords(kModel);
    Vosk::Engine engine;
    if (!engine.initialize(kModel))
        std::exit(1);
    engine.setCommandRecognizedFunction([](const std::string&, KSR::RecognitionState) {});
    std::vector<short> chunk;
    ClipAudio::appendQuietNoise(chunk, 320, 7);  // 20 ms, as a capture loop reads
    const char* data = reinterpret_cast<const char*>(chunk.data());
    const int bytes = static_cast<int>(chunk.size() * 2);

    configure(engine, kCommands);
    const std::string oldGrammar = Vosk::EngineTestAccess::commandsPhrases(engine);
    // Cheap enough for many runs, and short runs need them.
    const int runs = std::max(kRepetitions, 21);
    for (const std::size_t count : {10, 100, 1000}) {
        const std::vector<std::string> phrases = Bench::makePhrases(words, count);
        std::vector<double> engineTimes, engineOwn, plain, plainSwitch;
        for (int rep = 0; rep < runs; ++rep) {
            // A live recognizer of another grammar, as during listening.
            configure(engine, kCommands);
            engine.processAudio(data, bytes);
            engine.processAudio(data, bytes);

            double start = Bench::cpuSeconds();
            Bench::startMetering();
            engine.setCommandsList(phrases);
            engine.setActivated(true);
            engine.processAudio(data, bytes);  // the old recognizer's last chunk, dropped
            engine.processAudio(data, bytes);  // the new recognizer's first chunk
            const double inside = Bench::stopMetering();
            engineTimes.push_back(Bench::cpuSeconds() - start);
            engineOwn.push_back(engineTimes.back() - inside);
            if (!Vosk::EngineTestAccess::hasCommandRecognizer(engine)) {
                std::fprintf(stderr, "the new command recognizer was not built\n");
                std::exit(1);
            }
            const std::string grammar = Vosk::EngineTestAccess::commandsPhrases(engine);

            // The plain call of the goal.
            start = Bench::cpuSeconds();
            VoskRecognizer* recognizer = vosk_recognizer_new_grm(model, 16000.0f, grammar.c_str());
            plain.push_back(Bench::cpuSeconds() - start);
            vosk_recognizer_free(recognizer);

            // The same switch done by hand: the old recognizer hears the
            // chunk and goes, the new one is made and hears the next.
            VoskRecognizer* old = grammarRecognizer(model, oldGrammar);
            feedPlain(old, data, bytes);
            feedPlain(old, data, bytes);
            start = Bench::cpuSeconds();
            feedPlain(old, data, bytes);
            vosk_recognizer_free(old);
            recognizer = grammarRecognizer(model, grammar);
            feedPlain(recognizer, data, bytes);
            plainSwitch.push_back(Bench::cpuSeconds() - start);
            vosk_recognizer_free(recognizer);
        }
        const std::string phrasesText = std::to_string(count) + " phrases";
        const double plainMs = Bench::median(plain) * 1000;
        const double switchMs = Bench::median(plainSwitch) * 1000;
        const double engineMs = Bench::median(engineTimes) * 1000;
        const double ownMs = Bench::median(engineOwn) * 1000;
        rows.push_back({"grammar rebuild [ms], " + phrasesText, plainMs, engineMs, engineMs / plainMs,
                        "<= 1.10 of new_grm"});
        rows.push_back({"  vs the same switch by hand, " + phrasesText, switchMs, engineMs, engineMs / switchMs,
                        "(free old, new_grm, chunks)"});
        rows.push_back({"  b's own work outside libvosk [ms], " + phrasesText, engineMs, ownMs, ownMs / engineMs,
                        "(share of b)"});
    }
}

}  // namespace

int main()
{
    vosk_set_log_level(-1);
    Clips clips;
    std::size_t samples = 0;
    for (const std::string& clip : kClips) {
        clips.push_back(ClipAudio::padded(kAudio + "/" + clip));
        if (clips.back().empty()) {
            std::fprintf(stderr, "cannot read %s/%s\n", kAudio.c_str(), clip.c_str());
            return 1;
        }
        samples += clips.back().size();
    }
    const double audioSeconds = static_cast<double>(samples) / ClipAudio::kRate;

    // KSR_BENCH_ONLY: "100", "20" (chunk sizes in ms), "fast" or "rebuild".
    const std::string only = envOr("KSR_BENCH_ONLY", "");
    std::vector<Row> rows;
    for (const std::size_t chunkMs : {100, 20}) {
        if (!only.empty() && only != std::to_string(chunkMs))
            continue;
        for (const bool dictation : {false, true})
            overhead(clips, audioSeconds, chunkMs * ClipAudio::kRate / 1000, dictation, rows);
    }
    if (only.empty() || only == "fast")
        for (const bool dictation : {false, true})
            fastSettings(clips, dictation, rows);
    // The measuring processes are forked before the parent loads anything.
    if (only.empty() || only == "rebuild") {
        VoskModel* model = vosk_model_new(kModel.c_str());
        if (!model) {
            std::fprintf(stderr, "cannot open the model %s\n", kModel.c_str());
            return 1;
        }
        rebuild(model, rows);
        vosk_model_free(model);
    }

    std::printf("Vosk engine: %zu clips, %.1f s of audio, median of %d runs, process CPU time\n", kClips.size(),
                audioSeconds, kRepetitions);
    std::printf("%-56s %11s %11s %7s   %s\n", "figure", "baseline a", "engine b", "b/a", "goal");
    for (const Row& row : rows)
        printRow(row);
    return 0;
}
