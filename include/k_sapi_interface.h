#ifndef K_SAPI_INTERFACE_H
#define K_SAPI_INTERFACE_H

#include <QWidget>

#include "k_sr_interface.h"
#include "ksr_export.h"
#include "ksr_sapi_manager.h"

// What the host creates to use the SAPI back end: a K_SRInterface (the
// worker thread and the signals) and a KSR_Manager (grammars, rules,
// commands, keys) at once. The worker thread switches the recognizer on and
// polls the engine's events until stopped; every result, hypothesis,
// failure and grammar switch is emitted as the base's signals from that
// thread. The SAPI dialogs open owned by the host's top-level window.
//
// COM is the host's business: the host's thread must have initialised it
// before construction, and the worker thread before speechRecognitionStarted
// polls (for instance in an override that initialises COM and then calls
// this class's version).
class KSR_EXPORT K_SapiInterface : public K_SRInterface, public KSR_Manager {
    Q_OBJECT
public:
    explicit K_SapiInterface(QWidget* parent);
    // Stops the worker thread first.
    ~K_SapiInterface() override;

    // False without an engine or when SAPI does not answer for the dialog;
    // otherwise opens it owned by the host window and returns true.
    bool openMicrophoneSetup() override;
    bool openVoiceTraining() override;

    // The native handle of the parent's top-level window; 0 without parent.
    WId hostWindow() const { return m_hostWindow; }

    // The worker thread's loop and its end (slots of K_SRInterface).
    void speechRecognitionStarted() override;
    void speechRecognitionEnded() override;

protected:
    void processRecognition(KSR::SRData data) override;
    void processRecognitionFailed() override;
    void processHypothesis(KSR::SRData data) override;

private:
    HWND dialogOwner() const;

    WId m_hostWindow = 0;
};

#endif
