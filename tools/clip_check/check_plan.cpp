#include "check_plan.h"

#include <cmath>

namespace ClipCheck {

namespace {

struct ModeInfo {
    Mode mode;
    const char* name;
    const char* summary;
};

const ModeInfo kModes[] = {
    {Mode::Commands, "commands", "\"files\" on, dictation off"},
    {Mode::Keys, "keys", "\"edit\" on, \"files\" off"},
    {Mode::Dictation, "dictation", "dictation and \"files\" on, lined up by cmd_close_window first"},
    {Mode::FreshDictation, "dictation-fresh", "dictation and \"files\" on, the clip heard first"},
    {Mode::Numerals, "numerals", "dictation on, numerals switched on by the host while listening"},
    {Mode::Spelling, "spelling", "dictation on, spelling switched on by the host while listening"},
    {Mode::SpokenSpelling, "spoken-spelling", "lined up, then fmt_start_spelling"},
    {Mode::Capitals, "capitals", "lined up, then capitals switched on by the host"},
    {Mode::DictationKey, "dictation-key", "\"files\" on, dictation off with the key \"activate smith\""},
};

bool startsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

std::uint64_t splitMix(std::uint64_t& state)
{
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

std::uint64_t rotl(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }

std::uint64_t fnv1a(const std::string& text)
{
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 0x100000001B3ULL;
    }
    return hash;
}

}  // namespace

const std::vector<Mode>& allModes()
{
    static const std::vector<Mode> modes = [] {
        std::vector<Mode> out;
        for (const ModeInfo& info : kModes)
            out.push_back(info.mode);
        return out;
    }();
    return modes;
}

const char* modeName(Mode mode)
{
    for (const ModeInfo& info : kModes)
        if (info.mode == mode)
            return info.name;
    return "?";
}

const char* modeSummary(Mode mode)
{
    for (const ModeInfo& info : kModes)
        if (info.mode == mode)
            return info.summary;
    return "?";
}

bool parseMode(const std::string& name, Mode& mode)
{
    for (const ModeInfo& info : kModes)
        if (name == info.name) {
            mode = info.mode;
            return true;
        }
    return false;
}

std::vector<Mode> defaultModes(const std::string& clip)
{
    // Where the end-to-end tests hear a clip differently from its kind.
    if (clip == "cmd_close_window.wav")  // also the command that lines dictation up
        return {Mode::Commands, Mode::FreshDictation};
    if (clip == "dict_hello_world.wav")
        return {Mode::FreshDictation, Mode::Dictation, Mode::Capitals};
    if (clip == "dict_i_think_so.wav")
        return {Mode::FreshDictation, Mode::Dictation};
    if (clip == "dict_what_time.wav" || clip == "dict_help_me.wav")  // speech of no command
        return {Mode::Commands, Mode::Dictation};

    if (startsWith(clip, "key_") || startsWith(clip, "chain_north"))
        return {Mode::Keys};
    if (startsWith(clip, "dict_") || startsWith(clip, "fmt_") || startsWith(clip, "multi_") ||
        startsWith(clip, "chain_new_line") || startsWith(clip, "chain_add_comma") ||
        clip == "pause_open_file_hello_world.wav")
        return {Mode::Dictation};
    if (startsWith(clip, "num_"))
        return {Mode::Numerals};
    if (startsWith(clip, "spell_"))
        return {Mode::Spelling, Mode::SpokenSpelling};
    // cmd_*, noise, silence, speech outside the grammars.
    return {Mode::Commands};
}

Random::Random(std::uint64_t seed)
{
    for (std::uint64_t& word : m_state)
        word = splitMix(seed);
}

// xoshiro256**
std::uint64_t Random::next()
{
    const std::uint64_t result = rotl(m_state[1] * 5, 7) * 9;
    const std::uint64_t t = m_state[1] << 17;
    m_state[2] ^= m_state[0];
    m_state[3] ^= m_state[1];
    m_state[1] ^= m_state[2];
    m_state[0] ^= m_state[3];
    m_state[2] ^= t;
    m_state[3] = rotl(m_state[3], 45);
    return result;
}

long long Random::between(long long low, long long high)
{
    if (high <= low)
        return low;
    const std::uint64_t span = static_cast<std::uint64_t>(high - low) + 1;
    return low + static_cast<long long>(next() % span);
}

double Random::unit() { return static_cast<double>(next() >> 11) * (1.0 / 9007199254740992.0); }

double Random::gaussian()
{
    // Box-Muller; one of the pair is enough here.
    const double u1 = 1.0 - unit();  // (0, 1]
    const double u2 = unit();
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(6.283185307179586 * u2);
}

std::uint64_t runSeed(std::uint64_t seed, const std::string& clipName, int run)
{
    std::uint64_t state = seed ^ fnv1a(clipName);
    std::uint64_t value = splitMix(state);
    state = value + static_cast<std::uint64_t>(run) * 0xD1B54A32D192ED03ULL;
    return splitMix(state);
}

std::string Chunking::name() const
{
    return frames > 0 ? std::to_string(frames * 10) + " ms"
                      : "10-" + std::to_string(mostFrames * 10) + " ms";
}

// Every run takes the next way of cutting, so that 24 runs give each one
// three times: from the 10 ms frames of paced listening to the large reads
// of a polling loop that fell behind on a busy machine.
const std::vector<Chunking>& defaultChunkings()
{
    static const std::vector<Chunking> chunkings = {{1, 0},  {2, 0},  {4, 0}, {10, 0},
                                                    {16, 0}, {32, 0}, {0, 20}, {0, 60}};
    return chunkings;
}

bool parseChunking(const std::string& text, Chunking& chunking)
{
    const auto frames = [](const std::string& ms, int& out) {
        if (ms.empty() || ms.size() > 5 || ms.find_first_not_of("0123456789") != std::string::npos)
            return false;
        const int value = std::stoi(ms);
        out = value / 10;
        return value > 0 && value % 10 == 0;
    };
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos) {
        chunking.mostFrames = 0;
        return frames(text, chunking.frames);
    }
    chunking.frames = 0;
    return text.substr(0, dash) == "10" && frames(text.substr(dash + 1), chunking.mostFrames) &&
           chunking.mostFrames > 1;
}

}  // namespace ClipCheck
