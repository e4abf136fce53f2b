#ifndef KSR_VOSK_FAST_COMMAND_STATE_H
#define KSR_VOSK_FAST_COMMAND_STATE_H

#include <memory>
#include <string>

#include "vosk/held_dictation.h"
#include "vosk/phrase_index.h"
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

    VoiceActivity voice;
    std::shared_ptr<const PhraseIndex> index;
    std::string partial;             // the command recognizer's latest partial text
    long long partialChangedAt = 0;  // in samples heard, when it last changed
    PhraseMatch partialMatch = PhraseMatch::None;
    long long commandOnset = -1;     // when the command recognizer's utterance began
    long long dictationOnset = -1;   // when the dictation recognizer's utterance began
    HeldDictation held{kHoldLimit};

    // A new command recognizer starts a new utterance.
    void commandRecognizerGone()
    {
        partial.clear();
        partialMatch = PhraseMatch::None;
        commandOnset = -1;
    }
};

}  // namespace Vosk

#endif
