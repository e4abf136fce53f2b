#ifndef KSR_DESKTOP_CONTROL_PANEL_H
#define KSR_DESKTOP_CONTROL_PANEL_H

#include <QGroupBox>

#include <functional>

class HostRecognizer;
class QCheckBox;
class QComboBox;
class QPushButton;
class QSpinBox;

// The host's controls, each wired straight to the module: start and stop,
// the microphone and its rate (the interface's slots, which stop and
// restart a listening worker themselves), the command and dictation
// thresholds, paced listening, the early end of commands (its long and its
// short quiet), chained commands,
// and whether hypotheses go to the log.
class ControlPanel : public QGroupBox {
public:
    explicit ControlPanel(HostRecognizer& recognizer, QWidget* parent = nullptr);

    // Shows the module's current settings and microphones.
    void showSettings();
    // Listen and Stop follow the listening state.
    void setListening(bool listening);

    // What the window does for the controls that involve more than the module.
    std::function<void()> listenRequested;
    std::function<void()> microphoneChanged;
    std::function<void(bool)> hypothesesToggled;

    QPushButton* listenButton() const { return m_listen; }
    QPushButton* stopButton() const { return m_stop; }
    QComboBox* microphones() const { return m_microphones; }
    QComboBox* rates() const { return m_rates; }
    QSpinBox* commandThreshold() const { return m_commandThreshold; }
    QSpinBox* dictationThreshold() const { return m_dictationThreshold; }
    QCheckBox* pacedListening() const { return m_paced; }
    QCheckBox* silenceSkipping() const { return m_skipSilence; }
    QSpinBox* fastCommands() const { return m_fastCommands; }
    QSpinBox* shortQuiet() const { return m_shortQuiet; }
    QCheckBox* chaining() const { return m_chain; }
    QCheckBox* hypotheses() const { return m_hypotheses; }

private:
    void connectControls();

    HostRecognizer& m_recognizer;
    QPushButton* m_listen;
    QPushButton* m_stop;
    QComboBox* m_microphones;
    QComboBox* m_rates;
    QSpinBox* m_commandThreshold;
    QSpinBox* m_dictationThreshold;
    QCheckBox* m_paced;
    QCheckBox* m_skipSilence;
    QSpinBox* m_fastCommands;
    QSpinBox* m_shortQuiet;
    QCheckBox* m_chain;
    QCheckBox* m_hypotheses;
};

#endif
