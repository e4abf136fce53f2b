#include "fake_com.h"

#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>

namespace SapiFakes {

namespace {

std::mutex& logMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::vector<std::string>& logEntries()
{
    static std::vector<std::string> entries;
    return entries;
}

struct ScriptState {
    std::mutex mutex;
    std::map<std::string, std::deque<HRESULT>> once;
    std::map<std::string, HRESULT> always;
};

ScriptState& scriptState()
{
    static ScriptState state;
    return state;
}

// "Grammar[101]" -> "Grammar".
std::string className(const std::string& object)
{
    const std::size_t bracket = object.find('[');
    return bracket == std::string::npos ? object : object.substr(0, bracket);
}

}  // namespace

namespace detail {
std::atomic<int>& liveCounter()
{
    static std::atomic<int> counter{0};
    return counter;
}
}  // namespace detail

namespace CallLog {

void add(const std::string& call)
{
    std::lock_guard<std::mutex> lock(logMutex());
    logEntries().push_back(call);
}

std::vector<std::string> calls()
{
    std::lock_guard<std::mutex> lock(logMutex());
    return logEntries();
}

std::vector<std::string> callsStartingWith(const std::string& prefix)
{
    std::vector<std::string> matching;
    for (const auto& call : calls())
        if (call.compare(0, prefix.size(), prefix) == 0)
            matching.push_back(call);
    return matching;
}

void clear()
{
    std::lock_guard<std::mutex> lock(logMutex());
    logEntries().clear();
}

}  // namespace CallLog

namespace Script {

void failOnce(const std::string& call, HRESULT result)
{
    answerOnce(call, result);
}

void answerOnce(const std::string& call, HRESULT result)
{
    ScriptState& state = scriptState();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.once[call].push_back(result);
}

void failAlways(const std::string& call, HRESULT result)
{
    ScriptState& state = scriptState();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.always[call] = result;
}

void clear()
{
    ScriptState& state = scriptState();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.once.clear();
    state.always.clear();
}

HRESULT next(const std::string& object, const std::string& method)
{
    ScriptState& state = scriptState();
    std::lock_guard<std::mutex> lock(state.mutex);
    const std::string names[] = {object + "." + method, className(object) + "." + method};
    for (const auto& name : names) {
        auto once = state.once.find(name);
        if (once != state.once.end() && !once->second.empty()) {
            const HRESULT result = once->second.front();
            once->second.pop_front();
            return result;
        }
    }
    for (const auto& name : names) {
        auto always = state.always.find(name);
        if (always != state.always.end())
            return always->second;
    }
    return S_OK;
}

}  // namespace Script

int liveObjects()
{
    return detail::liveCounter().load();
}

std::string narrow(const WCHAR* text)
{
    if (!text)
        return "null";
    std::string out;
    for (const WCHAR* p = text; *p; ++p) {
        unsigned long code = static_cast<unsigned long>(*p);
        if (code >= 0xD800 && code <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<unsigned long>(p[1]) - 0xDC00);
            ++p;
        }
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (code >> 18));
            out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return out;
}

// Test input is ASCII or well-formed UTF-8; only the tests of the back end's
// own conversion feed it anything else.
KSR::WideString wide(const std::string& text)
{
    KSR::WideString out;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        unsigned long code = lead;
        std::size_t length = 1;
        if (lead >= 0xF0) {
            code = lead & 0x07;
            length = 4;
        } else if (lead >= 0xE0) {
            code = lead & 0x0F;
            length = 3;
        } else if (lead >= 0xC0) {
            code = lead & 0x1F;
            length = 2;
        }
        for (std::size_t k = 1; k < length && i + k < text.size(); ++k)
            code = (code << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        i += length;
        if (code >= 0x10000) {
            code -= 0x10000;
            out.push_back(static_cast<WCHAR>(0xD800 + (code >> 10)));
            out.push_back(static_cast<WCHAR>(0xDC00 + (code & 0x3FF)));
        } else {
            out.push_back(static_cast<WCHAR>(code));
        }
    }
    return out;
}

WCHAR* coTaskMemText(const std::string& text)
{
    const KSR::WideString converted = wide(text);
    auto* block = static_cast<WCHAR*>(CoTaskMemAlloc((converted.size() + 1) * sizeof(WCHAR)));
    if (block) {
        std::memcpy(block, converted.c_str(), converted.size() * sizeof(WCHAR));
        block[converted.size()] = 0;
    }
    return block;
}

std::string hex(unsigned long long value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "0x%llx", value);
    return text;
}

std::string recoStateName(SPRECOSTATE state)
{
    switch (state) {
    case SPRST_INACTIVE:
        return "SPRST_INACTIVE";
    case SPRST_ACTIVE:
        return "SPRST_ACTIVE";
    case SPRST_ACTIVE_ALWAYS:
        return "SPRST_ACTIVE_ALWAYS";
    case SPRST_INACTIVE_WITH_PURGE:
        return "SPRST_INACTIVE_WITH_PURGE";
    default:
        return "SPRST_" + std::to_string(static_cast<int>(state));
    }
}

std::string grammarStateName(SPGRAMMARSTATE state)
{
    switch (state) {
    case SPGS_DISABLED:
        return "SPGS_DISABLED";
    case SPGS_ENABLED:
        return "SPGS_ENABLED";
    case SPGS_EXCLUSIVE:
        return "SPGS_EXCLUSIVE";
    default:
        return "SPGS_" + std::to_string(static_cast<int>(state));
    }
}

std::string ruleStateName(SPRULESTATE state)
{
    switch (state) {
    case SPRS_INACTIVE:
        return "SPRS_INACTIVE";
    case SPRS_ACTIVE:
        return "SPRS_ACTIVE";
    case SPRS_ACTIVE_WITH_AUTO_PAUSE:
        return "SPRS_ACTIVE_WITH_AUTO_PAUSE";
    default:
        return "SPRS_" + std::to_string(static_cast<int>(state));
    }
}

}  // namespace SapiFakes
