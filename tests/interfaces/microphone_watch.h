#ifndef KSR_TESTS_MICROPHONE_WATCH_H
#define KSR_TESTS_MICROPHONE_WATCH_H

// What the host learns of its microphone while listening paced: the
// disconnect and reconnect signals with the time each was emitted, and the
// processor time the listening thread spends.
//
// The signals are taken in the emitting (worker) thread through direct
// connections and kept under a lock: a queued QString argument is shared
// between the two threads through Qt's own reference counting, which
// ThreadSanitizer cannot see into (Qt is not instrumented).

#include <QElapsedTimer>
#include <QObject>

#include <dirent.h>

#include <cstdio>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "k_vosk_interface.h"

class MicrophoneWatch : public QObject {
public:
    struct Event {
        bool connected;
        std::string device;
        qint64 atMs;
    };

    explicit MicrophoneWatch(K_VoskInterface& iface)
    {
        m_clock.start();
        connect(&iface, &K_VoskInterface::microphoneDisconnected, this,
                [this](const QString& device) { add(false, device); }, Qt::DirectConnection);
        connect(&iface, &K_VoskInterface::microphoneReconnected, this,
                [this](const QString& device) { add(true, device); }, Qt::DirectConnection);
    }

    std::vector<Event> events() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }
    qint64 nowMs() const { return m_clock.elapsed(); }

private:
    void add(bool connected, const QString& device)
    {
        const std::string name = device.toStdString();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back({connected, name, m_clock.elapsed()});
    }

    QElapsedTimer m_clock;
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};

// Processor seconds (user and system) spent so far by this process's thread
// named `name` ("ksr-listener"); -1 when there is none.
inline double threadCpuSeconds(const std::string& name)
{
    DIR* tasks = ::opendir("/proc/self/task");
    if (!tasks)
        return -1.0;
    double seconds = -1.0;
    while (dirent* entry = ::readdir(tasks)) {
        const std::string task = std::string("/proc/self/task/") + entry->d_name;
        std::ifstream comm(task + "/comm");
        std::string threadName;
        if (!std::getline(comm, threadName) || threadName != name)
            continue;
        std::ifstream stat(task + "/stat");
        std::string line;
        std::getline(stat, line);
        // Fields after the command (which is in parentheses): state is the
        // third field; utime and stime are the 14th and 15th.
        const std::size_t close = line.rfind(')');
        if (close == std::string::npos)
            continue;
        unsigned long long user = 0, system = 0;
        if (std::sscanf(line.c_str() + close + 2, "%*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %llu %llu", &user,
                        &system) == 2)
            seconds = double(user + system) / double(::sysconf(_SC_CLK_TCK));
    }
    ::closedir(tasks);
    return seconds;
}

#endif
