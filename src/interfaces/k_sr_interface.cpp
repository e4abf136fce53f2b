#include "k_sr_interface.h"

#include <QWidget>

#include <mutex>

namespace {

std::atomic<int> g_typeRegistrations{0};

// Qt starts its threads with termination disabled; stop() must be able to
// end a loop that never looks at `active`, so the worker enables it.
struct TerminationSwitch : QThread {
    static void enable() { setTerminationEnabled(true); }
};

}  // namespace

K_SRInterface::K_SRInterface(QWidget* parent)
    : QObject(nullptr)
    , thread(new QThread(parent))
    , active(false)
    , m_ownsThread(parent == nullptr)
    , m_stopRequested(false)
{
    moveToThread(thread);
    connect(thread, &QThread::started, thread, &TerminationSwitch::enable, Qt::DirectConnection);
    connect(thread, &QThread::started, this, &K_SRInterface::speechRecognitionStarted);
    connect(thread, &QThread::finished, this, &K_SRInterface::speechRecognitionEnded);
}

K_SRInterface::~K_SRInterface()
{
    stopThread();
    if (m_ownsThread)
        delete thread.data();
}

bool K_SRInterface::isActive() const { return active; }

void K_SRInterface::start()
{
    m_stopRequested = false;
    if (thread)
        thread->start(QThread::InheritPriority);
}

void K_SRInterface::stop()
{
    m_stopRequested = true;
    active = false;
    if (!thread)
        return;
    thread->exit(0);
    if (!thread->wait(2000)) {
        thread->terminate();
        thread->wait();
    }
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
    active = true;
    if (m_stopRequested) {
        active = false;
        return false;
    }
    return true;
}

bool K_SRInterface::openMicrophoneSetup() { return false; }
bool K_SRInterface::openVoiceTraining() { return false; }

void K_SRInterface::grammarActivated(KSR::GrammarId gId, bool activated)
{
    emit grammarActivatedSignal(gId, activated);
}

void K_SRInterface::registerKSRTypes()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // GrammarId is quint64 (QMetaType::ULongLong), RuleId the 32-bit
        // unsigned type, CommandId int: registered under their KSR names so
        // that string-based connections and queued signals find them.
        qRegisterMetaType<KSR::GrammarId>("KSR::GrammarId");
        qRegisterMetaType<KSR::RuleId>("KSR::RuleId");
        qRegisterMetaType<KSR::CommandId>("KSR::CommandId");
        qRegisterMetaType<KSR::SRData>("KSR::SRData");
        ++g_typeRegistrations;
    });
}

int K_SRInterface::typeRegistrations() { return g_typeRegistrations; }
