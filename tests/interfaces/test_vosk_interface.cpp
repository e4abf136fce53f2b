// K_VoskInterface on the libvosk and OpenAL test doubles, the latter set up
// as a machine without a microphone (an output device, no capture device):
// signals, the worker's loop and its end, the microphone set-up and the two
// microphone slots. Capture cannot open here, so the loop spins without
// audio, whatever audio the machine has; the tests with audio flowing are
// in test_vosk_interface_mic.cpp and test_capture_run_fake.cpp.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWidget>

#include <algorithm>

#include "fake_openal.h"
#include "fake_vosk.h"
#include "interface_test_support.h"
#include "log_capture.h"
#include "vosk_engine.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;


namespace {

// The test double's vocabulary: every word the tests' phrases use.
const std::set<std::string> kWords = {"open", "file", "close", "window", "north", "south", "literal", "force",
                                      "start", "stop", "spelling", "numerals", "capitals", "on", "off", "new",
                                      "line", "add", "space", "tab", "period", "comma", "colon", "semicolon",
                                      "quotation", "mark", "question", "exclamation", "parenthesis", "left",
                                      "right", "bracket", "brace"};

std::vector<std::string> fakeCalls() { return FakeVosk::calls(); }

class VoskInterfaceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        FakeOpenAl::reset();
        {
            std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
            FakeOpenAl::state().captureDevices.clear();
            FakeOpenAl::state().defaultCaptureDevice.clear();
            FakeOpenAl::state().recordCalls = false;  // the loop asks without end
        }
        FakeVosk::reset();
        {
            std::lock_guard<std::mutex> lock(FakeVosk::mutex());
            FakeVosk::state().vocabulary = kWords;
        }
        KSR::setResourceDirFunction({});
        ASSERT_TRUE(writeModelFolder(folder.path() + "/model", "conf/mfcc.conf", "--sample-frequency=16000\n"));
        setModelVariable(folder.path() + "/model");
    }

    void useNoModel() { setModelVariable(folder.path() + "/nothing-here"); }

    // Starts the worker and waits until its loop runs.
    static void startListening(CountingInterface& iface)
    {
        const int before = iface.starts;
        iface.start();
        ASSERT_TRUE(waitFor([&] { return iface.starts == before + 1 && iface.isActive(); }));
    }

    QTemporaryDir folder;
    QWidget host;
};

// A subclass whose mode override replaces the signal.
class QuietDictation : public K_VoskInterface {
public:
    QuietDictation() : K_VoskInterface(nullptr) {}
    ~QuietDictation() override { stop(); }
    std::vector<bool> seen;

protected:
    void dictationChanged(bool on) override { seen.push_back(on); }
};

}  // namespace

TEST_F(VoskInterfaceTest, AvailableFrequenciesAreAlways16000_44100_48000)
{
    CountingInterface iface(&host);
    EXPECT_EQ(iface.availableFrequencies(), (QList<int>{16000, 44100, 48000}));
    iface.microphoneFrequencyChangedSlot(16000);
    EXPECT_EQ(iface.availableFrequencies(), (QList<int>{16000, 44100, 48000}));
    useNoModel();
    CountingInterface uninitialized(&host);
    EXPECT_EQ(uninitialized.availableFrequencies(), (QList<int>{16000, 44100, 48000}));
}

TEST_F(VoskInterfaceTest, NoCaptureDeviceIsListedWithoutAMicrophone)
{
    CountingInterface iface(&host);
    EXPECT_TRUE(iface.availableMicrophones().empty());
}

TEST_F(VoskInterfaceTest, ConstructionInitialisesTheManagerWithThreshold90)
{
    LogCapture log;
    CountingInterface iface(&host);
    EXPECT_TRUE(iface.isInitialized());
    EXPECT_EQ(iface.getCommandRequiredConfidence(), 90);
    ASSERT_NE(iface.activationKeysGrammar(), nullptr);
    EXPECT_EQ(iface.activationKeysGrammar()->id(), 100U);
    EXPECT_TRUE(log.lines().empty());
    // The interface lives in the host's thread; its worker thread, which
    // runs only the loop, is owned by the host widget.
    EXPECT_EQ(iface.QObject::thread(), QThread::currentThread());
    EXPECT_NE(iface.workerThread(), QThread::currentThread());
    EXPECT_EQ(iface.workerThread()->parent(), &host);
    EXPECT_FALSE(iface.isActive());
}

TEST_F(VoskInterfaceTest, ManagerCallbacksBecomeSignalsInOrder)
{
    K_SRInterface::registerKSRTypes();
    CountingInterface iface(&host);
    QSignalSpy grammars(&iface, &K_SRInterface::grammarActivatedSignal);
    QSignalSpy dictation(&iface, &K_VoskInterface::dictationActivated);
    QSignalSpy numerals(&iface, &K_VoskInterface::numeralsModeActivated);
    QSignalSpy spelling(&iface, &K_VoskInterface::spellingModeActivated);
    QSignalSpy capitals(&iface, &K_VoskInterface::capitalsModeActivated);

    const KSR::GrammarId files = iface.addCommandGrammar("north");
    ASSERT_EQ(files, 101U);
    ASSERT_EQ(grammars.count(), 1);  // a new grammar is switched off
    EXPECT_EQ(grammars.at(0).at(0).value<KSR::GrammarId>(), files);
    EXPECT_FALSE(grammars.at(0).at(1).toBool());

    const KSR::GrammarId words = iface.addDictationGrammar("");
    ASSERT_TRUE(iface.setActivated(words, true));
    EXPECT_EQ(dictation.count(), 1);
    EXPECT_TRUE(dictation.at(0).at(0).toBool());
    ASSERT_EQ(grammars.count(), 3);
    EXPECT_EQ(grammars.at(2).at(0).value<KSR::GrammarId>(), words);
    EXPECT_TRUE(grammars.at(2).at(1).toBool());

    iface.setNumeralModeEnabled(true);
    iface.setSpellingModeEnabled(true);  // switches numerals off first
    iface.setCapitalsModeEnabled(true);
    ASSERT_EQ(numerals.count(), 2);
    EXPECT_TRUE(numerals.at(0).at(0).toBool());
    EXPECT_FALSE(numerals.at(1).at(0).toBool());
    ASSERT_EQ(spelling.count(), 1);
    EXPECT_TRUE(spelling.at(0).at(0).toBool());
    ASSERT_EQ(capitals.count(), 1);
    EXPECT_TRUE(capitals.at(0).at(0).toBool());

    // Dictation off also switches capitals off.
    ASSERT_TRUE(iface.setActivated(words, false));
    ASSERT_EQ(dictation.count(), 2);
    EXPECT_FALSE(dictation.at(1).at(0).toBool());
    ASSERT_EQ(capitals.count(), 2);
    EXPECT_FALSE(capitals.at(1).at(0).toBool());
}

TEST_F(VoskInterfaceTest, AFailedInitialisationBindsNoCallback)
{
    useNoModel();
    LogCapture log;
    CountingInterface iface(&host);
    EXPECT_FALSE(iface.isInitialized());
    QSignalSpy numerals(&iface, &K_VoskInterface::numeralsModeActivated);
    QSignalSpy grammars(&iface, &K_SRInterface::grammarActivatedSignal);
    // Numerals switch without an engine and call their callback: none is bound.
    iface.setNumeralModeEnabled(true);
    EXPECT_TRUE(iface.numeralModeEnabled());
    EXPECT_EQ(numerals.count(), 0);
    EXPECT_EQ(iface.addCommandGrammar(""), KSR::InvalidGrammarId);
    EXPECT_EQ(grammars.count(), 0);
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Engine: You need to set a valid model!",
                                                       "KSR_VoskManager should be properly initialized before "
                                                       "register a grammar!"}));
}

TEST_F(VoskInterfaceTest, ModeCallbacksGoThroughTheVirtuals)
{
    QuietDictation iface;
    QSignalSpy dictation(&iface, &K_VoskInterface::dictationActivated);
    const KSR::GrammarId words = iface.addDictationGrammar("");
    iface.setActivated(words, true);
    iface.setActivated(words, false);
    EXPECT_EQ(iface.seen, (std::vector<bool>{true, false}));
    EXPECT_EQ(dictation.count(), 0);
}

TEST_F(VoskInterfaceTest, ReportsBecomeSignalsCarryingACopy)
{
    K_SRInterface::registerKSRTypes();
    CountingInterface iface(&host);
    QSignalSpy results(&iface, &K_SRInterface::recognitionResult);
    QSignalSpy hypotheses(&iface, &K_SRInterface::hypothesisResult);
    QSignalSpy failures(&iface, &K_SRInterface::recognitionFailed);

    KSR::SRData data{101, 12, 3, "open file"};
    iface.processRecognition(data);
    data.text = "changed";
    iface.processHypothesis(KSR::SRData{101, 12, 0, "open"});
    iface.processRecognitionFailed();

    ASSERT_EQ(results.count(), 1);
    EXPECT_EQ(results.at(0).at(0).value<KSR::SRData>(), (KSR::SRData{101, 12, 3, "open file"}));
    ASSERT_EQ(hypotheses.count(), 1);
    EXPECT_EQ(hypotheses.at(0).at(0).value<KSR::SRData>(), (KSR::SRData{101, 12, 0, "open"}));
    EXPECT_EQ(failures.count(), 1);
}

TEST_F(VoskInterfaceTest, RoutedCommandsReachTheSignals)
{
    // The manager's routing calls the overrides: a phrase it does not know
    // is a failure, a hypothesis and a final command carry their ids.
    K_SRInterface::registerKSRTypes();
    CountingInterface iface(&host);
    QSignalSpy results(&iface, &K_SRInterface::recognitionResult);
    QSignalSpy hypotheses(&iface, &K_SRInterface::hypothesisResult);
    QSignalSpy failures(&iface, &K_SRInterface::recognitionFailed);
    const KSR::GrammarId files = iface.addCommandGrammar("");
    const KSR::RuleId rule = iface.addRule(files, "files");
    ASSERT_EQ(iface.addCommand(rule, "Open File"), 0);
    iface.setActivated(files, true);
    iface.startRecognizing();

    iface.commandRecognized("open file", KSR::Hypothesis);
    iface.commandRecognized("open file", KSR::Recognized);
    iface.commandRecognized("close window", KSR::Recognized);
    ASSERT_EQ(hypotheses.count(), 1);
    EXPECT_EQ(hypotheses.at(0).at(0).value<KSR::SRData>(), (KSR::SRData{files, rule, 0, "open file"}));
    ASSERT_EQ(results.count(), 1);
    EXPECT_EQ(results.at(0).at(0).value<KSR::SRData>(), (KSR::SRData{files, rule, 0, "open file"}));
    EXPECT_EQ(failures.count(), 1);
}

TEST_F(VoskInterfaceTest, VoiceTrainingIsNotOffered)
{
    CountingInterface iface(&host);
    EXPECT_FALSE(iface.openVoiceTraining());
}

TEST_F(VoskInterfaceTest, TheLoopRunsInTheWorkerAndEndsWithAFlush)
{
    CountingInterface iface(&host);
    // The literal keyword of the dictation grammar and a phrase to listen
    // for (the key) let the engine switch on.
    iface.addDictationGrammar("");
    iface.addCommandGrammar("north");
    startListening(iface);
    // The loop runs (`active`) a moment before it switches the engine on.
    ASSERT_TRUE(waitFor([&] { return iface.engine()->isActivated(); }));
    EXPECT_TRUE(iface.workerThread()->isRunning());
    EXPECT_TRUE(iface.activationKeysGrammar()->isActive());
    const std::vector<std::string> before = fakeCalls();
    EXPECT_EQ(std::count(before.begin(), before.end(), "final:Dictation"), 0);

    iface.stop();
    EXPECT_FALSE(iface.isActive());
    EXPECT_FALSE(iface.workerThread()->isRunning());
    EXPECT_EQ(iface.ends, 1);
    EXPECT_FALSE(iface.engine()->isActivated());
    // processFinalAudio asked the free recognizers for their final results.
    const std::vector<std::string> after = fakeCalls();
    EXPECT_EQ(std::count(after.begin(), after.end(), "final:Dictation"), 1);
    EXPECT_EQ(std::count(after.begin(), after.end(), "final:Spelling"), 1);
}

TEST_F(VoskInterfaceTest, TheActivationKeyGrammarIsOnOnlyWhileListening)
{
    // Without a dictation grammar the engine does not switch on, so ending
    // the thread leaves the key grammar off.
    CountingInterface iface(&host);
    EXPECT_FALSE(iface.activationKeysGrammar()->isActive());
    startListening(iface);
    EXPECT_TRUE(iface.activationKeysGrammar()->isActive());
    iface.stop();
    EXPECT_FALSE(iface.activationKeysGrammar()->isActive());
}

TEST_F(VoskInterfaceTest, EndingTheThreadWhenCaptureNeverOpenedStillStopsCapture)
{
    useNoModel();
    CountingInterface iface(&host);
    ASSERT_FALSE(iface.isInitialized());
    CaptureStderr();
    iface.start();
    // Without a manager the loop does not run, and the thread, whose life
    // is the loop's, ends at once.
    ASSERT_TRUE(waitFor([&] { return iface.starts == 1; }));
    EXPECT_FALSE(iface.isActive());
    EXPECT_TRUE(waitFor([&] { return !iface.workerThread()->isRunning(); }));
    iface.stop();
    const std::string errors = GetCapturedStderr();
    EXPECT_EQ(iface.ends, 1);
    // OpenAL's error for the null device: ALC_INVALID_DEVICE.
    EXPECT_EQ(errors, "Could not stop capturing device: a001\n");
    EXPECT_FALSE(iface.audioDevice()->isCapturing());
    EXPECT_FALSE(iface.isActive());
}

TEST_F(VoskInterfaceTest, StopRightAfterStartNeedsNoTermination)
{
    CountingInterface iface(&host);
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer timer;
        timer.start();
        iface.start();
        iface.stop();
        EXPECT_LT(timer.elapsed(), 1500) << "round " << i;
        EXPECT_FALSE(iface.workerThread()->isRunning());
        EXPECT_FALSE(iface.isActive());
    }
    EXPECT_EQ(iface.ends, 5);
}

TEST_F(VoskInterfaceTest, TheDestructorStopsARunningInterface)
{
    QPointer<QThread> worker;
    {
        CountingInterface iface(&host);
        worker = iface.workerThread();
        startListening(iface);
    }
    ASSERT_FALSE(worker.isNull());
    EXPECT_FALSE(worker->isRunning());
}

TEST_F(VoskInterfaceTest, MicrophoneSetupWithoutAFunctionIsNotOffered)
{
    CountingInterface iface(&host);
    EXPECT_FALSE(iface.openMicrophoneSetup());
}

TEST_F(VoskInterfaceTest, MicrophoneSetupShowsTheCurrentDeviceAndFrequency)
{
    CountingInterface iface(&host);
    iface.microphoneDeviceChangedSlot("Desk Microphone");
    iface.microphoneFrequencyChangedSlot(48000);
    std::string shownDevice;
    int shownFrequency = 0;
    K_VoskInterface* shownTo = nullptr;
    iface.setMicrophoneSetupFunction([&](K_VoskInterface* self, std::string& device, int& frequency) {
        shownTo = self;
        shownDevice = device;
        shownFrequency = frequency;
        return false;
    });
    EXPECT_TRUE(iface.openMicrophoneSetup());
    EXPECT_EQ(shownTo, &iface);
    EXPECT_EQ(shownDevice, "Desk Microphone");
    EXPECT_EQ(shownFrequency, 48000);
}

TEST_F(VoskInterfaceTest, MicrophoneSetupShowsTheDefaultDeviceWhenNoneWasChosen)
{
    CountingInterface iface(&host);
    std::string shownDevice = "unset";
    iface.setMicrophoneSetupFunction([&](K_VoskInterface*, std::string& device, int&) {
        shownDevice = device;
        return false;
    });
    EXPECT_TRUE(iface.openMicrophoneSetup());
    EXPECT_EQ(shownDevice, iface.audioDevice()->defaultCaptureDeviceName());
}

TEST_F(VoskInterfaceTest, MicrophoneSetupAnsweredNoChangesNothingAndRestarts)
{
    CountingInterface iface(&host);
    QSignalSpy devices(&iface, &K_VoskInterface::microphoneDeviceChanged);
    QSignalSpy frequencies(&iface, &K_VoskInterface::microphoneFrequencyChanged);
    iface.setMicrophoneSetupFunction([&](K_VoskInterface*, std::string& device, int& frequency) {
        device = "Other Microphone";
        frequency = 16000;
        return false;
    });
    startListening(iface);
    const int captureFrequency = iface.audioDevice()->frequency(false);

    EXPECT_TRUE(iface.openMicrophoneSetup());
    EXPECT_EQ(iface.ends, 1);
    ASSERT_TRUE(waitFor([&] { return iface.starts == 2 && iface.isActive(); }));
    EXPECT_EQ(devices.count(), 0);
    EXPECT_EQ(frequencies.count(), 0);
    EXPECT_EQ(iface.audioDevice()->captureDeviceName(), "");
    EXPECT_EQ(iface.audioDevice()->frequency(false), captureFrequency);
}

TEST_F(VoskInterfaceTest, MicrophoneSetupAppliesAndReportsWhatTheHostWroteBack)
{
    K_SRInterface::registerKSRTypes();
    CountingInterface iface(&host);
    QSignalSpy devices(&iface, &K_VoskInterface::microphoneDeviceChanged);
    QSignalSpy frequencies(&iface, &K_VoskInterface::microphoneFrequencyChanged);
    iface.setMicrophoneSetupFunction([&](K_VoskInterface*, std::string& device, int& frequency) {
        device = "Mikrofon \xc3\xbc";  // UTF-8
        frequency = 22050;
        return true;
    });
    startListening(iface);

    EXPECT_TRUE(iface.openMicrophoneSetup());
    ASSERT_TRUE(waitFor([&] { return iface.starts == 2 && iface.isActive(); }));
    ASSERT_EQ(devices.count(), 1);
    EXPECT_EQ(devices.at(0).at(0).toString(), QString::fromUtf8("Mikrofon \xc3\xbc"));
    ASSERT_EQ(frequencies.count(), 1);
    EXPECT_EQ(frequencies.at(0).at(0).toInt(), 22050);  // as written back, not as stored
    EXPECT_EQ(iface.audioDevice()->captureDeviceName(), "Mikrofon \xc3\xbc");
    EXPECT_EQ(iface.audioDevice()->frequency(false), 44100);
}

TEST_F(VoskInterfaceTest, MicrophoneSetupLeavesAStoppedInterfaceStopped)
{
    CountingInterface iface(&host);
    iface.setMicrophoneSetupFunction([](K_VoskInterface*, std::string& device, int&) {
        device = "Headset";
        return true;
    });
    EXPECT_TRUE(iface.openMicrophoneSetup());
    EXPECT_EQ(iface.audioDevice()->captureDeviceName(), "Headset");
    pumpEvents(50);
    EXPECT_EQ(iface.starts, 0);
    EXPECT_FALSE(iface.workerThread()->isRunning());
}

TEST_F(VoskInterfaceTest, FrequencySlotWithTheSameStoredRateDoesNothing)
{
    CountingInterface iface(&host);
    iface.microphoneFrequencyChangedSlot(44100);
    ASSERT_EQ(iface.audioDevice()->frequency(false), 44100);
    startListening(iface);
    // 22050 Hz is stored as 44100 Hz: nothing changes, nothing restarts.
    iface.microphoneFrequencyChangedSlot(22050);
    pumpEvents(50);
    EXPECT_EQ(iface.ends, 0);
    EXPECT_EQ(iface.starts, 1);
    EXPECT_EQ(iface.audioDevice()->frequency(false), 44100);
    EXPECT_TRUE(iface.isActive());
}

TEST_F(VoskInterfaceTest, FrequencySlotRestartsARunningInterfaceWithoutASignal)
{
    CountingInterface iface(&host);
    QSignalSpy frequencies(&iface, &K_VoskInterface::microphoneFrequencyChanged);
    iface.microphoneFrequencyChangedSlot(44100);
    startListening(iface);
    iface.microphoneFrequencyChangedSlot(48000);
    EXPECT_EQ(iface.ends, 1);
    ASSERT_TRUE(waitFor([&] { return iface.starts == 2 && iface.isActive(); }));
    EXPECT_EQ(iface.audioDevice()->frequency(false), 48000);
    EXPECT_EQ(frequencies.count(), 0);
}

TEST_F(VoskInterfaceTest, FrequencySlotIgnoresNegativeRates)
{
    CountingInterface iface(&host);
    iface.microphoneFrequencyChangedSlot(16000);
    startListening(iface);
    iface.microphoneFrequencyChangedSlot(-1);
    pumpEvents(50);
    EXPECT_EQ(iface.ends, 0);
    EXPECT_EQ(iface.audioDevice()->frequency(false), 16000);
}

TEST_F(VoskInterfaceTest, FrequencySlotOnAStoppedInterfaceDoesNotStartIt)
{
    CountingInterface iface(&host);
    iface.microphoneFrequencyChangedSlot(16000);
    EXPECT_EQ(iface.audioDevice()->frequency(false), 16000);
    iface.microphoneFrequencyChangedSlot(8000);  // stored as 44100 Hz
    EXPECT_EQ(iface.audioDevice()->frequency(false), 44100);
    pumpEvents(50);
    EXPECT_EQ(iface.starts, 0);
}

TEST_F(VoskInterfaceTest, DeviceSlotIgnoresAnEmptyOrUnchangedName)
{
    CountingInterface iface(&host);
    iface.microphoneDeviceChangedSlot("Desk Microphone");
    startListening(iface);
    iface.microphoneDeviceChangedSlot("");
    iface.microphoneDeviceChangedSlot("Desk Microphone");
    pumpEvents(50);
    EXPECT_EQ(iface.ends, 0);
    EXPECT_EQ(iface.starts, 1);
    EXPECT_EQ(iface.audioDevice()->captureDeviceName(), "Desk Microphone");
}

TEST_F(VoskInterfaceTest, DeviceSlotRestartsARunningInterfaceWithoutASignal)
{
    CountingInterface iface(&host);
    QSignalSpy devices(&iface, &K_VoskInterface::microphoneDeviceChanged);
    startListening(iface);
    iface.microphoneDeviceChangedSlot(QString::fromUtf8("Mikrofon \xc3\xbc"));
    EXPECT_EQ(iface.ends, 1);
    ASSERT_TRUE(waitFor([&] { return iface.starts == 2 && iface.isActive(); }));
    EXPECT_EQ(iface.audioDevice()->captureDeviceName(), "Mikrofon \xc3\xbc");
    EXPECT_EQ(devices.count(), 0);
}

TEST_F(VoskInterfaceTest, MicrophoneChangesRightAfterStartStopTheStartingWorkerFirst)
{
    // The worker may not have begun its loop yet: the change still waits
    // for it and listening goes on afterwards.
    CountingInterface iface(&host);
    for (int i = 0; i < 5; ++i) {
        iface.start();
        iface.microphoneDeviceChangedSlot(QString("Microphone %1").arg(i));
        EXPECT_EQ(iface.ends, 3 * i + 1) << i;
        iface.microphoneFrequencyChangedSlot(i % 2 ? 48000 : 16000);
        EXPECT_EQ(iface.ends, 3 * i + 2) << i;
        ASSERT_TRUE(waitFor([&] { return iface.isActive(); }));
        iface.stop();
    }
}

// A command's values travel with it through a queued connection.
TEST_F(VoskInterfaceTest, ACommandsArgumentsArriveWithItThroughAQueuedConnection)
{
    K_SRInterface::registerKSRTypes();
    CountingInterface iface(&host);
    std::vector<KSR::SRData> received;
    QObject receiver;
    QObject::connect(&iface, &K_SRInterface::recognitionResult, &receiver,
                     [&](KSR::SRData data) { received.push_back(data); }, Qt::QueuedConnection);
    KSR::Argument line;
    line.name = "line";
    line.type = KSR::SlotType::Number;
    line.number = 42;
    line.words = "forty two";
    line.firstWord = 3;
    line.wordCount = 2;
    line.confidence = 97;
    iface.processRecognition(KSR::SRData{101, 12, 3, "go to line forty two", {line}});
    EXPECT_TRUE(received.empty());  // queued
    QCoreApplication::processEvents();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0], (KSR::SRData{101, 12, 3, "go to line forty two"}));
    ASSERT_EQ(received[0].arguments.size(), 1U);
    const KSR::Argument& got = received[0].arguments[0];
    EXPECT_EQ(got.name, "line");
    EXPECT_EQ(got.type, KSR::SlotType::Number);
    EXPECT_EQ(got.number, 42);
    EXPECT_EQ(got.words, "forty two");
    EXPECT_EQ(got.firstWord, 3U);
    EXPECT_EQ(got.wordCount, 2U);
    EXPECT_EQ(got.confidence, 97);
    EXPECT_STREQ(KSR::slotTypeName(got.type), "number");
}
