#ifndef KSR_CLIP_CHECK_OPTIONS_H
#define KSR_CLIP_CHECK_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "check_plan.h"

namespace ClipCheck {

struct Options {
    std::string modelPath;               // empty: $KALO_ACOUSTIC_MODEL_PATH, else the bundled model
    std::vector<std::string> clipDirs;   // empty: the shared clips and tests/clips
    std::vector<std::string> onlyClips;  // file names; empty: every clip
    std::vector<Chunking> chunkings = defaultChunkings();
    std::string after;                   // a clip heard before each clip under test
    std::vector<Mode> modes;             // empty: each clip's own (defaultModes)
    bool allModes = false;
    bool earlyEndOff = true;
    bool earlyEndOn = true;
    int runs = 24;
    std::uint64_t seed = 1;
    int jobs = 1;
    std::string markdownFile;
    bool verbose = false;
    bool help = false;
};

const char* usage();
bool parseOptions(int argc, char** argv, Options& options, std::string& error);

}  // namespace ClipCheck

#endif
