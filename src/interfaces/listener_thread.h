#ifndef KSR_LISTENER_THREAD_H
#define KSR_LISTENER_THREAD_H

#include <QThread>

#include <functional>

// The worker thread of an interface. Its whole life is the back end's loop,
// which runs from the thread's started() signal, so run() itself has nothing
// left to do: the thread ends when the loop returns.
//
// A host widget that owns the thread (as its Qt parent) may be deleted while
// the interface listens. Qt aborts the process when a running thread is
// destroyed, so the destructor first asks the interface to stop the loop
// (and, when the loop has ended already, to join the end of the worker).
class ListenerThread : public QThread {
public:
    using StopFunction = std::function<void()>;

    ListenerThread(QObject* parent, StopFunction stopLoop);
    ~ListenerThread() override;

    // The interface is going away: nothing to call back any more.
    void release();

protected:
    void run() override;

private:
    StopFunction m_stopLoop;
};

#endif
