#ifndef KSR_BENCH_VOSK_CALL_METER_H
#define KSR_BENCH_VOSK_CALL_METER_H

// Measures the CPU time spent inside libvosk's recognizer calls, so that a
// run of the engine can be split into the library's work and the engine's
// own (JSON reading, locks, copies, callbacks). The benchmark is linked with
// --wrap for those calls (see CMakeLists.txt); the wrappers only read the
// clock while metering is on, so the timed comparisons are not disturbed.

namespace Bench {

void startMetering();
// CPU seconds inside libvosk since startMetering; metering stops.
double stopMetering();

// The same time by call, for finding where a difference lies.
enum Call { AcceptWaveform, Result, PartialResult, FinalResult, NewGrammar, Free, CallKinds };
struct CallSplit {
    double seconds[CallKinds] = {};
    long calls[CallKinds] = {};
};
// The split of the last metered stretch.
CallSplit lastSplit();
const char* callName(int call);

}  // namespace Bench

#endif
