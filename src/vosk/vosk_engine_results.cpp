// Vosk::Engine: reading the recognizers' JSON results and the confidence
// rules.
//
// Each call parses its text afresh into a document of its own (RapidJSON's
// pooled allocator, 64 KiB chunks); results are small and nothing is cached.
// The pool starts on a buffer inside the document object, so a typical
// result takes no chunk from the heap: a 64 KiB block allocated and freed on
// every call makes glibc consolidate its free lists each time, and that
// slowed the recognizers' own allocations by several per cent.
// The library writes "partial" and "text" as strings and "conf" as a number.
// Members of another type are read defensively instead of trusting them: a
// non-string "partial" or "text" reads as an empty string, a non-numeric
// "conf" as 0 (a word whose confidence cannot be read is not trusted), and a
// "result" that is not an array as one without words.
#include "vosk_engine.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>

#include <rapidjson/document.h>

#include "common/command_pattern_set.h"
#include "ksr_logger.h"

namespace Vosk {

namespace {

const char* const kNotJson = "Engine: given data is not in JSON format";

class ResultDocument {
public:
    explicit ResultDocument(const std::string& json)
        : m_allocator(m_buffer, sizeof m_buffer)
        , m_document(&m_allocator)
    {
        m_document.Parse(json.c_str(), json.size());
    }
    // Parsed, and an object at the root.
    bool isObject() const { return !m_document.HasParseError() && m_document.IsObject(); }
    const rapidjson::Document& root() const { return m_document; }

private:
    alignas(std::max_align_t) char m_buffer[4096];
    rapidjson::MemoryPoolAllocator<> m_allocator;
    rapidjson::Document m_document;
};

std::string stringValue(const rapidjson::Value& value)
{
    return value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : std::string();
}

// Truncation toward zero to a signed 32-bit number, as the processor's
// conversion does it: not-a-number and values out of range give the smallest
// value (a plain cast would be undefined there).
int truncateToInt(double value)
{
    if (std::isnan(value) || value >= 2147483648.0 || value <= -2147483649.0)
        return INT_MIN;
    return static_cast<int>(value);
}

// The lowest word confidence and the mean, in whole per cent, of `count`
// word objects from `first`. The sum is single precision and both figures
// are truncated: with 0.95 and 0.85 the minimum is 85 and the mean 89, not
// 90. Objects without "conf" add nothing but still count; the mean of none
// is not a number, which truncates to the smallest value.
struct WordConfidence {
    int minimum;
    int average;
};

WordConfidence measure(const rapidjson::Value& result, rapidjson::SizeType first, rapidjson::SizeType count)
{
    int minimum = 100;
    float sum = 0.0f;
    for (rapidjson::SizeType i = first; i < first + count; ++i) {
        const rapidjson::Value& word = result[i];
        if (!word.IsObject())
            continue;
        const auto conf = word.FindMember("conf");
        if (conf == word.MemberEnd())
            continue;
        const float value = conf->value.IsNumber() ? static_cast<float>(conf->value.GetDouble()) : 0.0f;
        sum += value;
        const float percent = value * 100.0f;
        if (static_cast<float>(minimum) > percent)
            minimum = truncateToInt(percent);
    }
    return {minimum, truncateToInt(static_cast<double>(sum) * 100.0 / static_cast<double>(count))};
}

}  // namespace

std::string Engine::jsonToString(const std::string& json)
{
    const ResultDocument parsed(json);
    if (!parsed.isObject()) {
        KSR_Logger::Error(kNotJson);
        return json;
    }
    const rapidjson::Document& document = parsed.root();
    const auto partial = document.FindMember("partial");
    if (partial != document.MemberEnd())
        return stringValue(partial->value);
    const auto text = document.FindMember("text");
    if (text != document.MemberEnd())
        return stringValue(text->value);
    // Neither member: the text stays as it came.
    return json;
}

// Confident when every word and the mean reach the command threshold
// (Command), or when the mean reaches the dictation threshold (any other
// mode). Results that hold "[unk]" anywhere in the text are never
// confident, nor are results without words.
bool Engine::isConfident(const std::string& json, RecognitionMode mode)
{
    const ResultDocument parsed(json);
    if (!parsed.isObject()) {
        KSR_Logger::Error(kNotJson);
        return false;
    }
    const rapidjson::Document& document = parsed.root();
    const auto result = document.FindMember("result");
    if (result == document.MemberEnd())
        return false;
    if (json.find("[unk]") != std::string::npos)
        return false;

    const rapidjson::SizeType count = result->value.IsArray() ? result->value.Size() : 0;
    const WordConfidence words = measure(result->value, 0, count);
    if (mode == Command) {
        const int threshold = m_commandConfidenceThreshold;
        return words.minimum >= threshold && words.average >= threshold;
    }
    return words.average >= m_dictationConfidenceThreshold;
}

// Every phrase of a chain by the command rule on its own words: the
// recognizer writes one word object per word of the text, in order.
bool Engine::chainConfident(const std::string& json, const std::vector<std::string>& phrases)
{
    const ResultDocument parsed(json);
    if (!parsed.isObject())
        return false;
    const rapidjson::Document& document = parsed.root();
    const auto result = document.FindMember("result");
    if (result == document.MemberEnd() || !result->value.IsArray())
        return false;
    rapidjson::SizeType first = 0;
    const int threshold = m_commandConfidenceThreshold;
    for (const std::string& phrase : phrases) {
        const rapidjson::SizeType count =
            static_cast<rapidjson::SizeType>(std::count(phrase.begin(), phrase.end(), ' ') + 1);
        if (first + count > result->value.Size())
            return false;
        const WordConfidence words = measure(result->value, first, count);
        if (words.minimum < threshold || words.average < threshold)
            return false;
        first += count;
    }
    return first == result->value.Size();
}

std::vector<int> Engine::wordConfidences(const std::string& json)
{
    std::vector<int> confidences;
    const ResultDocument parsed(json);
    if (!parsed.isObject())
        return confidences;
    const rapidjson::Document& document = parsed.root();
    const auto result = document.FindMember("result");
    if (result == document.MemberEnd() || !result->value.IsArray())
        return confidences;
    for (rapidjson::SizeType i = 0; i < result->value.Size(); ++i)
        confidences.push_back(measure(result->value, i, 1).minimum);
    return confidences;
}

std::string Engine::resultToCommand(const std::string& json)
{
    if (json.empty())
        return std::string();
    bool listEmpty = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        listEmpty = m_commandsList.empty();
    }
    if (listEmpty) {
        KSR_Logger::Log("Engine: commands list is empty");
        return std::string();
    }
    std::string text = jsonToString(json);
    // The grammar is being rebuilt: the old recognizer's words no longer count.
    if (m_commandsChanged)
        return std::string();
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const std::string& phrase : m_commandsList) {
        if (phrase == text)
            return text;
    }
    if (mp_patterns) {
        // A partial is read on every chunk and mostly repeats itself.
        if (m_patternVerdict.set != mp_patterns || m_patternVerdict.text != text) {
            std::vector<std::string> words;
            KSR::splitString(text, ' ', false, words);
            m_patternVerdict = {mp_patterns, text, mp_patterns->matches(words, 0, words.size())};
        }
        if (m_patternVerdict.matches)
            return text;
    }
    return std::string();
}

std::shared_ptr<const KSR::CommandPatternSet> Engine::patternSet() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return mp_patterns;
}

bool Engine::missedPattern(const std::string& json, bool mayGoOn)
{
    const std::shared_ptr<const KSR::CommandPatternSet> patterns = patternSet();
    if (!patterns || m_commandsChanged)
        return false;
    std::vector<std::string> words;
    KSR::splitString(jsonToString(json), ' ', false, words);
    return patterns->missed(words, mayGoOn);
}

std::string Engine::resultToSpelling(const std::string& json)
{
    if (json.empty() || json.find("[unk]") != std::string::npos)
        return std::string();
    return jsonToString(json);
}

}  // namespace Vosk
