#include "desktop_options.h"

#include <cstdlib>

const char* desktopUsage()
{
    return "usage: ksr-desktop [--grammar FILE] [--model DIR] [--listen] [--screenshot FILE [--after SECONDS]]\n"
           "\n"
           "  --grammar FILE     grammars, rules, commands, dictation and settings (JSON, as ksr-demo);\n"
           "                     default: the demo grammar beside the program's sources\n"
           "  --model DIR        acoustic model; default: $KALO_ACOUSTIC_MODEL_PATH, else the bundled one\n"
           "  --listen           start listening to the microphone at once\n"
           "  --screenshot FILE  save a picture of the window (PNG) and exit; errors go to standard\n"
           "                     error only, with ksr-demo's exit status\n"
           "  --after SECONDS    wait that long before taking the picture (default 0)\n"
           "\n"
           "exit status: 0 done, 2 bad arguments, 3 no usable model, 4 bad grammar file,\n"
           "             6 no microphone or capture failed (--screenshot), 7 picture not written\n";
}

bool parseDesktopOptions(int argc, char** argv, DesktopOptions& options, std::string& error)
{
    bool hasAfter = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--listen") {
            options.listen = true;
        } else if (argument == "--grammar" || argument == "--model" || argument == "--screenshot" ||
                   argument == "--after") {
            if (i + 1 >= argc || std::string(argv[i + 1]).rfind("--", 0) == 0) {
                error = argument + " needs a value";
                return false;
            }
            const std::string value = argv[++i];
            if (argument == "--grammar") {
                options.grammarFile = value;
            } else if (argument == "--model") {
                options.modelPath = value;
            } else if (argument == "--screenshot") {
                options.picture = value;
            } else {
                char* end = nullptr;
                options.after = std::strtod(value.c_str(), &end);
                if (*end != '\0' || !(options.after >= 0.0) || options.after > 3600.0) {
                    error = "--after needs a number of seconds (0 to 3600), not \"" + value + "\"";
                    return false;
                }
                hasAfter = true;
            }
        } else {
            error = "unknown argument \"" + argument + "\"";
            return false;
        }
    }
    if (hasAfter && options.picture.empty() && !options.help) {
        error = "--after applies to --screenshot only";
        return false;
    }
    return true;
}
