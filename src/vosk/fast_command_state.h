#ifndef KSR_VOSK_FAST_COMMAND_STATE_H
#define KSR_VOSK_FAST_COMMAND_STATE_H

#include <deque>
#include <memory>
#include <string>

#include "ksr_types.h"
#include "vosk/phrase_index.h"
#include "vosk/voice_activity.h"

namespace Vosk {

// What the early end of a command keeps between chunks. Worker thread only.
struct FastCommandState {
    // What the command recognizer made of the chunk: its partial or final
    // result, whether it was final, and whether the recognizer still lives.
    struct Chunk {
        bool heard = false;
        bool accepted = false;
        std::string json;
    };

    // The command recognizer's verdict on the current utterance, for the
    // dictated text held while it decides.
    enum class Verdict { Pending, Taken, NotTaken };

    struct Held {
        std::string text;
        KSR::RecognitionState state;
    };

    VoiceActivity voice;
    std::shared_ptr<const PhraseIndex> index;
    std::string partial;             // the command recognizer's latest partial text
    long long partialChangedAt = 0;  // in samples heard, when it last changed
    PhraseMatch partialMatch = PhraseMatch::None;
    long long commandOnset = -1;     // when the command recognizer's utterance began
    long long dictationOnset = -1;   // when the dictation recognizer's utterance began
    Verdict verdict = Verdict::Pending;
    std::deque<Held> held;
    long long heldSince = 0;

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
