#ifndef KSR_DEMO_OPTIONS_H
#define KSR_DEMO_OPTIONS_H

#include <string>
#include <vector>

// The demo host's command line.
struct DemoOptions {
    enum class Source { None, Microphone, Files };

    Source source = Source::None;
    std::string device;              // --mic NAME; empty: the system default
    std::vector<std::string> files;  // --wav FILE...
    std::string grammarFile;         // --grammar FILE; empty: the bundled one
    std::string modelPath;           // --model DIR; empty: environment or bundled
    bool json = false;               // --json
    bool hypotheses = false;         // --hypotheses
    double seconds = 0.0;            // --seconds N (microphone); 0: until interrupted
    bool poll = false;               // --poll: the module's polling loop instead of paced listening
    bool skipSilence = false;        // --skip-silence
    bool listDevices = false;        // --list-mics
    int fastCommands = -1;           // --fast-commands [MS]: quiet time; -1: as the grammar file says
    int microphoneBuffer = 0;        // --mic-buffer MS: what the microphone keeps between reads; 0: the module's
    int shortQuiet = -1;             // --short-quiet MS: the early end's short quiet; -1: the module's
    bool chain = false;              // --chain
    bool help = false;               // --help
};

// Parses argv; false with `error` set on a bad command line.
bool parseDemoOptions(int argc, char** argv, DemoOptions& options, std::string& error);

const char* demoUsage();

#endif
