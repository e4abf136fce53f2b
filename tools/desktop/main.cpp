// ksr-desktop: a Qt Widgets host of the speech-recognition module. Its
// window shows the grammars of a grammar file (the one ksr-demo reads), the
// module's events as they arrive, the dictated document and the listening
// state, with controls for the microphone and the module's settings. See
// desktopUsage() for the command line and exit_codes.h for the exit status.
#include <QApplication>

#include <cstdio>

#include "desktop_options.h"
#include "desktop_startup.h"
#include "exit_codes.h"

int main(int argc, char** argv)
{
    DesktopOptions options;
    std::string error;
    if (!parseDesktopOptions(argc, argv, options, error)) {
        std::fprintf(stderr, "ksr-desktop: %s\n\n%s", error.c_str(), desktopUsage());
        return HostExit::Usage;
    }
    if (options.help) {
        std::printf("%s", desktopUsage());
        return HostExit::Ok;
    }
    QApplication app(argc, argv);
    return runDesktop(app, options);
}
