#ifndef KSR_DESKTOP_EVENT_LOG_H
#define KSR_DESKTOP_EVENT_LOG_H

#include <QTreeWidget>

#include <string>

// The module's events, newest first, each with the time it reached the
// window, its name ("command", "grammar", ...) and its details in the words
// ksr-demo prints.
class EventLog : public QTreeWidget {
public:
    enum Column { TimeColumn, EventColumn, DetailsColumn };
    // The oldest lines go beyond this many.
    static constexpr int MaximumLines = 2000;

    explicit EventLog(QWidget* parent = nullptr);

    void add(const char* event, const std::string& details);

    // The line `row` rows from the newest (0), "event details", for tests and tools.
    QString lineText(int row) const;
};

#endif
