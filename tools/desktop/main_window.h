#ifndef KSR_DESKTOP_MAIN_WINDOW_H
#define KSR_DESKTOP_MAIN_WINDOW_H

#include <QMainWindow>

#include <functional>
#include <memory>
#include <string>

#include "dictation_document.h"
#include "grammar_file.h"
#include "host_recognizer.h"

class ControlPanel;
class EventLog;
class GrammarTree;
class QPlainTextEdit;
class StatePanel;

// The desktop host's window: a K_VoskInterface made with the window as its
// parent (the window owns its worker thread), and panels that show what it
// does, kept current from its signals. The signals come from the worker
// thread and reach the window queued, so the window never waits for the
// recognizer; the controls call the module from the window's thread, as a
// host does.
class MainWindow : public QMainWindow {
public:
    // The window's size, and so its picture's.
    static constexpr int DefaultWidth = 1120;
    static constexpr int DefaultHeight = 700;

    // Makes the recognizer (finding and loading the acoustic model); see
    // recognizer().isInitialized().
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    HostRecognizer& recognizer() { return *m_recognizer; }

    // Registers the grammar file with the module and shows it; false with
    // `error` set when the module refuses something.
    bool loadGrammar(const GrammarFile& file, const std::string& title, std::string& error);

    // Starts listening; false with `error` set when there is no microphone.
    // A capture that then fails to open is reported by listeningFailed.
    bool startListening(std::string& error);
    // Called when listening could not begin (no capture device opened).
    std::function<void(const std::string& error)> listeningFailed;

    GrammarTree& grammarTree() const { return *m_tree; }
    EventLog& eventLog() const { return *m_log; }
    StatePanel& statePanel() const { return *m_state; }
    ControlPanel& controls() const { return *m_controls; }
    QPlainTextEdit& documentView() const { return *m_documentView; }
    const DictationDocument& document() const { return m_document; }

private:
    void buildLayout();
    void connectRecognizer();
    void showMicrophone(bool lost = false);
    void result(const KSR::SRData& data);
    void listeningEnded(K_SRInterface::ListeningEnd how);

    std::unique_ptr<HostRecognizer> m_recognizer;
    GrammarNames m_names;
    DictationDocument m_document;
    bool m_logHypotheses = false;

    StatePanel* m_state = nullptr;
    GrammarTree* m_tree = nullptr;
    ControlPanel* m_controls = nullptr;
    EventLog* m_log = nullptr;
    QPlainTextEdit* m_documentView = nullptr;
};

#endif
