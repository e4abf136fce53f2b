#ifndef KSR_TESTS_WATCHDOG_H
#define KSR_TESTS_WATCHDOG_H

// Ends the process when the object is not destroyed within `limit`, so that
// a deadlock in a thread test shows as a failure instead of a hung run.

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

class Watchdog {
public:
    Watchdog(std::chrono::seconds limit, std::string what)
        : m_what(std::move(what))
        , m_thread([this, limit] {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (!m_done.wait_for(lock, limit, [this] { return m_finished; })) {
                std::cerr << m_what << " did not finish within the time limit: deadlock" << std::endl;
                std::abort();
            }
        })
    {
    }
    ~Watchdog()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_finished = true;
        }
        m_done.notify_all();
        m_thread.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::string m_what;
    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_finished = false;
    std::thread m_thread;
};

#endif
