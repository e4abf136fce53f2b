#ifndef K_SR_INTERFACE_H
#define K_SR_INTERFACE_H

#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "ksr_export.h"
#include "ksr_types.h"

class QWidget;
class HypothesisFilter;

Q_DECLARE_METATYPE(KSR::SRData)

// The host-facing Qt object both back-end interfaces derive from. It owns a
// worker thread whose started() runs the back end's recognition loop
// (speechRecognitionStarted) and whose finished() ends it
// (speechRecognitionEnded); both are connected directly, so they run in the
// worker thread.
//
// The object itself lives in the thread that created it (the host's), not
// in its worker thread. The worker spends its whole life in the loop and
// never runs an event loop, so anything queued to an object living there
// would never run: a button's clicked() connected to stop() with Qt's
// default connection, deleteLater(), QMetaObject::invokeMethod, a lambda
// with the interface as context. Living in the host's thread, every such
// call runs there as Qt users expect. The worker needs no event loop of its
// own, so its life is the loop's: the thread ends when the loop returns.
//
// Results reach the host as signals carrying KSR::SRData, emitted from the
// worker thread, so they arrive through queued connections: the host calls
// registerKSRTypes() before connecting.
//
// Signals are public, as Qt 5 and 6 declare every signal (hosts connect to
// them by member-function pointer).
class KSR_EXPORT K_SRInterface : public QObject {
    Q_OBJECT
public:
    // How a listening run ended (listeningStopped).
    enum class ListeningEnd {
        Stopped = 0,     // listening ran and stop() (or destruction, or the end of the application) ended it
        Failed = 1,      // listening never began: no usable model or engine, or no capture device opened
        Terminated = 2,  // the loop did not end within 2000 ms of stop() and the thread was terminated
    };
    Q_ENUM(ListeningEnd)

    // The worker thread gets `parent` as its Qt parent, so the host widget
    // deletes it; a thread deleted while it runs first stops the loop.
    // Without a parent the interface deletes its thread itself.
    explicit K_SRInterface(QWidget* parent);
    ~K_SRInterface() override;

    // True while the back end's loop should keep running: set by the loop
    // once it runs, cleared by stop(). False right after start() until the
    // worker thread reached its loop.
    bool isActive() const;
    // True from listeningStarted() until the run is over: the loop runs and
    // its audio source was opened.
    bool isListening() const;

    // Registers the record types with Qt's meta-type system, once per process.
    static void registerKSRTypes();
    // How many times registerKSRTypes really registered (0 or 1).
    static int typeRegistrations();

    // Emits grammarActivatedSignal; bound as the back end's grammar-activation callback.
    void grammarActivated(KSR::GrammarId gId, bool activated);

    QThread* workerThread() const { return thread; }

    // Starts the worker thread, whose loop listens until stop(). A stop()
    // of the application's event loop (QCoreApplication::aboutToQuit) stops
    // it too.
    virtual void start();
    // Ends the loop and the thread; waits up to 2000 ms before terminating it.
    // Called from the worker thread itself (a slot connected directly to one
    // of the signals, an override running in the loop) it only asks the loop
    // to end and returns at once; listeningStopped follows as usual.
    virtual void stop();
    virtual bool openMicrophoneSetup();
    virtual bool openVoiceTraining();

    // Host setting, off by default: when on, hypothesisResult is emitted only
    // when the hypothesis text or its ids change within an utterance, not
    // once per chunk of audio. Thread-safe.
    void setHypothesisOnChangeOnly(bool on);
    bool hypothesisOnChangeOnly() const;

public slots:
    virtual void speechRecognitionStarted() = 0;
    virtual void speechRecognitionEnded() = 0;

signals:
    void grammarActivatedSignal(KSR::GrammarId gId, bool activated);
    void recognitionResult(KSR::SRData data);
    void recognitionFailed();
    void hypothesisResult(KSR::SRData data);
    // Listening really began: the loop runs and its audio source is open
    // (emitted from the worker thread).
    void listeningStarted();
    // A run begun by start() is over and the worker thread has ended its
    // loop: exactly once per run, with why.
    void listeningStopped(K_SRInterface::ListeningEnd how);

protected:
    void stopThread();
    // For a subclass's loop, in place of `active = true`: sets `active`
    // unless stop() was called since the last start(), and says whether the
    // loop may run. A stop() that comes while the worker thread is still
    // starting would otherwise be overwritten by the loop setting `active`,
    // and the loop would only end by termination.
    bool beginLoop();
    // The loop calls it once listening really began (its audio source is
    // open); emits listeningStarted() the first time in a run.
    void listeningBegan();
    // Sleeps in the worker thread up to `ms` milliseconds, or until stop().
    // Returns `active`.
    bool waitWhileActive(int ms);

    // The back ends' reports, turned into signals. Hypotheses go through
    // the on-change filter when the host asked for it.
    void reportResult(const KSR::SRData& data);
    void reportFailure();
    void reportHypothesis(const KSR::SRData& data);
    // A back end that feeds audio in chunks calls this after each chunk:
    // a hypothesis that a chunk did not repeat is forgotten, so the same
    // text heard again later counts as new.
    void hypothesisChunkEnded();

    QPointer<QThread> thread;
    // Written by the host thread, read by the worker loop at each pass.
    std::atomic<bool> active;

private:
    void createThread(QWidget* parent);
    void workerFinished();
    void joinWorkerEnd();
    void setActive(bool on);

    bool m_ownsThread;
    std::atomic<bool> m_stopRequested;
    std::atomic<bool> m_listening;
    std::atomic<bool> m_terminating;
    std::atomic<bool> m_hypothesisOnChangeOnly;
    std::unique_ptr<HypothesisFilter> mp_hypothesisFilter;
    std::mutex m_wakeMutex;
    std::condition_variable m_wake;
};


#endif
