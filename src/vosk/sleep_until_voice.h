#ifndef KSR_VOSK_SLEEP_UNTIL_VOICE_H
#define KSR_VOSK_SLEEP_UNTIL_VOICE_H

#include <cstddef>
#include <string>

namespace Vosk {

// A recognizer that is fed nothing until the next voice. Decoding the quiet
// after an utterance that was ended early gains nothing and costs much: the
// decoder has no trailing silence of an utterance to find there, and a
// change of the noise floor makes it decode a garbage word frame by frame.
// The audio since the recognizer fell asleep is kept, its last
// `preRollBytes`, so that it wakes with the weak first consonants that the
// voice detector hears too late and with the quiet the decoder wants before
// the first word. Worker thread only.
class SleepUntilVoice {
public:
    explicit SleepUntilVoice(std::size_t preRollBytes)
        : m_preRollBytes(preRollBytes)
    {
    }

    bool asleep() const { return m_asleep; }
    void fallAsleep()
    {
        m_asleep = true;
        m_preRoll.clear();
    }
    void stayAwake()
    {
        m_asleep = false;
        m_preRoll.clear();
    }
    // Forgets the audio kept so far (the capture it came from has ended).
    void forgetPreRoll() { m_preRoll.clear(); }

    // Asleep: with `wake` the recognizer wakes, `audio` gets the kept audio
    // and then the chunk, and the result is true; otherwise the chunk is kept
    // and the result is false. Awake: true, and `audio` stays empty (the
    // chunk is fed as it is).
    bool feed(const char* data, int length, bool wake, std::string& audio)
    {
        if (!m_asleep)
            return true;
        m_preRoll.append(data, static_cast<std::size_t>(length));
        if (wake) {
            m_asleep = false;
            audio.swap(m_preRoll);
            m_preRoll.clear();
            return true;
        }
        if (m_preRoll.size() > m_preRollBytes)
            m_preRoll.erase(0, m_preRoll.size() - m_preRollBytes);
        return false;
    }

private:
    std::size_t m_preRollBytes;
    bool m_asleep = false;
    std::string m_preRoll;
};

}  // namespace Vosk

#endif
