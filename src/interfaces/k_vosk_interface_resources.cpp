// The host's resource directory, beside which the acoustic model is looked
// for. The host application owns it; without a function of its own the
// directory of the executable stands in.
#include "k_vosk_interface.h"

#include <QCoreApplication>

#include <mutex>

namespace {

std::mutex& resourceDirMutex()
{
    static std::mutex mutex;
    return mutex;
}

KSR::ResourceDirFunction& resourceDirFunction()
{
    static KSR::ResourceDirFunction function;
    return function;
}

std::string applicationDir()
{
    if (!QCoreApplication::instance())
        return std::string();
    return QCoreApplication::applicationDirPath().toUtf8().toStdString();
}

}  // namespace

void KSR::setResourceDirFunction(const ResourceDirFunction& function)
{
    std::lock_guard<std::mutex> lock(resourceDirMutex());
    resourceDirFunction() = function;
}

// The host function runs outside the lock, so it may itself install another.
std::string KSR::resourceDir()
{
    ResourceDirFunction function;
    {
        std::lock_guard<std::mutex> lock(resourceDirMutex());
        function = resourceDirFunction();
    }
    return function ? function() : applicationDir();
}
