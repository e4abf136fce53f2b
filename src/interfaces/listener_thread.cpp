#include "interfaces/listener_thread.h"

#include <utility>

namespace {

// Shows in debuggers and `top -H` (a thread name holds 15 characters).
const char* const kThreadName = "ksr-listener";

}  // namespace

ListenerThread::ListenerThread(QObject* parent, StopFunction stopLoop)
    : QThread(parent), m_stopLoop(std::move(stopLoop))
{
    setObjectName(QLatin1String(kThreadName));
}

ListenerThread::~ListenerThread()
{
    if (isRunning() && m_stopLoop)
        m_stopLoop();
}

void ListenerThread::release() { m_stopLoop = nullptr; }

void ListenerThread::run() {}
