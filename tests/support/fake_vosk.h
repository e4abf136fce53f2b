#ifndef KSR_TESTS_FAKE_VOSK_H
#define KSR_TESTS_FAKE_VOSK_H

// Test double of libvosk's C functions. A test binary links ksr_vosk_fake in
// place of the real libvosk and scripts what each recognizer answers.
//
// Recognizers are told apart by how they were made: without grammar
// (Dictation), with the 26-letter grammar (Spelling), with any other grammar
// (Command). Each kind has a queue of steps; every accept_waveform call on a
// recognizer of that kind takes the next step (or {0, partial ""} when the
// queue is empty), and result()/partial_result() answer the step's JSON.
// final_result() answers the next queued final JSON of its kind, or an empty
// final result.

#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace FakeVosk {

enum class Kind { Dictation, Command, Spelling };

struct Step {
    int accept = 0;    // what accept_waveform returns
    std::string json;  // what result() (accept != 0) or partial_result() answers
};

struct State {
    // Model creation.
    bool modelNewFails = false;
    std::set<std::string> vocabulary;
    std::string lastModelPath;
    // Recognizer creation.
    bool dictationNewFails = false;
    bool grammarNewFails = false;   // any recognizer made with a grammar
    bool commandNewFails = false;   // only command recognizers
    // Scripts.
    std::deque<Step> steps[3];
    std::deque<std::string> finals[3];
    // Steps repeated in order whenever a kind's queue is empty (long runs
    // such as stress tests); empty means the default {0, partial ""}.
    std::vector<Step> cycle[3];
    std::size_t cyclePosition[3] = {0, 0, 0};
    // False keeps `calls` from growing during long runs.
    bool recordCalls = true;
    // What happened.
    std::vector<std::string> calls;       // e.g. "new:Command", "accept:Command", "final:Dictation"
    std::vector<std::string> grammars;    // grammar text of every recognizer made with one
    std::vector<int> logLevels;           // every vosk_set_log_level argument
    int setWordsCalls = 0;                // vosk_recognizer_set_words(handle, 1) calls
    std::vector<int> maxAlternatives;     // every vosk_recognizer_set_max_alternatives call's count
    int alive[3] = {0, 0, 0};             // recognizers currently not freed, per kind
    int created[3] = {0, 0, 0};
    int modelsAlive = 0;
    long long bytesFed[3] = {0, 0, 0};
    // The "text" of every final result handed out by result() or
    // final_result(), counted per kind: nothing can be delivered more often.
    std::map<std::string, int> finalTexts[3];
};

// Every access to the state must hold this lock.
std::mutex& mutex();
State& state();
// Resets the state to its defaults (call at the start of each test).
void reset();

// Convenience (each takes the lock).
void pushStep(Kind kind, int accept, const std::string& json);
void pushFinal(Kind kind, const std::string& json);
std::vector<std::string> calls();
int alive(Kind kind);
int created(Kind kind);
std::vector<std::string> grammars();

const char* kindName(Kind kind);

// Steps that `kind` repeats once its queue is empty (takes the lock).
void setCycle(Kind kind, const std::vector<Step>& steps);

}  // namespace FakeVosk

#endif
