#ifndef KSR_CLIP_CHECK_RUN_H
#define KSR_CLIP_CHECK_RUN_H

// One run of ksr-clip-check: a fresh session set up for a mode, the clip
// heard after a lead-in drawn from the run's seed, and the signals a host
// would have received for it written down as the run's outcome.

#include <cstdint>
#include <string>
#include <vector>

#include "check_plan.h"

namespace ClipCheck {

struct ClipAudio {
    std::string name;  // file name, e.g. "num_3400.wav"
    std::string path;
    std::vector<std::int16_t> samples;  // 16 kHz mono
};

// Reads a 16 kHz mono sound file (what the model and the virtual
// microphone take; the clips are made that way). False with `error` set.
bool readClip(const std::string& path, ClipAudio& clip, std::string& error);

// The clips that set a session up before the clip under test is heard.
struct Preludes {
    const ClipAudio* closeWindow = nullptr;    // lines dictation up
    const ClipAudio* startSpelling = nullptr;  // switches spelling on by voice
    // Heard after the set-up and before the clip under test (--after), as
    // when a test hears two clips in a row; the next clip follows once it
    // brought a signal.
    const ClipAudio* before = nullptr;
};
bool modeNeedsCloseWindow(Mode mode);
bool modeNeedsStartSpelling(Mode mode);

struct RunResult {
    // The signals the host got for the clip, in order, "; "-separated;
    // "(nothing)" when none came. Signals after the 1.8 s that follow the
    // clip (up to 3 s) are added after "late:". A set-up step that did not
    // happen is named first, in brackets.
    std::string outcome;
    int failures = 0;         // failure signals, not part of the outcome
    std::string chunking;     // its name
    std::string conditions;   // lead-in, chunking: for --verbose
    std::string error;        // the session could not be set up
};

RunResult runClip(const std::string& modelPath, const ClipAudio& clip, const Preludes& preludes, Mode mode,
                  bool earlyEnd, std::uint64_t seed, const Chunking& chunking);

}  // namespace ClipCheck

#endif
