// The host thread and the capture worker asking OpenAL for the capture
// devices at the same moment: the desktop program lists the microphones in
// its listeningStarted and microphoneDisconnected handlers, just when the
// worker looks the default device up or checks, about once a second, whether
// its lost microphone is listed again. OpenAL Soft answers from a
// process-wide buffer that every such query rebuilds, and so does the test
// double here; only the audio code's own lock keeps one thread from copying
// a list the other one is freeing. Run under ThreadSanitizer and
// AddressSanitizer, which report that copy; the names are checked too.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "fake_openal_fixture.h"

namespace {

// Enough rounds for the two threads' queries to overlap many times over,
// even on a loaded machine, and few enough for a sanitizer build.
const int kRounds = 4000;

const std::list<std::string> kMicrophones = {"Fake Microphone", "Fake Line In"};
const std::string kDefault = "Fake Microphone";

// Holds every thread back until all of them are ready, so that their loops
// really run side by side.
class StartLine {
public:
    explicit StartLine(int threads) : m_waiting(threads) {}

    void arrive()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (--m_waiting == 0)
            m_go.notify_all();
        else
            m_go.wait(lock, [this] { return m_waiting == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_go;
    int m_waiting;
};

class AudioDeviceThreads : public AudioOnFakeOpenAl {
protected:
    void SetUp() override
    {
        AudioOnFakeOpenAl::SetUp();
        modify([](FakeOpenAl::State& s) { s.recordCalls = false; });
    }

    // What the worker asks: the default device's name when listening starts,
    // the list while its microphone is gone.
    static void workerQueries(AudioDevice& audio, StartLine& start, std::atomic<int>& wrong)
    {
        start.arrive();
        for (int round = 0; round < kRounds; ++round) {
            if (audio.defaultCaptureDeviceName() != kDefault)
                ++wrong;
            if (audio.availableCaptureDevices() != kMicrophones)
                ++wrong;
        }
    }

    // What the host asks: the list, for its microphone menu.
    static void hostQueries(AudioDevice& audio, StartLine& start, std::atomic<int>& wrong)
    {
        start.arrive();
        for (int round = 0; round < kRounds; ++round)
            if (audio.availableCaptureDevices() != kMicrophones)
                ++wrong;
    }
};

}  // namespace

// One device shared by the host and the worker, as K_VoskInterface has it.
TEST_F(AudioDeviceThreads, HostAndWorkerListTheMicrophonesAtOnce)
{
    ASSERT_EQ(build(), "");
    StartLine start(2);
    std::atomic<int> wrong{0};
    std::thread worker(workerQueries, std::ref(*device), std::ref(start), std::ref(wrong));
    hostQueries(*device, start, wrong);
    worker.join();
    EXPECT_EQ(wrong.load(), 0);
}

// The buffers are OpenAL's, shared by the whole process: two devices, each
// used by one thread only (a host that probes with a device of its own while
// an interface listens), race just the same.
TEST_F(AudioDeviceThreads, TwoDevicesListTheMicrophonesAtOnce)
{
    ASSERT_EQ(build(), "");
    testing::internal::CaptureStderr();
    std::unique_ptr<AudioDevice> probe(new AudioDevice);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    StartLine start(3);
    std::atomic<int> wrong{0};
    std::thread worker(workerQueries, std::ref(*device), std::ref(start), std::ref(wrong));
    std::thread prober(hostQueries, std::ref(*probe), std::ref(start), std::ref(wrong));
    hostQueries(*device, start, wrong);
    worker.join();
    prober.join();
    EXPECT_EQ(wrong.load(), 0);
    probe.reset();
}

// The lists and the default name stay what a single thread gets.
// Longer names, and a default other than the first microphone.
TEST_F(AudioDeviceThreads, EachThreadGetsTheWholeList)
{
    const std::vector<std::string> names = {
        "A microphone with a rather long name, so that its list spans a few cache lines", "Line In",
        "USB Headset"};
    modify([&](FakeOpenAl::State& s) {
        s.captureDevices = names;
        s.defaultCaptureDevice = "USB Headset";
    });
    ASSERT_EQ(build(), "");
    const std::list<std::string> expected(names.begin(), names.end());
    StartLine start(2);
    std::atomic<int> wrong{0};
    auto ask = [&](bool withDefault) {
        start.arrive();
        for (int round = 0; round < kRounds; ++round) {
            if (withDefault && device->defaultCaptureDeviceName() != "USB Headset")
                ++wrong;
            if (device->availableCaptureDevices() != expected)
                ++wrong;
        }
    };
    std::thread worker(ask, true);
    ask(false);
    worker.join();
    EXPECT_EQ(wrong.load(), 0);
}
