#ifndef KSR_TESTS_AUDIO_FAKE_OPENAL_FIXTURE_H
#define KSR_TESTS_AUDIO_FAKE_OPENAL_FIXTURE_H

// An AudioDevice on the OpenAL test double (tests/support/fake_openal.h).
// Every test ends with the double's books clean: each device opened is
// closed, each context created is destroyed, no call used a handle after its
// end, and no context is left current.

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "audio/audio_device.h"
#include "fake_openal.h"

using Strings = std::vector<std::string>;

class AudioOnFakeOpenAl : public testing::Test {
protected:
    void SetUp() override { FakeOpenAl::reset(); }

    void TearDown() override
    {
        if (device)
            destroy();
        EXPECT_EQ(FakeOpenAl::openHandles(), Strings{});
        EXPECT_EQ(FakeOpenAl::misuses(), Strings{});
        EXPECT_EQ(FakeOpenAl::currentContext(), "null");
    }

    // Builds the device and returns what its construction wrote.
    std::string build()
    {
        testing::internal::CaptureStderr();
        device.reset(new AudioDevice);
        return testing::internal::GetCapturedStderr();
    }

    // Destroys the device and returns what its teardown wrote.
    std::string destroy()
    {
        testing::internal::CaptureStderr();
        device.reset();
        return testing::internal::GetCapturedStderr();
    }

    // Runs `action` and returns what it wrote.
    template <typename F>
    std::string written(F action)
    {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    template <typename F>
    static void modify(F change)
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        change(FakeOpenAl::state());
    }

    static std::vector<FakeOpenAl::CaptureDevice> captures() { return FakeOpenAl::captureDevices(); }

    std::unique_ptr<AudioDevice> device;
};

// A device capturing from cap1 with the default settings (44100 Hz mono, no
// resampling).
class CapturingOnFakeOpenAl : public AudioOnFakeOpenAl {
protected:
    void SetUp() override
    {
        AudioOnFakeOpenAl::SetUp();
        EXPECT_EQ(build(), "");
        ASSERT_TRUE(device->startCapture());
    }
};

#endif
