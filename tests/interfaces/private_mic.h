#ifndef KSR_TESTS_PRIVATE_MIC_H
#define KSR_TESTS_PRIVATE_MIC_H

// A virtual microphone (scripts/virtual_mic.sh) of a test program's own, in
// its own folder, for tests that stop and start the audio server or pull
// the microphone out: the shared microphone of the other tests must stay up.
// The programs that use it run one at a time (ctest lock "private_mic").
//
// configure() points this process's audio at it while static objects are
// built (OpenAL reads its environment once).

#include <cstdlib>
#include <string>

#include "test_data.h"

namespace PrivateMic {

inline std::string dir() { return KSR_PRIVATE_MIC_DIR; }

inline bool configure()
{
    ::setenv("VIRTUAL_MIC_DIR", dir().c_str(), 1);
    ::setenv("PULSE_SERVER", ("unix:" + dir() + "/native").c_str(), 1);
    ::setenv("ALSOFT_DRIVERS", "pulse", 1);
    return true;
}

// Runs the script with one command (and an argument), quietly.
inline bool script(const std::string& command, const std::string& argument = "")
{
    const std::string line = "VIRTUAL_MIC_DIR='" + dir() + "' '" KSR_VIRTUAL_MIC_SCRIPT "' " + command +
                             (argument.empty() ? "" : " '" + argument + "'") + " >/dev/null 2>&1";
    return std::system(line.c_str()) == 0;
}

inline bool start() { return script("start"); }
inline bool stop() { return script("stop"); }
inline bool unplug() { return script("unplug"); }
inline bool plug() { return script("plug"); }
inline bool play(const std::string& clip) { return script("play", TestData::clip(clip)); }

}  // namespace PrivateMic

#endif
