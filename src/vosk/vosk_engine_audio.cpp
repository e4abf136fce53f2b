// Vosk::Engine: feeding audio to the recognizers and delivering what they
// recognize, on the worker thread.
//
// Every chunk goes to the command recognizer first, then (dictation mode on)
// to the dictation or the spelling recognizer. The registered functions are
// called with no lock held: they may re-enter the engine (an activation key
// replaces the command list and reactivates the engine from inside the
// command function).
#include "vosk_engine.h"

#include "vosk/fast_command_state.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_model.h"

namespace Vosk {

namespace {

KSR::RecognitionState stateOf(bool accepted, bool confident)
{
    if (!accepted)
        return KSR::Hypothesis;
    return confident ? KSR::Recognized : KSR::Failed;
}

}  // namespace

KSR::CommandRecognizedFunction Engine::commandFunction() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_commandRecognizedFunction;
}

bool Engine::deliverCommand(const std::string& text, const std::vector<int>& wordConfidences,
                            KSR::RecognitionState state)
{
    CommandWordsFunction withWords;
    KSR::CommandRecognizedFunction plain;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        withWords = m_commandWordsFunction;
        plain = m_commandRecognizedFunction;
    }
    if (withWords)
        withWords(text, wordConfidences, state);
    else if (plain)
        plain(text, state);
    return withWords || plain;
}

KSR::DictationRecognizedFunction Engine::dictationFunction() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dictationRecognizedFunction;
}

bool Engine::hasDictationFunction() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<bool>(m_dictationRecognizedFunction);
}

void Engine::processAudio(const char* data, int length)
{
    // Off, or nothing to feed: the chunk is dropped and the recognizers keep
    // their state. A negative length is refused like an empty chunk; the
    // library would read outside the buffer.
    if (!m_initialized || !m_activated || !data || length <= 0)
        return;

    // The early end needs the quiet of every chunk; read once, so that a
    // host changing it mid-chunk cannot split one chunk between two rules.
    // Held text keeps the clock running for its hold limit even when the
    // early end was switched off meanwhile.
    const bool fast = m_earlyEndMilliseconds > 0;
    VoiceActivity& voice = mp_fast->voice;
    const long long voiceEndBefore = voice.voiceEnd();
    if (fast || !mp_fast->held.empty() || mp_fast->commandSleep.asleep() || mp_fast->freeSleep.asleep() ||
        mp_textRecognizer)
        voice.feed(reinterpret_cast<const std::int16_t*>(data), static_cast<std::size_t>(length) / 2);
    const bool voiced = voice.voiceEnd() != voiceEndBefore;

    bool commandTaken = false;
    std::string withPreRoll;
    if (commandStageWanted(data, length, voiced, withPreRoll)) {
        if (withPreRoll.empty())
            runCommandStage(data, length, commandTaken);
        else
            runCommandStage(withPreRoll.data(), static_cast<int>(withPreRoll.size()), commandTaken);
    }

    // A grammar change keeps this chunk from dictation; the next chunk builds
    // the command recognizer from the new phrases. A recognizer still here
    // was kept by the command stage because the change arrived while it ran
    // (from a registered function or from another thread): it goes too, so
    // the change is not lost.
    if (m_commandsChanged.exchange(false)) {
        dropCommandRecognizer();
        settleHeldDictation();
        return;
    }
    settleHeldDictation();
    runDictationStage(data, length, voiced, commandTaken);
}

void Engine::applyPendingChanges()
{
    if (!m_initialized || !m_activated)
        return;
    if (m_commandsChanged.exchange(false)) {
        dropCommandRecognizer();
        settleHeldDictation();
    }
    if (m_modeChanged.exchange(false)) {
        if (mp_commandRecognizer) {
            mp_commandRecognizer->finalResult();
            dropCommandRecognizer();
        } else if (Recognizer* free = m_spellingEnabled ? mp_spellingRecognizer.get() : mp_dictationRecognizer.get()) {
            free->finalResult();
        }
    }
}

// The command recognizer's utterance is over without a command.
void Engine::dropCommandRecognizer()
{
    mp_commandRecognizer.reset();
    mp_fast->commandRecognizerGone();
    mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
}

// Creates the command recognizer from the current phrase list when there is
// none. An empty list is not handed to the library, which fails on a grammar
// that is not a JSON array; it counts as a recognizer the library refused.
bool Engine::ensureCommandRecognizer()
{
    if (mp_commandRecognizer)
        return true;
    std::string phrases;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        phrases = m_commandsPhrases;
    }
    if (phrases.empty())
        return false;
    mp_commandRecognizer.reset(
        new Recognizer(*mp_model, static_cast<float>(mp_model->sampleRate()), phrases));
    if (!mp_commandRecognizer->isValid()) {
        mp_commandRecognizer.reset();
        return false;
    }
    mp_fast->utteranceBegins();
    // The quiet that ends an utterance without words counts from here.
    mp_fast->partialChangedAt = mp_fast->voice.samplesHeard();
    return true;
}

void Engine::runCommandStage(const char* data, int length, bool& commandTaken)
{
    if (mp_textRecognizer) {
        runTextStage(data, length, commandTaken);
        return;
    }
    const bool fresh = !mp_commandRecognizer;
    if (!ensureCommandRecognizer())
        return;
    if (fresh)
        mp_fast->recognizerStart = mp_fast->voice.samplesHeard() - length / 2;

    const bool accepted = mp_commandRecognizer->acceptWaveform(data, length);
    mp_fast->heardByCommandRecognizer(data, length);
    const std::string json = accepted ? withoutTalkAround(mp_commandRecognizer->result())
                                      : mp_commandRecognizer->partialResult();
    if (!m_commandsChanged && beginTextStage(json, accepted))
        return;

    if (m_commandsChanged) {
        mp_commandRecognizer.reset();
        return;
    }
    if (m_modeChanged.exchange(false)) {
        // A mode switch flushes the audio heard so far, once.
        mp_commandRecognizer->finalResult();
        dropCommandRecognizer();
        return;
    }

    if (accepted && m_chaining && deliverChain(json, commandTaken)) {
        mp_commandRecognizer.reset();
        mp_fast->commandRecognizerGone();
    } else {
        const bool finalDelivered = deliverCommandResult(json, accepted, false, commandTaken);
        if (m_earlyEndMilliseconds > 0 && !finalDelivered && mp_commandRecognizer)
            followCommandPartial(json, accepted, commandTaken);
    }
    // The decoder begins its next utterance with the next chunk. (The
    // delivery may hear this utterance again: its audio is kept until now.)
    if (accepted)
        mp_fast->utteranceBegins();
}

bool Engine::deliverCommandResult(const std::string& json, bool accepted, bool flushed, bool& commandTaken)
{
    const std::string command = resultToCommand(json);
    std::string text = commandToText(command);
    const bool confident = isConfident(json, Command);
    const KSR::RecognitionState state = stateOf(accepted, confident);

    // A command that starts with the literal or the forced-words keyword is
    // dictated text, delivered even with dictation mode off.
    if (!text.empty()) {
        const KSR::DictationRecognizedFunction deliver = dictationFunction();
        if (!deliver)
            return false;
        deliver(text, state);
    } else if (!command.empty()) {
        if (!deliverCommand(command, accepted ? wordConfidences(json) : std::vector<int>(), state))
            return false;
    } else {
        // A final result that is no command: the utterance is decided.
        if (!accepted)
            return false;
        if (!missedPattern(json, flushed)) {
            mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
            return false;
        }
        // Words that began a command with arguments and are none: the
        // speaker meant a command. A nearly as likely reading that is one
        // ("call oh five oh one" for "call o five o one") is taken instead.
        const std::string better = reconsiderAlternatives(json);
        if (!better.empty()) {
            if (!(m_chaining && deliverChain(better, commandTaken)))
                return deliverCommandResult(better, accepted, true, commandTaken);
            mp_commandRecognizer.reset();
            mp_fast->commandRecognizerGone();
            return true;
        }
        mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
        deliverCommand(jsonToString(json), wordConfidences(json), KSR::Failed);
        mp_commandRecognizer.reset();
        mp_fast->commandRecognizerGone();
        return true;
    }

    if (state == KSR::Hypothesis)
        return false;
    mp_fast->held.decide(state == KSR::Recognized ? HeldDictation::Verdict::Taken
                                                  : HeldDictation::Verdict::NotTaken);
    if (state == KSR::Recognized) {
        // The words of a confident command must not also be dictated.
        commandTaken = true;
        if (mp_commandRecognizer && !flushed)
            mp_commandRecognizer->finalResult();
    }
    // After a final delivery the next chunk starts a fresh recognizer built
    // from the current phrases.
    mp_commandRecognizer.reset();
    mp_fast->commandRecognizerGone();
    return true;
}

void Engine::runDictationStage(const char* data, int length, bool voiced, bool commandTaken)
{
    if (!m_dictationModeEnabled || !mp_dictationRecognizer || !mp_spellingRecognizer ||
        !hasDictationFunction())
        return;
    std::string woken;
    if (!mp_fast->freeSleep.feed(data, length, voiced || m_earlyEndMilliseconds <= 0, woken))
        return;
    if (!woken.empty()) {
        data = woken.data();
        length = static_cast<int>(woken.size());
    }
    if (m_spellingEnabled) {
        runSpellingStage(data, length, commandTaken);
        return;
    }

    const bool accepted = mp_dictationRecognizer->acceptWaveform(data, length);
    const std::string json = accepted ? mp_dictationRecognizer->result() : mp_dictationRecognizer->partialResult();
    // Flush once after a mode switch that the command stage did not flush,
    // and drop the words that were just taken as a command.
    if (m_modeChanged.exchange(false) || commandTaken) {
        mp_dictationRecognizer->finalResult();
        if (commandTaken && m_earlyEndMilliseconds > 0)
            mp_fast->freeSleep.fallAsleep();
        return;
    }

    const bool confident = isConfident(json, Dictation);
    std::string text = jsonToString(json);
    const long long onset = mp_fast->dictationOnset;
    if (accepted)
        mp_fast->dictationOnset = -1;
    else if (!text.empty() && onset < 0)
        mp_fast->dictationOnset = mp_fast->voice.samplesHeard();
    if (text.empty())
        return;
    const KSR::DictationRecognizedFunction deliver = dictationFunction();
    if (!deliver)
        return;
    const KSR::RecognitionState state = stateOf(accepted, confident);
    if (state == KSR::Hypothesis || !holdDictation(text, state, onset))
        deliver(text, state);
    if (state == KSR::Recognized && mp_dictationRecognizer)
        mp_dictationRecognizer->finalResult();
}

// Spelling delivers final results only. The discarded final result follows
// a confident delivery, as in the dictation and command stages.
void Engine::runSpellingStage(const char* data, int length, bool commandTaken)
{
    if (!mp_spellingRecognizer->acceptWaveform(data, length))
        return;
    const std::string json = mp_spellingRecognizer->result();
    if (m_modeChanged.exchange(false) || commandTaken) {
        mp_spellingRecognizer->finalResult();
        return;
    }

    const bool confident = isConfident(json, Dictation);
    std::string letters = resultToSpelling(json);
    if (letters.empty())
        return;
    const KSR::DictationRecognizedFunction deliver = dictationFunction();
    if (!deliver)
        return;
    const KSR::RecognitionState state = confident ? KSR::Recognized : KSR::Failed;
    if (!holdDictation(letters, state, -1))
        deliver(letters, state);
    if (confident && mp_spellingRecognizer)
        mp_spellingRecognizer->finalResult();
}

// The end of capture: whatever the recognizers still hold is dropped. With
// the early end on, the command recognizer's utterance is ended as the early
// end would end it (a push-to-talk host stops right after the command), and
// dictated text held for its verdict is settled against it: the words of a
// taken command are dropped, any other held text was recognized and goes out.
void Engine::processFinalAudio()
{
    if (m_earlyEndMilliseconds > 0 || !mp_fast->held.empty()) {
        bool commandTaken = false;
        finishCommandUtterance(commandTaken);
    } else if (mp_commandRecognizer) {
        mp_commandRecognizer->finalResult();
    }
    mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
    settleHeldDictation();
    mp_fast->freeSleep.forgetPreRoll();
    if (mp_dictationRecognizer)
        mp_dictationRecognizer->finalResult();
    if (mp_spellingRecognizer)
        mp_spellingRecognizer->finalResult();
}

void Engine::endUtterance()
{
    if (!m_initialized || !m_activated)
        return;
    bool commandTaken = false;
    finishCommandUtterance(commandTaken);
    mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
    settleHeldDictation();
    finishDictationUtterance(commandTaken);
}

// The free recognizer's final result, delivered like one it found itself,
// unless a command took the same words.
void Engine::finishDictationUtterance(bool commandTaken)
{
    mp_fast->dictationOnset = -1;
    if (!m_dictationModeEnabled || !mp_dictationRecognizer || !mp_spellingRecognizer || !hasDictationFunction())
        return;
    const bool spelling = m_spellingEnabled;
    const std::string json = (spelling ? mp_spellingRecognizer : mp_dictationRecognizer)->finalResult();
    if (commandTaken || m_modeChanged)
        return;
    std::string text = spelling ? resultToSpelling(json) : jsonToString(json);
    if (text.empty())
        return;
    const KSR::DictationRecognizedFunction deliver = dictationFunction();
    if (deliver)
        deliver(text, isConfident(json, Dictation) ? KSR::Recognized : KSR::Failed);
}

}  // namespace Vosk
