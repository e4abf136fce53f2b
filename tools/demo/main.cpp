// ksr-demo: a host application of the speech-recognition module. It
// registers the grammars of a grammar file through the Vosk manager and
// prints what the module recognizes, from a microphone (through
// K_VoskInterface's capture loop) or from sound files (through the same
// manager and engine). See demoUsage() for the command line and
// exit_codes.h for the exit status.
#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "audio/audio_device.h"
#include "audio_file.h"
#include "demo_options.h"
#include "demo_recognizer.h"
#include "event_printer.h"
#include "exit_codes.h"
#include "grammar_file.h"
#include "model_lookup.h"

namespace {

const int kModelRate = 16000;
std::atomic<bool> g_interrupted{false};

int fail(int code, const std::string& message)
{
    std::fprintf(stderr, "ksr-demo: %s\n", message.c_str());
    return code;
}

int listMicrophones()
{
    AudioDevice audio;
    const std::list<std::string> devices = audio.availableCaptureDevices();
    if (devices.empty())
        return fail(HostExit::Microphone, "no capture device found");
    const std::string standard = audio.defaultCaptureDeviceName();
    for (const std::string& name : devices)
        std::printf("%s%s\n", name.c_str(), name == standard ? "  (default)" : "");
    return HostExit::Ok;
}

int hearFiles(DemoRecognizer& recognizer, EventPrinter& printer, const std::vector<std::string>& files)
{
    // Every file is opened and its first block read before any is heard, so
    // that a bad one stops the run before it prints anything. Each is then
    // heard as it is read: memory stays that of one block, however long the
    // recording.
    std::string error;
    auto unreadable = [&error](const std::string& path) {
        return fail(HostExit::AudioFile, "cannot read audio file " + path + ": " + error);
    };
    for (const std::string& path : files) {
        AudioFileReader check(kModelRate);
        if (!check.open(path, error))
            return unreadable(path);
    }
    recognizer.startRecognizing();
    int status = HostExit::Ok;
    for (const std::string& path : files) {
        printer.file(path);
        AudioFileReader file(kModelRate);
        if (!file.open(path, error) || !recognizer.hearFile(file, error)) {
            status = unreadable(path);
            break;
        }
    }
    recognizer.stopRecognizing();
    printer.document();
    return status;
}

// Opens and closes the device once, so that a microphone that cannot
// capture is an error here rather than silence later.
bool captureWorks(const std::string& device)
{
    AudioDevice probe;
    if (!probe.setCaptureDeviceName(device) || !probe.startCapture())
        return false;
    return probe.stopCapture();
}

int listen(QCoreApplication& app, DemoRecognizer& recognizer, EventPrinter& printer, const DemoOptions& options)
{
    const std::list<std::string> devices = recognizer.availableMicrophones();
    if (devices.empty())
        return fail(HostExit::Microphone, "no microphone found");
    std::string device = options.device;
    if (!device.empty()) {
        if (std::find(devices.begin(), devices.end(), device) == devices.end()) {
            std::string names;
            for (const std::string& name : devices)
                names += "\n  " + name;
            return fail(HostExit::Microphone, "no microphone named \"" + device + "\"; there are:" + names);
        }
        recognizer.microphoneDeviceChangedSlot(QString::fromStdString(device));
    } else {
        AudioDevice audio;
        device = audio.defaultCaptureDeviceName();
    }
    if (!captureWorks(options.device))
        return fail(HostExit::Microphone, "cannot capture from \"" + device + "\"");

    printer.listening(device, recognizer.captureFrequency());

    std::signal(SIGINT, [](int) { g_interrupted = true; });
    std::signal(SIGTERM, [](int) { g_interrupted = true; });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &app, [&app] {
        if (g_interrupted)
            app.quit();
    });
    poll.start(100);
    if (options.seconds > 0.0)
        QTimer::singleShot(static_cast<int>(options.seconds * 1000), &app, &QCoreApplication::quit);

    // Paced listening costs next to nothing while nobody speaks and keeps
    // listening through a lost microphone.
    if (!options.poll)
        recognizer.setListeningPace(K_VoskInterface::RecommendedListeningPace);
    recognizer.setSilenceSkipping(options.skipSilence);
    if (options.microphoneBuffer > 0)
        recognizer.setMicrophoneBuffer(options.microphoneBuffer);
    recognizer.start();
    app.exec();
    recognizer.stop();
    QCoreApplication::processEvents();  // what the worker sent last
    printer.document();
    return HostExit::Ok;
}

}  // namespace

int main(int argc, char** argv)
{
    DemoOptions options;
    std::string error;
    if (!parseDemoOptions(argc, argv, options, error)) {
        std::fprintf(stderr, "ksr-demo: %s\n\n%s", error.c_str(), demoUsage());
        return HostExit::Usage;
    }
    if (options.help) {
        std::printf("%s", demoUsage());
        return HostExit::Ok;
    }
    // Files need no sound device: OpenAL's null back end keeps the module's
    // microphone set-up away from the machine's audio system.
    if (options.source == DemoOptions::Source::Files)
        ::setenv("ALSOFT_DRIVERS", "null", 0);
    if (options.listDevices)
        return listMicrophones();

    std::string model;
    if (!selectModel(options.modelPath, model, error))
        return fail(HostExit::Model, error);

    const std::string grammarPath = options.grammarFile.empty() ? bundledGrammarFile() : options.grammarFile;
    GrammarFile grammar;
    if (!readGrammarFile(grammarPath, grammar, error))
        return fail(HostExit::Grammar, "grammar file " + grammarPath + ": " + error);
    // The command line wins over the file.
    if (options.fastCommands >= 0)
        grammar.fastCommands = options.fastCommands;
    grammar.chain = grammar.chain || options.chain;

    QCoreApplication app(argc, argv);
    K_SRInterface::registerKSRTypes();
    DemoRecognizer recognizer;
    if (!recognizer.isInitialized())
        return fail(HostExit::Model, "the acoustic model at " + model + " could not be loaded");
    GrammarNames names;
    if (!registerGrammarFile(recognizer, grammar, names, error))
        return fail(HostExit::Grammar, "grammar file " + grammarPath + ": " + error);

    if (options.shortQuiet >= 0)
        recognizer.setFastCommandsShortQuiet(options.shortQuiet);

    EventPrinter printer(recognizer, names, options.json, options.hypotheses);
    if (options.source == DemoOptions::Source::Files)
        return hearFiles(recognizer, printer, options.files);
    return listen(app, recognizer, printer, options);
}
