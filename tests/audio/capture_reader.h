#ifndef KSR_TESTS_AUDIO_CAPTURE_READER_H
#define KSR_TESTS_AUDIO_CAPTURE_READER_H

// Polls an AudioDevice the way the recognition loop does and keeps every
// 16-bit sample it hands out.

#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "audio/audio_device.h"

struct CaptureReader {
    std::vector<std::int16_t> samples;
    int reads = 0;  // reads that returned data

    // One read; false when nothing was waiting.
    bool readOnce(AudioDevice& device)
    {
        const char* data = device.readSamples();
        if (!data)
            return false;
        // A resampling read may hand out no frame yet while the filter fills.
        const std::size_t count = device.readBytes() / sizeof(std::int16_t);
        const std::size_t old = samples.size();
        samples.resize(old + count);
        if (count > 0)
            std::memcpy(samples.data() + old, data, count * sizeof(std::int16_t));
        ++reads;
        return true;
    }

    // Reads every 5 ms for the given time.
    void readFor(AudioDevice& device, std::chrono::milliseconds duration)
    {
        const auto end = std::chrono::steady_clock::now() + duration;
        while (std::chrono::steady_clock::now() < end) {
            readOnce(device);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    // Samples a second of wall time once capture runs steadily: reads for
    // `warmUp` first, so that what the server gathered before the first
    // read (it may hand a burst over at once, more of it on a busy machine)
    // is left out, then measures over `duration`.
    double steadyRate(AudioDevice& device, std::chrono::milliseconds warmUp, std::chrono::milliseconds duration)
    {
        readFor(device, warmUp);
        const std::size_t before = samples.size();
        const auto begin = std::chrono::steady_clock::now();
        readFor(device, duration);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        return static_cast<double>(samples.size() - before) / seconds;
    }
};

#endif
