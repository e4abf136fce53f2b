#ifndef KSR_VOSK_HELD_DICTATION_H
#define KSR_VOSK_HELD_DICTATION_H

#include <deque>
#include <string>

#include "ksr_types.h"

namespace Vosk {

// Dictated text held back while the command recognizer decides whether the
// same words are a command (the early end of a command, with dictation on).
// The free recognizer may end an utterance a little before the grammar
// recognizer; without holding, a spoken command would first be typed as
// text. Worker thread only.
//
// The engine reports what happens; the table is every transition:
//
//   state     event                           next      what goes out
//   --------  ------------------------------  --------  -------------------------------
//   Idle      hold(text)                      Waiting   -
//   Waiting   hold(text)                      Waiting   - (queued behind, in order)
//   Idle      decide(any)                     Idle      - (nothing held: nothing to decide)
//   Waiting   decide(Taken)                   Taken     -
//   Waiting   decide(NotTaken)                NotTaken  -
//   Taken     hold(text) / decide(any)        Taken     - (the first verdict stands)
//   NotTaken  hold(text) / decide(any)        NotTaken  -
//   Taken     settle()                        Idle      all but the first text (the command's
//                                                       own words, which are dropped)
//   NotTaken  settle()                        Idle      everything, in order
//   Waiting   settle() within the hold limit  Waiting   -
//   Waiting   settle() past the hold limit    Idle      everything, in order
//   any       release()                       Idle      everything, in order
//
// Only the verdict and the hold limit decide: neither the dictation mode nor
// the early-end setting is consulted, so a command that switches dictation
// off (an activation key) or a host that switches the early end off while
// text is held cannot have the command's words typed.
class HeldDictation {
public:
    enum class Verdict { Taken, NotTaken };
    enum class State { Idle, Waiting, Taken, NotTaken };

    struct Item {
        std::string text;
        KSR::RecognitionState state;
    };
    using Items = std::deque<Item>;

    // `limitSamples`: how long text may wait for the verdict.
    explicit HeldDictation(long long limitSamples) : m_limit(limitSamples) {}

    State state() const { return m_state; }
    bool empty() const { return m_items.empty(); }

    // Holds `text`; `now` is the audio heard so far, in samples.
    void hold(const std::string& text, KSR::RecognitionState state, long long now);
    void decide(Verdict verdict);
    // What may go out after the latest verdict or at `now`.
    Items settle(long long now);
    // Everything held, whatever the verdict.
    Items release();

private:
    const long long m_limit;
    State m_state = State::Idle;
    Items m_items;
    long long m_since = 0;
};

}  // namespace Vosk

#endif
