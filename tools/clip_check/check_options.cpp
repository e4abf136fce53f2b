#include "check_options.h"

#include <cerrno>
#include <cstdlib>

namespace ClipCheck {

namespace {

bool parseCount(const std::string& text, long long low, long long high, long long& value)
{
    if (text.empty())
        return false;
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, 10);
    return errno == 0 && end && *end == '\0' && value >= low && value <= high;
}

bool parseSeed(const std::string& text, std::uint64_t& seed)
{
    if (text.empty() || text[0] == '-')
        return false;
    char* end = nullptr;
    errno = 0;
    seed = std::strtoull(text.c_str(), &end, 0);
    return errno == 0 && end && *end == '\0';
}

std::vector<std::string> splitList(const std::string& text)
{
    std::vector<std::string> out;
    std::string item;
    for (const char c : text + ",") {
        if (c == ',') {
            if (!item.empty())
                out.push_back(item);
            item.clear();
        } else {
            item += c;
        }
    }
    return out;
}

}  // namespace

const char* usage()
{
    return "usage: ksr-clip-check [--model DIR] [--clips DIR]... [--clip NAME]... [--modes LIST]\n"
           "                      [--after NAME] [--early-end off|on|both] [--runs N] [--seed S]\n"
           "                      [--chunks LIST] [--jobs N] [--markdown FILE] [--verbose]\n"
           "\n"
           "Hears every clip many times through the module's Vosk manager and engine, as the\n"
           "end-to-end microphone tests do, each time after a different lead-in of the virtual\n"
           "microphone's quiet noise and cut into chunks of other sizes, and prints the distinct\n"
           "outcomes (the signals a host gets for the clip) with their counts. A clip whose runs\n"
           "all agree is STABLE in that configuration.\n"
           "\n"
           "  --model DIR       acoustic model; default: $KALO_ACOUSTIC_MODEL_PATH, else the\n"
           "                    bundled one (data/model/en-us-synth)\n"
           "  --clips DIR       16 kHz mono WAV clips (every *.wav in it); may be repeated;\n"
           "                    default: ../shared/audio and tests/clips of the sources\n"
           "  --clip NAME       only this clip (a file name such as num_3400.wav); may be repeated\n"
           "  --modes LIST      set-ups to hear every clip in, comma-separated, or \"all\":\n"
           "                    commands, keys, dictation, dictation-fresh, numerals, spelling,\n"
           "                    spoken-spelling, capitals; default: each clip's own (the ones the\n"
           "                    end-to-end tests hear it in, else its kind's)\n"
           "  --after NAME      hear the clip NAME (one of the clips) after the set-up and before\n"
           "                    each clip, as a test that hears two in a row\n"
           "  --early-end X     the early end of a command (fast commands 250 ms with chaining):\n"
           "                    off, on or both (default both)\n"
           "  --runs N          runs per clip and configuration (default 24: each of the eight\n"
           "                    chunkings three times, 10 to 320 ms and random sizes)\n"
           "  --chunks LIST     the chunkings the runs take in turn, comma-separated: a size in ms\n"
           "                    (a multiple of 10) or 10-N for a random size up to N ms for every\n"
           "                    chunk; default 10,20,40,100,160,320,10-200,10-600\n"
           "  --seed S          the seed the runs' lead-ins, chunkings and noise come from\n"
           "                    (default 1); the same seed gives the same report\n"
           "  --jobs N          runs heard at the same time, one thread each (default 1)\n"
           "  --markdown FILE   also write the table as Markdown\n"
           "  --verbose         print every run: its conditions and outcome\n"
           "\n"
           "exit status: 0 every clip stable, 1 some clip unstable, 2 bad arguments,\n"
           "             3 no usable model, 5 unreadable clip\n";
}

bool parseOptions(int argc, char** argv, Options& options, std::string& error)
{
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto value = [&](std::string& out) {
            if (i + 1 >= argc) {
                error = argument + " needs a value";
                return false;
            }
            out = argv[++i];
            return true;
        };
        std::string text;
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--model") {
            if (!value(options.modelPath))
                return false;
        } else if (argument == "--clips") {
            if (!value(text))
                return false;
            options.clipDirs.push_back(text);
        } else if (argument == "--clip") {
            if (!value(text))
                return false;
            options.onlyClips.push_back(text);
        } else if (argument == "--chunks") {
            if (!value(text))
                return false;
            options.chunkings.clear();
            for (const std::string& item : splitList(text)) {
                Chunking chunking;
                if (!parseChunking(item, chunking)) {
                    error = "--chunks takes sizes in ms (multiples of 10) or 10-N: " + item;
                    return false;
                }
                options.chunkings.push_back(chunking);
            }
            if (options.chunkings.empty()) {
                error = "--chunks needs at least one size";
                return false;
            }
        } else if (argument == "--after") {
            if (!value(options.after))
                return false;
        } else if (argument == "--modes") {
            if (!value(text))
                return false;
            options.modes.clear();
            options.allModes = text == "all";
            if (!options.allModes)
                for (const std::string& name : splitList(text)) {
                    Mode mode;
                    if (!parseMode(name, mode)) {
                        error = "no such mode: " + name;
                        return false;
                    }
                    options.modes.push_back(mode);
                }
            if (!options.allModes && options.modes.empty()) {
                error = "--modes needs at least one mode";
                return false;
            }
        } else if (argument == "--early-end") {
            if (!value(text))
                return false;
            if (text != "off" && text != "on" && text != "both") {
                error = "--early-end takes off, on or both";
                return false;
            }
            options.earlyEndOff = text != "on";
            options.earlyEndOn = text != "off";
        } else if (argument == "--runs" || argument == "--jobs") {
            long long count = 0;
            if (!value(text) || !parseCount(text, 1, argument == "--runs" ? 100000 : 64, count)) {
                if (error.empty())
                    error = argument + " takes a whole number" + (argument == "--runs" ? " from 1" : " from 1 to 64");
                return false;
            }
            (argument == "--runs" ? options.runs : options.jobs) = static_cast<int>(count);
        } else if (argument == "--seed") {
            if (!value(text) || !parseSeed(text, options.seed)) {
                if (error.empty())
                    error = "--seed takes a whole number";
                return false;
            }
        } else if (argument == "--markdown") {
            if (!value(options.markdownFile))
                return false;
        } else if (argument == "--verbose") {
            options.verbose = true;
        } else {
            error = "unknown argument: " + argument;
            return false;
        }
    }
    return true;
}

}  // namespace ClipCheck
