#ifndef KSR_VOSK_VOICE_ACTIVITY_H
#define KSR_VOSK_VOICE_ACTIVITY_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vosk {

// Tells speech from the quiet between utterances, on the 16 kHz chunks the
// engine already receives: a 10 ms frame is voiced when its energy stands
// more than 9 dB above the noise floor, and the floor is the quietest frame
// of the last 600 ms. The minimum follows a rising room noise within that
// window (a fixed floor would take every louder noise for speech) and stays
// put through continuous speech, whose short pauses and weak consonants keep
// the window's minimum near the noise. Cost: one multiply-add per sample and
// 60 compares per frame.
class VoiceActivity {
public:
    static constexpr int kFrameSamples = 160;  // 10 ms at 16 kHz

    // `samples` is signed 16-bit mono PCM; a frame may span two chunks.
    void feed(const std::int16_t* samples, std::size_t count);
    // Samples of whole frames heard since the end of the last voiced frame
    // (all of them when none was voiced yet).
    long long samplesSinceVoice() const { return m_heard - m_lastVoiceEnd; }
    // Samples of whole frames heard so far.
    long long samplesHeard() const { return m_heard; }
    // Where the last voiced frame ended, in samples heard (0 before any).
    long long voiceEnd() const { return m_lastVoiceEnd; }

private:
    void endFrame();

    static constexpr int kFloorFrames = 60;  // 600 ms

    std::array<double, kFloorFrames> m_history{};  // mean squares of the last frames
    int m_frames = 0;                              // frames in the history, up to kFloorFrames
    int m_next = 0;                                // where the next frame's energy goes
    double m_sum = 0.0;                            // of the frame being filled
    int m_inFrame = 0;                             // its samples so far
    long long m_heard = 0;
    long long m_lastVoiceEnd = 0;
};

}  // namespace Vosk

#endif
