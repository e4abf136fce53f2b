// Vosk::Engine: commands with a free-text slot ("find <query:text>").
//
// The command recognizer hears only the grammar's words, so the free words
// of a text slot come back as "[unk]" or as grammar words that sound a
// little like them ("find close word" for "find hello world"). Worse, the
// model counts its unknown-word phone as silence when it ends an utterance,
// so a sentence after "find" is cut into pieces ("find [unk]", "[unk] s").
// So once the command recognizer's words are a command with a text slot,
// whatever words it put there, a recognizer of free speech takes the
// utterance over: it hears the utterance again from its first chunk, then
// every chunk, until its own end of utterance or until the speaker has been
// quiet for kTextQuiet (the early end's long quiet when that is longer), and
// its words decide. Its own end alone let a command said a second later run
// on as text ("find hello world ... go to line forty two"). Making one costs
// under a millisecond; it hears a two-second command in about 70 ms of
// processor time, and it exists only while such a command is said.
#include "vosk_engine.h"

#include <algorithm>

#include "common/command_pattern_set.h"
#include "vosk/fast_command_state.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_model.h"

namespace Vosk {

namespace {

// A text slot holds at most 50 words; an utterance longer than this is no
// command being said.
const std::size_t kLongestTextCommand = 20 * FastCommandState::kSamplesPerMillisecond * 1000 * 2;
// People pause up to about 350 ms inside a sentence.
const long long kTextQuiet = 500 * FastCommandState::kSamplesPerMillisecond;

}  // namespace

bool Engine::beginTextStage(const std::string& json, bool accepted)
{
    const std::shared_ptr<const KSR::CommandPatternSet> patterns = patternSet();
    if (!patterns || !patterns->hasText() || !mp_model)
        return false;
    FastCommandState& fast = *mp_fast;
    if (!fast.utteranceComplete || fast.utteranceAudio.empty())
        return false;
    // A partial is read on every chunk; the same words need no second look.
    const std::string text = jsonToString(json);
    if (!accepted && text == fast.textStageChecked)
        return false;
    fast.textStageChecked = accepted ? std::string() : text;
    std::vector<std::string> words;
    KSR::splitString(text, ' ', false, words);
    bool textCommand = patterns->matchesWithUnheardText(words, 0, words.size());
    // With chaining, commands may come first: "save file find [unk]".
    std::string before;
    for (std::size_t first = 1; !textCommand && m_chaining && first < words.size(); ++first) {
        before += (before.empty() ? "" : " ") + words[first - 1];
        textCommand = patterns->matchesWithUnheardText(words, first, words.size()) &&
                      !phraseIndex()->split(before).empty();
    }
    if (!textCommand)
        return false;

    mp_textRecognizer.reset(new Recognizer(*mp_model, static_cast<float>(mp_model->sampleRate())));
    if (!mp_textRecognizer->isValid()) {
        mp_textRecognizer.reset();
        return false;
    }
    // The command recognizer goes: the free one hears this utterance now.
    // What the early end knows of it stays, so that dictated text keeps
    // being held until the free recognizer has decided.
    mp_commandRecognizer.reset();
    std::string audio;
    audio.swap(fast.utteranceAudio);
    fast.utteranceBegins();
    m_textBytes = 0;
    m_textBegan = fast.voice.samplesHeard();
    bool ignored = false;
    runTextStage(audio.data(), static_cast<int>(audio.size()), ignored);
    return true;
}

void Engine::runTextStage(const char* data, int length, bool& commandTaken)
{
    if (m_commandsChanged || m_modeChanged) {
        // The grammar or the mode changed: the utterance is heard afresh.
        mp_textRecognizer.reset();
        mp_fast->commandRecognizerGone();
        mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
        return;
    }
    m_textBytes += static_cast<std::size_t>(length);
    const bool accepted = mp_textRecognizer->acceptWaveform(data, length);
    // Quiet after voice heard since the stage began ends the sentence.
    const VoiceActivity& voice = mp_fast->voice;
    const long long quiet = std::max(
        kTextQuiet, static_cast<long long>(m_earlyEndMilliseconds) * FastCommandState::kSamplesPerMillisecond);
    const bool sentenceOver = voice.voiceEnd() > m_textBegan && voice.samplesSinceVoice() >= quiet;
    if (!accepted && !sentenceOver && m_textBytes < kLongestTextCommand)
        return;
    const std::string json = accepted ? mp_textRecognizer->result() : mp_textRecognizer->finalResult();
    mp_textRecognizer.reset();
    // A result that is no command of the patterns is nothing: the final
    // delivery decides it like any other.
    if (m_chaining && deliverChain(json, commandTaken)) {
        mp_fast->commandRecognizerGone();
        return;
    }
    if (!deliverCommandResult(json, true, true, commandTaken)) {
        mp_fast->commandRecognizerGone();
        mp_fast->held.decide(HeldDictation::Verdict::NotTaken);
    }
}

}  // namespace Vosk
