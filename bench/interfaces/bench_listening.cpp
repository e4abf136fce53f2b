// ksr-bench-listening: what listening costs while nobody speaks, and the
// memory of a module listening with 1000 commands registered, each against
// a plain libvosk loop on the same microphone in the same run.
//
// A private virtual microphone delivers digital silence
// (VIRTUAL_MIC_KEEPALIVE=silence) at 16000 Hz.
// 1. CPU: process CPU time over kCpuSeconds of listening, as a share of one
//    core, for
//      - the module: K_VoskInterface listening (its capture loop polls the
//        device without sleeping, as the module's design wants),
//      - the plain loop: OpenAL capture read into a libvosk grammar
//        recognizer, sleeping 1 ms whenever nothing waits,
//      - the plain loop polling without sleeping, to show what the polling
//        alone costs.
// 2. Peak memory (VmHWM) of a process that listens for kMemorySeconds with
//    1000 two-word commands: the module (K_VoskInterface, commands in one
//    grammar, dictation grammar off) against a plain process holding what
//    the module holds in libvosk (the model, a grammar recognizer over the
//    same 1000 phrases, a free recognizer and a 26-letter recognizer) and
//    capturing the same way. Each side runs in a child process of its own
//    (this program with --memory module|plain), so neither peak includes
//    the other.
#include <QCoreApplication>

#include <cstdio>
#include <cstring>

#include "bench_support.h"
#include "k_vosk_interface.h"

namespace {

using Bench::Clock;

const double kCpuSeconds = 8.0;
const double kMemorySeconds = 4.0;
const int kCommands = 1000;

void pump(double seconds)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(static_cast<int>(seconds * 1000));
    while (Clock::now() < end)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

// 1000 distinct two-word phrases from the model's vocabulary.
std::vector<std::string> thousandPhrases()
{
    std::ifstream words(std::string(KSR_MODEL_DIR) + "/graph/words.txt");
    std::vector<std::string> vocabulary;
    std::string word;
    int id;
    while (words >> word >> id) {
        const bool plainWord = std::all_of(word.begin(), word.end(), [](char c) { return c >= 'a' && c <= 'z'; });
        if (plainWord && word.size() > 2)
            vocabulary.push_back(word);
    }
    std::vector<std::string> phrases;
    for (std::size_t i = 0; i < 40 && i < vocabulary.size(); ++i)
        for (std::size_t j = 0; j < 25 && 40 + j < vocabulary.size(); ++j)
            phrases.push_back(vocabulary[i] + " " + vocabulary[40 + j]);
    phrases.resize(std::min<std::size_t>(phrases.size(), kCommands));
    return phrases;
}

double moduleCpuShare(QCoreApplication&)
{
    K_VoskInterface iface(nullptr);
    iface.addDictationGrammar("");
    const KSR::GrammarId grammar = iface.addCommandGrammar("");
    const KSR::RuleId rule = iface.addRule(grammar, "commands");
    iface.addCommand(rule, "open file");
    iface.setActivated(grammar, true);
    iface.microphoneFrequencyChangedSlot(16000);
    iface.start();
    pump(1.0);
    const double cpu0 = Bench::processCpuSeconds();
    const Clock::time_point t0 = Clock::now();
    pump(kCpuSeconds);
    const double share = (Bench::processCpuSeconds() - cpu0) /
                         std::chrono::duration<double>(Clock::now() - t0).count();
    iface.stop();
    return share;
}

double plainCpuShare(VoskModel* model, std::chrono::microseconds idle)
{
    Bench::PlainLoop plain(model, {"open file"}, idle);
    if (!plain.start({}))
        return NAN;
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double cpu0 = Bench::processCpuSeconds();
    const Clock::time_point t0 = Clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(static_cast<int>(kCpuSeconds * 1000)));
    const double share = (Bench::processCpuSeconds() - cpu0) /
                         std::chrono::duration<double>(Clock::now() - t0).count();
    plain.stop();
    return share;
}

// A child: listens with 1000 commands and prints its peak memory.
int memoryChild(int argc, char** argv, const std::string& side)
{
    const std::vector<std::string> phrases = thousandPhrases();
    if (side == "module") {
        ::setenv("KALO_ACOUSTIC_MODEL_PATH", KSR_MODEL_DIR, 1);
        QCoreApplication app(argc, argv);
        K_VoskInterface iface(nullptr);
        iface.addDictationGrammar("");
        const KSR::GrammarId grammar = iface.addCommandGrammar("");
        const KSR::RuleId rule = iface.addRule(grammar, "commands");
        int added = 0;
        for (const std::string& phrase : phrases)
            added += iface.addCommand(rule, phrase) >= 0;
        iface.setActivated(grammar, true);
        iface.microphoneFrequencyChangedSlot(16000);
        iface.start();
        pump(kMemorySeconds);
        iface.stop();
        std::printf("%d %.1f\n", added, Bench::peakResidentMiB());
        return 0;
    }
    vosk_set_log_level(-1);
    VoskModel* model = vosk_model_new(KSR_MODEL_DIR);
    VoskRecognizer* free = vosk_recognizer_new(model, 16000.0f);
    const char* letters = "[\"a\",\"b\",\"c\",\"d\",\"e\",\"f\",\"g\",\"h\",\"i\",\"j\",\"k\",\"l\",\"m\",\"n\","
                          "\"o\",\"p\",\"q\",\"r\",\"s\",\"t\",\"u\",\"v\",\"w\",\"x\",\"y\",\"z\",\"[unk]\"]";
    VoskRecognizer* spelling = vosk_recognizer_new_grm(model, 16000.0f, letters);
    {
        Bench::PlainLoop plain(model, phrases, std::chrono::milliseconds(1));
        plain.start({});
        std::this_thread::sleep_for(std::chrono::milliseconds(static_cast<int>(kMemorySeconds * 1000)));
        plain.stop();
    }
    std::printf("%zu %.1f\n", phrases.size(), Bench::peakResidentMiB());
    vosk_recognizer_free(spelling);
    vosk_recognizer_free(free);
    vosk_model_free(model);
    return 0;
}

bool runChild(const char* self, const char* side, int& commands, double& peak)
{
    std::FILE* pipe = ::popen((Bench::shellQuote(self) + " --memory " + side + " 2>/dev/null").c_str(), "r");
    if (!pipe)
        return false;
    const bool read = std::fscanf(pipe, "%d %lf", &commands, &peak) == 2;
    return ::pclose(pipe) == 0 && read;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--memory") == 0)
        return memoryChild(argc, argv, argv[2]);

    Bench::VirtualMicrophone mic("silence");
    std::printf("ksr-bench-listening: listening to silence, and with 1000 commands\n");
    if (!mic.up()) {
        std::printf("  the virtual microphone could not start (pulseaudio, sox: scripts/setup.sh)\n");
        return 1;
    }
    ::setenv("KALO_ACOUSTIC_MODEL_PATH", KSR_MODEL_DIR, 1);
    QCoreApplication app(argc, argv);

    const double module = moduleCpuShare(app);
    vosk_set_log_level(-1);
    VoskModel* model = vosk_model_new(KSR_MODEL_DIR);
    const double plain = plainCpuShare(model, std::chrono::milliseconds(1));
    const double spinning = plainCpuShare(model, std::chrono::microseconds(0));
    vosk_model_free(model);

    std::printf("  %-52s %12s %12s %8s\n", "figure", "plain loop", "module", "ratio");
    std::printf("  %-52s %11.1f%% %11.1f%% %8.1f\n", "CPU while listening to silence (share of one core)",
                plain * 100, module * 100, module / plain);
    std::printf("  %-52s %11.1f%% %11.1f%% %8.2f\n", "  against a plain loop that also polls without sleeping",
                spinning * 100, module * 100, module / spinning);

    int plainCommands = 0, moduleCommands = 0;
    double plainPeak = NAN, modulePeak = NAN;
    const bool plainOk = runChild(argv[0], "plain", plainCommands, plainPeak);
    const bool moduleOk = runChild(argv[0], "module", moduleCommands, modulePeak);
    if (plainOk && moduleOk) {
        std::printf("  %-52s %10.1f M %10.1f M %8.3f\n", "peak memory listening (VmHWM, MiB)", plainPeak,
                    modulePeak, modulePeak / plainPeak);
        std::printf("  %-52s %12d %12d\n", "  commands registered", plainCommands, moduleCommands);
    } else {
        std::printf("  peak memory: a child process failed\n");
    }
    return 0;
}
