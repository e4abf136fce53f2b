// K_SapiInterface: construction with and without a host window, the two
// dialogs, and the worker thread that switches the recognizer on, polls the
// engine and turns its results into signals.
//
// The worker thread emits; QSignalSpy records each signal in that thread
// (a direct connection), and an EmissionGate connected after each spy lets
// the test wait for emissions. The gate's lock orders every spy's record
// before the test reads it, in a way ThreadSanitizer sees. One test also
// takes the signals through queued connections to the test's thread, as a
// host does.

#include <QCoreApplication>
#include <QSignalSpy>
#include <QWidget>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "k_sapi_interface.h"
#include "sapi_test.h"
#include "sr_data_compare.h"

using SapiFakes::Utterance;
namespace Script = SapiFakes::Script;

// Re-emits an interface's signals in the thread it lives in (the test's),
// through queued connections that carry the records across threads.
class SignalRelay : public QObject {
    Q_OBJECT
public:
    explicit SignalRelay(K_SRInterface* source)
    {
        connect(source, &K_SRInterface::recognitionResult, this, &SignalRelay::recognitionResult,
                Qt::QueuedConnection);
        connect(source, &K_SRInterface::grammarActivatedSignal, this, &SignalRelay::grammarActivatedSignal,
                Qt::QueuedConnection);
    }

signals:
    void recognitionResult(KSR::SRData data);
    void grammarActivatedSignal(KSR::GrammarId gId, bool activated);
};

namespace {

// Counts emissions in the emitting thread and lets the test wait for them.
class EmissionGate {
public:
    enum Signal { Result, Hypothesis, Failure, Switch, SignalCount };

    void connectTo(K_SRInterface* source)
    {
        QObject::connect(source, &K_SRInterface::recognitionResult, [this](KSR::SRData) { note(Result); });
        QObject::connect(source, &K_SRInterface::hypothesisResult, [this](KSR::SRData) { note(Hypothesis); });
        QObject::connect(source, &K_SRInterface::recognitionFailed, [this]() { note(Failure); });
        QObject::connect(source, &K_SRInterface::grammarActivatedSignal,
                         [this](KSR::GrammarId, bool) { note(Switch); });
    }
    // Waits up to five seconds until `signal` was emitted `count` times in
    // all; true when it was.
    bool waitFor(Signal signal, int count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(5), [&] { return m_counts[signal] >= count; });
    }
    int count(Signal signal)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_counts[signal];
    }

private:
    void note(Signal signal)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            ++m_counts[signal];
        }
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_counts[SignalCount] = {};
};

// The interface as a host may extend it: the worker thread's start is where
// a Windows host initialises COM for that thread before the loop runs. The
// flags tell the test where the worker thread is; they also order the
// worker's last steps before the test's next ones in a way ThreadSanitizer
// sees (QThread::wait synchronises through Qt's own, uninstrumented mutex).
class ObservedInterface : public K_SapiInterface {
public:
    using K_SapiInterface::K_SapiInterface;
    void speechRecognitionStarted() override
    {
        K_SapiInterface::speechRecognitionStarted();
        returned = true;
    }
    void speechRecognitionEnded() override
    {
        // Gives stop() time to be waiting for the thread, so that the
        // thread's end reaches the test through QThread's wait condition (a
        // pthread one, which ThreadSanitizer follows) and not only through
        // Qt's futex-based mutex, which it cannot see.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        K_SapiInterface::speechRecognitionEnded();
        ended = true;
    }
    std::atomic<bool> returned{false};
    std::atomic<bool> ended{false};
};

KSR::SRData recordOf(const QList<QVariant>& arguments)
{
    return arguments.at(0).value<KSR::SRData>();
}

bool eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 1000 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return condition();
}

class SapiInterface : public SapiTest {
protected:
    void SetUp() override { K_SRInterface::registerKSRTypes(); }
    void TearDown() override
    {
        destroy();
        SapiTest::TearDown();
    }

    // The interface with its spies; all connected before the thread starts.
    ObservedInterface& make(QWidget* parent = nullptr)
    {
        sr = std::make_unique<ObservedInterface>(parent);
        results = std::make_unique<QSignalSpy>(sr.get(), &K_SRInterface::recognitionResult);
        hypotheses = std::make_unique<QSignalSpy>(sr.get(), &K_SRInterface::hypothesisResult);
        failures = std::make_unique<QSignalSpy>(sr.get(), &K_SRInterface::recognitionFailed);
        switches = std::make_unique<QSignalSpy>(sr.get(), &K_SRInterface::grammarActivatedSignal);
        gate.connectTo(sr.get());
        return *sr;
    }
    void destroy()
    {
        results.reset();
        hypotheses.reset();
        failures.reset();
        switches.reset();
        sr.reset();
    }
    // Starts the worker thread and waits until its loop polls the engine.
    void startAndWaitForPolling()
    {
        const int before = world.context()->getEventsCalls();
        switchesBeforeStart = gate.count(EmissionGate::Switch);
        sr->ended = false;
        sr->start();
        ASSERT_TRUE(eventually([&] { return world.context()->getEventsCalls() >= before + 2; }))
            << "the worker thread does not poll";
    }
    // Stops the worker thread and waits until it has ended its loop.
    void stop()
    {
        sr->stop();
        EXPECT_TRUE(eventually([&] { return sr->ended.load(); }));
    }
    // The grammar switches the start causes: the two recognizer state
    // changes the constructor's threshold setting left queued switch the
    // grammars that were on (the activation keys' and `others` more) off
    // and on again. Only once they are on again does the recognizer hear
    // their words.
    void waitForStartSwitches(int others)
    {
        const int expected = switchesBeforeStart + 2 * (1 + others);
        ASSERT_TRUE(gate.waitFor(EmissionGate::Switch, expected)) << gate.count(EmissionGate::Switch);
        // And no more.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ASSERT_EQ(gate.count(EmissionGate::Switch), expected);
    }

    std::unique_ptr<ObservedInterface> sr;
    std::unique_ptr<QSignalSpy> results;
    std::unique_ptr<QSignalSpy> hypotheses;
    std::unique_ptr<QSignalSpy> failures;
    std::unique_ptr<QSignalSpy> switches;
    EmissionGate gate;
    int switchesBeforeStart = 0;
};

}  // namespace

TEST_F(SapiInterface, WithoutParentThereIsNoHostWindow)
{
    K_SapiInterface& sapi = make();
    EXPECT_EQ(sapi.hostWindow(), WId(0));
    EXPECT_TRUE(sapi.isInitialized());
    EXPECT_NE(sapi.engine(), nullptr);
    EXPECT_FALSE(sapi.isActive());
    EXPECT_NE(qobject_cast<K_SapiInterface*>(&sapi), nullptr);
    EXPECT_STREQ(K_SapiInterface::staticMetaObject.className(), "K_SapiInterface");
}

TEST_F(SapiInterface, HostWindowIsTheParentsTopLevelWindow)
{
    QWidget top;
    QWidget* child = new QWidget(&top);
    K_SapiInterface& sapi = make(child);
    EXPECT_NE(sapi.hostWindow(), WId(0));
    EXPECT_EQ(sapi.hostWindow(), top.winId());
    clearCalls();
    EXPECT_TRUE(sapi.openMicrophoneSetup());
    EXPECT_TRUE(sapi.openVoiceTraining());
    const std::string owner = SapiFakes::hex(static_cast<unsigned long long>(top.winId()));
    EXPECT_EQ(calls(), (std::vector<std::string>{
                           "Recognizer.IsUISupported(MicTraining, null, 0)",
                           "Recognizer.DisplayUI(" + owner + ", null, MicTraining, null, 0)",
                           "Recognizer.IsUISupported(UserTraining, null, 0)",
                           "Recognizer.DisplayUI(" + owner + ", null, UserTraining, null, 0)",
                       }));
    destroy();
}

TEST_F(SapiInterface, WithoutParentTheDialogsOpenWithNoOwnerWhichOpensNothing)
{
    K_SapiInterface& sapi = make();
    clearCalls();
    EXPECT_TRUE(sapi.openMicrophoneSetup());
    EXPECT_TRUE(sapi.openVoiceTraining());
    EXPECT_EQ(calls(), (std::vector<std::string>{"Recognizer.IsUISupported(MicTraining, null, 0)",
                                                 "Recognizer.IsUISupported(UserTraining, null, 0)"}));
}

TEST_F(SapiInterface, DialogSapiDoesNotAnswerForIsNotOpened)
{
    QWidget top;
    K_SapiInterface& sapi = make(&top);
    clearCalls();
    Script::failAlways("Recognizer.IsUISupported", E_NOTIMPL);
    EXPECT_FALSE(sapi.openMicrophoneSetup());
    EXPECT_FALSE(sapi.openVoiceTraining());
    EXPECT_TRUE(callsOf("Recognizer.DisplayUI").empty());
    destroy();
}

TEST_F(SapiInterface, WithoutEngineTheDialogsFailAndNothingOpens)
{
    Script::failOnce("CoCreateInstance(SpInprocRecognizer).create", REGDB_E_CLASSNOTREG);
    K_SapiInterface& sapi = make();
    EXPECT_FALSE(sapi.isInitialized());
    EXPECT_EQ(sapi.engine(), nullptr);
    clearCalls();
    EXPECT_FALSE(sapi.openVoiceTraining());
    EXPECT_FALSE(sapi.openMicrophoneSetup());
    EXPECT_TRUE(calls().empty());
}

TEST_F(SapiInterface, WithoutEngineTheThreadStartsAndStopsWithoutALoop)
{
    Script::failOnce("CoCreateInstance(SpInprocRecognizer).create", REGDB_E_CLASSNOTREG);
    ObservedInterface& sapi = make();
    sapi.start();
    ASSERT_TRUE(eventually([&] { return sapi.returned.load(); }));
    EXPECT_FALSE(sapi.isActive());
    stop();
    EXPECT_FALSE(sapi.isActive());
    EXPECT_FALSE(sapi.workerThread()->isRunning());
}

TEST_F(SapiInterface, StartSwitchesRecognizerAndKeysOnThePollingLoopStopSwitchesThemOff)
{
    K_SapiInterface& sapi = make();
    clearCalls();
    startAndWaitForPolling();
    EXPECT_TRUE(sapi.isActive());
    const auto started = calls();
    ASSERT_GE(started.size(), 3u);
    EXPECT_EQ(started[0], "Recognizer.GetRecoState");
    EXPECT_EQ(started[1], "Grammar[100].SetGrammarState(SPGS_ENABLED)");
    EXPECT_EQ(started[2], "Grammar[100].SetRuleState(null, null, SPRS_ACTIVE)");
    waitForStartSwitches(0);

    stop();
    EXPECT_FALSE(sapi.isActive());
    EXPECT_FALSE(sapi.workerThread()->isRunning());
    EXPECT_EQ(world.recognizer()->recoState(), SPRST_INACTIVE);
    EXPECT_EQ(world.grammar(100)->grammarState(), SPGS_DISABLED);
    const auto stopped = calls();
    const std::vector<std::string> tail(stopped.end() - 4, stopped.end());
    EXPECT_EQ(tail, (std::vector<std::string>{"Grammar[100].SetGrammarState(SPGS_DISABLED)",
                                              "Grammar[100].SetRuleState(null, null, SPRS_INACTIVE)",
                                              "Recognizer.GetRecoState", "Recognizer.SetRecoState(SPRST_INACTIVE)"}));
}

TEST_F(SapiInterface, IdlePollingIsPacedByTheNotificationEvent)
{
    make();
    startAndWaitForPolling();
    waitForStartSwitches(0);
    const int before = world.context()->getEventsCalls();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const int polls = world.context()->getEventsCalls() - before;
    // About one poll per idle wait of 50 ms; a spinning loop makes
    // thousands.
    EXPECT_GE(polls, 1);
    EXPECT_LE(polls, 30);
    stop();
}

TEST_F(SapiInterface, RecognitionHypothesisAndFailureArriveAsSignals)
{
    K_SapiInterface& sapi = make();
    const KSR::GrammarId grammar = sapi.addCommandGrammar("");
    const KSR::RuleId rule = sapi.addRule(grammar, "Commands");
    ASSERT_EQ(sapi.addCommand(rule, "open file"), 0);
    ASSERT_TRUE(sapi.setActivated(grammar, true));
    startAndWaitForPolling();
    waitForStartSwitches(1);
    ASSERT_EQ(world.say(Utterance("open file").withHypotheses()), SPEI_RECOGNITION);
    ASSERT_EQ(world.say("paint the fence"), SPEI_FALSE_RECOGNITION);
    ASSERT_TRUE(gate.waitFor(EmissionGate::Failure, 1));
    ASSERT_EQ(hypotheses->count(), 1);
    ASSERT_EQ(results->count(), 1);
    EXPECT_EQ(failures->count(), 1);
    EXPECT_EQ(recordOf(hypotheses->at(0)), KSR::srData(grammar, rule, 0, "open"));
    EXPECT_EQ(recordOf(results->at(0)), KSR::srData(grammar, rule, 0, "open file"));
    stop();
}

TEST_F(SapiInterface, ARecordWithCommandIdMinusOneIsEmittedLikeAnyOther)
{
    K_SapiInterface& sapi = make();
    const KSR::GrammarId grammar = sapi.addDictationGrammar("");
    ASSERT_TRUE(sapi.setActivated(grammar, true));
    startAndWaitForPolling();
    waitForStartSwitches(1);
    ASSERT_EQ(world.say("dear sir"), SPEI_RECOGNITION);
    ASSERT_TRUE(gate.waitFor(EmissionGate::Result, 1));
    EXPECT_EQ(recordOf(results->at(0)), KSR::srData(grammar, 0, -1, "dear sir"));
    stop();
}

TEST_F(SapiInterface, SayingAKeyEmitsTheGrammarSwitchesAndNoResult)
{
    K_SapiInterface& sapi = make();
    const KSR::GrammarId north = sapi.addCommandGrammar("north");
    const KSR::GrammarId south = sapi.addCommandGrammar("south");
    ASSERT_TRUE(sapi.setActivated(south, true));
    startAndWaitForPolling();
    waitForStartSwitches(1);
    const int before = gate.count(EmissionGate::Switch);

    ASSERT_EQ(world.say("north"), SPEI_RECOGNITION);
    ASSERT_TRUE(gate.waitFor(EmissionGate::Switch, before + 2));
    EXPECT_EQ(switches->at(before).at(0).value<KSR::GrammarId>(), north);
    EXPECT_TRUE(switches->at(before).at(1).toBool());
    EXPECT_EQ(switches->at(before + 1).at(0).value<KSR::GrammarId>(), south);
    EXPECT_FALSE(switches->at(before + 1).at(1).toBool());
    stop();
    EXPECT_EQ(results->count(), 0);
    // Stopped, the recognizer no longer listens.
    EXPECT_EQ(world.say("south"), SPEI_UNDEFINED);
}

TEST_F(SapiInterface, HostSwitchingAGrammarIsEmittedToo)
{
    K_SapiInterface& sapi = make();
    const KSR::GrammarId grammar = sapi.addCommandGrammar("");
    const int before = switches->count();
    ASSERT_TRUE(sapi.setActivated(grammar, true));
    ASSERT_EQ(switches->count(), before + 1);
    EXPECT_EQ(switches->at(before).at(0).value<KSR::GrammarId>(), grammar);
    EXPECT_TRUE(switches->at(before).at(1).toBool());
}

TEST_F(SapiInterface, RecognizerSwitchedOffElsewhereSwitchesTheGrammarsOffAndBack)
{
    K_SapiInterface& sapi = make();
    const KSR::GrammarId grammar = sapi.addCommandGrammar("");
    ASSERT_TRUE(sapi.setActivated(grammar, true));
    startAndWaitForPolling();
    waitForStartSwitches(1);
    const int before = gate.count(EmissionGate::Switch);

    ASSERT_TRUE(world.context()->pushStateChange(SPRST_INACTIVE));
    ASSERT_TRUE(gate.waitFor(EmissionGate::Switch, before + 2));
    EXPECT_EQ(world.grammar(grammar)->grammarState(), SPGS_DISABLED);
    ASSERT_TRUE(world.context()->pushStateChange(SPRST_ACTIVE));
    ASSERT_TRUE(gate.waitFor(EmissionGate::Switch, before + 4));
    EXPECT_EQ(world.grammar(grammar)->grammarState(), SPGS_ENABLED);
    EXPECT_EQ(switches->at(before + 1).at(0).value<KSR::GrammarId>(), grammar);
    EXPECT_FALSE(switches->at(before + 1).at(1).toBool());
    EXPECT_EQ(switches->at(before + 3).at(0).value<KSR::GrammarId>(), grammar);
    EXPECT_TRUE(switches->at(before + 3).at(1).toBool());
    stop();
}

TEST_F(SapiInterface, RestartingPollsAgain)
{
    K_SapiInterface& sapi = make();
    startAndWaitForPolling();
    stop();
    startAndWaitForPolling();
    EXPECT_TRUE(sapi.isActive());
    stop();
    EXPECT_FALSE(sapi.isActive());
}

TEST_F(SapiInterface, DestructionStopsARunningInterface)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the destructor's wait for the worker synchronises through Qt's uninstrumented mutex";
#endif
    make();
    startAndWaitForPolling();
    EXPECT_TRUE(sr->workerThread()->isRunning());
    destroy();
    // Everything the interface held is gone: TearDown checks the objects.
    EXPECT_EQ(world.recognizer(), nullptr);
}

// As a host receives them: queued to its own thread, the records carried by
// the registered meta-types.
TEST_F(SapiInterface, SignalsReachTheHostThreadThroughQueuedConnections)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "Qt's event queue is not instrumented: ThreadSanitizer cannot follow queued delivery";
#endif
    K_SapiInterface& sapi = make();
    const KSR::GrammarId grammar = sapi.addCommandGrammar("");
    const KSR::RuleId rule = sapi.addRule(grammar, "Commands");
    ASSERT_EQ(sapi.addCommand(rule, "open file"), 0);
    ASSERT_TRUE(sapi.setActivated(grammar, true));
    SignalRelay relay(&sapi);
    QCoreApplication::processEvents();
    QSignalSpy hostResults(&relay, &SignalRelay::recognitionResult);
    startAndWaitForPolling();
    waitForStartSwitches(1);
    ASSERT_EQ(world.say("open file"), SPEI_RECOGNITION);
    ASSERT_TRUE(hostResults.wait(5000));
    EXPECT_EQ(recordOf(hostResults.at(0)), KSR::srData(grammar, rule, 0, "open file"));
    stop();
}

#include "test_k_sapi_interface.moc"

// A command with arguments: the values of its slots travel with the record,
// to the worker thread's signal and through a queued connection alike.
TEST_F(SapiInterface, ACommandsArgumentsArriveWithItsResult)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "Qt's event queue is not instrumented: ThreadSanitizer cannot follow queued delivery";
#endif
    K_SapiInterface& sapi = make();
    const KSR::GrammarId grammar = sapi.addCommandGrammar("");
    const KSR::RuleId rule = sapi.addRule(grammar, "Commands");
    ASSERT_TRUE(sapi.setList("colours", {{"dark red", "#8b0000"}}));
    ASSERT_EQ(sapi.addCommandPattern(rule, "turn <colour:list colours> [<times:number 1..9> times]"), 0);
    ASSERT_TRUE(sapi.setActivated(grammar, true));
    SignalRelay relay(&sapi);
    QCoreApplication::processEvents();
    QSignalSpy hostResults(&relay, &SignalRelay::recognitionResult);
    startAndWaitForPolling();
    waitForStartSwitches(1);
    ASSERT_EQ(world.say(SapiFakes::Utterance("turn dark red three times").wordConfidences({1.0f, 0.9f, 0.8f, 0.7f})),
              SPEI_RECOGNITION);
    ASSERT_TRUE(hostResults.wait(5000));
    ASSERT_EQ(results->count(), 1);
    for (const KSR::SRData& record : {recordOf(results->at(0)), recordOf(hostResults.at(0))}) {
        EXPECT_EQ(record, KSR::srData(grammar, rule, 0, "turn dark red three times"));
        ASSERT_EQ(record.arguments.size(), 2u);
        EXPECT_EQ(record.arguments[0].name, "colour");
        EXPECT_EQ(record.arguments[0].type, KSR::SlotType::List);
        EXPECT_EQ(record.arguments[0].text, "#8b0000");
        EXPECT_EQ(record.arguments[0].words, "dark red");
        EXPECT_EQ(record.arguments[0].confidence, 80);
        EXPECT_EQ(record.arguments[1].name, "times");
        EXPECT_EQ(record.arguments[1].number, 3);
        EXPECT_EQ(record.arguments[1].firstWord, 3u);
        EXPECT_EQ(record.arguments[1].confidence, 70);
    }
    stop();
}
