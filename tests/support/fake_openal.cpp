#include "fake_openal.h"

#include "fake_openal_books.h"

namespace FakeOpenAl {

using namespace internal;

namespace {

// Records of earlier tests run in the same process are kept, never freed, so
// that no later record can take the address of a handle still held by code.
std::vector<std::unique_ptr<Device>>& retiredDevices()
{
    static std::vector<std::unique_ptr<Device>> retired;
    return retired;
}

std::vector<std::unique_ptr<Context>>& retiredContexts()
{
    static std::vector<std::unique_ptr<Context>> retired;
    return retired;
}

}  // namespace

std::mutex& mutex()
{
    static std::mutex m;
    return m;
}

State& state()
{
    static State s;
    return s;
}

void reset()
{
    std::lock_guard<std::mutex> lock(mutex());
    state() = State();
    Books& b = books();
    for (auto& device : b.devices)
        retiredDevices().push_back(std::move(device));
    for (auto& context : b.contexts)
        retiredContexts().push_back(std::move(context));
    b = Books();
}

void script(Call call, const std::vector<Outcome>& outcomes)
{
    std::lock_guard<std::mutex> lock(mutex());
    std::deque<Outcome>& queue = state().outcomes[static_cast<int>(call)];
    queue.insert(queue.end(), outcomes.begin(), outcomes.end());
}

std::vector<std::string> calls()
{
    std::lock_guard<std::mutex> lock(mutex());
    return state().calls;
}

void clearCalls()
{
    std::lock_guard<std::mutex> lock(mutex());
    state().calls.clear();
}

std::vector<std::string> callsStartingWith(const std::string& prefix)
{
    std::lock_guard<std::mutex> lock(mutex());
    std::vector<std::string> found;
    for (const auto& call : state().calls)
        if (call.compare(0, prefix.size(), prefix) == 0)
            found.push_back(call);
    return found;
}

std::vector<std::string> openHandles()
{
    std::lock_guard<std::mutex> lock(mutex());
    std::vector<std::string> open;
    for (const auto& device : books().devices)
        if (device->open)
            open.push_back(device->handle);
    for (const auto& context : books().contexts)
        if (context->alive)
            open.push_back(context->handle);
    return open;
}

std::vector<std::string> misuses()
{
    std::lock_guard<std::mutex> lock(mutex());
    return books().misuses;
}

std::string currentContext()
{
    std::lock_guard<std::mutex> lock(mutex());
    return books().current ? books().current->handle : "null";
}

std::vector<CaptureDevice> captureDevices()
{
    std::lock_guard<std::mutex> lock(mutex());
    std::vector<CaptureDevice> devices;
    for (const auto& device : books().devices)
        if (device->capture)
            devices.push_back(device->info);
    return devices;
}

bool deliver(int frames)
{
    std::lock_guard<std::mutex> lock(mutex());
    Device* device = openCaptureDevice();
    if (!device)
        return false;
    arrive(*device, frames);
    return true;
}

bool disconnect()
{
    std::lock_guard<std::mutex> lock(mutex());
    Device* device = openCaptureDevice();
    if (!device)
        return false;
    device->info.connected = false;
    return true;
}

void play(const std::vector<short>& samples)
{
    std::lock_guard<std::mutex> lock(mutex());
    state().sound.insert(state().sound.end(), samples.begin(), samples.end());
}

bool soundConsumed()
{
    std::lock_guard<std::mutex> lock(mutex());
    const Device* device = openCaptureDevice();
    if (!device)
        return true;
    const long long rate = device->info.frequency;
    const long long at = device->info.soundStart + (rate ? device->info.soundFrames * 16000 / rate : 0);
    return device->heard.empty() && at >= static_cast<long long>(state().sound.size());
}

short sampleValue(long long index) { return static_cast<short>(index % 32768); }

}  // namespace FakeOpenAl
