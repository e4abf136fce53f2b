#ifndef KSR_SILENCE_GATE_H
#define KSR_SILENCE_GATE_H

#include <vector>

#include "vosk/voice_activity.h"

// Spares the recognizers the long quiet between utterances, where decoding
// costs as much processor time as decoding speech (a third to a half of a
// core on a laptop) and finds nothing.
//
// The gate opens on speech and passes every chunk. After kQuietToCloseMs of
// audio without speech it closes and keeps only the latest audio; when
// speech comes back it opens again and passes the kLeadInMs before the
// speech's first voiced frame and everything after it, so the recognizers
// hear the quiet before the first word and the word's soft onset, exactly as
// they would have in the uncut stream, however large the chunk that brought
// the speech (a stalled capture hands over up to half a second at once). What
// they no longer hear is quiet of the same kind, so the stream they decode
// is the uncut one with long pauses shortened. The capture loop ends the
// recognizers' utterances as the gate closes (justClosed), so that they all
// start the next one together.
//
// Speech is kMinVoicedFrames consecutive voiced 10 ms frames (VoiceActivity:
// 9 dB over the noise floor); a lone click or a glitch of the audio path
// does not open the gate. The close delay is longer than the recognizers
// need to end an utterance after its last word (about one second), than
// the early end of a command waits, and than held dictation may wait, so
// nothing half-decided is left waiting behind a closed gate.
class SilenceGate {
public:
    static constexpr int kQuietToCloseMs = 3000;
    static constexpr int kLeadInMs = 500;
    static constexpr int kMinVoicedFrames = 3;

    // `sampleRate`: of the mono 16-bit audio the gate is given.
    explicit SilenceGate(int sampleRate);

    // Takes the next chunk (whole 16-bit samples). True when the
    // recognizers are to hear passed()/passedBytes() now: the chunk itself
    // while open, the lead-in ending with this chunk when it opens.
    bool take(const char* data, int bytes);
    const char* passed() const { return m_passed; }
    int passedBytes() const { return m_passedBytes; }

    bool isOpen() const { return m_open; }
    // Whether the last take closed the gate (after passing its chunk).
    bool justClosed() const { return m_justClosed; }
    // Whether the last take opened the gate (passing the lead-in).
    bool justOpened() const { return m_justOpened; }
    // Opens and forgets everything heard, as after a new start of capture.
    void reset();

private:
    void listen(const char* data, int bytes);

    const long long m_closeAfterSamples;
    const std::size_t m_leadInBytes;
    Vosk::VoiceActivity m_activity;
    int m_voicedRun = 0;
    long long m_runStart = 0;    // samples heard at the start of the current voiced run
    long long m_lastSpeech = 0;  // samples heard at the end of the last speech frame
    long long m_taken = 0;       // samples taken so far
    bool m_open = true;
    bool m_justClosed = false;
    bool m_justOpened = false;
    std::vector<char> m_leadIn;   // while closed: the latest audio, ending with the last chunk
    std::vector<char> m_opening;  // what the gate passes as it opens
    const char* m_passed = nullptr;
    int m_passedBytes = 0;
};

#endif
