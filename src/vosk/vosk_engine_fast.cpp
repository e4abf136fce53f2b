// Vosk::Engine: the early end of a command, the dictated text held while
// the command recognizer decides, and chained commands. Worker thread only,
// apart from the phrase index, which is built from the lists under the lock.
//
// The early end watches the command recognizer's partial result: once it
// is exactly a phrase that no longer phrase begins with ("open" waits while
// "open file" may still come) and the audio has been quiet for the set time
// since that partial last changed, waiting for the decoder's own end of
// utterance (about a second of trailing silence) gains nothing: the engine
// asks for the final result at once and delivers it like any other.
#include <cstdlib>

#include "vosk/fast_command_state.h"
#include "vosk/phrase_index.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_engine.h"

namespace Vosk {

namespace {

const long long kSamplesPerMillisecond = 16;  // the engine's 16 kHz
// Dictated text waits at most this long for the command recognizer's
// verdict. The verdict normally comes first: the early end decides within
// the quiet time after speech, long before the dictation recognizer's own
// end of utterance; without it the command recognizer ends the utterance on
// libvosk's 240 ms grid, at most a grid step or two after the dictation
// recognizer. A second covers four steps and delays a sentence by no more.
const long long kHoldLimit = 1000 * kSamplesPerMillisecond;
// Both recognizers start an utterance within this of each other when they
// hear the same words (the free recognizer shows its first word up to about
// 250 ms after the grammar recognizer); a command begun later belongs to a
// later utterance, and the dictated text before it must not wait for it.
const long long kSameOnset = 500 * kSamplesPerMillisecond;

}  // namespace

std::shared_ptr<const PhraseIndex> Engine::phraseIndex()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_phraseIndexStale || !mp_fast->index) {
        std::vector<PhraseIndex::Keyed> keyed;
        if (m_chaining)
            for (const KeyedPhrases& grammar : m_keyedPhrases)
                keyed.push_back({grammar.key, grammar.phrases});
        mp_fast->index = std::make_shared<const PhraseIndex>(m_commandsList, keyed);
        m_phraseIndexStale = false;
    }
    return mp_fast->index;
}

void Engine::followCommandPartial(const std::string& json, bool accepted, int quietMilliseconds, bool& commandTaken)
{
    FastCommandState& fast = *mp_fast;
    if (accepted) {
        // The recognizer ended an utterance that was no command; the next
        // words start a new one.
        fast.commandRecognizerGone();
        return;
    }
    const long long now = fast.voice.samplesHeard();
    const std::string text = jsonToString(json);
    if (text != fast.partial) {
        if (fast.partial.empty())
            fast.commandOnset = now;
        fast.partial = text;
        fast.partialChangedAt = now;
        fast.partialMatch = text.empty() ? PhraseMatch::None : phraseIndex()->classify(text, m_chaining);
        if (text.empty())
            fast.commandOnset = -1;
    }
    if (fast.partialMatch != PhraseMatch::Complete)
        return;
    const long long quiet = quietMilliseconds * kSamplesPerMillisecond;
    if (now - fast.partialChangedAt < quiet || fast.voice.samplesSinceVoice() < quiet)
        return;

    const std::string finalJson = mp_commandRecognizer->finalResult();
    if (!(m_chaining && deliverChain(finalJson, commandTaken)) &&
        !deliverCommandResult(finalJson, true, true, commandTaken)) {
        // Nothing to deliver (the final words differ from the partial ones):
        // the utterance is over all the same.
        if (fast.verdict == FastCommandState::Verdict::Pending)
            fast.verdict = FastCommandState::Verdict::NotTaken;
    }
    mp_commandRecognizer.reset();
    fast.commandRecognizerGone();
}

bool Engine::deliverChain(const std::string& json, bool& commandTaken)
{
    // "[unk]" anywhere refuses the whole utterance, as for a single phrase.
    if (json.find("[unk]") != std::string::npos || m_commandsChanged)
        return false;
    const std::string text = jsonToString(json);
    if (text.empty() || !resultToCommand(json).empty())
        return false;
    const std::vector<std::string> phrases = phraseIndex()->split(text);
    if (phrases.size() < 2)
        return false;

    if (!chainConfident(json, phrases)) {
        // One weak phrase makes the whole utterance one failure.
        mp_fast->verdict = FastCommandState::Verdict::NotTaken;
        const KSR::CommandRecognizedFunction deliver = commandFunction();
        if (deliver)
            deliver(text, KSR::Failed);
        return true;
    }
    mp_fast->verdict = FastCommandState::Verdict::Taken;
    commandTaken = true;
    // Each phrase as if it had been said alone, in order. The functions are
    // fetched for every phrase: an activation key in the chain rebuilds the
    // phrase list from inside the command function, and the phrases after it
    // are routed against the grammars it switched on.
    for (const std::string& phrase : phrases) {
        std::string dictated = commandToText(phrase);
        if (!dictated.empty()) {
            const KSR::DictationRecognizedFunction deliver = dictationFunction();
            if (deliver)
                deliver(dictated, KSR::Recognized);
        } else {
            const KSR::CommandRecognizedFunction deliver = commandFunction();
            if (deliver)
                deliver(phrase, KSR::Recognized);
        }
    }
    return true;
}

bool Engine::holdDictation(const std::string& text, KSR::RecognitionState state, long long onset)
{
    FastCommandState& fast = *mp_fast;
    if (m_earlyEndMilliseconds <= 0)
        return false;
    if (fast.held.empty()) {
        if (fast.partialMatch == PhraseMatch::None || fast.commandOnset < 0)
            return false;
        if (onset >= 0 && std::llabs(fast.commandOnset - onset) > kSameOnset)
            return false;
        fast.heldSince = fast.voice.samplesHeard();
        fast.verdict = FastCommandState::Verdict::Pending;
    }
    // Later text queues behind, so that nothing overtakes what is held.
    fast.held.push_back({text, state});
    return true;
}

void Engine::settleHeldDictation(bool fast)
{
    FastCommandState& state = *mp_fast;
    if (state.held.empty())
        return;
    if (fast && m_dictationModeEnabled) {
        if (state.verdict == FastCommandState::Verdict::Taken) {
            // The command was taken: its words, held as dictation, go.
            state.held.pop_front();
        } else if (state.verdict == FastCommandState::Verdict::Pending &&
                   state.voice.samplesHeard() - state.heldSince <= kHoldLimit) {
            return;
        }
    }
    releaseHeldDictation();
}

void Engine::releaseHeldDictation()
{
    std::deque<FastCommandState::Held> held;
    held.swap(mp_fast->held);
    const KSR::DictationRecognizedFunction deliver = dictationFunction();
    for (FastCommandState::Held& item : held)
        if (deliver)
            deliver(item.text, item.state);
}

}  // namespace Vosk
