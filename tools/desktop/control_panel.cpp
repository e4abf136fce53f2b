#include "control_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>

#include "host_recognizer.h"

namespace {

QSpinBox* percentBox(QWidget* parent)
{
    auto* box = new QSpinBox(parent);
    box->setSuffix(" %");
    return box;
}

}  // namespace

ControlPanel::ControlPanel(HostRecognizer& recognizer, QWidget* parent)
    : QGroupBox("Listening", parent), m_recognizer(recognizer)
{
    auto* form = new QFormLayout(this);
    auto* buttons = new QHBoxLayout;
    m_listen = new QPushButton("Listen", this);
    m_stop = new QPushButton("Stop", this);
    buttons->addWidget(m_listen);
    buttons->addWidget(m_stop);
    form->addRow(buttons);

    m_microphones = new QComboBox(this);
    m_microphones->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_microphones->setMinimumContentsLength(12);
    form->addRow("Microphone", m_microphones);
    m_rates = new QComboBox(this);
    form->addRow("Rate", m_rates);
    m_commandThreshold = percentBox(this);
    form->addRow("Command threshold", m_commandThreshold);
    m_dictationThreshold = percentBox(this);
    m_dictationThreshold->setRange(0, 100);
    form->addRow("Dictation threshold", m_dictationThreshold);
    m_fastCommands = new QSpinBox(this);
    m_fastCommands->setRange(0, 5000);
    m_fastCommands->setSingleStep(50);
    m_fastCommands->setSuffix(" ms");
    m_fastCommands->setSpecialValueText("off");
    m_fastCommands->setToolTip("End a command after this much quiet instead of the decoder's own end");
    form->addRow("Early end of commands", m_fastCommands);
    m_paced = new QCheckBox("Paced listening", this);
    m_paced->setToolTip("Wait for audio instead of polling, and keep listening through a lost microphone");
    form->addRow(m_paced);
    m_chain = new QCheckBox("Chained commands", this);
    m_chain->setToolTip("Phrases said in one breath count one by one");
    form->addRow(m_chain);
    m_hypotheses = new QCheckBox("Log hypotheses", this);
    form->addRow(m_hypotheses);

    connectControls();
    setListening(false);
}

void ControlPanel::connectControls()
{
    HostRecognizer* recognizer = &m_recognizer;
    connect(m_listen, &QPushButton::clicked, this, [this] {
        if (listenRequested)
            listenRequested();
    });
    connect(m_stop, &QPushButton::clicked, recognizer, &K_SRInterface::stop);
    // The slots stop a listening worker, switch the microphone and start it again.
    // The window shows the new microphone once the slot has switched it.
    const auto changed = [this] {
        if (microphoneChanged)
            microphoneChanged();
    };
    connect(m_microphones, &QComboBox::textActivated, recognizer, &K_VoskInterface::microphoneDeviceChangedSlot);
    connect(m_microphones, &QComboBox::textActivated, this, changed);
    connect(m_rates, QOverload<int>::of(&QComboBox::activated), this, [this, changed](int index) {
        m_recognizer.microphoneFrequencyChangedSlot(m_rates->itemData(index).toInt());
        changed();
    });
    connect(m_commandThreshold, QOverload<int>::of(&QSpinBox::valueChanged), this,
            [recognizer](int percent) { recognizer->setCommandRequiredConfidence(percent); });
    connect(m_dictationThreshold, QOverload<int>::of(&QSpinBox::valueChanged), this,
            [recognizer](int percent) { recognizer->setDictationRequiredConfidence(percent); });
    connect(m_fastCommands, QOverload<int>::of(&QSpinBox::valueChanged), this,
            [recognizer](int quietMs) { recognizer->setFastCommands(quietMs); });
    connect(m_paced, &QCheckBox::toggled, this, [recognizer](bool on) {
        recognizer->setListeningPace(on ? K_VoskInterface::RecommendedListeningPace : 0);
    });
    connect(m_chain, &QCheckBox::toggled, this, [recognizer](bool on) { recognizer->setCommandChaining(on); });
    connect(m_hypotheses, &QCheckBox::toggled, this, [this](bool on) {
        if (hypothesesToggled)
            hypothesesToggled(on);
    });
}

void ControlPanel::showSettings()
{
    const QSignalBlocker quiet[] = {QSignalBlocker(m_microphones), QSignalBlocker(m_rates),
                                    QSignalBlocker(m_commandThreshold), QSignalBlocker(m_dictationThreshold),
                                    QSignalBlocker(m_fastCommands), QSignalBlocker(m_paced),
                                    QSignalBlocker(m_chain)};
    m_microphones->clear();
    for (const std::string& name : m_recognizer.availableMicrophones())
        m_microphones->addItem(QString::fromStdString(name));
    m_microphones->setCurrentText(QString::fromStdString(m_recognizer.captureDevice()));
    m_microphones->setEnabled(m_microphones->count() > 0);
    m_rates->clear();
    for (int rate : m_recognizer.availableFrequencies())
        m_rates->addItem(QString("%1 Hz").arg(rate), rate);
    m_rates->setCurrentIndex(m_rates->findData(m_recognizer.captureFrequency()));

    m_commandThreshold->setRange(m_recognizer.getCommandMinimumRequiredConfidence(),
                                 m_recognizer.getCommandMaximumRequiredConfidence());
    m_commandThreshold->setValue(m_recognizer.getCommandRequiredConfidence());
    m_dictationThreshold->setValue(m_recognizer.dictationRequiredConfidence());
    m_fastCommands->setValue(m_recognizer.fastCommands());
    m_paced->setChecked(m_recognizer.listeningPace() > 0);
    m_chain->setChecked(m_recognizer.commandChaining());
}

void ControlPanel::setListening(bool listening)
{
    m_listen->setEnabled(!listening);
    m_stop->setEnabled(listening);
}
