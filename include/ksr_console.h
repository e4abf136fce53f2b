#ifndef KSR_CONSOLE_H
#define KSR_CONSOLE_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ksr_export.h"

// The module's own console: a sink with a printf-style Error(format, ...) that
// passes every formatted line to its observers. A host that has its own
// console attaches an observer through KSR_Logger::attachObserver and
// receives every error line the module writes.
namespace KSR {

class KSR_EXPORT ConsoleObserver {
public:
    virtual ~ConsoleObserver();
    virtual void error(const std::string& text) = 0;
};

// Writes every line to standard error.
class KSR_EXPORT ConsoleObserverStd : public ConsoleObserver {
public:
    void error(const std::string& text) override;
};

class KSR_EXPORT Console {
public:
    Console();
    virtual ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // The console shares ownership of its observers: attaching the same
    // observer to a later console is fine.
    void AttachObserver(std::shared_ptr<ConsoleObserver> observer);
    void DetachObserver(const ConsoleObserver* observer);

    // Formats printf-style and hands the text to every observer.
    void Error(const char* format, ...);

private:
    std::mutex m_mutex;
    std::vector<std::shared_ptr<ConsoleObserver>> m_observers;
};

}  // namespace KSR

#endif
