#include "vosk_call_meter.h"

#include "cpu_clock.h"
#include "vosk/vosk_c_api.h"

namespace Bench {

namespace {

bool g_metering = false;
double g_insideVosk = 0.0;
CallSplit g_split;

// Runs `call`, adding its CPU time to the total while metering.
template <typename Function>
auto metered(Call kind, Function call) -> decltype(call())
{
    if (!g_metering)
        return call();
    const double start = cpuSeconds();
    auto result = call();
    const double spent = cpuSeconds() - start;
    g_insideVosk += spent;
    g_split.seconds[kind] += spent;
    ++g_split.calls[kind];
    return result;
}

}  // namespace

void startMetering()
{
    g_insideVosk = 0.0;
    g_split = CallSplit();
    g_metering = true;
}

CallSplit lastSplit()
{
    return g_split;
}

const char* callName(int call)
{
    static const char* const names[CallKinds] = {"accept", "result", "partial", "final", "new_grm", "free"};
    return call >= 0 && call < CallKinds ? names[call] : "?";
}

double stopMetering()
{
    g_metering = false;
    return g_insideVosk;
}

}  // namespace Bench

extern "C" {

int __real_vosk_recognizer_accept_waveform(VoskRecognizer* recognizer, const char* data, int length);
const char* __real_vosk_recognizer_result(VoskRecognizer* recognizer);
const char* __real_vosk_recognizer_partial_result(VoskRecognizer* recognizer);
const char* __real_vosk_recognizer_final_result(VoskRecognizer* recognizer);
VoskRecognizer* __real_vosk_recognizer_new_grm(VoskModel* model, float rate, const char* grammar);
void __real_vosk_recognizer_free(VoskRecognizer* recognizer);

int __wrap_vosk_recognizer_accept_waveform(VoskRecognizer* recognizer, const char* data, int length)
{
    return Bench::metered(Bench::AcceptWaveform, [&] { return __real_vosk_recognizer_accept_waveform(recognizer, data, length); });
}

const char* __wrap_vosk_recognizer_result(VoskRecognizer* recognizer)
{
    return Bench::metered(Bench::Result, [&] { return __real_vosk_recognizer_result(recognizer); });
}

const char* __wrap_vosk_recognizer_partial_result(VoskRecognizer* recognizer)
{
    return Bench::metered(Bench::PartialResult, [&] { return __real_vosk_recognizer_partial_result(recognizer); });
}

const char* __wrap_vosk_recognizer_final_result(VoskRecognizer* recognizer)
{
    return Bench::metered(Bench::FinalResult, [&] { return __real_vosk_recognizer_final_result(recognizer); });
}

VoskRecognizer* __wrap_vosk_recognizer_new_grm(VoskModel* model, float rate, const char* grammar)
{
    return Bench::metered(Bench::NewGrammar, [&] { return __real_vosk_recognizer_new_grm(model, rate, grammar); });
}

void __wrap_vosk_recognizer_free(VoskRecognizer* recognizer)
{
    Bench::metered(Bench::Free, [&] {
        __real_vosk_recognizer_free(recognizer);
        return 0;
    });
}

}  // extern "C"
