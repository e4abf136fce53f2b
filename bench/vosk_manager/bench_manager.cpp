// ksr-bench-manager: what KSR_VoskManager adds to a command grammar rebuild,
// with 10, 100 and 1000 registered commands spread over grammars of ten
// commands each (real libvosk, the shared model, 20 ms chunks of quiet noise
// as a capture loop delivers them).
//
// Baseline (a): the plain library rebuild of the very phrase list the engine
// ends up with: vosk_recognizer_new_grm on its JSON text and the first chunk
// fed to the new recognizer.
//
// Manager (b):
//  1. startRecognizing alone: phrase map and phrase list from the registry,
//     the engine's JSON text (no recognizer yet), as a share of (a);
//  2. startRecognizing on a stopped manager up to the first chunk heard by
//     the new command recognizer (the old recognizer takes one more chunk,
//     which the grammar change drops);
//  3. one addCommand while listening up to the first chunk heard by the new
//     command recognizer: registry, grammar notification, restart with the
//     new phrase list, recognizer rebuild. Goal: b/a <= 1.10.
// Engine (e): a Vosk::Engine alone given the same phrase list the same way
// (setCommandsList, setActivated, two chunks), so that b/e is the manager's
// own share and e/a the engine's.
// CPU time, median of the repetitions.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "cpu_clock.h"
#include "model_phrases.h"
#include "engine_test_access.h"
#include "ksr_vosk_manager.h"
#include "vosk/vosk_c_api.h"
#include "vosk_engine.h"

namespace {

std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value && *value) ? std::string(value) : fallback;
}

const std::string kModel = envOr("KSR_TEST_MODEL", KSR_SHARED_DIR "/models/en-us-synth");
const int kRepetitions = 7;
const std::size_t kCommandsPerGrammar = 10;

volatile std::size_t g_sink = 0;

class BenchManager : public KSR_VoskManager {
public:
    using KSR_VoskManager::engine;
};

std::vector<short> quietNoise(std::size_t samples)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> level(-1.0, 1.0);
    std::vector<short> out(samples);
    for (short& sample : out)
        sample = static_cast<short>(level(random) * 0.003 * 32767);
    return out;
}

struct Chunk {
    std::vector<short> samples = quietNoise(320);
    const char* data() const { return reinterpret_cast<const char*>(samples.data()); }
    int bytes() const { return static_cast<int>(samples.size() * 2); }
};

struct Row {
    std::string name;
    double plain;
    double engine;  // 0 where not measured
    double manager;
    const char* goal;
};

// The engine alone switching to `phrases` while listening, up to the first
// chunk its new command recognizer hears.
double engineRebuild(Vosk::Engine& engine, const std::vector<std::string>& phrases, const Chunk& chunk)
{
    const double start = Bench::cpuSeconds();
    engine.setActivated(false);
    engine.setCommandsList(phrases);
    engine.setActivated(true);
    engine.processAudio(chunk.data(), chunk.bytes());
    engine.processAudio(chunk.data(), chunk.bytes());
    return Bench::cpuSeconds() - start;
}

// The plain rebuild: a recognizer made from `grammar` hearing its first chunk.
double plainRebuild(VoskModel* model, const std::string& grammar, const Chunk& chunk, double* buildOnly)
{
    const double start = Bench::cpuSeconds();
    VoskRecognizer* recognizer = vosk_recognizer_new_grm(model, 16000.0f, grammar.c_str());
    const double built = Bench::cpuSeconds();
    vosk_recognizer_set_words(recognizer, 1);
    vosk_recognizer_accept_waveform(recognizer, chunk.data(), chunk.bytes());
    g_sink = g_sink + std::string(vosk_recognizer_partial_result(recognizer)).size();
    const double end = Bench::cpuSeconds();
    vosk_recognizer_free(recognizer);
    if (buildOnly)
        *buildOnly = built - start;
    return end - start;
}

void requireRecognizer(BenchManager& manager, const char* when)
{
    if (!Vosk::EngineTestAccess::hasCommandRecognizer(*manager.engine())) {
        std::fprintf(stderr, "no command recognizer after %s\n", when);
        std::exit(1);
    }
}

void scale(VoskModel* model, const std::vector<std::string>& words, std::size_t count, std::vector<Row>& rows)
{
    BenchManager manager;
    if (!manager.initialize(kModel)) {
        std::fprintf(stderr, "cannot open the model %s\n", kModel.c_str());
        std::exit(1);
    }
    // The dictation grammar gives the engine its literal keyword; it stays off.
    manager.addDictationGrammar("");
    const std::vector<std::string> phrases = Bench::makePhrases(words, count + 1);
    KSR::RuleId firstRule = KSR::InvalidRuleId;
    for (std::size_t i = 0; i < count; i += kCommandsPerGrammar) {
        const KSR::GrammarId grammar = manager.addCommandGrammar("");
        const KSR::RuleId rule = manager.addRule(grammar, "rule");
        if (firstRule == KSR::InvalidRuleId)
            firstRule = rule;
        for (std::size_t j = i; j < std::min(count, i + kCommandsPerGrammar); ++j)
            if (manager.addCommand(rule, phrases[j]) < 0) {
                std::fprintf(stderr, "cannot add \"%s\"\n", phrases[j].c_str());
                std::exit(1);
            }
        manager.setActivated(grammar, true);
    }
    const std::string extra = phrases[count];
    const Chunk chunk;

    Vosk::Engine engine;
    engine.initialize(kModel);
    engine.setCommandRecognizedFunction([](const std::string&, KSR::RecognitionState) {});
    engine.setLiteralKeyword("literal");
    const std::vector<std::string> list(phrases.begin(), phrases.begin() + static_cast<long>(count));
    std::vector<std::string> listWithExtra = list;
    listWithExtra.insert(listWithExtra.begin(), extra);
    engineRebuild(engine, list, chunk);
    engine.processAudio(chunk.data(), chunk.bytes());

    std::vector<double> startOnly, startToChunk, startPlain, addToChunk, addPlain, addPlainBuild, engineAdd;
    for (int rep = 0; rep < kRepetitions + 1; ++rep) {
        // 1 and 2: a stopped manager that still holds its last recognizer.
        manager.stopRecognizing();
        const double startBegin = Bench::cpuSeconds();
        manager.startRecognizing();
        const double startListed = Bench::cpuSeconds();
        manager.processAudio(chunk.data(), chunk.bytes());
        manager.processAudio(chunk.data(), chunk.bytes());
        const double startHeard = Bench::cpuSeconds();
        requireRecognizer(manager, "startRecognizing");
        const std::string startGrammar = Vosk::EngineTestAccess::commandsPhrases(*manager.engine());
        const double plainStart = plainRebuild(model, startGrammar, chunk, nullptr);

        // 3: one command added while listening.
        manager.processAudio(chunk.data(), chunk.bytes());
        const double addBegin = Bench::cpuSeconds();
        const KSR::CommandId id = manager.addCommand(firstRule, extra);
        manager.processAudio(chunk.data(), chunk.bytes());
        manager.processAudio(chunk.data(), chunk.bytes());
        const double addHeard = Bench::cpuSeconds();
        requireRecognizer(manager, "addCommand");
        const std::string addGrammar = Vosk::EngineTestAccess::commandsPhrases(*manager.engine());
        if (id < 0 || addGrammar.find("\"" + extra + "\"") == std::string::npos) {
            std::fprintf(stderr, "the added command is not in the phrase list\n");
            std::exit(1);
        }
        double buildOnly = 0;
        const double plainAdd = plainRebuild(model, addGrammar, chunk, &buildOnly);
        // Back to `count` commands (not timed).
        manager.removeCommand(firstRule, id);
        manager.processAudio(chunk.data(), chunk.bytes());
        manager.processAudio(chunk.data(), chunk.bytes());

        const double engineTime = engineRebuild(engine, listWithExtra, chunk);
        engineRebuild(engine, list, chunk);
        engine.processAudio(chunk.data(), chunk.bytes());

        if (rep == 0)
            continue;  // warm-up
        startOnly.push_back(startListed - startBegin);
        startToChunk.push_back(startHeard - startBegin);
        startPlain.push_back(plainStart);
        addToChunk.push_back(addHeard - addBegin);
        addPlain.push_back(plainAdd);
        addPlainBuild.push_back(buildOnly);
        engineAdd.push_back(engineTime);
    }
    const std::string n = std::to_string(count) + " commands, " +
                          std::to_string((count + kCommandsPerGrammar - 1) / kCommandsPerGrammar) + " grammars";
    const double ms = 1000.0;
    const double engineMs = Bench::median(engineAdd) * ms;
    rows.push_back({n + ": startRecognizing, list only", Bench::median(startPlain) * ms, 0,
                    Bench::median(startOnly) * ms, "(share of a plain rebuild)"});
    rows.push_back({n + ": startRecognizing to first chunk", Bench::median(startPlain) * ms, 0,
                    Bench::median(startToChunk) * ms, "b/a <= 1.10"});
    rows.push_back({n + ": addCommand while listening", Bench::median(addPlain) * ms, engineMs,
                    Bench::median(addToChunk) * ms, "b/a <= 1.10"});
    rows.push_back({n + ": addCommand vs new_grm alone", Bench::median(addPlainBuild) * ms, engineMs,
                    Bench::median(addToChunk) * ms, "(recognizer build only)"});
}

}  // namespace

int main()
{
    vosk_set_log_level(-1);
    VoskModel* model = vosk_model_new(kModel.c_str());
    if (!model) {
        std::fprintf(stderr, "cannot open the model %s\n", kModel.c_str());
        return 1;
    }
    const std::vector<std::string> words = Bench::modelWords(kModel);
    std::vector<Row> rows;
    for (const std::size_t count : {10, 100, 1000})
        scale(model, words, count, rows);

    std::printf("Vosk manager, grammar scale: median of %d runs, CPU time, 20 ms chunks\n", kRepetitions);
    std::printf("(a) plain: vosk_recognizer_new_grm of the same phrase list + its first chunk\n");
    std::printf("(e) the engine alone given the same phrase list the same way; b/e is the manager's own share\n");
    std::printf("%-56s %10s %10s %10s %7s %7s   %s\n", "figure", "plain a", "engine e", "manager b", "b/a",
                "b/e", "goal");
    for (const Row& row : rows) {
        char engine[32] = "-";
        char share[32] = "-";
        if (row.engine > 0) {
            std::snprintf(engine, sizeof engine, "%.3f", row.engine);
            std::snprintf(share, sizeof share, "%.3f", row.manager / row.engine);
        }
        std::printf("%-56s %10.3f %10s %10.3f %7.3f %7s   %s\n", row.name.c_str(), row.plain, engine, row.manager,
                    row.manager / row.plain, share, row.goal);
    }
    std::printf("(all times in ms)\n");
    vosk_model_free(model);
    return 0;
}
