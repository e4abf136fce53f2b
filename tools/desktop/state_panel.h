#ifndef KSR_DESKTOP_STATE_PANEL_H
#define KSR_DESKTOP_STATE_PANEL_H

#include <QWidget>

#include <string>

class QLabel;

// The module's state at a glance: listening or not, the microphone and its
// rate, and the dictation, spelling, numerals and capitals modes, each a
// label that is coloured while it is on.
class StatePanel : public QWidget {
public:
    enum Mode { Dictation, Spelling, Numerals, Capitals, ModeCount };

    explicit StatePanel(QWidget* parent = nullptr);

    void setListening(bool listening);
    // `lost`: the microphone went away (paced listening tries it again).
    void setMicrophone(const std::string& device, int frequency, bool lost = false);
    void setMode(Mode mode, bool on);

    bool listening() const { return m_listening; }
    bool modeOn(Mode mode) const { return m_modes[mode]; }
    QString microphoneText() const;

private:
    bool m_listening = false;
    bool m_modes[ModeCount] = {false, false, false, false};
    QLabel* m_listeningLabel;
    QLabel* m_microphoneLabel;
    QLabel* m_modeLabels[ModeCount];
};

#endif
