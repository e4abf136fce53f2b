#ifndef KSR_DEMO_AUDIO_FILE_H
#define KSR_DEMO_AUDIO_FILE_H

#include <cstdint>
#include <string>
#include <vector>

// Reads a sound file of any format libsndfile knows, at any rate and with
// any number of channels, and gives it as mono signed 16-bit samples at
// `rate` hertz: channels are averaged and the rate is converted with the
// module's AudioResampler (libswresample). False with `error` set when the
// file cannot be read or converted.
bool loadAudioFile(const std::string& path, int rate, std::vector<std::int16_t>& samples, std::string& error);

#endif
