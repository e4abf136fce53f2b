#ifndef KSR_BENCH_INTERFACES_SUPPORT_H
#define KSR_BENCH_INTERFACES_SUPPORT_H

// Shared by the interface benchmarks: a private virtual microphone for the
// run, a plain libvosk capture loop as the baseline, and statistics.

#include <AL/al.h>
#include <AL/alc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cpu_clock.h"
#include "vosk/vosk_c_api.h"

namespace Bench {

using Clock = std::chrono::steady_clock;

inline std::string shellQuote(const std::string& text)
{
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// A private PulseAudio server with its virtual microphone (scripts/
// virtual_mic.sh) for this process; OpenAL is pointed at it. Must be made
// before the first OpenAL call.
class VirtualMicrophone {
public:
    explicit VirtualMicrophone(const char* keepAlive = "noise")
        : m_dir("/tmp/ksr-bench-if-" + std::to_string(::getpid()))
    {
        ::setenv("VIRTUAL_MIC_DIR", m_dir.c_str(), 1);
        ::setenv("VIRTUAL_MIC_KEEPALIVE", keepAlive, 1);
        ::setenv("PULSE_SERVER", ("unix:" + m_dir + "/native").c_str(), 1);
        ::setenv("ALSOFT_DRIVERS", "pulse", 1);
        m_up = std::system((script() + " start >/dev/null 2>&1").c_str()) == 0;
    }
    ~VirtualMicrophone()
    {
        if (m_up)
            std::system((script() + " stop >/dev/null 2>&1").c_str());
        std::system(("rm -rf " + shellQuote(m_dir)).c_str());
    }
    bool up() const { return m_up; }
    // Stops the server, as when the audio system goes away under a listener.
    void stopServer()
    {
        if (m_up)
            std::system((script() + " stop >/dev/null 2>&1").c_str());
        m_up = false;
    }
    bool play(const std::string& clip) const
    {
        return std::system((script() + " play " + shellQuote(clip) + " >/dev/null 2>&1").c_str()) == 0;
    }
    // Removes the microphone's source, as when a USB microphone is pulled
    // out (the server stays), and adds it again as the default source.
    bool unplug() const { return std::system((script() + " unplug >/dev/null 2>&1").c_str()) == 0; }
    bool plug() const { return std::system((script() + " plug >/dev/null 2>&1").c_str()) == 0; }

private:
    static std::string script() { return shellQuote(KSR_VIRTUAL_MIC_SCRIPT); }
    std::string m_dir;
    bool m_up = false;
};

inline double processCpuSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// A memory figure of this process from /proc/self/status ("VmHWM", "VmRSS"),
// in MiB; NaN when the kernel does not give it.
inline double statusMiB(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    const std::string key = field + ":";
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(key, 0) == 0)
            return std::atof(line.c_str() + key.size()) / 1024.0;
    return NAN;
}

// Peak resident memory of this process, in MiB.
inline double peakResidentMiB()
{
    return statusMiB("VmHWM");
}

inline bool fileExists(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

// The JSON phrase list of a grammar recognizer: "[unk]" and the phrases.
inline std::string phraseList(const std::vector<std::string>& phrases)
{
    std::string json = "[\"[unk]\"";
    for (const std::string& phrase : phrases)
        json += ",\"" + phrase + "\"";
    return json + "]";
}

// The baseline: the default microphone read with OpenAL at 16000 Hz, every
// waiting sample fed straight to a libvosk grammar recognizer; a final
// result that equals a phrase is reported with the time it was read.
// Between polls that find nothing it sleeps `idle` (zero: it spins).
class PlainLoop {
public:
    using Heard = std::function<void(const std::string& text, Clock::time_point when)>;
    // Called with every read: its samples and the time they were read.
    using Audio = std::function<void(const std::int16_t* samples, int count, Clock::time_point when)>;

    PlainLoop(VoskModel* model, const std::vector<std::string>& phrases, std::chrono::microseconds idle)
        : m_phrases(phrases), m_idle(idle)
    {
        m_recognizer = vosk_recognizer_new_grm(model, 16000.0f, phraseList(phrases).c_str());
    }
    ~PlainLoop()
    {
        stop();
        if (m_recognizer)
            vosk_recognizer_free(m_recognizer);
    }

    bool start(const Heard& heard, const Audio& audio = {})
    {
        m_device = alcCaptureOpenDevice(nullptr, 16000, AL_FORMAT_MONO16, 8000);
        if (!m_device || !m_recognizer)
            return false;
        alcCaptureStart(m_device);
        m_running = true;
        m_thread = std::thread([this, heard, audio] {
            ::pthread_setname_np(::pthread_self(), "plain-loop");  // for the benchmarks' thread clocks
            run(heard, audio);
        });
        return true;
    }
    void stop()
    {
        m_running = false;
        if (m_thread.joinable())
            m_thread.join();
        if (m_device) {
            alcCaptureStop(m_device);
            alcCaptureCloseDevice(m_device);
            m_device = nullptr;
        }
    }

private:
    void run(const Heard& heard, const Audio& audio)
    {
        std::vector<std::int16_t> buffer(16000);
        while (m_running) {
            ALCint waiting = 0;
            alcGetIntegerv(m_device, ALC_CAPTURE_SAMPLES, 1, &waiting);
            if (waiting < 1) {
                if (m_idle.count() > 0)
                    std::this_thread::sleep_for(m_idle);
                continue;
            }
            if (static_cast<std::size_t>(waiting) > buffer.size())
                buffer.resize(static_cast<std::size_t>(waiting));
            alcCaptureSamples(m_device, buffer.data(), waiting);
            const Clock::time_point now = Clock::now();
            if (audio)
                audio(buffer.data(), waiting, now);
            if (vosk_recognizer_accept_waveform(m_recognizer, reinterpret_cast<const char*>(buffer.data()),
                                                waiting * 2)) {
                const std::string json = vosk_recognizer_result(m_recognizer);
                const std::string text = textOf(json);
                if (std::find(m_phrases.begin(), m_phrases.end(), text) != m_phrases.end() && heard)
                    heard(text, Clock::now());
            } else {
                vosk_recognizer_partial_result(m_recognizer);
            }
        }
    }

    static std::string textOf(const std::string& json)
    {
        const std::string key = "\"text\" : \"";
        const auto at = json.find(key);
        if (at == std::string::npos)
            return std::string();
        const auto end = json.find('"', at + key.size());
        return json.substr(at + key.size(), end - at - key.size());
    }

    std::vector<std::string> m_phrases;
    std::chrono::microseconds m_idle;
    VoskRecognizer* m_recognizer = nullptr;
    ALCdevice* m_device = nullptr;
    std::atomic<bool> m_running{false};
    std::thread m_thread;
};

}  // namespace Bench

#endif
