#include "ksr_console.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace KSR {

ConsoleObserver::~ConsoleObserver() = default;

void ConsoleObserverStd::error(const std::string& text)
{
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

Console::Console() = default;
Console::~Console() = default;

void Console::AttachObserver(std::shared_ptr<ConsoleObserver> observer)
{
    if (!observer)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_observers.push_back(std::move(observer));
}

void Console::DetachObserver(const ConsoleObserver* observer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_observers.erase(std::remove_if(m_observers.begin(), m_observers.end(),
                                     [observer](const auto& o) { return o.get() == observer; }),
                      m_observers.end());
}

void Console::Error(const char* format, ...)
{
    if (!format)
        return;
    va_list args;
    va_start(args, format);
    va_list sizing;
    va_copy(sizing, args);
    const int length = std::vsnprintf(nullptr, 0, format, sizing);
    va_end(sizing);
    std::string text;
    if (length > 0) {
        text.resize(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(&text[0], text.size(), format, args);
        text.resize(static_cast<std::size_t>(length));
    }
    va_end(args);

    std::vector<std::shared_ptr<ConsoleObserver>> observers;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        observers = m_observers;
    }
    for (const auto& observer : observers)
        observer->error(text);
}

}  // namespace KSR
