#include "state_panel.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {

const char* const kModeNames[StatePanel::ModeCount] = {"Dictation", "Spelling", "Numerals", "Capitals"};
const char* const kModeColours[StatePanel::ModeCount] = {"#1e8449", "#b9770e", "#1f5fbf", "#8e44ad"};

QString pill(const QString& background, const QString& foreground)
{
    return QString("QLabel { background: %1; color: %2; border-radius: 9px; padding: 2px 10px; font-weight: bold; }")
        .arg(background, foreground);
}

const QString kOffBackground = "#e4e6e9";
const QString kOffForeground = "#7b8088";

}  // namespace

StatePanel::StatePanel(QWidget* parent) : QWidget(parent)
{
    setObjectName("state");
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet("#state { background: #eef2f7; border: 1px solid #d0d7e2; border-radius: 6px; }");
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 6);
    m_listeningLabel = new QLabel(this);
    m_listeningLabel->setMinimumWidth(130);
    m_listeningLabel->setAlignment(Qt::AlignCenter);
    layout->addWidget(m_listeningLabel);
    m_microphoneLabel = new QLabel(this);
    m_microphoneLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_microphoneLabel, 1);
    layout->addWidget(new QLabel("Modes:", this));
    for (int mode = 0; mode < ModeCount; ++mode) {
        m_modeLabels[mode] = new QLabel(kModeNames[mode], this);
        m_modeLabels[mode]->setAlignment(Qt::AlignCenter);
        layout->addWidget(m_modeLabels[mode]);
        setMode(static_cast<Mode>(mode), false);
    }
    setListening(false);
}

void StatePanel::setListening(bool listening)
{
    m_listening = listening;
    m_listeningLabel->setText(listening ? QString::fromUtf8("\u25cf Listening") : QString::fromUtf8("\u25cb Not listening"));
    m_listeningLabel->setStyleSheet(listening ? pill("#c0392b", "white") : pill(kOffBackground, kOffForeground));
}

void StatePanel::setMicrophone(const std::string& device, int frequency, bool lost)
{
    const QString name = device.empty() ? QString("no microphone") : QString::fromStdString(device);
    m_microphoneLabel->setText(QString("Microphone: <b>%1</b> &middot; %2 Hz%3")
                                   .arg(name.toHtmlEscaped())
                                   .arg(frequency)
                                   .arg(lost ? " &middot; <span style='color:#c0392b'>lost</span>" : ""));
}

void StatePanel::setMode(Mode mode, bool on)
{
    m_modes[mode] = on;
    m_modeLabels[mode]->setStyleSheet(on ? pill(kModeColours[mode], "white") : pill(kOffBackground, kOffForeground));
}

QString StatePanel::microphoneText() const { return m_microphoneLabel->text(); }
