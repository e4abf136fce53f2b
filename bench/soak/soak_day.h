#ifndef KSR_BENCH_SOAK_DAY_H
#define KSR_BENCH_SOAK_DAY_H

// The soak's second phase: a compressed working day fed faster than real time
// through KSR_VoskManager and the real libvosk. Blocks of commands (a focus
// change before every one, keys, noise, long quiet)
// alternate with blocks of dictation (formatting phrases, numerals, spelling,
// capitals). Every minute of audio commands are added and removed, every
// minute and a half the confidence thresholds change, every two and a half
// minutes listening is stopped and started. Every utterance's reports are
// compared with what it must bring.
//
// The schedule is random but fixed: it starts again from the same seed at
// every report, so every hour hears the same audio and asks the same of the
// module, and the hours' costs can be compared.

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Soak {

struct DayOptions {
    double hours = 8.0;
    double reportSeconds = 3600.0;  // a row every this much audio
    unsigned seed = 20261124;
    std::string modelDir;
    std::vector<std::string> clipDirs;  // searched in order for every clip
    double chunkSeconds = 0.02;         // what a capture loop hands over at a time
    // The early end of commands, as a desktop host sets it (0: the module's
    // default, off). It also holds dictated text while the command
    // recognizer decides; without it the words of a formatting phrase are
    // sometimes dictated as well, when the free recognizer ends the
    // utterance a chunk before the command recognizer.
    int fastCommands = 250;
};

struct Row {
    double audioHours = 0.0;   // audio heard at the end of the row
    double residentMiB = 0.0;  // VmRSS
    double heapMiB = 0.0;      // the allocator's bytes in use
    double realTimeFactor = 0.0;  // processor seconds per second of audio in the row
    long expected = 0;         // utterances that must bring a result or a key
    long received = 0;         // of those, brought exactly
    long lost = 0;             // brought nothing of what they must
    long unsure = 0;           // spelled clips the letters recognizer was unsure of (nothing brought)
    long wrong = 0;            // results that no utterance asked for, or with other ids or words
    long failures = 0;         // recognition-failed reports (not counted against the module)
    long commands = 0;         // commands registered at the end of the row
};

struct DayReport {
    bool ran = false;
    std::string whyNot;
    std::vector<Row> rows;
    // How often each kind of utterance and host change happened.
    std::map<std::string, long> counts;
};
// The clips the day says, by file name.
std::vector<std::string> dayClips();
// The kinds that `counts` holds once each has happened.
const std::vector<std::string>& dayKinds();

// `onRow` gets every row as it is made, `onMistake` every utterance that did
// not bring what it must, described, as it is judged.
DayReport runDay(const DayOptions& options, const std::function<void(const Row&)>& onRow,
                 const std::function<void(const std::string&)>& onMistake);

}  // namespace Soak

#endif
