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

const long long kSamplesPerMillisecond = FastCommandState::kSamplesPerMillisecond;
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

    finishCommandUtterance(commandTaken);
}

// Ends the command recognizer's utterance now and delivers its final result
// like one the decoder found itself. Nothing to deliver (the final words
// differ from the partial ones, or are no command): the utterance is over
// all the same. A grammar or mode change waiting for the next chunk makes
// the result stale: it is dropped, as that chunk would drop it.
void Engine::finishCommandUtterance(bool& commandTaken)
{
    if (!mp_commandRecognizer)
        return;
    const std::string finalJson = mp_commandRecognizer->finalResult();
    const bool stale = m_commandsChanged || m_modeChanged;
    if (stale || (!(m_chaining && deliverChain(finalJson, commandTaken)) &&
                  !deliverCommandResult(finalJson, true, true, commandTaken)))
        mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
    mp_commandRecognizer.reset();
    mp_fast->commandRecognizerGone();
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
        mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
        const KSR::CommandRecognizedFunction deliver = commandFunction();
        if (deliver)
            deliver(text, KSR::Failed);
        return true;
    }
    mp_fast->held.decide(HeldDictation::Verdict::Taken);
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
    // Later text queues behind what is held, so that nothing overtakes it,
    // even when the early end was switched off meanwhile.
    if (fast.held.empty()) {
        if (m_earlyEndMilliseconds <= 0)
            return false;
        if (fast.partialMatch == PhraseMatch::None || fast.commandOnset < 0)
            return false;
        if (onset >= 0 && std::llabs(fast.commandOnset - onset) > kSameOnset)
            return false;
    }
    fast.held.hold(text, state, fast.voice.samplesHeard());
    return true;
}

void Engine::settleHeldDictation()
{
    HeldDictation::Items items = mp_fast->held.settle(mp_fast->voice.samplesHeard());
    if (items.empty())
        return;
    const KSR::DictationRecognizedFunction deliver = dictationFunction();
    for (HeldDictation::Item& item : items)
        if (deliver)
            deliver(item.text, item.state);
}

}  // namespace Vosk
