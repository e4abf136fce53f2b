#ifndef KSR_TESTS_AUDIO_VIRTUAL_MIC_H
#define KSR_TESTS_AUDIO_VIRTUAL_MIC_H

// The tests' side of scripts/virtual_mic.sh: a private PulseAudio server
// whose default source "vmic" returns whatever is played into the sink
// "vspk". ctest starts it once for all audio tests (fixture "virtual_mic");
// by hand:
//   VIRTUAL_MIC_DIR=<dir> scripts/virtual_mic.sh start
// with <dir> the one the tests were built with (KSR_VIRTUAL_MIC_DIR) or the
// same VIRTUAL_MIC_DIR in the tests' environment.
//
// A program using it calls VirtualMic::configure() while static objects are
// built (OpenAL reads its environment once), and each test starts with
// KSR_REQUIRE_VIRTUAL_MIC(): a missing server skips the test, or fails it
// under CI (CI=true).

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "test_data.h"

namespace VirtualMic {

inline std::string dir() { return TestData::envOr("VIRTUAL_MIC_DIR", KSR_VIRTUAL_MIC_DIR); }

inline bool configure()
{
    const std::string where = dir();
    ::setenv("VIRTUAL_MIC_DIR", where.c_str(), 1);
    ::setenv("PULSE_SERVER", ("unix:" + where + "/native").c_str(), 1);
    ::setenv("ALSOFT_DRIVERS", "pulse", 1);
    return true;
}

inline bool running()
{
    struct stat info;
    return ::stat((dir() + "/native").c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// Standard output of a shell command (run with the C locale).
inline std::string run(const std::string& command)
{
    std::string output;
    std::FILE* pipe = ::popen(("LC_ALL=C " + command + " 2>/dev/null").c_str(), "r");
    if (!pipe)
        return output;
    char chunk[4096];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
        output.append(chunk, got);
    ::pclose(pipe);
    return output;
}

// Plays a sound file into the microphone; returns once it has been played.
inline bool play(const std::string& clip)
{
    const std::string command = std::string("'") + KSR_VIRTUAL_MIC_SCRIPT + "' play '" + clip + "' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

inline std::string trim(const std::string& text)
{
    const auto begin = text.find_first_not_of(" \t\r\n");
    const auto end = text.find_last_not_of(" \t\r\n");
    return begin == std::string::npos ? std::string() : text.substr(begin, end - begin + 1);
}

inline std::string defaultSource() { return trim(run("pactl get-default-source")); }

// Name of the source with the given index ("vmic", "vspk.monitor").
inline std::string sourceName(const std::string& index)
{
    std::istringstream lines(run("pactl list short sources"));
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string number, name;
        fields >> number >> name;
        if (number == index)
            return name;
    }
    return std::string();
}

// A recording stream on the server.
struct Stream {
    std::string id;          // "Source Output #<id>"
    std::string source;      // source index
    std::string sampleSpec;  // "s16le 1ch 44100Hz"
    std::string processId;
};

// The recording streams that this process has open.
inline std::vector<Stream> ourStreams()
{
    std::vector<Stream> all;
    std::istringstream lines(run("pactl list source-outputs"));
    std::string line;
    while (std::getline(lines, line)) {
        const std::string text = trim(line);
        if (text.rfind("Source Output #", 0) == 0) {
            all.push_back(Stream());
            all.back().id = text.substr(15);
        } else if (!all.empty() && text.rfind("Source: ", 0) == 0) {
            all.back().source = text.substr(8);
        } else if (!all.empty() && text.rfind("Sample Specif", 0) == 0) {
            all.back().sampleSpec = text.substr(22);
        } else if (!all.empty() && text.rfind("application.process.id = \"", 0) == 0) {
            all.back().processId = text.substr(26, text.size() - 27);
        }
    }
    std::vector<Stream> ours;
    for (const Stream& stream : all)
        if (stream.processId == std::to_string(::getpid()))
            ours.push_back(stream);
    return ours;
}

}  // namespace VirtualMic

#define KSR_REQUIRE_VIRTUAL_MIC()                                                                  \
    do {                                                                                           \
        if (!VirtualMic::running()) {                                                              \
            if (TestData::underCi())                                                               \
                FAIL() << "virtual microphone not running in " << VirtualMic::dir();              \
            else                                                                                   \
                GTEST_SKIP() << "virtual microphone not running; start it with VIRTUAL_MIC_DIR="   \
                             << VirtualMic::dir() << " scripts/virtual_mic.sh start";             \
        }                                                                                          \
    } while (0)

#endif
