// A host application's ordinary Qt uses of the interface, each of which
// must take effect: a timer and a button connected to start() and stop()
// with Qt's default connection, a lambda with the interface as its context,
// the microphone slots invoked through QMetaObject::invokeMethod (queued,
// from the host thread and from another thread), and deleteLater() while
// listening. Real libvosk and the shared model, clips handed over by the
// OpenAL test double (what is tested is the host's Qt use, not real time),
// signals received on the host thread.
#include <gtest/gtest.h>

#include <QEventLoop>
#include <QPushButton>
#include <QTimer>

#include <thread>

#include "lifecycle_recorder.h"
#include "mic_session.h"

namespace {

using Events = std::vector<std::string>;

class HostUsage : public MicSession {
protected:
    void SetUp() override
    {
        MicSession::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        lifecycle.reset(new LifecycleRecorder(*iface));
        const ClipCommands commands = addClipCommands(*iface);
        grammar = commands.grammar;
        rule = commands.rule;
        recorder->clear();
    }
    void TearDown() override
    {
        lifecycle.reset();
        MicSession::TearDown();
    }

    // The host's event loop runs until listening began and capture delivers
    // the microphone's quiet lead-in.
    bool listeningBegins()
    {
        return waitFor([&] { return iface && iface->isListening(); }) && leadIn();
    }

    std::unique_ptr<LifecycleRecorder> lifecycle;
    KSR::GrammarId grammar = KSR::InvalidGrammarId;
    KSR::RuleId rule = KSR::InvalidRuleId;
};

}  // namespace

TEST_F(HostUsage, ATimerStartsAndAButtonStopsListening)
{
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, iface.get(), &K_SRInterface::start);
    QPushButton stopButton("Stop listening", &host);
    QObject::connect(&stopButton, &QPushButton::clicked, iface.get(), &K_SRInterface::stop);

    timer.start(50);
    ASSERT_TRUE(listeningBegins());
    ASSERT_TRUE(hearResult("cmd_select_all.wav"));
    EXPECT_EQ(recorder->results(), (std::vector<KSR::SRData>{{grammar, rule, 0, "select all"}}));

    stopButton.click();
    EXPECT_FALSE(iface->isActive());
    EXPECT_FALSE(iface->workerThread()->isRunning());
    EXPECT_TRUE(waitFor([&] { return lifecycle->events() == Events{"started", "stopped:Stopped"}; }));
    EXPECT_TRUE(recorder->allOnHostThread());
}

TEST_F(HostUsage, ALambdaWithTheInterfaceAsContextRunsOnTheHostThread)
{
    Qt::HANDLE ranOn = nullptr;
    QTimer::singleShot(20, iface.get(), [&] {
        ranOn = QThread::currentThreadId();
        iface->start();
    });
    ASSERT_TRUE(listeningBegins());
    EXPECT_EQ(ranOn, QThread::currentThreadId());
    ASSERT_TRUE(hearResult("cmd_close_window.wav"));
    EXPECT_EQ(recorder->results(), (std::vector<KSR::SRData>{{grammar, rule, 1, "close window"}}));
}

// Queued to the interface from the host thread: the slot runs there, stops
// the worker, changes the rate and starts listening again.
TEST_F(HostUsage, AFrequencyChangeInvokedQueuedTakesEffect)
{
    iface->microphoneFrequencyChangedSlot(16000);
    iface->start();
    ASSERT_TRUE(listeningBegins());
    ASSERT_TRUE(QMetaObject::invokeMethod(iface.get(), "microphoneFrequencyChangedSlot", Qt::QueuedConnection,
                                          Q_ARG(int, 48000)));
    ASSERT_TRUE(waitFor([&] { return iface->starts == 2 && iface->isListening(); }));
    EXPECT_EQ(iface->audioDevice()->frequency(false), 48000);
    ASSERT_TRUE(leadIn());
    ASSERT_TRUE(hearResult("cmd_select_all.wav"));
    EXPECT_EQ(recorder->results(), (std::vector<KSR::SRData>{{grammar, rule, 0, "select all"}}));
    EXPECT_EQ(lifecycle->events(), (Events{"started", "stopped:Stopped", "started"}));
}

// From a thread of the host's own (a network or scripting thread, say): the
// call is queued to the interface's thread, the host's, and runs there.
TEST_F(HostUsage, ADeviceChangeInvokedFromAnotherThreadTakesEffect)
{
    const std::string current = iface->audioDevice()->defaultCaptureDeviceName();
    std::string other;
    for (const std::string& name : iface->availableMicrophones())
        if (name != current)
            other = name;
    ASSERT_FALSE(other.empty()) << "the microphone double offers a second capture device";

    iface->start();
    ASSERT_TRUE(listeningBegins());
    bool invoked = false;
    std::thread caller([&] {
        invoked = QMetaObject::invokeMethod(iface.get(), "microphoneDeviceChangedSlot", Qt::QueuedConnection,
                                            Q_ARG(QString, QString::fromStdString(other)));
    });
    caller.join();
    ASSERT_TRUE(invoked);
    ASSERT_TRUE(waitFor([&] { return iface->starts == 2 && iface->isListening(); }));
    EXPECT_EQ(iface->audioDevice()->captureDeviceName(), other);
    ASSERT_TRUE(leadIn());
    ASSERT_TRUE(hearResult("cmd_close_window.wav"));
    EXPECT_EQ(recorder->results(), (std::vector<KSR::SRData>{{grammar, rule, 1, "close window"}}));
}

TEST_F(HostUsage, DeleteLaterWhileListeningStopsAndDeletesTheInterface)
{
    iface->start();
    ASSERT_TRUE(listeningBegins());
    QPointer<QThread> worker = iface->workerThread();
    QPointer<K_VoskInterface> watched = iface.get();
    lifecycle.reset();
    recorder.reset();
    // Deferred deletion happens in a running event loop, as in a host.
    QEventLoop loop;
    QObject::connect(watched.data(), &QObject::destroyed, &loop, &QEventLoop::quit);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    iface.release()->deleteLater();
    loop.exec();
    ASSERT_TRUE(watched.isNull());
    ASSERT_FALSE(worker.isNull());  // owned by the host widget
    EXPECT_FALSE(worker->isRunning());
}

// The recognizers repeat their partial result with every 10 ms chunk. With
// the on-change setting the host gets each change once instead.
TEST_F(HostUsage, HypothesesArriveOncePerChangeWhenAskedTo)
{
    const auto hypothesesOf = [&](const char* clip) {
        recorder->clear();
        EXPECT_TRUE(hearResult(clip));
        std::vector<KSR::SRData> heard;
        for (const SignalEvent& event : recorder->of(SignalEvent::Hypothesis))
            heard.push_back(event.data);
        return heard;
    };
    iface->start();
    ASSERT_TRUE(listeningBegins());
    const std::vector<KSR::SRData> flood = hypothesesOf("cmd_select_all.wav");
    EXPECT_GE(flood.size(), 10U);

    iface->setHypothesisOnChangeOnly(true);
    const std::vector<KSR::SRData> changes = hypothesesOf("cmd_close_window.wav");
    ASSERT_FALSE(changes.empty());
    EXPECT_LE(changes.size(), 4U);
    for (std::size_t i = 1; i < changes.size(); ++i)
        EXPECT_FALSE(changes[i] == changes[i - 1]) << "repeated: " << changes[i];
    EXPECT_EQ(changes.back(), (KSR::SRData{grammar, rule, 1, "close window"}));
    EXPECT_EQ(recorder->results(), (std::vector<KSR::SRData>{{grammar, rule, 1, "close window"}}));
}
