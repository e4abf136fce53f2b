#include "soak_microphone.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QTimer>


#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "audio/audio_device.h"
#include "bench_support.h"
#include "k_vosk_interface.h"
#include "soak_desk.h"

namespace Soak {
namespace {

using Clock = std::chrono::steady_clock;
using Interval = std::pair<Clock::time_point, Clock::time_point>;

// A result may arrive this long after its clip ended (the decoder waits for
// trailing silence, about a second, and the signal is queued).
const std::chrono::seconds kResultLag(6);

// With KSR_SOAK_TRACE=1 the phase's timeline goes to standard error beside
// the module's log lines, seconds since the phase began, for finding out
// what came before a missing stop or a wrong result.
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void trace(const char* format, ...)
{
    static const bool on = [] {
        const char* value = std::getenv("KSR_SOAK_TRACE");
        return value && std::string(value) == "1";
    }();
    static const Clock::time_point began = Clock::now();
    if (!on)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    std::fprintf(stderr, "soak %8.3f ", std::chrono::duration<double>(Clock::now() - began).count());
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
}

int uniform(std::mt19937& random, int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

// The host thread waits in an event loop of its own, so that the queued
// signals arrive meanwhile and the thread costs nothing while it waits. Not
// QCoreApplication::exec(): leaving the application's loop announces
// aboutToQuit, on which a listening interface stops.
void pause(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

template <typename Predicate>
bool waitUntil(Predicate done, int ms)
{
    const Clock::time_point until = Clock::now() + std::chrono::milliseconds(ms);
    while (!done() && Clock::now() < until)
        pause(20);
    return done();
}

// The interface with its microphone in reach: the host chooses the virtual
// microphone by name, as a user picks a USB microphone, so that pulling it
// out leaves nothing to listen to until it is back.
class SoakInterface : public K_VoskInterface {
public:
    SoakInterface() : K_VoskInterface(nullptr) {}
    using K_VoskInterface::audioDevice;
};

struct Played {
    std::size_t command;
    Clock::time_point begin;
    Clock::time_point end;  // Clock::time_point::max() while it plays
};

// Plays random command clips into the microphone, one after another with a
// pause between, until finished.
class Player {
public:
    Player(const Bench::VirtualMicrophone& mic, std::vector<std::string> clips, unsigned seed)
        : m_mic(mic), m_clips(std::move(clips)), m_random(seed), m_thread([this] { run(); })
    {
    }
    ~Player() { finish(); }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Returns once the clip in play has ended.
    void finish()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_finished = true;
        }
        m_wake.notify_all();
        if (m_thread.joinable())
            m_thread.join();
    }

    std::vector<Played> played() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_played;
    }
    int failures() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_failures;
    }

private:
    static const char* name(const std::string& path) { return path.c_str() + path.rfind('/') + 1; }

    void run()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_finished) {
            const std::size_t command = static_cast<std::size_t>(uniform(m_random, 0, int(m_clips.size()) - 1));
            const std::chrono::milliseconds gap(uniform(m_random, 1500, 3000));
            m_played.push_back({command, Clock::now(), Clock::time_point::max()});
            trace("playing %s", name(m_clips[command]));
            const std::size_t at = m_played.size() - 1;
            lock.unlock();
            const bool ok = m_mic.play(m_clips[command]);  // real time: blocks until played
            lock.lock();
            trace("played %s%s", name(m_clips[command]), ok ? "" : " (failed)");
            if (ok) {
                m_played[at].end = Clock::now();
            } else {
                m_played.erase(m_played.begin() + static_cast<std::ptrdiff_t>(at));
                ++m_failures;
            }
            m_wake.wait_for(lock, gap, [this] { return m_finished; });
        }
    }

    const Bench::VirtualMicrophone& m_mic;
    const std::vector<std::string> m_clips;
    std::mt19937 m_random;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_finished = false;
    std::vector<Played> m_played;
    int m_failures = 0;
    std::thread m_thread;  // last: starts once everything above is ready
};

// What the host hears from the interface, in arrival order on the host
// thread (queued connections to this object, which lives there), and the
// results judged as they come.
class Watch : public QObject {
public:
    // Asked: the host called start(); the others are the signals.
    enum Kind { Asked, Started, Stopped, Disconnected, Reconnected };
    struct Event {
        Kind kind;
        Clock::time_point at;
        K_SRInterface::ListeningEnd how;  // Stopped
    };

    Watch(K_VoskInterface& iface, const Player& player, KSR::GrammarId grammar, KSR::RuleId rule,
          std::vector<KSR::CommandId> ids)
        : m_player(player), m_grammar(grammar), m_rule(rule), m_ids(std::move(ids))
    {
        connect(&iface, &K_SRInterface::listeningStarted, this, [this] { add(Started); }, Qt::QueuedConnection);
        connect(&iface, &K_SRInterface::listeningStopped, this,
                [this](K_SRInterface::ListeningEnd how) { add(Stopped, how); }, Qt::QueuedConnection);
        connect(&iface, &K_VoskInterface::microphoneDisconnected, this, [this](QString) { add(Disconnected); },
                Qt::QueuedConnection);
        connect(&iface, &K_VoskInterface::microphoneReconnected, this, [this](QString) { add(Reconnected); },
                Qt::QueuedConnection);
        connect(&iface, &K_SRInterface::recognitionResult, this, [this](KSR::SRData data) { judge(data); },
                Qt::QueuedConnection);
    }

    // Marks a start() the host is about to call. Whatever the previous run
    // emitted was posted before its stop() returned; delivering it now puts
    // it before the mark.
    void asked()
    {
        QCoreApplication::sendPostedEvents(this);
        add(Asked);
    }

    const std::vector<Event>& events() const { return m_events; }
    int count(Kind kind) const
    {
        return int(std::count_if(m_events.begin(), m_events.end(), [kind](const Event& e) { return e.kind == kind; }));
    }
    int heard() const { return m_heard; }
    int wrong() const { return m_wrong; }

private:
    void add(Kind kind, K_SRInterface::ListeningEnd how = K_SRInterface::ListeningEnd::Stopped)
    {
        static const char* const names[] = {"start()", "listeningStarted", "listeningStopped",
                                            "microphoneDisconnected", "microphoneReconnected"};
        const bool unusual = kind == Stopped && how != K_SRInterface::ListeningEnd::Stopped;
        trace("%s%s", names[kind], unusual ? " (not Stopped)" : "");
        m_events.push_back({kind, Clock::now(), how});
    }

    // A command counts when its record is the one registered and its clip
    // was played lately; any other result is wrong, a command nobody said
    // included.
    void judge(const KSR::SRData& data)
    {
        const auto& clips = Desk::commandClips();
        const Clock::time_point now = Clock::now();
        for (std::size_t i = 0; i < clips.size(); ++i) {
            if (data.text != clips[i].first)
                continue;
            const bool ids = data.grammarId == m_grammar && data.ruleId == m_rule && data.commandId == m_ids[i];
            const std::vector<Played> played = m_player.played();
            const bool said = std::any_of(played.begin(), played.end(), [&](const Played& p) {
                return p.command == i && p.begin <= now &&
                       (p.end == Clock::time_point::max() || now - p.end <= kResultLag);
            });
            ++(ids && said ? m_heard : m_wrong);
            trace("result \"%s\"", data.text.c_str());
            if (!(ids && said))
                std::fprintf(stderr, "soak: wrong result {g%llu r%lu c%d \"%s\"}%s\n", data.grammarId,
                             static_cast<unsigned long>(data.ruleId), data.commandId, data.text.c_str(),
                             said ? "" : ", not played lately");
            return;
        }
        ++m_wrong;
        std::fprintf(stderr, "soak: wrong result {g%llu r%lu c%d \"%s\"}\n", data.grammarId,
                     static_cast<unsigned long>(data.ruleId), data.commandId, data.text.c_str());
    }

    const Player& m_player;
    const KSR::GrammarId m_grammar;
    const KSR::RuleId m_rule;
    const std::vector<KSR::CommandId> m_ids;
    std::vector<Event> m_events;
    int m_heard = 0;
    int m_wrong = 0;
};

// Every run the host started followed by exactly one listeningStopped
// before the next start, after its listeningStarted if it had one.
int unpairedStarts(const std::vector<Watch::Event>& events)
{
    int unpaired = 0;
    int started = 0, stopped = 0;
    bool order = true;
    auto close = [&] { unpaired += stopped != 1 || started > 1 || !order; };
    bool any = false;
    for (const Watch::Event& event : events) {
        if (event.kind == Watch::Asked) {
            if (any)
                close();
            any = true;
            started = stopped = 0;
            order = true;
        } else if (event.kind == Watch::Started) {
            ++started;
            order = order && stopped == 0;
        } else if (event.kind == Watch::Stopped) {
            ++stopped;
        }
    }
    if (any)
        close();
    return unpaired;
}

// Every disconnect followed by a reconnect or by the end of the run. The
// times the microphone was gone are added to `deaf`.
int unansweredDisconnects(const std::vector<Watch::Event>& events, std::vector<Interval>& deaf)
{
    int unanswered = 0;
    bool gone = false;
    Clock::time_point since;
    for (const Watch::Event& event : events) {
        if (event.kind == Watch::Disconnected) {
            unanswered += gone;
            gone = true;
            since = event.at;
        } else if (gone && (event.kind == Watch::Reconnected || event.kind == Watch::Stopped)) {
            gone = false;
            deaf.push_back({since, event.at});
        }
    }
    if (gone)
        deaf.push_back({since, Clock::time_point::max()});
    return unanswered + gone;
}

// Listening windows: from listeningStarted to the stop the host asked for
// (`stops`, in order) or to listeningStopped, whichever came first.
std::vector<Interval> listeningWindows(const std::vector<Watch::Event>& events,
                                       const std::vector<Clock::time_point>& stops)
{
    std::vector<Interval> windows;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (events[i].kind != Watch::Started)
            continue;
        Clock::time_point end = Clock::time_point::max();
        for (std::size_t j = i + 1; j < events.size() && end == Clock::time_point::max(); ++j)
            if (events[j].kind == Watch::Stopped)
                end = events[j].at;
        const auto asked = std::lower_bound(stops.begin(), stops.end(), events[i].at);
        if (asked != stops.end())
            end = std::min(end, *asked);
        windows.push_back({events[i].at, end});
    }
    return windows;
}

int clipsHeardWhole(const std::vector<Played>& played, const std::vector<Interval>& windows,
                    const std::vector<Interval>& deaf)
{
    int whole = 0;
    for (const Played& clip : played) {
        if (clip.end == Clock::time_point::max())
            continue;
        const bool inside = std::any_of(windows.begin(), windows.end(), [&](const Interval& w) {
            return w.first <= clip.begin && clip.end <= w.second;
        });
        const bool cut = std::any_of(deaf.begin(), deaf.end(), [&](const Interval& d) {
            return d.first < clip.end && clip.begin < d.second;
        });
        whole += inside && !cut;
    }
    return whole;
}

// The phase, up to the end of its run; everything it made is torn down on
// return.
void runPhase(const MicrophoneOptions& options, MicrophoneReport& report)
{
    trace("microphone phase, seed %u", options.seed);
    if (!QCoreApplication::instance()) {
        report.whyNot = "no application object on this thread";
        return;
    }
    std::vector<std::string> clips;
    for (const auto& command : Desk::commandClips()) {
        clips.push_back(options.audioDir + "/" + command.second);
        if (!Bench::fileExists(clips.back())) {
            report.whyNot = "clip " + clips.back() + " is missing";
            return;
        }
    }
    // Before the first OpenAL call: the interface's audio goes to a server
    // of this process's own, which can lose its microphone without
    // disturbing anybody else's.
    Bench::VirtualMicrophone mic;
    if (!mic.up()) {
        report.whyNot = "the virtual microphone does not start (scripts/virtual_mic.sh start)";
        return;
    }
    ::setenv("KALO_ACOUSTIC_MODEL_PATH", options.modelDir.c_str(), 1);
    K_SRInterface::registerKSRTypes();
    SoakInterface iface;
    if (!iface.isInitialized()) {
        report.whyNot = "no model: " + iface.acousticModelProblem();
        return;
    }

    // The commands of the clips, switched on; dictation registered but off.
    const KSR::GrammarId grammar = iface.addCommandGrammar("");
    const KSR::RuleId rule = iface.addRule(grammar, "commands");
    std::vector<KSR::CommandId> ids;
    for (const auto& command : Desk::commandClips())
        ids.push_back(iface.addCommand(rule, command.first));
    const bool registered = iface.addDictationGrammar("") != KSR::InvalidGrammarId &&
                            std::none_of(ids.begin(), ids.end(), [](KSR::CommandId id) { return id < 0; }) &&
                            iface.setActivated(grammar, true);
    if (!registered) {
        report.whyNot = "the command grammar cannot be registered";
        return;
    }
    iface.setListeningPace(K_VoskInterface::RecommendedListeningPace);
    iface.setSilenceSkipping(true);
    iface.microphoneFrequencyChangedSlot(16000);  // the virtual microphone's own rate
    const std::string device = iface.audioDevice()->defaultCaptureDeviceName();
    if (device.empty()) {
        report.whyNot = "the virtual microphone has no capture device";
        return;
    }
    iface.microphoneDeviceChangedSlot(QString::fromStdString(device));

    std::mt19937 random(options.seed);
    Player player(mic, clips, options.seed * 2654435761u + 1u);
    Watch watch(iface, player, grammar, rule, ids);
    std::vector<Clock::time_point> stops;  // when the host asked for each stop
    std::vector<Interval> deaf;            // the microphone was out
    auto start = [&] {
        ++report.startsAsked;
        watch.asked();
        iface.start();
    };
    auto stop = [&] {
        ++report.stopsAsked;
        stops.push_back(Clock::now());
        trace("stop()");
        iface.stop();
    };

    // The first run must begin, or the microphone is not usable at all.
    start();
    if (!waitUntil([&] { return watch.count(Watch::Started) > 0; }, 5000)) {
        report.whyNot = "listening does not begin on the virtual microphone (" + device + ")";
        return;
    }

    // Pulls the microphone out for about two seconds, now and then stopping
    // listening while it is out; says whether listening was stopped.
    auto pullOut = [&] {
        const Clock::time_point out = Clock::now();
        trace("unplug");
        if (!mic.unplug()) {
            report.whyNot = "the microphone cannot be pulled out (scripts/virtual_mic.sh unplug)";
            return false;
        }
        ++report.unplugs;
        const int outMs = uniform(random, 1500, 2500);
        const bool stopping = uniform(random, 0, 2) == 0;
        const int before = stopping ? uniform(random, 300, outMs - 300) : outMs;
        pause(before);
        if (stopping)
            stop();
        pause(outMs - before);
        if (!mic.plug())
            report.whyNot = "the microphone cannot be put back (scripts/virtual_mic.sh plug)";
        deaf.push_back({out, Clock::now()});
        trace("plugged");
        return stopping;
    };

    const auto ms = [](long long count) { return std::chrono::milliseconds(count); };
    const Clock::time_point end = Clock::now() + ms(static_cast<long long>(options.minutes * 60000.0));
    Clock::time_point nextUnplug = Clock::now() + ms(uniform(random, 25000, 35000));
    for (bool first = true; Clock::now() < end && report.whyNot.empty(); first = false) {
        if (!first)
            start();
        int windowMs = uniform(random, 2000, 6000);
        bool stopped = false;
        if (Clock::now() >= nextUnplug) {
            // Once listening has begun.
            const int lead = std::min(windowMs, 1000);
            pause(lead);
            windowMs -= lead;
            if (iface.isListening()) {
                stopped = pullOut();
                nextUnplug = Clock::now() + ms(uniform(random, 25000, 35000));
            }
        }
        if (!stopped) {
            pause(windowMs);
            stop();
        }
        pause(uniform(random, 500, 2000));
    }

    // Every run asked for has ended once as many listeningStopped arrived;
    // a second more shows whether any came twice.
    if (iface.isActive() || iface.isListening())
        stop();
    waitUntil([&] { return watch.count(Watch::Stopped) >= report.startsAsked; }, 5000);
    pause(1000);
    player.finish();

    const std::vector<Watch::Event>& events = watch.events();
    report.started = watch.count(Watch::Started);
    report.stopped = watch.count(Watch::Stopped);
    report.disconnects = watch.count(Watch::Disconnected);
    report.reconnects = watch.count(Watch::Reconnected);
    report.unpairedStarts = unpairedStarts(events);
    report.disconnectsUnanswered = unansweredDisconnects(events, deaf);
    report.endsNotStopped = int(std::count_if(events.begin(), events.end(), [](const Watch::Event& e) {
        return e.kind == Watch::Stopped && e.how != K_SRInterface::ListeningEnd::Stopped;
    }));
    const std::vector<Played> played = player.played();
    report.clipsPlayed = int(played.size());
    report.clipsHeardWhole = clipsHeardWhole(played, listeningWindows(events, stops), deaf);
    report.commandsHeard = watch.heard();
    report.wrongResults = watch.wrong();
    if (report.whyNot.empty() && player.failures() > 0)
        report.whyNot = std::to_string(player.failures()) + " clips could not be played";
    report.ran = report.whyNot.empty();
}

}  // namespace

MicrophoneReport runMicrophonePhase(const MicrophoneOptions& options)
{
    MicrophoneReport report;
    const Clock::time_point began = Clock::now();
    runPhase(options, report);
    report.seconds = std::chrono::duration<double>(Clock::now() - began).count();
    return report;
}

}  // namespace Soak
