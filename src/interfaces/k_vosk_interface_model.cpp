// K_VoskInterface: finding the acoustic model and the sample rate its
// features were computed at.
#include "k_vosk_interface.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cstdlib>

#include "audio/audio_device.h"

namespace {

const char* const kModelPathVariable = "KALO_ACOUSTIC_MODEL_PATH";
const char* const kFeatureConfig = "mfcc.conf";
const char* const kSampleFrequencyOption = "--sample-frequency";

// <resource dir>/../../kalo_external_libs/acoustic_model: the folder that
// holds the model folders shipped with the host.
QString modelsFolder()
{
    const QString separator = QDir::separator();
    const QString folder = QString::fromUtf8(KSR::resourceDir().c_str()) + separator + ".." + separator + ".." +
                           separator + "kalo_external_libs" + separator + "acoustic_model";
    return QDir::cleanPath(folder);
}

// The first model folder in file-system order (no sorting): a host ships one.
QString firstModelFolder()
{
    const QFileInfoList entries =
        QDir(modelsFolder()).entryInfoList(QDir::AllDirs | QDir::NoDotAndDotDot, QDir::NoSort);
    return entries.isEmpty() ? QString() : entries.first().absoluteFilePath();
}

// The model's feature configuration, at its top or in its "conf" folder.
QString featureConfig(const QString& modelPath)
{
    const QString separator = QDir::separator();
    const QString top = modelPath + separator + kFeatureConfig;
    if (QFile::exists(top))
        return top;
    const QString nested = modelPath + separator + "conf" + separator + kFeatureConfig;
    if (QFile::exists(nested))
        return nested;
    return QString();
}

}  // namespace

// Also records, for acousticModelProblem(), why no folder was taken.
std::string K_VoskInterface::findModelPath()
{
    QString path;
    const char* fromEnvironment = std::getenv(kModelPathVariable);
    if (fromEnvironment) {
        path = QFile::decodeName(fromEnvironment);
    } else {
        path = firstModelFolder();
        if (path.isEmpty()) {
            m_modelProblem = std::string(kModelPathVariable) + " is not set, and " +
                             QFile::encodeName(modelsFolder()).toStdString() + " holds no model folder";
            return std::string();
        }
    }

    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists() || !info.isDir() || !info.isReadable()) {
        m_modelProblem = std::string(kModelPathVariable) + " is set to \"" + QFile::encodeName(path).toStdString() +
                         "\", which is not a readable folder";
        return std::string();
    }

    const QString config = featureConfig(path);
    if (config.isEmpty()) {
        m_modelProblem = "\"" + QFile::encodeName(path).toStdString() +
                         "\" is no acoustic model: it has neither mfcc.conf nor conf/mfcc.conf";
        return std::string();
    }
    readSampleFrequency(config);
    return QFile::encodeName(path).toStdString();
}

// Only 8000 and 16000 Hz are taken from the configuration; anything else,
// or an option that cannot be read, keeps 16000 Hz. The microphone stores
// rates as 16000, 44100 or 48000 Hz, so 8000 Hz is kept as 44100 Hz.
void K_VoskInterface::readSampleFrequency(const QString& configFile)
{
    QFile file(configFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    const QString text = QString::fromUtf8(file.readAll());

    const int option = text.indexOf(QLatin1String(kSampleFrequencyOption), 0, Qt::CaseSensitive);
    if (option < 0)
        return;
    const int equals = text.indexOf(QLatin1Char('='), option + int(qstrlen(kSampleFrequencyOption)));
    if (equals < 0)
        return;
    static const QRegularExpression digit(QStringLiteral("\\d"));
    const QRegularExpressionMatch match = digit.match(text, equals);
    if (!match.hasMatch())
        return;
    const int first = int(match.capturedStart());
    int end = first;
    while (end < text.size() && text.at(end).isDigit())
        ++end;

    bool parsed = false;
    const int frequency = text.mid(first, end - first).toInt(&parsed, 10);
    if (parsed && (frequency == 8000 || frequency == 16000))
        audio->setFrequency(true, frequency);
}

std::string K_VoskInterface::acousticModelPath() const { return m_modelPath; }

std::string K_VoskInterface::acousticModelProblem() const { return m_modelProblem; }
