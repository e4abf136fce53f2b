#ifndef KSR_TESTS_INTERFACE_TEST_SUPPORT_H
#define KSR_TESTS_INTERFACE_TEST_SUPPORT_H

// Helpers of the host-interface tests: a K_VoskInterface that counts its
// loop starts and ends, a model folder made on the fly, and waiting with the
// host thread's event loop running (queued signals arrive meanwhile).

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <cstdlib>
#include <ostream>
#include <string>

#include "audio/audio_device.h"
#include "k_vosk_interface.h"

// The manager tests' fixture brings the same two operators.
#ifndef KSR_TESTS_MANAGER_FIXTURE_H
namespace KSR {

inline bool operator==(const SRData& a, const SRData& b)
{
    return a.grammarId == b.grammarId && a.ruleId == b.ruleId && a.commandId == b.commandId && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& out, const SRData& d)
{
    return out << "{g" << d.grammarId << " r" << d.ruleId << " c" << d.commandId << " \"" << d.text << "\"}";
}

}  // namespace KSR
#endif

// Runs the host thread's events until the predicate holds or time runs out.
template <typename Predicate>
bool waitFor(Predicate predicate, int ms = 5000)
{
    QElapsedTimer timer;
    timer.start();
    while (!predicate() && timer.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return predicate();
}

// Runs the host thread's events for a while.
inline void pumpEvents(int ms)
{
    waitFor([] { return false; }, ms);
}

// Counts the worker's loop starts and ends; gives tests the microphone.
class CountingInterface : public K_VoskInterface {
public:
    explicit CountingInterface(QWidget* parent = nullptr) : K_VoskInterface(parent) {}
    // Stopped here, while the counting overrides still exist.
    ~CountingInterface() override { stop(); }

    void speechRecognitionStarted() override
    {
        ++starts;
        K_VoskInterface::speechRecognitionStarted();
    }
    void speechRecognitionEnded() override
    {
        K_VoskInterface::speechRecognitionEnded();
        ++ends;
    }

    using K_VoskInterface::activationKeysGrammar;
    using K_VoskInterface::audioDevice;
    using K_VoskInterface::engine;

    std::atomic<int> starts{0};
    std::atomic<int> ends{0};
};

// A back end whose loop never looks at `active`: stop() has to terminate it.
// It reports that listening began, then turns until released.
class StubbornLoop : public K_SRInterface {
public:
    StubbornLoop() : K_SRInterface(nullptr) {}
    ~StubbornLoop() override { stop(); }
    void speechRecognitionStarted() override
    {
        listeningBegan();
        running = true;
        while (!release)
            QThread::msleep(5);
    }
    void speechRecognitionEnded() override {}
    std::atomic<bool> running{false};
    std::atomic<bool> release{false};
};

// The command grammar the clip tests listen to: "commands", holding
// "select all" (0) and "close window" (1), switched on; and the dictation
// grammar, off, which gives the engine its literal keyword.
struct ClipCommands {
    KSR::GrammarId grammar = KSR::InvalidGrammarId;
    KSR::RuleId rule = KSR::InvalidRuleId;
};

inline ClipCommands addClipCommands(K_VoskInterface& iface)
{
    ClipCommands commands;
    commands.grammar = iface.addCommandGrammar("");
    commands.rule = iface.addRule(commands.grammar, "commands");
    EXPECT_EQ(iface.addCommand(commands.rule, "select all"), 0);
    EXPECT_EQ(iface.addCommand(commands.rule, "close window"), 1);
    EXPECT_NE(iface.addDictationGrammar(""), KSR::InvalidGrammarId);
    EXPECT_TRUE(iface.setActivated(commands.grammar, true));
    return commands;
}

// A model folder whose feature configuration holds `config` at `relative`
// ("mfcc.conf" or "conf/mfcc.conf").
inline bool writeModelFolder(const QString& folder, const QString& relative, const QByteArray& config)
{
    const QString path = folder + "/" + relative;
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(config) == config.size();
}

inline void setModelVariable(const QString& path)
{
    ::setenv("KALO_ACOUSTIC_MODEL_PATH", QFile::encodeName(path).constData(), 1);
}

inline void unsetModelVariable() { ::unsetenv("KALO_ACOUSTIC_MODEL_PATH"); }

#endif
