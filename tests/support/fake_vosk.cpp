#include "fake_vosk.h"

#include <cstring>
#include <map>

#include "vosk/vosk_c_api.h"

struct VoskModel {
    int unused = 0;
};

struct VoskRecognizer {
    FakeVosk::Kind kind;
    std::string current;  // JSON of the last step
    bool words = false;
    std::string resultBuffer;
};

namespace FakeVosk {

namespace {

const char* const kSpellingGrammar =
    "[\"a\",\"b\",\"c\",\"d\",\"e\",\"f\",\"g\",\"h\",\"i\",\"j\",\"k\",\"l\",\"m\",\"n\","
    "\"o\",\"p\",\"q\",\"r\",\"s\",\"t\",\"u\",\"v\",\"w\",\"x\",\"y\",\"z\",\"[unk]\"]";

int index(Kind kind) { return static_cast<int>(kind); }

void record(State& s, std::string call)
{
    if (s.recordCalls)
        s.calls.push_back(std::move(call));
}

void countFinal(State& s, Kind kind, const std::string& json)
{
    const std::string key = "\"text\" : \"";
    const std::size_t at = json.find(key);
    if (at == std::string::npos)
        return;
    const std::size_t from = at + key.size();
    ++s.finalTexts[index(kind)][json.substr(from, json.find('"', from) - from)];
}

VoskRecognizer* makeRecognizer(Kind kind)
{
    State& s = state();
    record(s, std::string("new:") + kindName(kind));
    bool fails = false;
    if (kind == Kind::Dictation)
        fails = s.dictationNewFails;
    else
        fails = s.grammarNewFails || (kind == Kind::Command && s.commandNewFails);
    if (fails)
        return nullptr;
    ++s.alive[index(kind)];
    ++s.created[index(kind)];
    return new VoskRecognizer{kind, std::string(), false, std::string()};
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
}

void pushStep(Kind kind, int accept, const std::string& json)
{
    std::lock_guard<std::mutex> lock(mutex());
    state().steps[index(kind)].push_back(Step{accept, json});
}

void pushFinal(Kind kind, const std::string& json)
{
    std::lock_guard<std::mutex> lock(mutex());
    state().finals[index(kind)].push_back(json);
}

std::vector<std::string> calls()
{
    std::lock_guard<std::mutex> lock(mutex());
    return state().calls;
}

int alive(Kind kind)
{
    std::lock_guard<std::mutex> lock(mutex());
    return state().alive[index(kind)];
}

int created(Kind kind)
{
    std::lock_guard<std::mutex> lock(mutex());
    return state().created[index(kind)];
}

std::vector<std::string> grammars()
{
    std::lock_guard<std::mutex> lock(mutex());
    return state().grammars;
}

void setCycle(Kind kind, const std::vector<Step>& steps)
{
    std::lock_guard<std::mutex> lock(mutex());
    state().cycle[index(kind)] = steps;
    state().cyclePosition[index(kind)] = 0;
}

const char* kindName(Kind kind)
{
    switch (kind) {
    case Kind::Dictation: return "Dictation";
    case Kind::Command: return "Command";
    case Kind::Spelling: return "Spelling";
    }
    return "?";
}

}  // namespace FakeVosk

using FakeVosk::Kind;

extern "C" {

void vosk_set_log_level(int log_level)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::state().logLevels.push_back(log_level);
}

VoskModel* vosk_model_new(const char* model_path)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::State& s = FakeVosk::state();
    s.lastModelPath = model_path ? model_path : "";
    FakeVosk::record(s, "model_new");
    if (s.modelNewFails)
        return nullptr;
    ++s.modelsAlive;
    return new VoskModel();
}

void vosk_model_free(VoskModel* model)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::record(FakeVosk::state(), "model_free");
    if (model)
        --FakeVosk::state().modelsAlive;
    delete model;
}

int vosk_model_find_word(VoskModel*, const char* word)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    const auto& vocabulary = FakeVosk::state().vocabulary;
    auto it = vocabulary.find(word ? word : "");
    return it == vocabulary.end() ? -1 : static_cast<int>(std::distance(vocabulary.begin(), it));
}

VoskRecognizer* vosk_recognizer_new(VoskModel*, float)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    return FakeVosk::makeRecognizer(Kind::Dictation);
}

VoskRecognizer* vosk_recognizer_new_grm(VoskModel*, float, const char* grammar)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    const std::string text = grammar ? grammar : "";
    FakeVosk::state().grammars.push_back(text);
    return FakeVosk::makeRecognizer(text == FakeVosk::kSpellingGrammar ? Kind::Spelling
                                                                        : Kind::Command);
}

void vosk_recognizer_set_words(VoskRecognizer* recognizer, int words)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    if (recognizer && words == 1) {
        recognizer->words = true;
        ++FakeVosk::state().setWordsCalls;
    }
}

void vosk_recognizer_set_max_alternatives(VoskRecognizer* recognizer, int max_alternatives)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    if (recognizer)
        FakeVosk::state().maxAlternatives.push_back(max_alternatives);
}

int vosk_recognizer_accept_waveform(VoskRecognizer* recognizer, const char*, int length)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::State& s = FakeVosk::state();
    const int k = FakeVosk::index(recognizer->kind);
    FakeVosk::record(s, std::string("accept:") + FakeVosk::kindName(recognizer->kind));
    s.bytesFed[k] += length;
    FakeVosk::Step step;
    if (!s.steps[k].empty()) {
        step = s.steps[k].front();
        s.steps[k].pop_front();
    } else if (!s.cycle[k].empty()) {
        step = s.cycle[k][s.cyclePosition[k] % s.cycle[k].size()];
        ++s.cyclePosition[k];
    } else {
        step.json = "{\n  \"partial\" : \"\"\n}";
    }
    recognizer->current = step.json;
    return step.accept;
}

const char* vosk_recognizer_result(VoskRecognizer* recognizer)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::record(FakeVosk::state(), std::string("result:") + FakeVosk::kindName(recognizer->kind));
    recognizer->resultBuffer = recognizer->current;
    FakeVosk::countFinal(FakeVosk::state(), recognizer->kind, recognizer->resultBuffer);
    return recognizer->resultBuffer.c_str();
}

const char* vosk_recognizer_partial_result(VoskRecognizer* recognizer)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::record(FakeVosk::state(), std::string("partial:") + FakeVosk::kindName(recognizer->kind));
    recognizer->resultBuffer = recognizer->current;
    return recognizer->resultBuffer.c_str();
}

const char* vosk_recognizer_final_result(VoskRecognizer* recognizer)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    FakeVosk::State& s = FakeVosk::state();
    const int k = FakeVosk::index(recognizer->kind);
    FakeVosk::record(s, std::string("final:") + FakeVosk::kindName(recognizer->kind));
    if (!s.finals[k].empty()) {
        recognizer->resultBuffer = s.finals[k].front();
        s.finals[k].pop_front();
    } else {
        recognizer->resultBuffer = "{\n  \"text\" : \"\"\n}";
    }
    FakeVosk::countFinal(s, recognizer->kind, recognizer->resultBuffer);
    return recognizer->resultBuffer.c_str();
}

void vosk_recognizer_free(VoskRecognizer* recognizer)
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    if (recognizer) {
        FakeVosk::State& s = FakeVosk::state();
        FakeVosk::record(s, std::string("free:") + FakeVosk::kindName(recognizer->kind));
        --s.alive[FakeVosk::index(recognizer->kind)];
    }
    delete recognizer;
}

}  // extern "C"
