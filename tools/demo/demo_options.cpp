#include "demo_options.h"

#include <cstdlib>

#include "ksr_vosk_manager.h"

namespace {

bool isOption(const std::string& argument) { return argument.rfind("--", 0) == 0; }

bool parseSeconds(const std::string& text, double& seconds)
{
    char* end = nullptr;
    seconds = std::strtod(text.c_str(), &end);
    return !text.empty() && end && *end == '\0' && seconds > 0.0;
}

// A whole number of milliseconds from `low` to `high`.
bool parseMilliseconds(const std::string& text, long low, long high, int& milliseconds)
{
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < low || value > high)
        return false;
    milliseconds = static_cast<int>(value);
    return true;
}

}  // namespace

const char* demoUsage()
{
    return "usage: ksr-demo [--grammar FILE] [--model DIR] [--json] [--hypotheses]\n"
           "                (--wav FILE... | --mic [DEVICE] [--seconds N] [--poll] [--skip-silence]\n"
           "                 | --list-mics)\n"
           "\n"
           "  --wav FILE...   recognize sound files (any rate and channel count), one after the other\n"
           "  --mic [DEVICE]  listen to a microphone (the default one without DEVICE) until Ctrl+C\n"
           "  --seconds N     stop listening after N seconds\n"
           "  --poll          poll the microphone without pausing (costs a processor core) instead of\n"
           "                  paced listening, which waits for audio and survives a lost microphone\n"
           "  --skip-silence  let the recognizers rest after three seconds without speech (with paced\n"
           "                  listening, silence then costs about a percent of a core)\n"
           "  --list-mics     print the capture devices and exit\n"
           "  --grammar FILE  grammars, rules, commands and patterns, lists, dictation and settings (JSON);\n"
           "                  default: the demo grammar beside the program's sources\n"
           "  --model DIR     acoustic model; default: $KALO_ACOUSTIC_MODEL_PATH, else the bundled one\n"
           "  --json          one JSON object per line instead of text (a command's slot values\n"
           "                  in \"arguments\")\n"
           "  --hypotheses    also print partial results (each new one once)\n"
           "  --fast-commands [MS]  end a command after quiet instead of the decoder's own end of\n"
           "                  utterance; no command is typed into dictation. MS (default 250) is the\n"
           "                  long quiet, waited after a phrase that a longer one begins with (\"page\"\n"
           "                  while \"page down\" is on); 500 outlasts a pause inside a phrase\n"
           "  --short-quiet MS  the quiet after a phrase that nothing can continue (default 120)\n"
           "  --mic-buffer MS   audio the microphone keeps while listening is held up (default 500;\n"
           "                    4000 rides out a busy machine)\n"
           "  --chain         phrases said in one breath (\"north open file\") count one by one\n"
           "\n"
           "exit status: 0 done, 2 bad arguments, 3 no usable model, 4 bad grammar file,\n"
           "             5 unreadable audio file, 6 no such microphone or capture failed\n";
}

bool parseDemoOptions(int argc, char** argv, DemoOptions& options, std::string& error)
{
    const auto setSource = [&](DemoOptions::Source source) {
        if (options.source != DemoOptions::Source::None && options.source != source) {
            error = "--wav and --mic exclude each other";
            return false;
        }
        options.source = source;
        return true;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool hasValue = i + 1 < argc && !isOption(argv[i + 1]);
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--json") {
            options.json = true;
        } else if (argument == "--hypotheses") {
            options.hypotheses = true;
        } else if (argument == "--poll") {
            options.poll = true;
        } else if (argument == "--skip-silence") {
            options.skipSilence = true;
        } else if (argument == "--list-mics") {
            options.listDevices = true;
        } else if (argument == "--chain") {
            options.chain = true;
        } else if (argument == "--fast-commands") {
            options.fastCommands = KSR_VoskManager::DefaultFastCommandsQuiet;
            if (hasValue) {
                const std::string value = argv[++i];
                if (!parseMilliseconds(value, 1, 5000, options.fastCommands)) {
                    error = "--fast-commands needs a quiet time of 1 to 5000 ms, not \"" + value + "\"";
                    return false;
                }
            }
        } else if (argument == "--mic-buffer") {
            const std::string value = hasValue ? argv[++i] : std::string();
            if (!parseMilliseconds(value, 100, 60000, options.microphoneBuffer)) {
                error = "--mic-buffer needs 100 to 60000 ms, not \"" + value + "\"";
                return false;
            }
        } else if (argument == "--short-quiet") {
            const std::string value = hasValue ? argv[++i] : std::string();
            if (!parseMilliseconds(value, 0, 5000, options.shortQuiet)) {
                error = "--short-quiet needs a quiet time of 0 to 5000 ms, not \"" + value + "\"";
                return false;
            }
        } else if (argument == "--grammar" || argument == "--model" || argument == "--seconds") {
            if (!hasValue) {
                error = argument + " needs a value";
                return false;
            }
            const std::string value = argv[++i];
            if (argument == "--grammar") {
                options.grammarFile = value;
            } else if (argument == "--model") {
                options.modelPath = value;
            } else if (!parseSeconds(value, options.seconds)) {
                error = "--seconds needs a positive number, not \"" + value + "\"";
                return false;
            }
        } else if (argument == "--mic") {
            if (!setSource(DemoOptions::Source::Microphone))
                return false;
            if (hasValue)
                options.device = argv[++i];
        } else if (argument == "--wav") {
            if (!setSource(DemoOptions::Source::Files))
                return false;
            while (i + 1 < argc && !isOption(argv[i + 1]))
                options.files.push_back(argv[++i]);
            if (options.files.empty()) {
                error = "--wav needs at least one file";
                return false;
            }
        } else {
            error = "unknown argument \"" + argument + "\"";
            return false;
        }
    }
    if (options.help)
        return true;
    if (options.source == DemoOptions::Source::None && !options.listDevices) {
        error = "say where the audio comes from: --wav FILE... or --mic [DEVICE]";
        return false;
    }
    if (options.seconds > 0.0 && options.source != DemoOptions::Source::Microphone) {
        error = "--seconds applies to --mic only";
        return false;
    }
    if (options.poll && options.source != DemoOptions::Source::Microphone) {
        error = "--poll applies to --mic only";
        return false;
    }
    if (options.skipSilence && options.source != DemoOptions::Source::Microphone) {
        error = "--skip-silence applies to --mic only";
        return false;
    }
    return true;
}
