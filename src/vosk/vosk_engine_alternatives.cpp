// Vosk::Engine: a second look at an utterance whose words began a command
// with arguments and are none.
//
// Words that sound alike split the decoder's belief between them: "oh" and
// the letter "o", "two" and "to". The best reading can then be no command
// ("call o five o one") while another, as likely, is one ("call oh five oh
// one"). libvosk lists such readings as alternatives, each with a total
// score but without per-word confidences, so the utterance is heard again
// by a recognizer of the same grammar that lists them. A reading is taken
// when it is a command (or a chain of them), has as many words as the best
// reading, and scores within kMargin of it. Its words keep the best
// reading's confidence where the two agree; where they differ, a word gets
// the share of the alternatives that say it or the word it replaces there:
// the decoder was that sure of the sound, and the grammar says which of the
// two words it was.
#include "vosk_engine.h"

#include <algorithm>
#include <cmath>

#include <rapidjson/document.h>

#include "vosk/fast_command_state.h"
#include "vosk/json_phrase.h"
#include "vosk/phrase_index.h"
#include "vosk/vosk_recognizer.h"
#include "vosk_model.h"

namespace Vosk {

namespace {

const int kAlternatives = 5;
// In the units of libvosk's scores; readings that differ by a homophone
// score within about one of each other (measured: 0.0 for "o"/"oh", 0.6
// and 0.8 for "to"/"two"), an utterance of other words by several.
const double kMargin = 2.0;

struct Reading {
    std::vector<std::string> words;
    double score = 0;
    double share = 0;  // of all the readings' likelihood
};

std::vector<Reading> readingsOf(const std::string& json)
{
    std::vector<Reading> readings;
    rapidjson::Document document;
    document.Parse(json.c_str(), json.size());
    if (document.HasParseError() || !document.IsObject())
        return readings;
    const auto alternatives = document.FindMember("alternatives");
    if (alternatives == document.MemberEnd() || !alternatives->value.IsArray())
        return readings;
    for (const rapidjson::Value& alternative : alternatives->value.GetArray()) {
        if (!alternative.IsObject())
            continue;
        const auto text = alternative.FindMember("text");
        const auto score = alternative.FindMember("confidence");
        if (text == alternative.MemberEnd() || !text->value.IsString() || score == alternative.MemberEnd() ||
            !score->value.IsNumber())
            continue;
        Reading reading;
        KSR::splitString(text->value.GetString(), ' ', false, reading.words);
        reading.score = score->value.GetDouble();
        readings.push_back(std::move(reading));
    }
    if (readings.empty())
        return readings;
    const double best = std::max_element(readings.begin(), readings.end(), [](const Reading& a, const Reading& b) {
                            return a.score < b.score;
                        })->score;
    double total = 0;
    for (Reading& reading : readings)
        total += reading.share = std::exp(reading.score - best);
    for (Reading& reading : readings)
        reading.share /= total;
    return readings;
}

// The share of the readings that say `word` at `position`.
double shareSaying(const std::vector<Reading>& readings, std::size_t position, const std::string& word)
{
    double share = 0;
    for (const Reading& reading : readings)
        if (position < reading.words.size() && reading.words[position] == word)
            share += reading.share;
    return share;
}

}  // namespace

std::string Engine::reconsiderAlternatives(const std::string& json)
{
    const FastCommandState& fast = *mp_fast;
    std::string phrases;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        phrases = m_commandsPhrases;
    }
    if (!mp_model || phrases.empty() || !fast.utteranceComplete || fast.utteranceAudio.empty())
        return std::string();
    std::vector<std::string> best;
    KSR::splitString(jsonToString(json), ' ', false, best);
    const std::vector<int> confidences = wordConfidences(json);
    if (best.empty() || confidences.size() != best.size())
        return std::string();

    Recognizer again(*mp_model, static_cast<float>(mp_model->sampleRate()), phrases);
    if (!again.isValid())
        return std::string();
    again.setMaxAlternatives(kAlternatives);
    again.acceptWaveform(fast.utteranceAudio.data(), static_cast<int>(fast.utteranceAudio.size()));
    const std::vector<Reading> readings = readingsOf(again.finalResult());
    if (readings.empty())
        return std::string();
    const double bestScore = readings.front().score;
    const std::shared_ptr<const PhraseIndex> index = phraseIndex();
    for (const Reading& reading : readings) {
        if (reading.words.size() != best.size() || bestScore - reading.score > kMargin)
            continue;
        std::string text;
        for (const std::string& word : reading.words)
            text += (text.empty() ? "" : " ") + word;
        if (!index->isWhole(text, m_chaining))
            continue;
        // The final result of the reading, as the recognizer would write it.
        std::string result = "{\"result\":[";
        for (std::size_t i = 0; i < reading.words.size(); ++i) {
            double confidence = confidences[i] / 100.0;
            if (reading.words[i] != best[i])
                confidence = std::min(1.0, shareSaying(readings, i, reading.words[i]) +
                                               shareSaying(readings, i, best[i]));
            result += std::string(i ? "," : "") + "{\"conf\":" + std::to_string(confidence) + ",\"word\":";
            appendJsonString(result, reading.words[i]);
            result += "}";
        }
        result += "],\"text\":";
        appendJsonString(result, text);
        return result + "}";
    }
    return std::string();
}

}  // namespace Vosk
