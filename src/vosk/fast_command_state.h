#ifndef KSR_VOSK_FAST_COMMAND_STATE_H
#define KSR_VOSK_FAST_COMMAND_STATE_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vosk/held_dictation.h"
#include "vosk/phrase_index.h"
#include "vosk/sleep_until_voice.h"
#include "vosk/voice_activity.h"

namespace Vosk {

// What the early end of a command keeps between chunks. Worker thread only.
struct FastCommandState {
    static constexpr long long kSamplesPerMillisecond = 16;  // the engine's 16 kHz
    // Dictated text waits at most this long for the command recognizer's
    // verdict. The verdict normally comes first: the early end decides within
    // the quiet time after speech, long before the dictation recognizer's own
    // end of utterance; without it the command recognizer ends the utterance
    // on libvosk's 240 ms grid, at most a grid step or two after the
    // dictation recognizer. A second covers four steps and delays a sentence
    // by no more.
    static constexpr long long kHoldLimit = 1000 * kSamplesPerMillisecond;
    // The audio before the first voiced frame that a new command recognizer
    // hears: weak first consonants ("f", "s", "h") stay below the voice
    // threshold for up to about 100 ms, and the decoder wants some quiet
    // before the first word.
    static constexpr std::size_t kPreRollBytes = 300 * kSamplesPerMillisecond * 2;
    // An utterance longer than this is no command being said; it is not kept.
    static constexpr std::size_t kUtteranceBytes = 10000 * kSamplesPerMillisecond * 2;
    // The speaker's next words must come within this to continue a phrase:
    // libvosk's own end of utterance would have ended it by then.
    static constexpr long long kResumeWithin = 1000 * kSamplesPerMillisecond;

    // The audio of the command recognizer's utterance grows by a chunk.
    void heardByCommandRecognizer(const char* data, int length)
    {
        if (!utteranceComplete)
            return;
        if (utteranceAudio.size() + static_cast<std::size_t>(length) > kUtteranceBytes) {
            utteranceComplete = false;
            utteranceAudio.clear();
            return;
        }
        utteranceAudio.append(data, static_cast<std::size_t>(length));
    }
    void utteranceBegins()
    {
        textStageChecked.clear();
        utteranceAudio.clear();
        utteranceComplete = true;
    }

    VoiceActivity voice{VoiceActivity::Rule::TheSpeaker};
    std::shared_ptr<const PhraseIndex> index;
    std::string partial;             // the command recognizer's latest partial text
    long long partialChangedAt = 0;  // in samples heard, when it last changed
    PhraseMatch partialMatch = PhraseMatch::None;
    bool partialWhole = false;       // the partial is a command as it stands
    std::string textStageChecked;    // the partial last asked whether it begins free text
    // After an early end: no command recognizer until the next voice.
    SleepUntilVoice commandSleep{kPreRollBytes};
    // After a command took the words: the dictation recognizer, flushed of
    // them, hears nothing until the next voice. Fed at once, it would start
    // a new utterance with the end of the command's words and the quiet
    // after them, and decode them as a garbage word until libvosk's end of
    // an utterance without speech, seconds later (measured: up to 1.6 s of
    // CPU for 5 s of audio, against 0.4 s, and a stray failed text).
    SleepUntilVoice freeSleep{kPreRollBytes};
    long long commandOnset = -1;     // when the command recognizer's utterance began
    long long recognizerStart = 0;   // where the command recognizer's first sample was, in samples heard
    double wordTimeSeconds = 1.0;    // seconds per unit of libvosk's word times
    // The audio of the command recognizer's current utterance, and after an
    // early end that heard only the beginning of a phrase, that utterance
    // until `resumeBy` (in samples heard), to be heard again with the
    // speaker's next words.
    std::string utteranceAudio;
    bool utteranceComplete = true;   // utteranceAudio holds all of it
    std::string resumed;
    long long resumeBy = 0;
    long long dictationOnset = -1;   // when the dictation recognizer's utterance began
    HeldDictation held{kHoldLimit};

    // The partial text as it stood kPartialLag after the speaker's last loud
    // frame: what the speaker said, as far as the decoder shows it. Words
    // that the partial gained later came from the talk around. `at`: when
    // the decoder first showed that text, in samples heard.
    struct Heard {
        std::string text;
        long long at = 0;
    };
    Heard speakerPartial()
    {
        const long long by = voice.loudEnd() + kPartialLag;
        std::size_t latest = partials.size();
        for (std::size_t i = 0; i < partials.size() && partials[i].second <= by; ++i)
            latest = i;
        if (latest == partials.size())
            return Heard();
        // The speaker's last loud frame only moves on: older texts are done with.
        partials.erase(partials.begin(), partials.begin() + static_cast<long>(latest));
        return Heard{partials.front().first, partials.front().second};
    }
    static constexpr long long kPartialLag = 240 * kSamplesPerMillisecond;
    std::vector<std::pair<std::string, long long>> partials;  // the partial texts and when they came

    // A new command recognizer starts a new utterance.
    void commandRecognizerGone()
    {
        partials.clear();
        partial.clear();
        partialMatch = PhraseMatch::None;
        partialWhole = false;
        textStageChecked.clear();
        commandOnset = -1;
    }
};

}  // namespace Vosk

#endif
