#ifndef KSR_LOGGER_H
#define KSR_LOGGER_H

#include <functional>
#include <memory>
#include <string>

#include "ksr_console.h"
#include "ksr_export.h"

// The one logging facade of the recognition classes. Only Error reaches the
// console ("KSR Error: " + message + "\n"); Warning, Message, Log and
// SuccessMsg are accepted and print nothing, so callers may log freely.
//
// A message may hold host text (a path, a phrase, a key). The console treats
// the line as a printf format, so Error keeps "%%" meaning "%" but turns every
// other "%" into a literal one before the console sees it: no conversion in a
// message can read or write memory.
//
// Thread-safe: the console is created, used and destroyed under one lock.
class KSR_EXPORT KSR_Logger {
public:
    enum class Level { Warning, Message, Log, SuccessMsg };
    // Receives the quiet-level messages, which never reach the console. Meant
    // for diagnostics and tests; empty by default.
    using TraceFunction = std::function<void(Level, const std::string&)>;

    static void Error(const std::string& message);
    static void Warning(const std::string& message);
    static void Message(const std::string& message);
    static void Log(const std::string& message);
    static void SuccessMsg(const std::string& message);

    // The console, created on first use with the standard observer and every
    // observer attached through attachObserver.
    static KSR::Console* _instance();
    // Deletes the console; a later Error creates a fresh one.
    static void Destroy();

    // Attaches an observer to the current console and to every console made
    // later (after Destroy); detachObserver undoes it.
    static void attachObserver(const std::shared_ptr<KSR::ConsoleObserver>& observer);
    static void detachObserver(const std::shared_ptr<KSR::ConsoleObserver>& observer);
    // Replaces the standard-error observer of consoles made from now on; an
    // empty pointer means none. Hosts with their own console use this.
    static void setStandardObserver(const std::shared_ptr<KSR::ConsoleObserver>& observer);
    static void setTraceFunction(const TraceFunction& function);

    // The class has no instance state: assignment copies nothing.
    KSR_Logger& operator=(const KSR_Logger&) { return *this; }
    KSR_Logger& operator=(KSR_Logger&&) noexcept { return *this; }

    // "%%" stays, every other "%" becomes "%%".
    static std::string escapeFormat(const std::string& message);

private:
    static void trace(Level level, const std::string& message);
    static KSR::Console* mp_console;
};

#endif
