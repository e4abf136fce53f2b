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

// Called even when the worker has already ended on its own (a loop that
// found no model): stopping then waits for nothing, but it takes the lock
// the worker released last, which orders everything the worker did (it
// read this thread's connections as it emitted started()) before the
// destruction of those connections.
ListenerThread::~ListenerThread()
{
    if (m_stopLoop)
        m_stopLoop();
}

void ListenerThread::release() { m_stopLoop = nullptr; }

void ListenerThread::run() {}
