// Vosk::Engine: the early end of a command, the dictated text held while
// the command recognizer decides, and chained commands. Worker thread only,
// apart from the phrase index, which is built from the lists under the lock.
//
// The early end watches the command recognizer's partial result. Once it is
// exactly a phrase and the audio has been quiet long enough since that
// partial last changed, waiting for the decoder's own end of utterance
// (about a second of trailing silence) gains nothing: the engine asks for the
// final result at once and delivers it like any other. How long is long
// enough depends on what could still come:
//   - a phrase that no longer phrase begins with: the short quiet (120 ms by
//     default). Nothing the speaker adds can make it another command, so the
//     quiet only has to tell the end of speech from the gap inside a word
//     (stop consonants close for up to about 100 ms);
//   - a phrase that a longer one begins with ("page" while "page down" is
//     on): the long quiet (the host's setting), which must outlast a pause
//     inside the longer phrase;
//   - the beginning of a phrase that is no phrase yet ("open" while only
//     "open file" is on): no early end; libvosk's own end decides.
//
// After an early end the next command recognizer is made only when voice
// comes back, and starts with the audio since the early end (at most
// 300 ms before the voice). A recognizer made at once would decode the quiet
// after the command from its first frame: on a change of the noise floor
// there (a fan switched off, the end of a recording's noise) this model
// hears "[unk]", which is a word, so libvosk never finds the trailing
// silence of an utterance: the recognizer decodes the garbage word for
// every frame at several times the usual cost, and the next command arrives
// as "[unk] ..." and is refused. Measured on the engine benchmark's clips:
// 1.7 times the CPU of the same engine without the early end, and the
// second command lost.
#include <algorithm>
#include <cstdlib>
#include <limits>

#include "vosk/fast_command_state.h"
#include "vosk/phrase_index.h"
#include "vosk/trailing_talk.h"
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

// Words in a text of words joined by single spaces.
std::size_t wordCount(const std::string& text)
{
    return text.empty() ? 0 : static_cast<std::size_t>(std::count(text.begin(), text.end(), ' ')) + 1;
}

// The longest end of `text` that is a command as it stands, or nothing.
std::string wholeCommandEnding(const PhraseIndex& index, const std::string& text, bool chaining)
{
    std::size_t from = 0;
    while (from < text.size()) {
        const std::string ending = text.substr(from);
        if (index.classify(ending, chaining) != PhraseMatch::None && index.isWhole(ending, chaining))
            return ending;
        const std::size_t space = text.find(' ', from);
        if (space == std::string::npos)
            break;
        from = space + 1;
    }
    return std::string();
}

}  // namespace

std::shared_ptr<const PhraseIndex> Engine::phraseIndex()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_phraseIndexStale || !mp_fast->index) {
        std::vector<PhraseIndex::Keyed> keyed;
        if (m_chaining)
            for (const KeyedPhrases& grammar : m_keyedPhrases)
                keyed.push_back({grammar.key, grammar.phrases, grammar.patterns});
        mp_fast->index = std::make_shared<const PhraseIndex>(m_commandsList, keyed, mp_patterns);
        m_phraseIndexStale = false;
    }
    return mp_fast->index;
}

void Engine::followCommandPartial(const std::string& json, bool accepted, bool& commandTaken)
{
    FastCommandState& fast = *mp_fast;
    if (accepted) {
        // The recognizer ended an utterance that was no command; the next
        // words start a new one.
        fast.commandRecognizerGone();
        fast.utteranceBegins();
        return;
    }
    const long long now = fast.voice.samplesHeard();
    const std::string text = jsonToString(json);
    if (text != fast.partial) {
        if (fast.partial.empty())
            fast.commandOnset = now;
        fast.partial = text;
        fast.partialChangedAt = now;
        fast.partials.emplace_back(text, now);
        if (text.empty()) {
            fast.partialMatch = PhraseMatch::None;
            fast.partialWhole = false;
            fast.commandOnset = -1;
        } else {
            const std::shared_ptr<const PhraseIndex> index = phraseIndex();
            fast.partialMatch = index->classify(text, m_chaining);
            fast.partialWhole = fast.partialMatch == PhraseMatch::Complete ||
                                (fast.partialMatch == PhraseMatch::Beginning && index->isWhole(text, m_chaining));
        }
    }
    if (speakerEndedAmidTalk()) {
        finishCommandUtterance(commandTaken, true);
        return;
    }
    int quietMilliseconds = m_earlyEndMilliseconds;
    if (fast.partialWhole)
        quietMilliseconds = quietAfter(fast.partialMatch);
    else if (fast.partialMatch != PhraseMatch::None)
        return;  // the beginning of a phrase: libvosk decides
    // Words that neither are nor begin a command ("[unk]" above all) can
    // never become one: after the long quiet the utterance is ended too, so
    // that the next words start a fresh one. Left alone, the decoder often
    // goes on matching the quiet against the garbage word, never finds the
    // trailing silence that ends an utterance, and hands the next command
    // over as "[unk] <command>", which is refused.
    // No words at all after the long quiet: the voice that woke the
    // recognizer was none (a noise floor that rose, a click), and the
    // recognizer goes back to sleep until the next voice. Left decoding, it
    // stays in an utterance without words until libvosk's end for those,
    // five seconds of quiet, at two to four times the usual cost per frame
    // (measured on a rise of the noise floor: 4 s of audio for 0.3 s of
    // CPU). The final result still decides: words the partial had not
    // shown yet are delivered or kept like any others.
    const long long quiet = quietMilliseconds * kSamplesPerMillisecond;
    if (now - fast.partialChangedAt < quiet || fast.voice.samplesSinceVoice() < quiet)
        return;
    finishCommandUtterance(commandTaken, true);
}

// Ends the command recognizer's utterance now and delivers its final result
// like one the decoder found itself. Nothing to deliver (the final words
// differ from the partial ones, or are no command): the utterance is over
// all the same. A grammar or mode change waiting for the next chunk makes
// the result stale: it is dropped, as that chunk would drop it.
void Engine::finishCommandUtterance(bool& commandTaken, bool early)
{
    if (!mp_commandRecognizer)
        return;
    FastCommandState& fast = *mp_fast;
    const std::string finalJson = withoutTalkAround(mp_commandRecognizer->finalResult());
    const bool stale = m_commandsChanged || m_modeChanged;
    bool delivered = false;
    if (!stale)
        delivered = (m_chaining && deliverChain(finalJson, commandTaken)) ||
                    deliverCommandResult(finalJson, true, true, commandTaken);
    // The partial ran ahead of the speech: the words heard so far only
    // begin a phrase. Keep them for the speaker's next words.
    const bool keep = early && !delivered && !stale && fast.utteranceComplete &&
                      phraseIndex()->classify(jsonToString(finalJson), m_chaining) == PhraseMatch::Beginning;
    if (!delivered && !keep)
        fast.held.decide(HeldDictation::Verdict::NotTaken);
    fast.resumed.clear();
    if (keep) {
        fast.resumed.swap(fast.utteranceAudio);
        fast.resumeBy = fast.voice.samplesHeard() + FastCommandState::kResumeWithin;
    }
    mp_commandRecognizer.reset();
    fast.commandRecognizerGone();
    fast.utteranceBegins();
    if (m_earlyEndMilliseconds > 0)
        fast.commandSleep.fallAsleep();
    else
        fast.commandSleep.stayAwake();
}

// The quiet that ends a command as it stands: the short one when no longer
// phrase begins with it, else the long one.
int Engine::quietAfter(PhraseMatch wholeCommand) const
{
    if (wholeCommand == PhraseMatch::Complete && m_earlyEndShortMilliseconds > 0)
        return std::min(m_earlyEndShortMilliseconds, m_earlyEndMilliseconds);
    return m_earlyEndMilliseconds;
}

// Talk around the speaker keeps the audio voiced after the speaker stops,
// so the quiet that ends a command is never heard, and the decoder takes
// the talk for words before and after the speaker's ("close save file
// [unk]"). When talk went on before the speaker began, the speaker has
// ended once their last loud frame lies the command's quiet behind, and
// their words are the command that ends the partial result as it stood as
// they finished. Only then: without talk before them, a stretch of the
// speaker's own weak syllables (up to 440 ms more than 10 dB below their
// vowels: "-sand" of "thousand") would be taken for the end of their words.
bool Engine::speakerEndedAmidTalk()
{
    FastCommandState& fast = *mp_fast;
    const VoiceActivity& voice = fast.voice;
    const long long now = voice.samplesHeard();
    const long long sinceLoud = now - voice.loudEnd();
    if (voice.loudEnd() <= fast.recognizerStart || sinceLoud < quietAfter(PhraseMatch::Complete) * kSamplesPerMillisecond)
        return false;
    const VoiceActivity::AmidTalk talk = voice.speakerAmidTalk();
    if (talk.onset < 0)
        return false;
    const FastCommandState::Heard speakers = fast.speakerPartial();
    const std::shared_ptr<const PhraseIndex> index = phraseIndex();
    const std::string said = wholeCommandEnding(*index, speakers.text, m_chaining);
    if (said.empty())
        return false;
    // The decoder shows a phrase's last word as soon as its first sound,
    // and the speaker's weak first sounds ("f" of "file") are no louder than
    // the talk: the words must have stood as long as the quiet.
    const PhraseMatch match = index->classify(said, m_chaining);
    const long long quiet = quietAfter(match) * kSamplesPerMillisecond;
    if (now - speakers.at < quiet)
        return false;
    if (match == PhraseMatch::Complete)
        return true;
    // A command that could go on ("page" while "page down" is on): the
    // speaker's next word after a pause may be too weak to be loud. The long
    // quiet counts from the speaker's last frame above the talk, and the
    // partial must not have heard more since.
    return now - talk.end >= quiet && fast.partial == speakers.text;
}

// A final result that goes on after the speaker's words with words heard
// while the speaker was quiet ("close window in", "save file [unk]": the
// talk around) is read as the speaker's words alone, when those are what the
// partial result showed as the speaker finished. The words that go must lie
// mostly after the speaker's last loud frame; their start is not enough,
// because the decoder gives the speaker's weak last sound to the next word.
// When talk went on before the speaker began, the words that lie mostly
// before their first loud frame go too, and the partial need only end with
// the speaker's words. Any other result is returned as it is.
std::string Engine::withoutTalkAround(const std::string& json)
{
    FastCommandState& fast = *mp_fast;
    const long long loudEnd = fast.voice.loudEnd();
    if (m_earlyEndMilliseconds <= 0 || loudEnd <= fast.recognizerStart)
        return json;
    const auto inWordTime = [&](long long samples) {
        return static_cast<double>(samples - fast.recognizerStart) /
               static_cast<double>(1000 * kSamplesPerMillisecond) / fast.wordTimeSeconds;
    };
    const long long onset = fast.voice.speakerAmidTalk().onset;
    std::string speakers;
    std::string said;
    if (onset > fast.recognizerStart) {
        // The decoder hears the speaker's weak last word ("file" 15 dB below
        // "save") as well as it hears the talk: the speaker's words are the
        // command that ends the partial as they finished, and the words
        // after those must lie mostly after the last loud frame.
        said = wholeCommandEnding(*phraseIndex(), fast.speakerPartial().text, m_chaining);
        const std::size_t count = wordCount(said);
        speakers = onlyWordsWithin(json, inWordTime(onset), std::numeric_limits<double>::infinity(), count);
        const std::string loud = onlyWordsWithin(json, inWordTime(onset), inWordTime(loudEnd));
        if (said.empty() || jsonToString(speakers.empty() ? json : speakers) != said ||
            wordCount(jsonToString(loud.empty() ? json : loud)) > count || speakers.empty())
            return json;
    } else {
        speakers = withoutWordsFrom(json, inWordTime(loudEnd));
        if (speakers.empty())
            return json;
        said = jsonToString(speakers);
        if (said != fast.speakerPartial().text)
            return json;
    }
    // The speaker may only be pausing inside a longer phrase ("zoom … in"):
    // the words must have been followed by the quiet that their early end
    // would wait for.
    const std::shared_ptr<const PhraseIndex> index = phraseIndex();
    const PhraseMatch match = index->classify(said, m_chaining);
    if (match == PhraseMatch::None || !index->isWhole(said, m_chaining))
        return json;
    if (fast.voice.samplesHeard() - loudEnd < quietAfter(match) * kSamplesPerMillisecond)
        return json;
    return speakers;
}

bool Engine::commandStageWanted(const char* data, int length, bool voiced, std::string& withPreRoll)
{
    FastCommandState& fast = *mp_fast;
    if (!fast.commandSleep.asleep())
        return true;
    const bool resuming = !fast.resumed.empty() && fast.voice.samplesHeard() <= fast.resumeBy;
    if (!resuming && !fast.resumed.empty()) {
        // Nothing more came: the words were no command.
        fast.resumed.clear();
        fast.held.decide(HeldDictation::Verdict::NotTaken);
    }
    if (!fast.commandSleep.feed(data, length, voiced || m_earlyEndMilliseconds <= 0, withPreRoll))
        return false;
    withPreRoll.insert(0, fast.resumed);
    fast.resumed.clear();
    return true;
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
        deliverCommand(text, wordConfidences(json), KSR::Failed);
        return true;
    }
    mp_fast->held.decide(HeldDictation::Verdict::Taken);
    commandTaken = true;
    // Each phrase as if it had been said alone, in order. The functions are
    // fetched for every phrase: an activation key in the chain rebuilds the
    // phrase list from inside the command function, and the phrases after it
    // are routed against the grammars it switched on.
    const std::vector<int> confidences = wordConfidences(json);
    std::size_t first = 0;
    for (const std::string& phrase : phrases) {
        const std::size_t count = wordCount(phrase);
        std::string dictated = commandToText(phrase);
        if (!dictated.empty()) {
            const KSR::DictationRecognizedFunction deliver = dictationFunction();
            if (deliver)
                deliver(dictated, KSR::Recognized);
        } else {
            const auto begin = confidences.begin() + static_cast<long>(std::min(first, confidences.size()));
            const auto end = confidences.begin() + static_cast<long>(std::min(first + count, confidences.size()));
            deliverCommand(phrase, std::vector<int>(begin, end), KSR::Recognized);
        }
        first += count;
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
