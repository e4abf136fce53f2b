#ifndef KSR_DEMO_RECOGNIZER_H
#define KSR_DEMO_RECOGNIZER_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "host_recognizer.h"

class AudioFileReader;

// The module's Vosk interface, plus a way to hear sound files through the
// same manager and engine path that the microphone feeds.
class DemoRecognizer : public HostRecognizer {
public:
    DemoRecognizer() : HostRecognizer(nullptr) {}
    ~DemoRecognizer() override { stop(); }

    // Hears one file (opened at 16 kHz) as a stream of its own, read block
    // by block: the engine gets half a second of quiet noise (a
    // microphone's noise floor; digital silence before speech makes the
    // model hear a spurious word), then the recognizers are flushed so that
    // all of them start on the file's first frame, then the file in 10 ms
    // frames and 1.5 s of the same noise, so that its last utterance ends,
    // and a flush as at the end of capture. Starting the command and the
    // dictation recognizer together makes them end an utterance together,
    // so that a command is taken as a command before its words could be
    // dictated. False with `error` set when the rest of the file cannot be
    // read; what was heard of it is delivered.
    bool hearFile(AudioFileReader& file, std::string& error);

private:
    void flush();
    void feed(const std::vector<std::int16_t>& samples);
    void noise(double seconds);

    std::mt19937 m_random{2024};
};

#endif
