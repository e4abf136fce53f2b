#ifndef KSR_TESTS_TEST_DATA_H
#define KSR_TESTS_TEST_DATA_H

// Where the shared model and audio clips are. KSR_TEST_MODEL and
// KSR_TEST_AUDIO override the defaults (../shared beside the repository).
// When the data is missing a test skips with the reason, except under CI
// (CI=true), where missing data is a failure.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace TestData {

inline std::string envOr(const char* name, const std::string& fallback)
{
    const char* value = std::getenv(name);
    return (value && *value) ? std::string(value) : fallback;
}

inline std::string modelPath() { return envOr("KSR_TEST_MODEL", KSR_SHARED_DIR "/models/en-us-synth"); }
inline std::string audioDir() { return envOr("KSR_TEST_AUDIO", KSR_SHARED_DIR "/audio"); }
inline std::string clip(const std::string& name) { return audioDir() + "/" + name; }

inline bool exists(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

inline bool underCi()
{
    const char* ci = std::getenv("CI");
    return ci && std::string(ci) == "true";
}

}  // namespace TestData

// Skips the test (fails it under CI) when `path` does not exist.
#define KSR_REQUIRE_DATA(path)                                                             \
    do {                                                                                   \
        const std::string ksrDataPath_ = (path);                                           \
        if (!TestData::exists(ksrDataPath_)) {                                             \
            if (TestData::underCi())                                                       \
                FAIL() << "shared test data missing under CI: " << ksrDataPath_;           \
            else                                                                           \
                GTEST_SKIP() << "shared test data missing: " << ksrDataPath_               \
                             << " (set KSR_TEST_MODEL / KSR_TEST_AUDIO)";                  \
        }                                                                                  \
    } while (0)

#endif
