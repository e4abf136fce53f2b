#include "k_sr_interface.h"

#include <QCoreApplication>
#include <QWidget>

#include <chrono>

#include "interfaces/hypothesis_filter.h"
#include "interfaces/listener_thread.h"

namespace {

std::atomic<int> g_typeRegistrations{0};

const unsigned long kStopWaitMs = 2000;

// Qt starts its threads with termination disabled; stop() must be able to
// end a loop that never looks at `active`, so the worker enables it.
struct TerminationSwitch : QThread {
    static void enable() { setTerminationEnabled(true); }
};

}  // namespace

K_SRInterface::K_SRInterface(QWidget* parent)
    : QObject(nullptr)
    , active(false)
    , m_ownsThread(false)
    , m_stopRequested(false)
    , m_listening(false)
    , m_terminating(false)
    , m_hypothesisOnChangeOnly(false)
    , mp_hypothesisFilter(new HypothesisFilter)
{
    createThread(parent);
}

// The loop and its end run in the worker thread (direct connections);
// listeningStopped follows the end, so capture is closed when it arrives.
void K_SRInterface::createThread(QWidget* parent)
{
    thread = new ListenerThread(parent, [this] { stop(); });
    m_ownsThread = parent == nullptr;
    connect(thread, &QThread::started, thread, &TerminationSwitch::enable, Qt::DirectConnection);
    connect(thread, &QThread::started, this, &K_SRInterface::speechRecognitionStarted, Qt::DirectConnection);
    connect(thread, &QThread::finished, this, &K_SRInterface::speechRecognitionEnded, Qt::DirectConnection);
    connect(thread, &QThread::finished, this, &K_SRInterface::workerFinished, Qt::DirectConnection);
}

K_SRInterface::~K_SRInterface()
{
    stopThread();
    joinWorkerEnd();
    if (m_ownsThread)
        delete thread.data();
    else if (thread)
        static_cast<ListenerThread*>(thread.data())->release();
}

bool K_SRInterface::isActive() const { return active; }

bool K_SRInterface::isListening() const { return m_listening; }

void K_SRInterface::start()
{
    // A loop asked to end from inside the worker may still be on its way
    // out: starting a running thread would do nothing.
    if (m_stopRequested && thread && thread->isRunning() && QThread::currentThread() != thread.data()) {
        thread->wait(kStopWaitMs);
        joinWorkerEnd();
    }
    m_stopRequested = false;
    // The host widget that owned the thread is gone: listen on a thread of
    // our own.
    if (!thread)
        createThread(nullptr);
    // Leaving the application's event loop ends listening, before the
    // audio libraries are torn down at exit under a running capture.
    if (QCoreApplication* application = QCoreApplication::instance())
        connect(application, &QCoreApplication::aboutToQuit, this, &K_SRInterface::stop,
                Qt::ConnectionType(Qt::DirectConnection | Qt::UniqueConnection));
    thread->start(QThread::InheritPriority);
}

void K_SRInterface::setActive(bool on)
{
    {
        std::lock_guard<std::mutex> lock(m_wakeMutex);
        active = on;
    }
    m_wake.notify_all();
}

void K_SRInterface::stop()
{
    m_stopRequested = true;
    setActive(false);
    if (!thread)
        return;
    // From the worker itself (a direct connection to one of its signals, an
    // override of the loop): it cannot wait for its own end, and must not
    // terminate itself, possibly inside the audio library's locks. The loop
    // sees `active` at its next pass and ends as after any stop.
    if (QThread::currentThread() == thread.data())
        return;
    thread->exit(0);
    if (!thread->wait(kStopWaitMs)) {
        m_terminating = true;
        thread->terminate();
        thread->wait();
        // The loop never returned, so the worker could not report its end.
        m_listening = false;
        m_terminating = false;
        emit listeningStopped(ListeningEnd::Terminated);
        return;
    }
    joinWorkerEnd();
}

// The worker's last act (workerFinished) releases m_wakeMutex; taking it
// here orders everything the worker did before it ended ahead of what the
// host thread does next, such as deleting what the loop used. Qt's own
// wait for a thread gives that order too, but a thread that had already
// ended on its own (the loop returned without stop()) is never waited for.
void K_SRInterface::joinWorkerEnd()
{
    std::lock_guard<std::mutex> lock(m_wakeMutex);
}

void K_SRInterface::stopThread()
{
    if (thread && thread->isRunning())
        K_SRInterface::stop();
}

// Both flags are sequentially consistent: either the loop sees the stop
// request and stays out, or its `active = true` comes before stop()'s
// `active = false` and the loop sees that at its next pass.
bool K_SRInterface::beginLoop()
{
    setActive(true);
    if (m_stopRequested) {
        setActive(false);
        return false;
    }
    return true;
}

void K_SRInterface::listeningBegan()
{
    if (!m_listening.exchange(true))
        emit listeningStarted();
}

bool K_SRInterface::waitWhileActive(int ms)
{
    std::unique_lock<std::mutex> lock(m_wakeMutex);
    m_wake.wait_for(lock, std::chrono::milliseconds(ms), [this] { return !active; });
    return active;
}

// In the worker thread, after speechRecognitionEnded. A terminated loop is
// reported by stop() instead.
void K_SRInterface::workerFinished()
{
    if (m_terminating)
        return;
    const bool listened = m_listening.exchange(false);
    mp_hypothesisFilter->utteranceEnded();
    emit listeningStopped(listened ? ListeningEnd::Stopped : ListeningEnd::Failed);
    std::lock_guard<std::mutex> ended(m_wakeMutex);
}

bool K_SRInterface::openMicrophoneSetup() { return false; }
bool K_SRInterface::openVoiceTraining() { return false; }

void K_SRInterface::setHypothesisOnChangeOnly(bool on)
{
    if (on && !m_hypothesisOnChangeOnly)
        mp_hypothesisFilter->utteranceEnded();
    m_hypothesisOnChangeOnly = on;
}

bool K_SRInterface::hypothesisOnChangeOnly() const { return m_hypothesisOnChangeOnly; }

void K_SRInterface::reportResult(const KSR::SRData& data)
{
    mp_hypothesisFilter->utteranceEnded();
    emit recognitionResult(data);
}

void K_SRInterface::reportFailure()
{
    mp_hypothesisFilter->utteranceEnded();
    emit recognitionFailed();
}

void K_SRInterface::reportHypothesis(const KSR::SRData& data)
{
    if (m_hypothesisOnChangeOnly && !mp_hypothesisFilter->pass(data))
        return;
    emit hypothesisResult(data);
}

void K_SRInterface::hypothesisChunkEnded()
{
    if (m_hypothesisOnChangeOnly)
        mp_hypothesisFilter->chunkEnded();
}

// A spoken activation key ends its utterance without a result.
void K_SRInterface::grammarActivated(KSR::GrammarId gId, bool activated)
{
    mp_hypothesisFilter->utteranceEnded();
    emit grammarActivatedSignal(gId, activated);
}

void K_SRInterface::registerKSRTypes()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // GrammarId is unsigned 64-bit (QMetaType::ULongLong) and CommandId
        // int. RuleId is 32 bits wide everywhere: `unsigned long` where that
        // is 32 bits (Windows, the module's home: QMetaType::ULong), the
        // 32-bit unsigned int elsewhere. Registered under their KSR names so
        // that string-based connections and queued signals find them.
        qRegisterMetaType<KSR::GrammarId>("KSR::GrammarId");
        qRegisterMetaType<KSR::RuleId>("KSR::RuleId");
        qRegisterMetaType<KSR::CommandId>("KSR::CommandId");
        qRegisterMetaType<KSR::SRData>("KSR::SRData");
        qRegisterMetaType<K_SRInterface::ListeningEnd>("K_SRInterface::ListeningEnd");
        ++g_typeRegistrations;
    });
}

int K_SRInterface::typeRegistrations() { return g_typeRegistrations; }
