#include "check_run.h"

#include <sndfile.h>

#include <memory>

#include "check_session.h"

namespace ClipCheck {

namespace {

const int kRate = 16000;
const long long kSamplesPerMs = kRate / 1000;

// What the end-to-end tests leave between things. The first clip of a
// session comes a few hundred milliseconds to a second and a half after
// listening starts; a clip that follows another comes once the awaited
// signal arrived (at most 6 s) and at least 1.8 s after the end of the
// other, plus the time the player takes to start. After the clip the tests
// let 1.8 s pass at least.
const long long kLeadInMs[] = {300, 1500};
const long long kSwitchAfterMs[] = {300, 700};   // a host switch after listening starts
const long long kClipAfterSwitchMs[] = {100, 1000};
const long long kGapMs[] = {1800, 2800};
const long long kWaitMs = 6000;
const long long kTrailMs = 1800;
const long long kLateMs = 1200;

std::size_t samplesOf(long long ms) { return static_cast<std::size_t>(ms * kSamplesPerMs); }

// A length in samples, not only whole milliseconds: where a clip starts
// within a 10 ms frame matters as much as in which frame.
std::size_t drawSamples(Random& random, const long long (&range)[2])
{
    return static_cast<std::size_t>(random.between(range[0] * kSamplesPerMs, range[1] * kSamplesPerMs));
}

std::string join(const std::vector<std::string>& events)
{
    std::string out;
    for (const std::string& event : events)
        out += (out.empty() ? "" : "; ") + event;
    return out;
}

std::string msText(std::size_t samples) { return std::to_string(samples / kSamplesPerMs) + " ms"; }

struct SoundFileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

}  // namespace

bool readClip(const std::string& path, ClipAudio& clip, std::string& error)
{
    SF_INFO info{};
    std::unique_ptr<SNDFILE, SoundFileCloser> file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        error = sf_strerror(nullptr);
        return false;
    }
    if (info.samplerate != kRate || info.channels != 1) {
        error = "not 16 kHz mono (" + std::to_string(info.samplerate) + " Hz, " + std::to_string(info.channels) +
                " channels)";
        return false;
    }
    clip.samples.resize(static_cast<std::size_t>(info.frames));
    const sf_count_t read = sf_readf_short(file.get(), clip.samples.data(), info.frames);
    if (read < 0) {
        error = sf_strerror(file.get());
        return false;
    }
    clip.samples.resize(static_cast<std::size_t>(read));
    clip.path = path;
    const std::size_t slash = path.find_last_of('/');
    clip.name = slash == std::string::npos ? path : path.substr(slash + 1);
    return true;
}

bool modeNeedsCloseWindow(Mode mode)
{
    return mode == Mode::Dictation || mode == Mode::SpokenSpelling || mode == Mode::Capitals;
}

bool modeNeedsStartSpelling(Mode mode) { return mode == Mode::SpokenSpelling; }

RunResult runClip(const std::string& modelPath, const ClipAudio& clip, const Preludes& preludes, Mode mode,
                  bool earlyEnd, std::uint64_t seed, const Chunking& chunking)
{
    RunResult result;
    Random plan(seed);
    const std::uint64_t noiseSeed = plan.next();
    const std::uint64_t chunkSeed = plan.next();

    CheckManager manager;
    if (!manager.setUp(modelPath, mode, earlyEnd)) {
        result.error = "the session could not be set up with the model at " + modelPath;
        return result;
    }
    manager.listen();
    Stream stream(manager, noiseSeed, chunkSeed, chunking);

    std::string missed;
    std::string conditions = "chunks " + chunking.name();
    const auto hearPrelude = [&](const ClipAudio& prelude, auto arrived, const char* what) {
        stream.clip(prelude.samples);
        const std::size_t gap = drawSamples(plan, kGapMs);
        conditions += ", " + prelude.name + " then at least " + msText(gap);
        if (!stream.noiseUntil(arrived, gap, samplesOf(kWaitMs)))
            missed += std::string("[") + what + " missed] ";
    };

    switch (mode) {
    case Mode::Commands:
    case Mode::Keys:
    case Mode::FreshDictation:
    case Mode::DictationKey: {
        const std::size_t lead = drawSamples(plan, kLeadInMs);
        conditions += ", lead-in " + msText(lead);
        stream.noise(lead);
        break;
    }
    case Mode::Numerals:
    case Mode::Spelling: {
        const std::size_t before = drawSamples(plan, kSwitchAfterMs);
        const std::size_t after = drawSamples(plan, kClipAfterSwitchMs);
        conditions += ", switched on after " + msText(before) + ", clip " + msText(after) + " later";
        stream.noise(before);
        if (mode == Mode::Numerals)
            manager.setNumeralModeEnabled(true);
        else
            manager.setSpellingModeEnabled(true);
        stream.noise(after);
        break;
    }
    case Mode::Dictation:
    case Mode::SpokenSpelling:
    case Mode::Capitals: {
        const std::size_t lead = drawSamples(plan, kLeadInMs);
        conditions += ", lead-in " + msText(lead);
        stream.noise(lead);
        hearPrelude(*preludes.closeWindow, [&] { return manager.heardCloseWindow(); }, "close window");
        if (mode == Mode::SpokenSpelling)
            hearPrelude(*preludes.startSpelling, [&] { return manager.spellingSwitchedOn(); }, "start spelling");
        if (mode == Mode::Capitals) {
            manager.setCapitalsModeEnabled(true);
            const std::size_t after = drawSamples(plan, kClipAfterSwitchMs);
            conditions += ", capitals on " + msText(after) + " before";
            stream.noise(after);
        }
        break;
    }
    }

    if (preludes.before) {
        manager.clear();
        hearPrelude(*preludes.before, [&] { return !manager.events().empty(); }, "a signal for the clip before");
    }

    manager.clear();
    stream.clip(clip.samples);
    stream.noise(samplesOf(kTrailMs));
    const std::vector<std::string> inTime = manager.events();
    result.failures = manager.failures();
    manager.clear();
    stream.noise(samplesOf(kLateMs));
    const std::vector<std::string> late = manager.events();
    result.failures += manager.failures();

    result.outcome = missed + (inTime.empty() ? std::string("(nothing)") : join(inTime));
    if (!late.empty())
        result.outcome += "; late: " + join(late);
    result.conditions = conditions;
    result.chunking = chunking.name();
    return result;
}

}  // namespace ClipCheck
