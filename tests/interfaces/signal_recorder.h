#ifndef KSR_TESTS_SIGNAL_RECORDER_H
#define KSR_TESTS_SIGNAL_RECORDER_H

// Records every signal of a K_VoskInterface as it reaches the host thread
// (queued connections to a receiver living there), in arrival order, with
// whether it was delivered on the host thread.

#include <QElapsedTimer>
#include <QObject>
#include <QThread>

#include <string>
#include <vector>

#include "k_vosk_interface.h"

struct SignalEvent {
    enum Kind { Result, Hypothesis, Failure, Grammar, Dictation, Numerals, Spelling, Capitals } kind;
    KSR::SRData data;       // Result, Hypothesis
    KSR::GrammarId grammarId = KSR::InvalidGrammarId;  // Grammar
    bool on = false;        // Grammar and the modes
    bool onHostThread = false;
    qint64 atNs = 0;        // arrival, on the recorder's clock
};

class SignalRecorder : public QObject {
public:
    explicit SignalRecorder(K_VoskInterface& iface) : m_host(QThread::currentThread())
    {
        K_SRInterface::registerKSRTypes();
        m_clock.start();
        connect(&iface, &K_SRInterface::recognitionResult, this,
                [this](KSR::SRData data) { add(SignalEvent::Result, data); });
        connect(&iface, &K_SRInterface::hypothesisResult, this,
                [this](KSR::SRData data) { add(SignalEvent::Hypothesis, data); });
        connect(&iface, &K_SRInterface::recognitionFailed, this, [this] { add(SignalEvent::Failure); });
        connect(&iface, &K_SRInterface::grammarActivatedSignal, this, [this](KSR::GrammarId id, bool on) {
            add(SignalEvent::Grammar, KSR::SRData(), id, on);
        });
        connect(&iface, &K_VoskInterface::dictationActivated, this,
                [this](bool on) { add(SignalEvent::Dictation, KSR::SRData(), KSR::InvalidGrammarId, on); });
        connect(&iface, &K_VoskInterface::numeralsModeActivated, this,
                [this](bool on) { add(SignalEvent::Numerals, KSR::SRData(), KSR::InvalidGrammarId, on); });
        connect(&iface, &K_VoskInterface::spellingModeActivated, this,
                [this](bool on) { add(SignalEvent::Spelling, KSR::SRData(), KSR::InvalidGrammarId, on); });
        connect(&iface, &K_VoskInterface::capitalsModeActivated, this,
                [this](bool on) { add(SignalEvent::Capitals, KSR::SRData(), KSR::InvalidGrammarId, on); });
    }

    const std::vector<SignalEvent>& events() const { return m_events; }
    void clear() { m_events.clear(); }

    std::vector<SignalEvent> of(SignalEvent::Kind kind) const
    {
        std::vector<SignalEvent> out;
        for (const SignalEvent& event : m_events)
            if (event.kind == kind)
                out.push_back(event);
        return out;
    }
    std::vector<KSR::SRData> results() const
    {
        std::vector<KSR::SRData> out;
        for (const SignalEvent& event : of(SignalEvent::Result))
            out.push_back(event.data);
        return out;
    }
    std::vector<std::string> texts() const
    {
        std::vector<std::string> out;
        for (const KSR::SRData& data : results())
            out.push_back(data.text);
        return out;
    }
    bool allOnHostThread() const
    {
        for (const SignalEvent& event : m_events)
            if (!event.onHostThread)
                return false;
        return true;
    }
    qint64 nowNs() const { return m_clock.nsecsElapsed(); }

private:
    void add(SignalEvent::Kind kind, const KSR::SRData& data = KSR::SRData(),
             KSR::GrammarId id = KSR::InvalidGrammarId, bool on = false)
    {
        SignalEvent event{kind, data, id, on, QThread::currentThread() == m_host, m_clock.nsecsElapsed()};
        m_events.push_back(event);
    }

    QThread* m_host;
    QElapsedTimer m_clock;
    std::vector<SignalEvent> m_events;
};

#endif
