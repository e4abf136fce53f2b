// A host program that ends its interface in one of the ways a real host
// may, named by its first argument. test_teardown runs it in a process of
// its own for each way, because a way that is not clean aborts the process
// ("QThread: Destroyed while thread is still running", or an assertion of
// the audio library at exit). Prints "ok" when it reached its end.
//
// The interface listens to the virtual microphone (capture really opens,
// OpenAL's threads run) with the libvosk test double.
#include <QApplication>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>

#include "fake_model.h"
#include "tsan_audio_libraries.h"
#include "virtual_mic.h"

namespace {

// Listening began and capture delivers (or the run failed, without a model).
bool listening(K_VoskInterface& iface)
{
    return waitFor([&] { return iface.isListening(); }) && (pumpEvents(300), true);
}

int deleteParentWhileListening()
{
    QWidget* window = new QWidget;
    K_VoskInterface* iface = new K_VoskInterface(window);
    iface->start();
    if (!listening(*iface))
        return 10;
    delete window;  // takes the worker thread with it
    const bool stopped = !iface->isActive() && !iface->isListening();
    delete iface;
    return stopped ? 0 : 11;
}

// The window is gone; the interface listens on a thread of its own.
int startAgainAfterTheParentWasDeleted()
{
    QWidget* window = new QWidget;
    std::unique_ptr<K_VoskInterface> iface(new K_VoskInterface(window));
    iface->start();
    if (!listening(*iface))
        return 10;
    delete window;
    iface->start();
    if (!listening(*iface))
        return 12;
    return 0;
}

int deleteInterfaceWhileListening()
{
    QWidget window;
    QPointer<QThread> worker;
    {
        K_VoskInterface* iface = new K_VoskInterface(&window);
        worker = iface->workerThread();
        iface->start();
        if (!listening(*iface))
            return 10;
        delete iface;
    }
    return !worker.isNull() && !worker->isRunning() ? 0 : 13;
}

int stopWithoutModel()
{
    QWidget window;
    K_VoskInterface iface(&window);
    if (iface.isInitialized())
        return 14;
    iface.start();
    pumpEvents(300);
    iface.stop();
    return iface.isActive() ? 15 : 0;
}

// A host that stops only an active interface never stops this one.
int deleteParentWithoutModel()
{
    QWidget* window = new QWidget;
    K_VoskInterface* iface = new K_VoskInterface(window);
    iface->start();
    if (iface->isActive())
        iface->stop();
    delete window;
    delete iface;
    return 0;
}

int deleteWithoutModel()
{
    QWidget window;
    K_VoskInterface* iface = new K_VoskInterface(&window);
    iface->start();
    delete iface;
    return 0;
}

// main() as hosts write it: the interface is a local, the event loop ends
// while it listens, and it is destroyed after exec() returned.
int quitWhileListening(QApplication& app)
{
    K_VoskInterface iface(nullptr);
    iface.start();
    QTimer::singleShot(1500, &app, &QCoreApplication::quit);
    app.exec();
    return iface.isListening() ? 16 : 0;
}

// The host never deletes its interface: leaving the event loop stops
// listening, and the process ends with the interface still alive.
int quitWhileListeningAndNeverDelete(QApplication& app)
{
    K_VoskInterface* iface = new K_VoskInterface(nullptr);
    iface->start();
    QTimer::singleShot(1500, &app, &QCoreApplication::quit);
    app.exec();
    return iface->isListening() ? 16 : 0;
}

}  // namespace

int main(int argc, char** argv)
{
    VirtualMic::configure();
    QApplication app(argc, argv);
    FakeModel model;
    if (!model.install())
        return 2;
    const std::string way = argc > 1 ? argv[1] : "";
    if (way.find("without-model") != std::string::npos)
        model.remove();

    const std::map<std::string, std::function<int()>> ways = {
        {"delete-parent-while-listening", deleteParentWhileListening},
        {"start-again-after-parent-deleted", startAgainAfterTheParentWasDeleted},
        {"delete-interface-while-listening", deleteInterfaceWhileListening},
        {"stop-without-model", stopWithoutModel},
        {"delete-parent-without-model", deleteParentWithoutModel},
        {"delete-without-model", deleteWithoutModel},
        {"quit-while-listening", [&] { return quitWhileListening(app); }},
        {"quit-while-listening-never-delete", [&] { return quitWhileListeningAndNeverDelete(app); }},
    };
    const auto found = ways.find(way);
    if (found == ways.end()) {
        std::fprintf(stderr, "teardown_host: no way \"%s\"\n", way.c_str());
        return 2;
    }
    const int result = found->second();
    if (result == 0)
        std::printf("ok\n");
    std::fflush(stdout);
    return result;
}
