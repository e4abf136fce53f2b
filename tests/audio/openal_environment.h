#ifndef KSR_TESTS_AUDIO_OPENAL_ENVIRONMENT_H
#define KSR_TESTS_AUDIO_OPENAL_ENVIRONMENT_H

// OpenAL Soft reads its driver list and configuration once, at the first
// OpenAL call of the process. Each audio test program therefore fixes its
// environment while static objects are built, before any test runs:
//
//   static const bool environment = OpenAlEnvironment::offline();
//
// and every test of that program sees the same audio back end, whether the
// tests run in one process or in one process each.

#include <cstdio>
#include <cstdlib>
#include <string>

namespace OpenAlEnvironment {

// OpenAL's "null" back end: an output device that plays nowhere, no capture.
inline bool offline()
{
    ::setenv("ALSOFT_DRIVERS", "null", 1);
    return true;
}

// Only the PulseAudio back end, pointed at a socket where no server listens:
// OpenAL then has no device at all.
inline bool noAudioServer()
{
    ::setenv("ALSOFT_DRIVERS", "pulse", 1);
    ::setenv("PULSE_SERVER", "unix:/nonexistent-ksr-audio-server/native", 1);
    return true;
}

// Adds an OpenAL configuration file holding `text` (ALSOFT_CONF).
inline bool withConfig(const std::string& text)
{
    char path[] = "/tmp/ksr-alsoft-XXXXXX";
    const int fd = ::mkstemp(path);
    if (fd < 0)
        return false;
    std::FILE* file = ::fdopen(fd, "w");
    if (!file)
        return false;
    std::fputs(text.c_str(), file);
    std::fclose(file);
    ::setenv("ALSOFT_CONF", path, 1);
    // OpenAL reads the file on its first call; remove it at exit.
    static std::string remove = path;
    std::atexit([] { std::remove(remove.c_str()); });
    return true;
}

}  // namespace OpenAlEnvironment

#endif
