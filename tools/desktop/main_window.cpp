#include "main_window.h"

#include <QGroupBox>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QVBoxLayout>

#include "control_panel.h"
#include "event_log.h"
#include "event_text.h"
#include "grammar_tree.h"
#include "state_panel.h"

namespace {

QGroupBox* framed(const QString& title, QWidget* content)
{
    auto* box = new QGroupBox(title);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(content);
    return box;
}

const char* endName(K_SRInterface::ListeningEnd how)
{
    switch (how) {
    case K_SRInterface::ListeningEnd::Failed:
        return "failed to begin";
    case K_SRInterface::ListeningEnd::Terminated:
        return "stopped (worker terminated)";
    case K_SRInterface::ListeningEnd::Stopped:
        break;
    }
    return "stopped";
}

}  // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), m_recognizer(new HostRecognizer(this)), m_document(m_names)
{
    // Paced listening with silence skipping costs next to nothing while
    // nobody speaks and keeps listening through a lost microphone;
    // hypotheses come once per change rather than once per chunk of audio.
    m_recognizer->setListeningPace(K_VoskInterface::RecommendedListeningPace);
    // A desktop runs other work beside listening: ride out a stall.
    m_recognizer->setMicrophoneBuffer(K_VoskInterface::RecommendedMicrophoneBuffer);
    m_recognizer->setSilenceSkipping(true);
    m_recognizer->setHypothesisOnChangeOnly(true);
    buildLayout();
    connectRecognizer();
    setWindowTitle("kalo-sr desktop");
    resize(DefaultWidth, DefaultHeight);
}

MainWindow::~MainWindow()
{
    // Stopping the worker reports the end of listening; the panels are not
    // to hear of it while the window goes.
    disconnect(m_recognizer.get(), nullptr, this, nullptr);
    m_recognizer.reset();
}

void MainWindow::buildLayout()
{
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(8, 4, 8, 8);
    m_state = new StatePanel(central);
    layout->addWidget(m_state);

    m_tree = new GrammarTree(*m_recognizer);
    m_controls = new ControlPanel(*m_recognizer);
    auto* left = new QWidget;
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->addWidget(framed("Grammars (tick to switch)", m_tree), 1);
    leftLayout->addWidget(m_controls);

    m_log = new EventLog;
    m_documentView = new QPlainTextEdit;
    m_documentView->setReadOnly(true);
    m_documentView->setPlaceholderText("Dictated text, with its spoken formatting applied, appears here.");
    QFont documentFont = m_documentView->font();
    documentFont.setPointSizeF(documentFont.pointSizeF() * 1.25);
    m_documentView->setFont(documentFont);
    auto* right = new QSplitter(Qt::Vertical);
    right->addWidget(framed("Events, newest first", m_log));
    right->addWidget(framed("Dictation", m_documentView));
    right->setStretchFactor(0, 3);
    right->setStretchFactor(1, 2);

    auto* split = new QSplitter(Qt::Horizontal, central);
    split->addWidget(left);
    split->addWidget(right);
    split->setStretchFactor(1, 1);
    split->setSizes({DefaultWidth * 2 / 5, DefaultWidth * 3 / 5});
    layout->addWidget(split, 1);
    setCentralWidget(central);

    m_controls->listenRequested = [this] {
        std::string error;
        if (!startListening(error) && listeningFailed)
            listeningFailed(error);
    };
    m_controls->microphoneChanged = [this] { showMicrophone(); };
    m_controls->hypothesesToggled = [this](bool on) { m_logHypotheses = on; };
}

void MainWindow::connectRecognizer()
{
    // Every signal is connected to this window, which lives in the host
    // thread: the ones the worker thread emits arrive queued.
    HostRecognizer* sr = m_recognizer.get();
    connect(sr, &K_SRInterface::recognitionResult, this, [this](KSR::SRData data) { result(data); });
    connect(sr, &K_SRInterface::hypothesisResult, this, [this](KSR::SRData data) {
        if (m_logHypotheses)
            m_log->add("hypothesis", EventText::hypothesis(data));
    });
    connect(sr, &K_SRInterface::recognitionFailed, this, [this] { m_log->add("failed", std::string()); });
    connect(sr, &K_SRInterface::grammarActivatedSignal, this, [this](KSR::GrammarId id, bool on) {
        // The module's own grammar of activation keys is not the host's.
        if (!m_names.grammars.count(id))
            return;
        m_tree->grammarSwitched(id, on);
        m_log->add("grammar", EventText::grammar(m_names, id, on));
    });
    const auto mode = [this](StatePanel::Mode which, const char* name) {
        return [this, which, name](bool on) {
            m_state->setMode(which, on);
            m_log->add("mode", EventText::mode(name, on));
        };
    };
    connect(sr, &K_VoskInterface::dictationActivated, this, mode(StatePanel::Dictation, "dictation"));
    connect(sr, &K_VoskInterface::spellingModeActivated, this, mode(StatePanel::Spelling, "spelling"));
    connect(sr, &K_VoskInterface::numeralsModeActivated, this, mode(StatePanel::Numerals, "numerals"));
    connect(sr, &K_VoskInterface::capitalsModeActivated, this, mode(StatePanel::Capitals, "capitals"));
    connect(sr, &K_SRInterface::listeningStarted, this, [this] {
        m_state->setListening(true);
        m_controls->setListening(true);
        showMicrophone();
        m_log->add("listening", EventText::quoted(m_recognizer->captureDevice()) + " at " +
                                    std::to_string(m_recognizer->captureFrequency()) + " Hz");
    });
    connect(sr, &K_SRInterface::listeningStopped, this,
            [this](K_SRInterface::ListeningEnd how) { listeningEnded(how); });
    connect(sr, &K_VoskInterface::microphoneDisconnected, this, [this](const QString& device) {
        showMicrophone(true);
        m_log->add("microphone", EventText::microphone(device.toStdString(), false));
    });
    connect(sr, &K_VoskInterface::microphoneReconnected, this, [this](const QString& device) {
        showMicrophone(false);
        m_log->add("microphone", EventText::microphone(device.toStdString(), true));
    });
    // A host's microphone dialog (openMicrophoneSetup) reports its choice.
    connect(sr, &K_VoskInterface::microphoneDeviceChanged, this, [this] { showMicrophone(); });
    connect(sr, &K_VoskInterface::microphoneFrequencyChanged, this, [this] { showMicrophone(); });
}

bool MainWindow::loadGrammar(const GrammarFile& file, const std::string& title, std::string& error)
{
    if (!registerGrammarFile(*m_recognizer, file, m_names, error))
        return false;
    m_tree->load(m_names);
    m_controls->showSettings();
    m_state->setMode(StatePanel::Dictation, m_recognizer->isDictationModeEnabled());
    m_state->setMode(StatePanel::Spelling, m_recognizer->spellingModeEnabled());
    m_state->setMode(StatePanel::Numerals, m_recognizer->numeralModeEnabled());
    m_state->setMode(StatePanel::Capitals, m_recognizer->capitalsModeEnabled());
    showMicrophone();
    setWindowTitle(QString::fromStdString("kalo-sr desktop \u2014 " + title));
    return true;
}

bool MainWindow::startListening(std::string& error)
{
    if (m_recognizer->availableMicrophones().empty()) {
        error = "no microphone found";
        return false;
    }
    m_recognizer->start();
    // Stop is offered at once, before the worker reports that it listens.
    m_controls->setListening(true);
    return true;
}

void MainWindow::listeningEnded(K_SRInterface::ListeningEnd how)
{
    m_state->setListening(false);
    m_controls->setListening(false);
    m_log->add("listening", endName(how));
    if (how == K_SRInterface::ListeningEnd::Failed && listeningFailed)
        listeningFailed("cannot capture from " + EventText::quoted(m_recognizer->captureDevice()));
}

void MainWindow::showMicrophone(bool lost)
{
    m_state->setMicrophone(m_recognizer->captureDevice(), m_recognizer->captureFrequency(), lost);
}

void MainWindow::result(const KSR::SRData& data)
{
    const ResultKind kind = m_document.add(data);
    m_log->add(resultEventName(kind), EventText::result(m_names, kind, data));
    if (kind == ResultKind::Command)
        return;
    m_documentView->setPlainText(QString::fromStdString(m_document.text()));
    m_documentView->verticalScrollBar()->setValue(m_documentView->verticalScrollBar()->maximum());
}
