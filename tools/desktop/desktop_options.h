#ifndef KSR_DESKTOP_OPTIONS_H
#define KSR_DESKTOP_OPTIONS_H

#include <string>

// The desktop host's command line.
struct DesktopOptions {
    std::string grammarFile;  // --grammar FILE; empty: the bundled one
    std::string modelPath;    // --model DIR; empty: environment or bundled
    bool listen = false;      // --listen: start listening at once
    std::string picture;      // --screenshot FILE: save the window as PNG and exit
    double after = 0.0;       // --after SECONDS: wait that long before the picture
    bool help = false;        // --help
};

// Parses argv; false with `error` set on a bad command line.
bool parseDesktopOptions(int argc, char** argv, DesktopOptions& options, std::string& error);

const char* desktopUsage();

#endif
