#ifndef K_VOSK_INTERFACE_H
#define K_VOSK_INTERFACE_H

#include <QList>
#include <QString>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "k_sr_interface.h"
#include "ksr_export.h"
#include "ksr_vosk_manager.h"

class AudioDevice;
class QWidget;

namespace KSR {

// The host's resource directory (UTF-8). The acoustic model is looked for
// in <resource dir>/../../kalo_external_libs/acoustic_model/<first folder>
// when KALO_ACOUSTIC_MODEL_PATH is not set. A host installs its own function
// before it creates a K_VoskInterface; an empty function restores the
// default, the directory of the application's executable
// (QCoreApplication::applicationDirPath(), empty without an application
// object). Thread-safe.
using ResourceDirFunction = std::function<std::string()>;
KSR_EXPORT void setResourceDirFunction(const ResourceDirFunction& function);
KSR_EXPORT std::string resourceDir();

}  // namespace KSR

// What a host creates to recognize with Vosk: a K_SRInterface (worker thread,
// signals) and a KSR_VoskManager (grammars, rules, commands, modes) at once.
//
// Construction finds the acoustic model (KALO_ACOUSTIC_MODEL_PATH, else
// beside the resource directory, see KSR::resourceDir), reads its sample
// rate from "mfcc.conf", initialises the manager and, only when that
// succeeded, binds the manager's grammar and mode callbacks to the signals.
// A failed initialisation leaves a usable object that recognizes nothing
// (isInitialized() is false).
//
// start() runs the capture loop in the worker thread: the microphone is read
// and resampled to mono 16-bit at the model's rate and every chunk goes to
// the Vosk engine. stop() ends it. By default the loop polls the capture
// device without sleeping, so the worker thread keeps one processor busy
// while listening; paced listening (setListeningPace) waits instead and also
// survives a lost microphone.
//
// Threads: the object lives in the thread that created it (see
// K_SRInterface). The host thread may call any manager operation while the
// worker recognizes. Results, hypotheses, failures, grammar and mode changes
// and the microphone's loss and return are emitted from the worker thread:
// call K_SRInterface::registerKSRTypes() and connect (queued, the default)
// to receivers on the host thread. openMicrophoneSetup() and the two
// microphone slots run in the host thread (directly or queued there); they
// stop the worker before touching the microphone and restart it afterwards.
class KSR_EXPORT K_VoskInterface : public K_SRInterface, public KSR_VoskManager {
    Q_OBJECT
public:
    // The host's microphone dialog: shows `device` and `frequency` (hertz),
    // writes the user's choice back into them and answers whether to apply it.
    using MicrophoneSetupFunction = std::function<bool(K_VoskInterface*, std::string& device, int& frequency)>;

    // A listening pace that keeps audio flowing in 10 ms frames.
    static constexpr int RecommendedListeningPace = 10;

    explicit K_VoskInterface(QWidget* parent);
    ~K_VoskInterface() override;
    K_VoskInterface(const K_VoskInterface&) = delete;
    K_VoskInterface& operator=(const K_VoskInterface&) = delete;

    // The capture rates a host may offer: 16000, 44100, 48000 Hz.
    QList<int> availableFrequencies() const;
    // The capture device names, in the order the audio system gives them.
    std::list<std::string> availableMicrophones() const;
    void setMicrophoneSetupFunction(const MicrophoneSetupFunction& function);

    // Paced listening, a host setting. 0 (the default) polls the microphone
    // without ever waiting. A pace of N milliseconds (RecommendedListeningPace
    // is 10) lets a pass of the capture loop that finds less than one 10 ms
    // frame waiting wait until the next frame is due, never longer than N ms,
    // so that listening to silence costs almost nothing. stop() still ends
    // the loop at once. Paced listening also notices a lost microphone
    // (microphoneDisconnected), keeps retrying it about once a second while
    // listening, and resumes with the same device and rates when it is back
    // (microphoneReconnected); a microphone that cannot be opened when
    // listening starts takes the same path. Thread-safe; a listening worker
    // follows a change at its next pass. Negative values count as 0.
    void setListeningPace(int milliseconds);
    int listeningPace() const;

    // How much audio the microphone keeps while the listening thread is held
    // up (a final result, a grammar rebuild, a busy machine); what arrives
    // while it is full is lost, and the log says so. Half a second by
    // default; RecommendedMicrophoneBuffer (4000 ms) rides out a stall of a
    // few seconds for a little memory and no latency. Takes effect when the
    // microphone next opens; false (and no change) below 100 ms.
    static constexpr int RecommendedMicrophoneBuffer = 4000;
    bool setMicrophoneBuffer(int milliseconds);
    int microphoneBuffer() const;

    // Silence skipping, a host setting, off by default. Decoding quiet costs
    // the recognizers as much processor time as decoding speech (a third to
    // a half of a core), so a host that listens all day may let them skip
    // it: after three seconds without speech the recognizers end their
    // utterances (all together, so they also start the next one together)
    // and stop hearing the microphone; the first speech brings them back
    // with the half second of audio before it, so no word loses its
    // beginning. Only what they would have made of long quiet is lost. With
    // paced listening the listening thread then takes about one percent of
    // a core while nobody speaks. Thread-safe; a listening worker follows a
    // change with its next chunk.
    void setSilenceSkipping(bool on);
    bool silenceSkipping() const;

    // The acoustic model folder that construction found (empty when none),
    // and why no model is in use (empty when one is), for a host to show.
    std::string acousticModelPath() const;
    std::string acousticModelProblem() const;

    // K_SRInterface::start(), after looking up in this (the host's) thread
    // the microphone name that the run's microphone signals carry: the
    // device the host chose, else the system default's name. The worker then
    // need not ask the audio system for it while the host lists the
    // microphones (as a listeningStarted handler may). A worker that is
    // still running keeps the name it started with; without a model nothing
    // is looked up (the worker ends at once).
    void start() override;

    // Stops a running interface, asks the host function and applies its
    // answer (emitting microphoneDeviceChanged and microphoneFrequencyChanged),
    // then restarts. False only without a function.
    bool openMicrophoneSetup() override;
    bool openVoiceTraining() override;
    // Slots of K_SRInterface: the capture loop and its end.
    void speechRecognitionStarted() override;
    void speechRecognitionEnded() override;

    // The manager's reporting operations, turned into signals.
    void processRecognition(KSR::SRData data) override;
    void processRecognitionFailed() override;
    void processHypothesis(KSR::SRData data) override;

public slots:
    // Switches capture to another device (restarting a running interface);
    // an empty or unchanged name is ignored. No signal is emitted.
    void microphoneDeviceChangedSlot(QString device);
    // Switches the capture rate (16000, 48000, anything else 44100 Hz),
    // restarting a running interface; negative values are ignored.
    void microphoneFrequencyChangedSlot(int freq);

signals:
    void dictationActivated(bool activated);
    void numeralsModeActivated(bool activated);
    void spellingModeActivated(bool activated);
    void capitalsModeActivated(bool activated);
    void microphoneDeviceChanged(QString device);
    void microphoneFrequencyChanged(int frequency);
    // Paced listening only: the microphone `device` was lost (or could not be
    // opened when listening started); the recognizers dropped what they had
    // heard and the device is tried again about once a second. Exactly one of
    // microphoneReconnected (the device is back) or listeningStopped (the run
    // ended while it was gone) follows.
    void microphoneDisconnected(QString device);
    // Paced listening only: `device` is open again and listening goes on.
    void microphoneReconnected(QString device);

protected:
    // Called in the worker thread while it listens. A subclass that
    // overrides any of these (or the slots above) stops the interface in
    // its own destructor: by the time this class's destructor stops the
    // worker, the subclass's part is gone and a call into it would reach a
    // destroyed object.
    virtual void dictationChanged(bool activated);
    virtual void numeralsModeChanged(bool activated);
    virtual void spellingModeChanged(bool activated);
    virtual void capitalsModeChanged(bool activated);

    // The microphone, for subclasses that inspect or tune it while stopped.
    AudioDevice* audioDevice() const;

private:
    friend class CaptureRun;

    std::string findModelPath();
    void readSampleFrequency(const QString& configFile);
    void bindManagerCallbacks();
    // Whether the worker is listening or about to: the microphone may only
    // be touched by the host after stopping it.
    bool isListeningOrStarting() const;

    MicrophoneSetupFunction microphoneSetupFunction;
    std::unique_ptr<AudioDevice> audio;
    // Written by start() while no worker runs, read by the worker as its
    // loop begins (QThread::start orders the two).
    std::string m_startMicrophoneName;
    std::atomic<int> m_listeningPace;
    std::atomic<bool> m_silenceSkipping;
    std::string m_modelPath;
    std::string m_modelProblem;
    // False from the thread's finish until the next start has either entered
    // the capture loop or declined to; covers the moment between start()
    // and the loop setting `active`.
    std::atomic<bool> m_startSettled;
};

#endif
