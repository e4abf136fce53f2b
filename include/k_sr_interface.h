#ifndef K_SR_INTERFACE_H
#define K_SR_INTERFACE_H

#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <atomic>

#include "ksr_export.h"
#include "ksr_types.h"

class QWidget;

Q_DECLARE_METATYPE(KSR::SRData)

// The host-facing Qt object both back-end interfaces derive from. It owns a
// worker thread and lives in it: the thread's started() runs the back end's
// recognition loop (speechRecognitionStarted) and its finished() ends it
// (speechRecognitionEnded). Results reach the host as signals carrying
// KSR::SRData through queued connections, so the host calls
// registerKSRTypes() before connecting.
//
// Signals are public, as Qt 5 and 6 declare every signal.
class KSR_EXPORT K_SRInterface : public QObject {
    Q_OBJECT
public:
    // The worker thread gets `parent` as its Qt parent, so the host widget
    // deletes it. Without a parent the interface deletes its thread itself.
    explicit K_SRInterface(QWidget* parent);
    ~K_SRInterface() override;

    bool isActive() const;

    // Registers the record types with Qt's meta-type system, once per process.
    static void registerKSRTypes();
    // How many times registerKSRTypes really registered (0 or 1).
    static int typeRegistrations();

    // Emits grammarActivatedSignal; bound as the back end's grammar-activation callback.
    void grammarActivated(KSR::GrammarId gId, bool activated);

    QThread* workerThread() const { return thread; }

public slots:
    virtual void start();
    // Ends the loop and the thread; waits up to 2000 ms before terminating it.
    virtual void stop();
    virtual bool openMicrophoneSetup();
    virtual bool openVoiceTraining();
    virtual void speechRecognitionStarted() = 0;
    virtual void speechRecognitionEnded() = 0;

signals:
    void grammarActivatedSignal(KSR::GrammarId gId, bool activated);
    void recognitionResult(KSR::SRData data);
    void recognitionFailed();
    void hypothesisResult(KSR::SRData data);

protected:
    void stopThread();
    // For a subclass's loop, in place of `active = true`: sets `active`
    // unless stop() was called since the last start(), and says whether the
    // loop may run. A stop() that comes while the worker thread is still
    // starting would otherwise be overwritten by the loop setting `active`,
    // and the loop would only end by termination.
    bool beginLoop();

    QPointer<QThread> thread;
    // Written by the host thread, read by the worker loop at each pass.
    std::atomic<bool> active;

private:
    bool m_ownsThread;
    std::atomic<bool> m_stopRequested;
};

#endif
