#ifndef KSR_TESTS_LOG_CAPTURE_H
#define KSR_TESTS_LOG_CAPTURE_H

// Captures what the module logs for the lifetime of the object: every console
// line (errors, exactly as written, "KSR Error: ...\n") and every quiet-level
// message (Log, Warning, Message, SuccessMsg), which never reach the console.

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ksr_logger.h"

class LogCapture {
public:
    LogCapture()
        : m_observer(std::make_shared<Observer>(this))
    {
        KSR_Logger::attachObserver(m_observer);
        KSR_Logger::setTraceFunction([this](KSR_Logger::Level level, const std::string& text) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_quiet.push_back({level, text});
        });
    }
    ~LogCapture()
    {
        KSR_Logger::setTraceFunction({});
        KSR_Logger::detachObserver(m_observer);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Console lines, each as written ("KSR Error: message\n").
    std::vector<std::string> lines() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    // Error messages without prefix and line feed.
    std::vector<std::string> errors() const
    {
        std::vector<std::string> out;
        for (const auto& line : lines()) {
            std::string text = line;
            if (text.rfind("KSR Error: ", 0) == 0)
                text.erase(0, 11);
            if (!text.empty() && text.back() == '\n')
                text.pop_back();
            out.push_back(text);
        }
        return out;
    }
    // Quiet-level messages of one level (default Log).
    std::vector<std::string> logs(KSR_Logger::Level level = KSR_Logger::Level::Log) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::string> out;
        for (const auto& entry : m_quiet)
            if (entry.first == level)
                out.push_back(entry.second);
        return out;
    }
    std::size_t quietCount() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_quiet.size();
    }
    void clear()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.clear();
        m_quiet.clear();
    }

private:
    struct Observer : KSR::ConsoleObserver {
        explicit Observer(LogCapture* owner) : owner(owner) {}
        void error(const std::string& text) override
        {
            std::lock_guard<std::mutex> lock(owner->m_mutex);
            owner->m_lines.push_back(text);
        }
        LogCapture* owner;
    };

    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::vector<std::pair<KSR_Logger::Level, std::string>> m_quiet;
    std::shared_ptr<Observer> m_observer;
};

#endif
