#ifndef KSR_TOOLS_HOST_RECOGNIZER_H
#define KSR_TOOLS_HOST_RECOGNIZER_H

#include <string>

#include "k_vosk_interface.h"

// The module's Vosk interface with the few readings the host programs show
// that the interface keeps to its subclasses.
class HostRecognizer : public K_VoskInterface {
public:
    explicit HostRecognizer(QWidget* parent) : K_VoskInterface(parent) {}

    // The microphone's name (the system default when none was chosen) and
    // the rate it is captured at, in hertz (read while stopped).
    std::string captureDevice() const;
    int captureFrequency() const;
    // The dictation threshold in per cent (the manager sets it, but only the
    // engine tells it).
    int dictationRequiredConfidence();
};

#endif
