#ifndef KSR_DESKTOP_STARTUP_H
#define KSR_DESKTOP_STARTUP_H

#include "desktop_options.h"

class QApplication;

// Finds the model, reads the grammar file, opens the window and runs the
// application (or takes the window's picture); returns the exit status
// (exit_codes.h).
int runDesktop(QApplication& app, const DesktopOptions& options);

#endif
