#ifndef KSR_TESTS_LIFECYCLE_RECORDER_H
#define KSR_TESTS_LIFECYCLE_RECORDER_H

// Records an interface's lifecycle signals as they reach the host thread
// (queued connections to a receiver living there), in arrival order.

#include <QObject>

#include <string>
#include <vector>

#include "k_sr_interface.h"

class LifecycleRecorder : public QObject {
public:
    explicit LifecycleRecorder(K_SRInterface& iface)
    {
        K_SRInterface::registerKSRTypes();
        connect(&iface, &K_SRInterface::listeningStarted, this, [this] { m_events.push_back("started"); });
        connect(&iface, &K_SRInterface::listeningStopped, this,
                [this](K_SRInterface::ListeningEnd how) { m_events.push_back(std::string("stopped:") + name(how)); });
    }

    const std::vector<std::string>& events() const { return m_events; }

    static const char* name(K_SRInterface::ListeningEnd how)
    {
        switch (how) {
        case K_SRInterface::ListeningEnd::Stopped:
            return "Stopped";
        case K_SRInterface::ListeningEnd::Failed:
            return "Failed";
        case K_SRInterface::ListeningEnd::Terminated:
            return "Terminated";
        }
        return "?";
    }

private:
    std::vector<std::string> m_events;
};

#endif
