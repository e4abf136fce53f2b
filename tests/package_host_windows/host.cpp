// A Windows host of the installed module without Qt: the Vosk manager with
// its callbacks, fed the samples of a WAV file (16 kHz, mono, 16-bit) as a
// capture loop would feed them, and the SAPI manager constructed beside it.
// Prints what it saw; exits 0 when the command "save file" came with its ids.
//
// Usage: package_host MODEL_FOLDER CLIP.wav

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ksr_sapi_manager.h"
#include "ksr_vosk_manager.h"

namespace {

// The manager reports through three virtual functions; a host overrides
// them. They run on the thread that calls processAudio.
class Host : public KSR_VoskManager {
public:
    void processRecognition(KSR::SRData data) override { results.push_back(data); }
    void processRecognitionFailed() override { ++failures; }
    void processHypothesis(KSR::SRData) override {}

    // The end of the stream ends the utterance that is still open.
    void endOfAudio() { engine()->processFinalAudio(); }

    std::vector<KSR::SRData> results;
    int failures = 0;
};

// The sample bytes of a PCM WAV file (the "data" chunk), empty on failure.
std::vector<char> wavSamples(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (bytes.size() < 12 || std::memcmp(bytes.data(), "RIFF", 4) != 0 || std::memcmp(bytes.data() + 8, "WAVE", 4) != 0)
        return {};
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        std::uint32_t size = 0;
        std::memcpy(&size, bytes.data() + at + 4, 4);
        if (std::memcmp(bytes.data() + at, "data", 4) == 0 && at + 8 + size <= bytes.size())
            return std::vector<char>(bytes.begin() + static_cast<long>(at) + 8,
                                     bytes.begin() + static_cast<long>(at + 8 + size));
        at += 8 + size + (size & 1);
    }
    return {};
}

// `bytes` of faint white noise (about -50 dBFS), 16-bit samples.
std::vector<char> quietRoom(std::size_t bytes)
{
    std::vector<char> out(bytes);
    std::uint32_t state = 12345;
    for (std::size_t at = 0; at + 1 < bytes; at += 2) {
        state = state * 1664525u + 1013904223u;
        const auto sample = static_cast<std::int16_t>(static_cast<std::int32_t>(state >> 16) % 199 - 99);
        std::memcpy(out.data() + at, &sample, 2);
    }
    return out;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: package_host MODEL_FOLDER CLIP.wav\n");
        return 2;
    }
    const std::vector<char> samples = wavSamples(argv[2]);
    if (samples.empty()) {
        std::fprintf(stderr, "package_host: no samples in %s\n", argv[2]);
        return 2;
    }

    Host host;
    const bool initialized = host.initialize(argv[1]);
    std::printf("initialized: %s\n", initialized ? "yes" : "no");
    if (!initialized)
        return 3;
    std::vector<std::pair<KSR::GrammarId, bool>> activations;
    host.setGrammarActivationFunction([&](KSR::GrammarId id, bool on) { activations.push_back({id, on}); });

    // The dictation grammar brings the literal keyword, without which the
    // engine does not listen; it stays off.
    host.addDictationGrammar("");
    const KSR::GrammarId files = host.addCommandGrammar("north");
    const KSR::RuleId rule = host.addRule(files, "files");
    host.addCommand(rule, "open file");
    const KSR::CommandId save = host.addCommand(rule, "save file");
    host.setActivated(files, true);
    host.startRecognizing();

    // 100 ms at a time, as a capture loop hands them over. A microphone never
    // falls silent to the last bit; a file starts right at its first word, so
    // a second of a quiet room goes before and after it.
    const std::vector<char> room = quietRoom(32000);
    std::vector<char> audio = room;
    audio.insert(audio.end(), samples.begin(), samples.end());
    audio.insert(audio.end(), room.begin(), room.end());
    const std::size_t chunk = 3200;
    for (std::size_t at = 0; at < audio.size(); at += chunk) {
        const std::size_t size = audio.size() - at < chunk ? audio.size() - at : chunk;
        host.processAudio(audio.data() + at, static_cast<int>(size));
    }
    host.endOfAudio();
    host.stopRecognizing();

    for (const KSR::SRData& data : host.results)
        std::printf("recognized: \"%s\" grammar %llu rule %lu command %d\n", data.text.c_str(),
                    static_cast<unsigned long long>(data.grammarId), static_cast<unsigned long>(data.ruleId),
                    data.commandId);
    std::printf("failures: %d, grammar switches: %zu\n", host.failures, activations.size());

    // The SAPI back end links from the same DLL. COM is the host's business;
    // without an installed speech recognizer the manager logs why and stays
    // usable.
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
        KSR_Manager sapi;
        std::printf("SAPI recognizer: %s\n", sapi.isInitialized() ? "yes" : "no");
    }
    CoUninitialize();

    const bool heard = host.results.size() == 1 && host.results[0].grammarId == files &&
                       host.results[0].ruleId == rule && host.results[0].commandId == save &&
                       host.results[0].text == "save file";
    return heard ? 0 : 1;
}
