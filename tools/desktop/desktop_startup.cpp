#include "desktop_startup.h"

#include <QApplication>
#include <QFileInfo>
#include <QTimer>

#include "error_report.h"
#include "exit_codes.h"
#include "grammar_file.h"
#include "main_window.h"
#include "model_lookup.h"
#include "window_picture.h"

namespace {

// Takes the window's picture after `seconds` and ends the application with
// the exit status.
void schedulePicture(QApplication& app, MainWindow& window, const DesktopOptions& options,
                     const ErrorReport& errors)
{
    QTimer::singleShot(static_cast<int>(options.after * 1000), &window, [&app, &window, &options, &errors] {
        std::string error;
        if (!saveWindowPicture(window, options.picture, error)) {
            app.exit(errors.fail(HostExit::Picture, error));
            return;
        }
        app.exit(HostExit::Ok);
    });
}

}  // namespace

int runDesktop(QApplication& app, const DesktopOptions& options)
{
    const bool picture = !options.picture.empty();
    const ErrorReport errors(!picture);
    std::string model;
    std::string error;
    if (!selectModel(options.modelPath, model, error))
        return errors.fail(HostExit::Model, error);

    const std::string grammarPath = options.grammarFile.empty() ? bundledGrammarFile() : options.grammarFile;
    GrammarFile grammar;
    if (!readGrammarFile(grammarPath, grammar, error))
        return errors.fail(HostExit::Grammar, "grammar file " + grammarPath + ": " + error);

    K_SRInterface::registerKSRTypes();
    MainWindow window;
    if (!window.recognizer().isInitialized())
        return errors.fail(HostExit::Model, window.recognizer().acousticModelProblem());
    const std::string title = QFileInfo(QString::fromStdString(grammarPath)).fileName().toStdString();
    if (!window.loadGrammar(grammar, title, error))
        return errors.fail(HostExit::Grammar, "grammar file " + grammarPath + ": " + error);

    // Without a microphone the window still shows the grammars; a picture
    // that was to show listening is not taken.
    window.listeningFailed = [&](const std::string& problem) {
        if (picture)
            app.exit(errors.fail(HostExit::Microphone, problem));
        else
            errors.tell(problem, &window);
    };
    window.show();
    if (options.listen && !window.startListening(error)) {
        if (picture)
            return errors.fail(HostExit::Microphone, error);
        errors.tell(error, &window);
    }
    if (picture)
        schedulePicture(app, window, options, errors);
    return app.exec();
}
