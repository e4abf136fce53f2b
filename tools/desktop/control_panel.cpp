#include "control_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
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

// A button in its colour while it can be pressed, grey while not.
QString buttonStyle(const char* colour)
{
    return QString("QPushButton { background: %1; color: white; font-weight: bold; border: none;"
                   " border-radius: 4px; padding: 5px 14px; }"
                   " QPushButton:disabled { background: #d5d8dc; color: #8a9097; }")
        .arg(colour);
}

}  // namespace

ControlPanel::ControlPanel(HostRecognizer& recognizer, QWidget* parent)
    : QGroupBox("Listening", parent), m_recognizer(recognizer)
{
    // Two columns of settings under the buttons, so that the grammar tree
    // above keeps most of the height.
    auto* grid = new QGridLayout(this);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    m_listen = new QPushButton("Listen", this);
    m_stop = new QPushButton("Stop", this);
    m_listen->setStyleSheet(buttonStyle("#1e8449"));
    m_stop->setStyleSheet(buttonStyle("#c0392b"));
    grid->addWidget(m_listen, 0, 0, 1, 2);
    grid->addWidget(m_stop, 0, 2, 1, 2);

    m_microphones = new QComboBox(this);
    m_microphones->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_microphones->setMinimumContentsLength(12);
    grid->addWidget(new QLabel("Microphone", this), 1, 0);
    grid->addWidget(m_microphones, 1, 1, 1, 3);

    m_rates = new QComboBox(this);
    grid->addWidget(new QLabel("Rate", this), 2, 0);
    grid->addWidget(m_rates, 2, 1);
    m_fastCommands = new QSpinBox(this);
    m_fastCommands->setRange(0, 5000);
    m_fastCommands->setSingleStep(50);
    m_fastCommands->setSuffix(" ms");
    m_fastCommands->setSpecialValueText("off");
    m_fastCommands->setToolTip("End a command after this much quiet instead of the decoder's own end, when a "
                               "longer phrase could still follow (the long quiet)");
    m_shortQuiet = new QSpinBox(this);
    m_shortQuiet->setRange(0, 5000);
    m_shortQuiet->setSingleStep(10);
    m_shortQuiet->setPrefix("short ");
    m_shortQuiet->setSuffix(" ms");
    m_shortQuiet->setToolTip("The quiet after a phrase that nothing can continue; the long quiet caps it");
    auto* quiets = new QHBoxLayout;
    quiets->addWidget(m_fastCommands, 1);
    quiets->addWidget(m_shortQuiet, 1);
    grid->addWidget(new QLabel("Early end", this), 2, 2);
    grid->addLayout(quiets, 2, 3);

    m_commandThreshold = percentBox(this);
    m_commandThreshold->setPrefix("commands ");
    m_commandThreshold->setToolTip("Confidence every word of a command needs");
    m_dictationThreshold = percentBox(this);
    m_dictationThreshold->setPrefix("dictation ");
    m_dictationThreshold->setRange(0, 100);
    m_dictationThreshold->setToolTip("Mean confidence dictated text needs");
    grid->addWidget(new QLabel("Thresholds", this), 3, 0);
    grid->addWidget(m_commandThreshold, 3, 1);
    grid->addWidget(m_dictationThreshold, 3, 2, 1, 2);

    auto* boxes = new QHBoxLayout;
    m_paced = new QCheckBox("Paced listening", this);
    m_paced->setToolTip("Wait for audio instead of polling, and keep listening through a lost microphone");
    m_skipSilence = new QCheckBox("Skip silence", this);
    m_skipSilence->setToolTip("Let the recognizers rest after three seconds without speech");
    m_chain = new QCheckBox("Chained commands", this);
    m_chain->setToolTip("Phrases said in one breath count one by one");
    m_hypotheses = new QCheckBox("Log hypotheses", this);
    boxes->addWidget(m_paced);
    boxes->addWidget(m_skipSilence);
    boxes->addWidget(m_chain);
    boxes->addWidget(m_hypotheses);
    boxes->addStretch(1);
    grid->addLayout(boxes, 4, 0, 1, 4);

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
    connect(m_shortQuiet, QOverload<int>::of(&QSpinBox::valueChanged), this,
            [recognizer](int quietMs) { recognizer->setFastCommandsShortQuiet(quietMs); });
    connect(m_paced, &QCheckBox::toggled, this, [recognizer](bool on) {
        recognizer->setListeningPace(on ? K_VoskInterface::RecommendedListeningPace : 0);
    });
    connect(m_skipSilence, &QCheckBox::toggled, this, [recognizer](bool on) { recognizer->setSilenceSkipping(on); });
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
                                    QSignalBlocker(m_fastCommands), QSignalBlocker(m_shortQuiet),
                                    QSignalBlocker(m_paced),
                                    QSignalBlocker(m_skipSilence), QSignalBlocker(m_chain)};
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
    m_shortQuiet->setValue(m_recognizer.fastCommandsShortQuiet());
    m_paced->setChecked(m_recognizer.listeningPace() > 0);
    m_skipSilence->setChecked(m_recognizer.silenceSkipping());
    m_chain->setChecked(m_recognizer.commandChaining());
}

void ControlPanel::setListening(bool listening)
{
    m_listen->setEnabled(!listening);
    m_stop->setEnabled(listening);
}
