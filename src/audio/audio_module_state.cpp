#include "audio/audio_module_state.h"

#include <map>
#include <mutex>
#include <vector>

namespace AudioModuleState {

namespace {

// Built on first use and never destroyed: devices may be created during a
// host's static initialization and destroyed during its static destruction,
// in either case outside the lifetime a namespace-scope object would have.
std::mutex& moduleMutex()
{
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

std::map<ALCcontext*, AudioDevice*>& contexts()
{
    static std::map<ALCcontext*, AudioDevice*>& map = *new std::map<ALCcontext*, AudioDevice*>;
    return map;
}

std::vector<std::string>& messages()
{
    static std::vector<std::string>& list = *new std::vector<std::string>;
    return list;
}

}  // namespace

// Built on first use and never destroyed, like the module's mutex above.
std::mutex& enumerationMutex()
{
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

void registerContext(ALCcontext* context, AudioDevice* device)
{
    std::lock_guard<std::mutex> lock(moduleMutex());
    contexts()[context] = device;
}

AudioDevice* deviceForContext(ALCcontext* context)
{
    std::lock_guard<std::mutex> lock(moduleMutex());
    const auto found = contexts().find(context);
    return found == contexts().end() ? nullptr : found->second;
}

void keepMessage(std::string message)
{
    std::lock_guard<std::mutex> lock(moduleMutex());
    messages().push_back(std::move(message));
}

}  // namespace AudioModuleState
