#ifndef KSR_AUDIO_FORMATS_H
#define KSR_AUDIO_FORMATS_H

// Rates and formats as the capture code stores them.
//
// A rate is held as an index, never as hertz: 0 = 16000 Hz, 1 = 44100 Hz,
// 2 = 48000 Hz. The mapping is lossy on purpose: every rate other than 16000
// and 48000 (22050, 8000, ...) becomes index 1 and so 44100 Hz.
//
// Formats are OpenAL format codes (AL_FORMAT_MONO8 ... AL_FORMAT_STEREO16).

namespace AudioFormats {

enum RateIndex { Rate16000 = 0, Rate44100 = 1, Rate48000 = 2 };

int rateIndex(int hertz);
int rateHertz(int index);

// Bytes in one sample frame: MONO8 1, MONO16 2, STEREO8 2, STEREO16 4,
// anything else 0.
int frameBytes(int format);
bool isStereo(int format);
bool is16Bit(int format);

}  // namespace AudioFormats

#endif
