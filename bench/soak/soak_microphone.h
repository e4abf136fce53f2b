#ifndef KSR_BENCH_SOAK_MICROPHONE_H
#define KSR_BENCH_SOAK_MICROPHONE_H

// The soak's third phase: the Qt host interface listening to a private
// virtual microphone in real time, paced and skipping silence, while the host
// thread starts and stops it every few seconds and the microphone is pulled
// out and put back. Clips of known commands play into the microphone all the
// time; what counts is the listening lifecycle (every start followed by
// exactly one listeningStopped, every disconnect by a reconnect or a stop)
// and that no result is wrong.
//
// Runs on the calling thread, which must be the thread of the
// QApplication that the caller created; it spins that thread's events.

#include <string>

namespace Soak {

struct MicrophoneOptions {
    double minutes = 3.0;       // real-time minutes of listening
    std::string modelDir;       // the acoustic model
    std::string audioDir;       // the shared clips
    unsigned seed = 1;          // the schedule of starts, stops and unplugs
};

struct MicrophoneReport {
    bool ran = false;           // false: the phase could not run (whyNot says why)
    std::string whyNot;
    int startsAsked = 0;        // start() calls by the host
    int stopsAsked = 0;         // stop() calls by the host
    int started = 0;            // listeningStarted signals
    int stopped = 0;            // listeningStopped signals
    int unpairedStarts = 0;     // starts not followed by exactly one listeningStopped
    int endsNotStopped = 0;     // listeningStopped saying Failed or Terminated rather than Stopped
    int unplugs = 0;            // times the microphone was pulled out while listening
    int disconnects = 0;        // microphoneDisconnected signals
    int reconnects = 0;         // microphoneReconnected signals
    int disconnectsUnanswered = 0;  // disconnects followed by neither a reconnect nor a stop
    int clipsPlayed = 0;
    int clipsHeardWhole = 0;    // clips played entirely inside a listening window with the microphone in
    int commandsHeard = 0;      // recognitionResult signals of an expected command
    int wrongResults = 0;       // recognitionResult signals of anything else
    double seconds = 0.0;       // wall time of the phase

    bool ok() const
    {
        return ran && unpairedStarts == 0 && endsNotStopped == 0 && disconnectsUnanswered == 0 && wrongResults == 0;
    }
};

MicrophoneReport runMicrophonePhase(const MicrophoneOptions& options);

}  // namespace Soak

#endif
