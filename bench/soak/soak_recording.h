#ifndef KSR_BENCH_SOAK_RECORDING_H
#define KSR_BENCH_SOAK_RECORDING_H

// The soak's first phase: a long recording transcribed in the memory of a
// shorter one. The day's clips, with quiet between them, are written into a
// recording of half the length and one of the whole length, and ksr-demo
// --wav hears each in a child process of its own; the peak resident memory of
// the two (the kernel's account of the child) must not differ by more than
// a few per cent, since the demo reads files block by block.

#include <string>
#include <vector>

namespace Soak {

struct RecordingOptions {
    double minutes = 40.0;            // the long recording; the short one has half
    std::string demoProgram;          // ksr-demo
    std::string modelDir;
    std::vector<std::string> clipDirs;
    std::vector<std::string> clips;   // what the recordings say, in turn
    unsigned seed = 1;
};

struct RecordingReport {
    bool ran = false;
    std::string whyNot;
    double shortMinutes = 0.0, longMinutes = 0.0;
    double shortPeakMiB = 0.0, longPeakMiB = 0.0;
    double ratio() const { return shortPeakMiB > 0.0 ? longPeakMiB / shortPeakMiB : 0.0; }
};

RecordingReport runRecordingPhase(const RecordingOptions& options);

}  // namespace Soak

#endif
