#ifndef KSR_CAPTURE_RUN_H
#define KSR_CAPTURE_RUN_H

#include <chrono>
#include <string>
#include <vector>

#include "interfaces/silence_gate.h"

class AudioDevice;
class K_VoskInterface;

namespace Vosk {
class Engine;
}

// One listening run of K_VoskInterface's capture loop, in the worker thread:
// from the capture opened by speechRecognitionStarted until stop().
//
// Each pass follows the interface's listening pace. Pace 0 polls: every
// pass reads whatever the microphone holds, without ever waiting, and a
// microphone that could not be opened leaves the loop turning without work
// until stopped. A pace of N ms waits when less than one 10 ms frame is
// waiting, until the next frame is due and never longer than N ms; it also
// watches the device: a lost microphone is closed, the recognizers drop the
// half-heard utterance, and the device is tried again about once a second
// until it opens (microphoneDisconnected, microphoneReconnected).
// With silence skipping on, the recognizers hear the audio through a
// SilenceGate, which holds back the long quiet between utterances.
class CaptureRun {
public:
    CaptureRun(K_VoskInterface& iface, AudioDevice& audio, Vosk::Engine& engine);

    // Runs passes until the interface is stopped. `captureOpen` is what
    // opening the microphone gave; `startName` is the name the microphone
    // signals carry until the device reopens, as the host thread looked it
    // up when it started listening (K_VoskInterface::start).
    void run(bool captureOpen, const std::string& startName);

private:
    void pollingPass();
    void pacedPass(int paceMs);
    void readAndFeed();
    // Hands the engine every whole 10 ms frame gathered so far.
    void feed(const char* data, int bytes);
    void microphoneGone();
    void retryMicrophone();
    bool microphoneListed() const;
    std::string microphoneName() const;

    K_VoskInterface& m_iface;
    AudioDevice& m_audio;
    Vosk::Engine& m_engine;
    const int m_frameBytes;
    std::vector<char> m_pending;
    // Used while the interface skips silence.
    SilenceGate m_gate;
    // Paced listening: the microphone is gone and retried at m_nextRetry.
    bool m_microphoneGone;
    std::chrono::steady_clock::time_point m_nextRetry;
    // The name the microphone signals carry: the device the host chose, or
    // the system default's name when it last opened.
    std::string m_deviceName;
};

#endif
