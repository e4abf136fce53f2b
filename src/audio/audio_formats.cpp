#include "audio/audio_formats.h"

#include <AL/al.h>

namespace AudioFormats {

int rateIndex(int hertz)
{
    if (hertz == 16000)
        return Rate16000;
    if (hertz == 48000)
        return Rate48000;
    return Rate44100;
}

int rateHertz(int index)
{
    if (index == Rate16000)
        return 16000;
    if (index == Rate48000)
        return 48000;
    return 44100;
}

int frameBytes(int format)
{
    switch (format) {
    case AL_FORMAT_MONO8:
        return 1;
    case AL_FORMAT_MONO16:
    case AL_FORMAT_STEREO8:
        return 2;
    case AL_FORMAT_STEREO16:
        return 4;
    default:
        return 0;
    }
}

bool isStereo(int format) { return format == AL_FORMAT_STEREO8 || format == AL_FORMAT_STEREO16; }

bool is16Bit(int format) { return format == AL_FORMAT_MONO16 || format == AL_FORMAT_STEREO16; }

}  // namespace AudioFormats
