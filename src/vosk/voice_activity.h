#ifndef KSR_VOSK_VOICE_ACTIVITY_H
#define KSR_VOSK_VOICE_ACTIVITY_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vosk {

// Tells speech from the quiet between utterances, on the 16 kHz chunks the
// engine already receives. Under either rule a 10 ms frame is voiced when
// its energy stands more than 9 dB above the noise floor, the quietest
// frame of the last 600 ms. The minimum follows a rising room noise within
// its window (a fixed floor would take every louder noise for speech) and
// stays put through continuous speech, whose short pauses and weak
// consonants keep the window's minimum near the noise.
// - Rule::AnySound measures the whole band: any sound someone may speak in
//   counts, which is what waking up for speech needs (a false wake costs a
//   little CPU, a missed one loses words).
// - Rule::TheSpeaker, for telling when a command has ended, also needs the
//   frame within 20 dB of the loudest frame of the last second (the
//   speaker's level: talk far below it is not the speaker) and measures
//   the energy above 150 Hz, where speech is and the rumble of fans,
//   traffic and hum is not: under brown or pink noise the whole band's
//   energy of a 10 ms frame swings by many dB with the noise's slow waves,
//   and the quiet after speech was never seen.
// - Under Rule::TheSpeaker it also tells where the speaker's last loud
//   frame was: voiced and within 10 dB of the loudest frame of the last
//   three seconds. Talk around the speaker is that much quieter; the
//   speaker's own weak syllables can be too, so this tells whose words the
//   decoder heard after the speaker stopped, not when the speaker stopped.
// - Under Rule::TheSpeaker it also tells talk that went on before the
//   speaker began (speakerAmidTalk): with it, the end of the speaker's loud
//   frames tells the end of their words, which the talk's never-ending
//   voice hides from the rule above.
// Cost: one multiply-add per sample (six with the filter) and at most 190
// compares per frame; speakerAmidTalk looks at up to 400 frames when asked.
class VoiceActivity {
public:
    static constexpr int kFrameSamples = 160;  // 10 ms at 16 kHz
    enum class Rule { AnySound, TheSpeaker };

    explicit VoiceActivity(Rule rule = Rule::AnySound)
        : m_rule(rule)
    {
    }

    // `samples` is signed 16-bit mono PCM; a frame may span two chunks.
    void feed(const std::int16_t* samples, std::size_t count);
    // Samples of whole frames heard since the end of the last voiced frame
    // (all of them when none was voiced yet).
    long long samplesSinceVoice() const { return m_heard - m_lastVoiceEnd; }
    // Samples of whole frames heard so far.
    long long samplesHeard() const { return m_heard; }
    // Where the last voiced frame ended, in samples heard (0 before any).
    long long voiceEnd() const { return m_lastVoiceEnd; }
    // Where the speaker's last loud frame ended, in samples heard (0 before
    // any; Rule::TheSpeaker only).
    long long loudEnd() const { return m_lastLoudEnd; }
    // The speaker's current words amid talk that went on before them
    // (Rule::TheSpeaker only): where they began, and where the last frame
    // louder than that talk ended, in samples heard. They begin with the
    // first loud frame after 600 ms without one. Talk went on when most
    // frames of the 300 ms that end 200 ms before that were voiced and their
    // energy swung by 6 dB or more (steady noise does not); the talk's
    // level is the loudest tenth of those frames, and a frame is louder by
    // 3 dB. Empty when there was no such talk, or it cannot be told.
    struct AmidTalk {
        long long onset = -1;
        long long end = -1;
    };
    AmidTalk speakerAmidTalk() const;

private:
    void endFrame();
    void followLoudness(double energy, bool voiced);
    double highPass(double sample);

    static constexpr int kFloorFrames = 60;     // 600 ms
    static constexpr int kSpeakerFrames = 100;  // 1 s
    static constexpr int kBlockFrames = 10;     // the loudest frame of each 100 ms...
    static constexpr int kLoudBlocks = 30;      // ...for the last 3 s
    // The speaker's words hold no longer stretch without a loud frame (their
    // weak syllables last up to about 440 ms).
    static constexpr int kRunGap = 60;
    // The frames before the speaker: 300 ms, ending 200 ms before the first
    // loud frame, so that the speaker's own weak first consonants are not
    // taken for talk.
    static constexpr int kBeforeGap = 20;
    static constexpr int kBeforeFrames = 30;
    static constexpr int kRecentFrames = 400;  // 4 s

    Rule m_rule;
    std::array<double, kSpeakerFrames> m_history{};  // mean squares of the last frames
    int m_frames = 0;                                // frames in the history, up to kSpeakerFrames
    int m_next = 0;                                  // where the next frame's energy goes
    double m_in1 = 0.0, m_in2 = 0.0, m_out1 = 0.0, m_out2 = 0.0;  // the high-pass filter's state
    double m_sum = 0.0;                            // of the frame being filled
    int m_inFrame = 0;                             // its samples so far
    long long m_heard = 0;
    long long m_lastVoiceEnd = 0;
    std::array<double, kLoudBlocks> m_blockPeaks{};  // the loudest frame of each finished block
    double m_blockPeak = 0.0;                        // of the block being filled
    int m_blockFrames = 0;                           // its frames so far
    int m_nextBlock = 0;
    long long m_lastLoudEnd = 0;
    struct Frame {
        double energy = 0.0;
        bool voiced = false;
    };
    std::array<Frame, kRecentFrames> m_recent{};  // Rule::TheSpeaker: the last frames, oldest first from m_nextRecent
    int m_nextRecent = 0;
    int m_recentFrames = 0;
    double loudest() const;
};

}  // namespace Vosk

#endif
