// The OpenAL test double: the AL calls, on the current context.
#include <cstdio>

#include "fake_openal_books.h"

using namespace FakeOpenAl;
using namespace FakeOpenAl::internal;

void alDistanceModel(ALenum distanceModel)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    record("alDistanceModel(" + std::string(distanceModel == AL_LINEAR_DISTANCE_CLAMPED ? "AL_LINEAR_DISTANCE_CLAMPED"
                                                                                         : hex(distanceModel)) +
           ")" + currentSuffix());
    const Outcome outcome = next(Call::DistanceModel);
    setContextError(outcome.error);
}

void alListenerfv(ALenum param, const ALfloat* values)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    Call call;
    const char* name;
    int count;
    switch (param) {
    case AL_POSITION: call = Call::ListenerPosition; name = "AL_POSITION"; count = 3; break;
    case AL_VELOCITY: call = Call::ListenerVelocity; name = "AL_VELOCITY"; count = 3; break;
    case AL_ORIENTATION: call = Call::ListenerOrientation; name = "AL_ORIENTATION"; count = 6; break;
    default:
        record("alListenerfv(" + hex(param) + ")" + currentSuffix());
        setContextError(AL_INVALID_ENUM);
        return;
    }
    std::string text = std::string("alListenerfv(") + name;
    for (int i = 0; values && i < count; ++i) {
        char number[32];
        std::snprintf(number, sizeof number, " %g", static_cast<double>(values[i]));
        text += number;
    }
    record(text + ")" + currentSuffix());
    const Outcome outcome = next(call);
    if (!values)
        setContextError(AL_INVALID_VALUE);
    setContextError(outcome.error);
}

void alListenerf(ALenum param, ALfloat value)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    char number[32];
    std::snprintf(number, sizeof number, "%g", static_cast<double>(value));
    if (param != AL_GAIN) {
        record("alListenerf(" + hex(param) + ", " + number + ")" + currentSuffix());
        setContextError(AL_INVALID_ENUM);
        return;
    }
    record(std::string("alListenerf(AL_GAIN, ") + number + ")" + currentSuffix());
    const Outcome outcome = next(Call::ListenerGain);
    if (value < 0.0f)
        setContextError(AL_INVALID_VALUE);
    setContextError(outcome.error);
}

ALenum alGetError(void)
{
    std::lock_guard<std::mutex> lock(FakeOpenAl::mutex());
    // Without a current context OpenAL answers AL_INVALID_OPERATION.
    int error = AL_INVALID_OPERATION;
    if (books().current) {
        error = books().current->error;
        books().current->error = AL_NO_ERROR;
    }
    record("alGetError() = " + hex(error) + currentSuffix());
    return error;
}
