#ifndef KSR_CLIP_CHECK_PLAN_H
#define KSR_CLIP_CHECK_PLAN_H

// What ksr-clip-check runs: the session set-ups a clip is heard in (the
// same grammars and modes as the end-to-end microphone tests), and what
// varies from run to run (lead-in, chunk sizes, noise), drawn from a seeded
// generator so that a seed always gives the same runs.

#include <cstdint>
#include <string>
#include <vector>

namespace ClipCheck {

// How the session is set up before the clip is heard. Every set-up has the
// dictation grammar (switched on or not), "files" {select all, close window,
// go back} with key north and "edit" {save file, zoom in} with key south.
enum class Mode {
    Commands,        // "files" on, dictation off
    Keys,            // "edit" on, "files" off (a key switches them)
    Dictation,       // dictation and "files" on, lined up by "close window" first
    FreshDictation,  // dictation and "files" on, the clip is the first thing heard
    Numerals,        // dictation on, numerals switched on by the host while listening
    Spelling,        // dictation on, spelling switched on by the host while listening
    SpokenSpelling,  // lined up, then "start spelling" spoken
    Capitals,        // lined up, then capitals switched on by the host
    DictationKey,    // "files" on; dictation off, with the key "activate smith"
};

const std::vector<Mode>& allModes();
const char* modeName(Mode mode);
bool parseMode(const std::string& name, Mode& mode);
// One line on what the set-up does, for the report.
const char* modeSummary(Mode mode);
// The set-ups a clip is checked in when none are asked for: the ones the
// end-to-end tests hear it in, else the one its kind of speech is meant for
// (commands, keys, dictation and formatting, numbers, letters).
std::vector<Mode> defaultModes(const std::string& clipName);

// A generator whose sequence depends only on its seed: xoshiro256**,
// seeded through splitmix64, with conversions of our own rather than the
// standard library's distributions, whose output differs between standard
// libraries.
class Random {
public:
    explicit Random(std::uint64_t seed);
    std::uint64_t next();
    // Uniform in [low, high].
    long long between(long long low, long long high);
    double unit();  // [0, 1)
    double gaussian();

private:
    std::uint64_t m_state[4];
};

// The seed of one run of one clip: the same in every configuration, so that
// a clip meets the same offsets with and without the early end.
std::uint64_t runSeed(std::uint64_t seed, const std::string& clipName, int run);

// How audio is cut into chunks in one run: a fixed number of 10 ms frames,
// or (frames 0) a fresh random count of 1 to `mostFrames` for every chunk.
struct Chunking {
    int frames = 1;
    int mostFrames = 0;
    std::string name() const;
};
// The ways of cutting that runs take in turn, run N the (N mod count)th.
const std::vector<Chunking>& defaultChunkings();
// "40" (ms, a multiple of 10) or "10-600" (a random size up to 600 ms for
// every chunk).
bool parseChunking(const std::string& text, Chunking& chunking);

}  // namespace ClipCheck

#endif
