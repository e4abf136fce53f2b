#include "ksr_logger.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace {

// Recursive so that an observer or trace function may itself log.
std::recursive_mutex& loggerMutex()
{
    static std::recursive_mutex mutex;
    return mutex;
}

struct LoggerSettings {
    bool standardReplaced = false;
    std::shared_ptr<KSR::ConsoleObserver> standard;
    std::vector<std::shared_ptr<KSR::ConsoleObserver>> attached;
    KSR_Logger::TraceFunction trace;
};

LoggerSettings& settings()
{
    static LoggerSettings s;
    return s;
}

}  // namespace

KSR::Console* KSR_Logger::mp_console = nullptr;

std::string KSR_Logger::escapeFormat(const std::string& message)
{
    std::string escaped;
    escaped.reserve(message.size() + 8);
    for (std::size_t i = 0; i < message.size(); ++i) {
        if (message[i] != '%') {
            escaped += message[i];
        } else if (i + 1 < message.size() && message[i + 1] == '%') {
            escaped += "%%";
            ++i;
        } else {
            escaped += "%%";
        }
    }
    return escaped;
}

void KSR_Logger::Error(const std::string& message)
{
    const std::string line = escapeFormat("KSR Error: " + message + "\n");
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    _instance()->Error(line.c_str());
}

void KSR_Logger::Warning(const std::string& message) { trace(Level::Warning, message); }
void KSR_Logger::Message(const std::string& message) { trace(Level::Message, message); }
void KSR_Logger::Log(const std::string& message) { trace(Level::Log, message); }
void KSR_Logger::SuccessMsg(const std::string& message) { trace(Level::SuccessMsg, message); }

void KSR_Logger::trace(Level level, const std::string& message)
{
    TraceFunction function;
    {
        std::lock_guard<std::recursive_mutex> lock(loggerMutex());
        function = settings().trace;
    }
    if (function)
        function(level, message);
}

KSR::Console* KSR_Logger::_instance()
{
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    if (mp_console)
        return mp_console;
    mp_console = new KSR::Console();
    LoggerSettings& s = settings();
    if (!s.standardReplaced)
        mp_console->AttachObserver(std::make_shared<KSR::ConsoleObserverStd>());
    else if (s.standard)
        mp_console->AttachObserver(s.standard);
    for (const auto& observer : s.attached)
        mp_console->AttachObserver(observer);
    return mp_console;
}

void KSR_Logger::Destroy()
{
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    delete mp_console;
    mp_console = nullptr;
}

void KSR_Logger::attachObserver(const std::shared_ptr<KSR::ConsoleObserver>& observer)
{
    if (!observer)
        return;
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    settings().attached.push_back(observer);
    if (mp_console)
        mp_console->AttachObserver(observer);
}

void KSR_Logger::detachObserver(const std::shared_ptr<KSR::ConsoleObserver>& observer)
{
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    auto& attached = settings().attached;
    attached.erase(std::remove(attached.begin(), attached.end(), observer), attached.end());
    if (mp_console)
        mp_console->DetachObserver(observer.get());
}

void KSR_Logger::setStandardObserver(const std::shared_ptr<KSR::ConsoleObserver>& observer)
{
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    settings().standardReplaced = true;
    settings().standard = observer;
}

void KSR_Logger::setTraceFunction(const TraceFunction& function)
{
    std::lock_guard<std::recursive_mutex> lock(loggerMutex());
    settings().trace = function;
}
