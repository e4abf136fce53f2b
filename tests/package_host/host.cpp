// A host application of the installed module: it creates the Vosk
// interface, registers a grammar and receives one recognized command through
// a queued signal on its own thread. Prints what it saw; exits 0 when all of
// it matched.
//
// Environment: KALO_ACOUSTIC_MODEL_PATH names the acoustic model;
// QT_QPA_PLATFORM=offscreen runs it without a display.
#include <QApplication>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <cstdio>

#include "k_vosk_interface.h"

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    K_SRInterface::registerKSRTypes();
    KSR::setResourceDirFunction([] { return std::string("/nonexistent/host/resources"); });

    QWidget window;
    K_VoskInterface recognizer(&window);
    std::printf("initialized: %s\n", recognizer.isInitialized() ? "yes" : "no");
    if (!recognizer.isInitialized())
        return 2;

    recognizer.addDictationGrammar("");
    const KSR::GrammarId files = recognizer.addCommandGrammar("north");
    const KSR::RuleId rule = recognizer.addRule(files, "files");
    const KSR::CommandId open = recognizer.addCommand(rule, "Open File");
    recognizer.setActivated(files, true);
    std::printf("grammar %llu rule %lu command %d\n", static_cast<unsigned long long>(files),
                static_cast<unsigned long>(rule), open);

    int status = 1;
    QThread* hostThread = QThread::currentThread();
    QObject::connect(&recognizer, &K_SRInterface::recognitionResult, &window, [&](KSR::SRData data) {
        const bool onHost = QThread::currentThread() == hostThread;
        std::printf("recognized: \"%s\" grammar %llu rule %lu command %d on the host thread: %s\n",
                    data.text.c_str(), static_cast<unsigned long long>(data.grammarId),
                    static_cast<unsigned long>(data.ruleId), data.commandId, onHost ? "yes" : "no");
        status = (onHost && data.grammarId == files && data.ruleId == rule && data.commandId == open &&
                  data.text == "open file")
                     ? 0
                     : 1;
        app.quit();
    });

    // What the engine reports for the spoken phrase, handed over from
    // another thread as the recognition thread would.
    recognizer.startRecognizing();
    QThread* speaker = QThread::create([&] { recognizer.commandRecognized("open file", KSR::Recognized); });
    speaker->start();
    QTimer::singleShot(5000, &app, [&] {
        std::printf("no result within 5 s\n");
        app.quit();
    });
    app.exec();
    speaker->wait();
    delete speaker;
    return status;
}
