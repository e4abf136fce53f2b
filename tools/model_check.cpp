// Loads an acoustic model and tells which of the given words it knows.
// Usage: ksr-model-check MODEL_DIR [WORD...]
#include <cstdio>
#include <string>
#include <vector>

#include "vosk/vosk_c_api.h"
#include "vosk_model.h"

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s MODEL_DIR [WORD...]\n", argv[0]);
        return 2;
    }
    vosk_set_log_level(-1);
    Vosk::Model model;
    if (!model.initialize(argv[1], 16000)) {
        std::fprintf(stderr, "error: %s is not a Vosk model\n", argv[1]);
        return 1;
    }
    std::printf("model %s loaded (%u Hz)\n", argv[1], model.sampleRate());
    std::vector<std::string> words(argv + 2, argv + argc);
    if (words.empty())
        words = {"open", "file", "north", "literal", "zyzzyva"};
    for (const auto& word : words) {
        const bool known = model.findWord(word);
        std::printf("  %-12s %s\n", word.c_str(), known ? "in vocabulary" : "not in vocabulary");
    }
    return 0;
}
