#include "soak_day.h"

#include <malloc.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>

#include "bench_support.h"
#include "cpu_clock.h"
#include "soak_audio.h"
#include "soak_desk.h"

namespace Soak {

namespace {

const double kPause = 1.5;  // after every clip: the decoder ends the utterance within it
// Before every clip: people speak a moment after they switched something,
// and a recognizer built at that moment hears some room before the voice.
const double kLead = 0.5;

double residentMiB()
{
    return Bench::statusMiB("VmRSS");
}

#ifdef __SANITIZE_ADDRESS__
// The sanitizer runtime's own allocator, which glibc's statistics do not see
// (GCC ships no header for it).
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

double heapMiB()
{
#ifdef __SANITIZE_ADDRESS__
    return static_cast<double>(__sanitizer_get_current_allocated_bytes()) / (1024.0 * 1024.0);
#else
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
#endif
}

std::string describe(const KSR::SRData& data)
{
    std::ostringstream out;
    out << "{g" << data.grammarId << " r" << data.ruleId << " c" << data.commandId << " \"";
    for (char c : data.text)
        out << (c == '\n' ? std::string("\\n") : std::string(1, c));
    out << "\"}";
    return out.str();
}

std::string words(std::string text, bool upper)
{
    text.erase(0, text.find_first_not_of(' '));
    if (!upper)
        for (char& c : text)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool matches(const Expected& expected, const KSR::SRData& got)
{
    const KSR::SRData& want = expected.data;
    if (got.grammarId != want.grammarId || got.ruleId != want.ruleId || got.commandId != want.commandId)
        return false;
    switch (expected.match) {
    case Expected::Exact:
        return got.text == want.text;
    case Expected::Words:
        return words(got.text, false) == words(want.text, false);
    case Expected::UpperWords: {
        std::string upper = want.text;
        for (char& c : upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return words(got.text, true) == upper;
    }
    }
    return false;
}

struct Clip {
    const char* name;
    const char* words;
};

// Sound that is no speech. Out-of-grammar speech is not among them: with a
// handful of short phrases the model takes some of it for one of them (a
// question of the model's accuracy, not of a day's wear).
const Clip kNoSpeech[] = {{"noise_only.wav", ""}, {"silence_only.wav", ""}};
const Clip kDictated[] = {{"dict_hello_world.wav", "hello world"}, {"dict_i_think_so.wav", "i think so"},
                          {"dict_this_is_the_cat.wav", "this is the cat"}};
const Clip kNumbers[] = {{"num_two_plus_two.wav", "2 + 2 = 4"}, {"num_six_times_seven.wav", "6 * 7 = 42"},
                         {"num_105.wav", "105"}, {"num_3400.wav", "3400"}};
// Spelled letters: see Expected::letters for why one may bring nothing.
const Clip kLetters[] = {{"spell_cat.wav", "c a t"}, {"spell_smith.wav", "s m i t h"}, {"spell_wxyz.wav", "w x y z"}};

}  // namespace

std::vector<std::string> dayClips()
{
    std::vector<std::string> names = {"key_north.wav",      "fmt_new_line.wav",      "fmt_add_comma.wav",
                                      "fmt_start_spelling.wav", "fmt_stop_spelling.wav", "fmt_capitals_on.wav"};
    for (const auto& command : Desk::commandClips())
        names.push_back(command.second);
    const auto add = [&names](const auto& clips) {
        for (const Clip& clip : clips)
            names.push_back(clip.name);
    };
    add(kNoSpeech);
    add(kDictated);
    add(kNumbers);
    add(kLetters);
    return names;
}

namespace {

class Day {
public:
    Day(const DayOptions& options, Desk& desk, const ClipBank& clips,
        std::function<void(const std::string&)> onMistake)
        : m_options(options), m_desk(desk), m_clips(clips), m_noise(QuietNoise(options.seed).make(20.0)),
          m_chunk(static_cast<std::size_t>(options.chunkSeconds * kSampleRate)), m_churnRandom(options.seed + 1),
          m_onMistake(std::move(onMistake))
    {
    }

    void run(DayReport& report, const std::function<void(const Row&)>& onRow)
    {
        quiet(1.0);
        startRow();
        double nextReport = m_options.reportSeconds;
        while (true) {
            if (audioSeconds() >= nextReport || over()) {
                endRow(report, onRow);
                nextReport += m_options.reportSeconds;
                m_random.seed(m_options.seed);
                if (over())
                    break;
            }
            commandBlock();
            dictationBlock();
        }
        report.counts = m_counts;
    }

private:
    double audioSeconds() const { return static_cast<double>(m_samples) / kSampleRate; }
    // The day ends after the utterance that reaches its length.
    bool over() const { return audioSeconds() >= m_options.hours * 3600.0; }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    bool chance(double p) { return std::uniform_real_distribution<double>(0.0, 1.0)(m_random) < p; }

    void feed(const short* samples, std::size_t count)
    {
        for (std::size_t at = 0; at < count; at += m_chunk) {
            const std::size_t n = std::min(m_chunk, count - at);
            m_desk.manager().processAudio(reinterpret_cast<const char*>(samples + at), static_cast<int>(n * 2));
            m_samples += n;
        }
    }

    // Quiet noise, cut from a block made once, so that the harness adds no
    // work of its own to the figures.
    void quiet(double seconds)
    {
        std::size_t left = static_cast<std::size_t>(seconds * kSampleRate);
        while (left > 0) {
            const std::size_t n = std::min(left, m_noise.size() - m_noiseAt);
            feed(m_noise.data() + m_noiseAt, n);
            m_noiseAt = (m_noiseAt + n) % m_noise.size();
            left -= n;
        }
    }

    // The host's work that follows the clock of the audio.
    void hostWork()
    {
        const double now = audioSeconds();
        if (now >= m_nextChurn) {
            ++m_counts["commands churned"];
            m_desk.churn(m_churnRandom);
            m_nextChurn += 60.0;
        }
        if (now >= m_nextThresholds) {
            ++m_counts["thresholds changed"];
            m_desk.changeThresholds(m_churnRandom);
            m_nextThresholds += 90.0;
        }
        if (now >= m_nextRestart) {
            ++m_counts["restarts"];
            m_desk.restartListening();
            m_nextRestart += 150.0;
        }
    }

    // A clip and the pause after it. What it brought is judged when the next
    // clip begins, so that a result that comes while the host changes
    // something still counts for the clip that caused it.
    void hear(const std::string& clip, const Expected& expected)
    {
        settle();
        quiet(kLead);
        const Samples& samples = m_clips.clip(clip);
        feed(samples.data(), samples.size());
        quiet(kPause);
        m_pending = Pending{clip, expected, m_desk.manager().take(), true};
    }

    void settle()
    {
        Heard later = m_desk.manager().take();
        if (!m_pending.open)
            return;  // the host's own changes before any clip report nothing to judge
        Heard& heard = m_pending.heard;
        heard.results.insert(heard.results.end(), later.results.begin(), later.results.end());
        heard.activations.insert(heard.activations.end(), later.activations.begin(), later.activations.end());
        heard.failures += later.failures;
        judge(m_pending.clip, m_pending.expected, heard);
        m_pending.open = false;
    }

    void judge(const std::string& clip, const Expected& expected, const Heard& heard)
    {
        m_row.failures += heard.failures;
        bool found = false;
        std::string got;
        for (const KSR::SRData& result : heard.results) {
            if (!found && expected.kind == Expected::Result && matches(expected, result)) {
                found = true;
                continue;
            }
            ++m_row.wrong;
            got += " " + describe(result);
        }
        if (expected.kind == Expected::Activation)
            for (const auto& activation : heard.activations)
                found = found || (activation.first == expected.activated && activation.second);
        if (expected.kind != Expected::Nothing) {
            ++m_row.expected;
            if (found)
                ++m_row.received;
            else if (expected.letters && got.empty())
                ++m_row.unsure;
            else
                ++m_row.lost;
        }
        const bool mistake = !got.empty() || (expected.kind != Expected::Nothing && !found && !expected.letters);
        if (mistake && m_onMistake) {
            std::ostringstream line;
            line.precision(3);
            line << "at " << audioSeconds() / 3600.0 << " h " << clip << ": expected "
                 << (expected.kind == Expected::Result       ? describe(expected.data)
                     : expected.kind == Expected::Activation ? "grammar " + std::to_string(expected.activated) + " on"
                                                             : std::string("nothing"))
                 << ", got" << (got.empty() ? std::string(" nothing") : got);
            m_onMistake(line.str());
        }
    }

    void commandBlock()
    {
        const int utterances = 15 + pick(16);
        const auto& commands = Desk::commandClips();
        for (int i = 0; i < utterances && !over(); ++i) {
            hostWork();
            const int kind = pick(20);
            if (kind < 15) {
                const auto& command = commands[static_cast<std::size_t>(pick(static_cast<int>(commands.size())))];
                const Expected expected = m_desk.focusFor(command.first, m_random);
                hear(command.second, expected);
                ++m_counts["commands"];
            } else if (kind < 17) {
                hear("key_north.wav", m_desk.prepareKey());
                ++m_counts["keys"];
            } else if (kind < 19) {
                hear(kNoSpeech[pick(2)].name, Expected());
                ++m_counts["noises"];
            } else {
                quiet(5.0 + pick(16));  // nobody speaks for a while
                ++m_counts["long quiets"];
            }
        }
    }

    void dictationBlock()
    {
        if (over())
            return;
        m_desk.beginDictation();
        // Every kind of dictation once a block, in a random order.
        enum Kind { Dictated, Formatting, Numerals, Spelling, Capitals };
        Kind kinds[] = {Dictated, Formatting, Numerals, Spelling, Capitals};
        std::shuffle(std::begin(kinds), std::end(kinds), m_random);
        for (Kind kind : kinds) {
            if (over())
                break;
            hostWork();
            switch (kind) {
            case Dictated: {
                const Clip& clip = kDictated[pick(3)];
                hear(clip.name, m_desk.dictated(clip.words));
                ++m_counts["dictated"];
                break;
            }
            case Formatting:
                ++m_counts["formatting"];
                if (chance(0.5))
                    hear("fmt_new_line.wav", m_desk.formatting("new line", "\n"));
                else
                    hear("fmt_add_comma.wav", m_desk.formatting("add comma", ","));
                break;
            case Numerals: {
                m_desk.setNumerals(true);
                ++m_counts["numerals"];
                const int count = 1 + pick(2);
                for (int n = 0; n < count; ++n) {
                    const Clip& clip = kNumbers[pick(4)];
                    hear(clip.name, m_desk.dictated(clip.words));
                }
                m_desk.setNumerals(false);
                break;
            }
            case Spelling:
                ++m_counts["spelling"];
                spell();
                break;
            case Capitals: {
                hear("fmt_capitals_on.wav", m_desk.formatting("capitals on", ""));
                ++m_counts["capitals"];
                m_desk.capitalsSpoken();
                const Clip& clip = kDictated[pick(3)];
                hear(clip.name, m_desk.dictated(clip.words));
                m_desk.setCapitals(false);
                break;
            }
            }
        }
        m_desk.endDictation();
    }

    // Spelling, switched by the spoken phrases or by the host.
    void spell()
    {
        const bool spoken = chance(0.5);
        if (spoken)
            hear("fmt_start_spelling.wav", m_desk.formatting("start spelling", ""));
        else
            m_desk.setSpelling(true);
        const int count = 1 + pick(2);
        for (int n = 0; n < count; ++n) {
            const Clip& clip = kLetters[pick(3)];
            hear(clip.name, m_desk.spelled(clip.words));
        }
        if (spoken)
            hear("fmt_stop_spelling.wav", m_desk.formatting("stop spelling", ""));
        else
            m_desk.setSpelling(false);
    }

    void startRow()
    {
        m_row = Row();
        m_rowCpu = Bench::cpuSeconds();
        m_rowSamples = m_samples;
    }

    void endRow(DayReport& report, const std::function<void(const Row&)>& onRow)
    {
        settle();
        m_row.audioHours = audioSeconds() / 3600.0;
        m_row.residentMiB = residentMiB();
        m_row.heapMiB = heapMiB();
        const double audio = static_cast<double>(m_samples - m_rowSamples) / kSampleRate;
        m_row.realTimeFactor = audio > 0.0 ? (Bench::cpuSeconds() - m_rowCpu) / audio : 0.0;
        m_row.commands = static_cast<long>(m_desk.commandCount());
        report.rows.push_back(m_row);
        if (onRow)
            onRow(m_row);
        startRow();
    }

    const DayOptions& m_options;
    Desk& m_desk;
    const ClipBank& m_clips;
    const Samples m_noise;
    std::size_t m_noiseAt = 0;
    const std::size_t m_chunk;
    std::size_t m_samples = 0;
    std::mt19937 m_random{m_options.seed};
    std::mt19937 m_churnRandom;
    double m_nextChurn = 60.0;
    double m_nextThresholds = 90.0;
    double m_nextRestart = 150.0;
    struct Pending {
        std::string clip;
        Expected expected;
        Heard heard;
        bool open = false;
    } m_pending;
    Row m_row;
    double m_rowCpu = 0.0;
    std::size_t m_rowSamples = 0;
    std::function<void(const std::string&)> m_onMistake;
    std::map<std::string, long> m_counts;
};

}  // namespace

const std::vector<std::string>& dayKinds()
{
    static const std::vector<std::string> kinds = {
        "commands", "keys",      "noises",   "long quiets",      "dictated",           "formatting",
        "numerals", "spelling",  "capitals", "commands churned", "thresholds changed", "restarts"};
    return kinds;
}

DayReport runDay(const DayOptions& options, const std::function<void(const Row&)>& onRow,
                 const std::function<void(const std::string&)>& onMistake)
{
    DayReport report;
    ClipBank clips(options.clipDirs);
    QuietNoise noise(options.seed + 2);
    if (!clips.load(dayClips(), noise, report.whyNot))
        return report;
    Desk desk;
    if (!desk.setUp(options.modelDir, options.fastCommands, report.whyNot))
        return report;
    Day day(options, desk, clips, onMistake);
    day.run(report, onRow);
    report.ran = true;
    return report;
}

}  // namespace Soak
