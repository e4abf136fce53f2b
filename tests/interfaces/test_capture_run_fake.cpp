// The capture loop's handling of its microphone, on the OpenAL and libvosk
// test doubles: a scripted disconnect and return instead of an audio server
// stopped and started, so every step is certain and the tests take as long
// as the loop's own retry interval. Also stop() called from the worker.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QWidget>

#include <algorithm>
#include <mutex>

#include "fake_openal.h"
#include "fake_vosk.h"
#include "interface_test_support.h"
#include "lifecycle_recorder.h"
#include "microphone_watch.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

const char* const kMicrophone = "Fake Microphone";

class CaptureRunFake : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        FakeOpenAl::reset();
        FakeVosk::reset();
        {
            std::lock_guard<std::mutex> lock(FakeVosk::mutex());
            FakeVosk::state().vocabulary = {"north", "literal"};
        }
        ASSERT_TRUE(writeModelFolder(folder.path() + "/model", "conf/mfcc.conf", "--sample-frequency=16000\n"));
        setModelVariable(folder.path() + "/model");
        K_SRInterface::registerKSRTypes();
        iface.reset(new CountingInterface(&host));
        ASSERT_TRUE(iface->isInitialized());
        iface->addDictationGrammar("");
        iface->addCommandGrammar("north");
        iface->setListeningPace(K_VoskInterface::RecommendedListeningPace);
        watch.reset(new MicrophoneWatch(*iface));
        lifecycle.reset(new LifecycleRecorder(*iface));
    }

    void TearDown() override
    {
        if (iface)
            iface->stop();
        watch.reset();
        lifecycle.reset();
        iface.reset();
    }

    // The microphone belongs to the worker while it listens: the tests look
    // at it through the lifecycle and the double's books, not the device.
    void listen()
    {
        iface->start();
        ASSERT_TRUE(waitFor([&] { return iface->isListening() && capturing(); }));
    }

    static bool capturing()
    {
        for (const FakeOpenAl::CaptureDevice& device : FakeOpenAl::captureDevices())
            if (device.open && device.started)
                return true;
        return false;
    }

    static void unlist(const std::string& name)
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        auto& devices = FakeOpenAl::state().captureDevices;
        devices.erase(std::remove(devices.begin(), devices.end(), name), devices.end());
    }

    static void relist(const std::string& name)
    {
        std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
        FakeOpenAl::state().captureDevices.push_back(name);
    }

    // Unplugs the open microphone: it reports itself disconnected and leaves
    // the device list.
    void unplug()
    {
        unlist(kMicrophone);
        ASSERT_TRUE(FakeOpenAl::disconnect());
        ASSERT_TRUE(waitFor([&] { return watch->events().size() == 1; }));
    }

    bool reconnected() const
    {
        const auto events = watch->events();
        return events.size() == 2 && events[1].connected;
    }

    QTemporaryDir folder;
    QWidget host;
    std::unique_ptr<CountingInterface> iface;
    std::unique_ptr<MicrophoneWatch> watch;
    std::unique_ptr<LifecycleRecorder> lifecycle;
};

}  // namespace

TEST_F(CaptureRunFake, ALostMicrophoneIsClosedSignalledAndOpenedAgainWhenItIsBack)
{
    listen();
    CaptureStderr();
    unplug();
    EXPECT_FALSE(watch->events()[0].connected);
    EXPECT_EQ(watch->events()[0].device, kMicrophone);
    ASSERT_TRUE(waitFor([&] { return !capturing(); }));
    // Not listed: not opened, however often the loop looks.
    pumpEvents(1500);
    EXPECT_EQ(watch->events().size(), 1u);
    relist(kMicrophone);
    ASSERT_TRUE(waitFor([&] { return reconnected(); }, 3000));
    EXPECT_EQ(watch->events()[1].device, kMicrophone);
    EXPECT_TRUE(capturing());
    EXPECT_EQ(GetCapturedStderr(),
              "Microphone \"Fake Microphone\" is not available; listening goes on and tries it again about once a "
              "second\n"
              "Microphone \"Fake Microphone\" is back\n");
    // The device was reopened with the same rate and format.
    const std::vector<FakeOpenAl::CaptureDevice> devices = FakeOpenAl::captureDevices();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_FALSE(devices[0].open);
    EXPECT_TRUE(devices[1].open);
    EXPECT_EQ(devices[1].frequency, devices[0].frequency);
    EXPECT_EQ(devices[1].format, devices[0].format);
    EXPECT_EQ(lifecycle->events(), (std::vector<std::string>{"started"}));
}

TEST_F(CaptureRunFake, AMicrophoneThatFailsToOpenAgainIsRetriedAboutOnceASecond)
{
    listen();
    unplug();
    FakeOpenAl::script(FakeOpenAl::Call::CaptureOpenDevice, {FakeOpenAl::fail(ALC_INVALID_VALUE)});
    relist(kMicrophone);
    // The first retry fails to open; the next one, a second later, succeeds.
    ASSERT_TRUE(waitFor([&] { return reconnected(); }, 4000));
    const auto events = watch->events();
    EXPECT_GE(events[1].atMs - events[0].atMs, 1800);
    EXPECT_EQ(FakeOpenAl::captureDevices().size(), 2u);
}

TEST_F(CaptureRunFake, ARunThatEndsWhileTheMicrophoneIsGoneEndsWithListeningStopped)
{
    listen();
    unplug();
    iface->stop();
    ASSERT_TRUE(waitFor([&] { return lifecycle->events().size() == 2; }));
    // No reconnect: listeningStopped is the end of the story.
    EXPECT_EQ(lifecycle->events(), (std::vector<std::string>{"started", "stopped:Stopped"}));
    EXPECT_EQ(watch->events().size(), 1u);
    for (const std::string& handle : FakeOpenAl::openHandles())
        EXPECT_EQ(handle.rfind("cap", 0), std::string::npos) << handle;
}

TEST_F(CaptureRunFake, PollingWhileTheMicrophoneIsGoneStillRetriesIt)
{
    listen();
    unplug();
    // The host switches to polling while the microphone is gone.
    iface->setListeningPace(0);
    const double before = threadCpuSeconds("ksr-listener");
    pumpEvents(1200);
    const double spent = threadCpuSeconds("ksr-listener") - before;
    // Waiting, not turning: far below the 1.2 s a spinning loop takes.
    EXPECT_LT(spent, 0.3);
    relist(kMicrophone);
    ASSERT_TRUE(waitFor([&] { return reconnected(); }, 3000));
    EXPECT_TRUE(capturing());
}

TEST_F(CaptureRunFake, StopFromTheWorkerThreadEndsTheLoopWithoutTermination)
{
    // A host slot connected directly to a worker signal calls stop().
    const QMetaObject::Connection stopAtStart = QObject::connect(
        iface.get(), &K_SRInterface::listeningStarted, iface.get(), [this] { iface->stop(); }, Qt::DirectConnection);
    QElapsedTimer clock;
    clock.start();
    iface->start();
    ASSERT_TRUE(waitFor([&] { return lifecycle->events().size() == 2; }, 1500))
        << "the worker waited for itself";
    EXPECT_EQ(lifecycle->events(), (std::vector<std::string>{"started", "stopped:Stopped"}));
    EXPECT_LT(clock.elapsed(), 1500);
    EXPECT_FALSE(iface->isListening());
    EXPECT_FALSE(capturing());
    // And it starts again as after any stop.
    QObject::disconnect(stopAtStart);
    listen();
}
