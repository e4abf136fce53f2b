#ifndef KSR_DESKTOP_ERROR_REPORT_H
#define KSR_DESKTOP_ERROR_REPORT_H

#include <string>

class QWidget;

// How the desktop host tells of an error: always one line on standard error
// ("ksr-desktop: ..."), and in a dialog unless it only takes a picture of
// its window (--screenshot), where nobody is there to close one.
class ErrorReport {
public:
    explicit ErrorReport(bool dialogs) : m_dialogs(dialogs) {}

    bool showsDialogs() const { return m_dialogs; }

    // An error that ends the program: the dialog waits to be closed.
    // Returns `exitCode`.
    int fail(int exitCode, const std::string& message, QWidget* parent = nullptr) const;
    // An error the window lives on after: the dialog does not wait.
    void tell(const std::string& message, QWidget* parent) const;

    static const char* dialogTitle() { return "ksr-desktop"; }

private:
    void print(const std::string& message) const;

    bool m_dialogs;
};

#endif
