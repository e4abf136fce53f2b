#include "model_lookup.h"

#include <QFileInfo>
#include <QString>

#include <cstdlib>

namespace {

std::string chooseModel(const std::string& fromCommandLine)
{
    if (!fromCommandLine.empty())
        return fromCommandLine;
    if (const char* fromEnvironment = std::getenv("KALO_ACOUSTIC_MODEL_PATH"))
        if (*fromEnvironment)
            return fromEnvironment;
    return KSR_BUNDLED_MODEL_DIR;
}

bool hasFeatureConfig(const std::string& model)
{
    return QFileInfo::exists(QString::fromStdString(model + "/mfcc.conf")) ||
           QFileInfo::exists(QString::fromStdString(model + "/conf/mfcc.conf"));
}

}  // namespace

bool selectModel(const std::string& fromCommandLine, std::string& model, std::string& error)
{
    model = chooseModel(fromCommandLine);
    if (!QFileInfo(QString::fromStdString(model)).isDir()) {
        error = "no acoustic model folder at " + model;
        return false;
    }
    if (!hasFeatureConfig(model)) {
        error = model + " is no acoustic model: it has neither mfcc.conf nor conf/mfcc.conf";
        return false;
    }
    ::setenv("KALO_ACOUSTIC_MODEL_PATH", model.c_str(), 1);
    return true;
}
