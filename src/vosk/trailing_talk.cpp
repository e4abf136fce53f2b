#include "vosk/trailing_talk.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>

#include <rapidjson/document.h>
#include <rapidjson/writer.h>

namespace Vosk {

namespace {

const char* const kFactorOption = "--frame-subsampling-factor=";
const double kLibraryFactor = 3.0;  // the factor libvosk's word times assume

}  // namespace

double secondsPerWordTime(const std::string& modelPath)
{
    std::ifstream conf(modelPath + "/conf/model.conf");
    double factor = kLibraryFactor;
    const std::string option = kFactorOption;
    // The last setting wins, as in libvosk's own reading of the file.
    for (std::string line; std::getline(conf, line);)
        if (line.compare(0, option.size(), option) == 0) {
            const double value = std::atof(line.c_str() + option.size());
            if (value >= 1.0)
                factor = value;
        }
    return factor / kLibraryFactor;
}

std::string withoutWordsFrom(const std::string& json, double cut)
{
    return onlyWordsWithin(json, -std::numeric_limits<double>::infinity(), cut);
}

std::string onlyWordsWithin(const std::string& json, double from, double cut, std::size_t most)
{
    rapidjson::Document document;
    document.Parse(json.c_str(), json.size());
    if (document.HasParseError() || !document.IsObject())
        return std::string();
    const auto result = document.FindMember("result");
    if (result == document.MemberEnd() || !result->value.IsArray())
        return std::string();
    rapidjson::Value& words = result->value;
    // The middle of a word; NaN when the word has no times.
    const auto middle = [](const rapidjson::Value& word) {
        if (!word.IsObject())
            return std::numeric_limits<double>::quiet_NaN();
        const auto start = word.FindMember("start");
        const auto end = word.FindMember("end");
        if (start == word.MemberEnd() || !start->value.IsNumber() || end == word.MemberEnd() ||
            !end->value.IsNumber())
            return std::numeric_limits<double>::quiet_NaN();
        return (start->value.GetDouble() + end->value.GetDouble()) / 2.0;
    };
    rapidjson::SizeType kept = words.Size();
    while (kept > 0 && middle(words[kept - 1]) >= cut)
        --kept;
    rapidjson::SizeType first = 0;
    while (first < kept && middle(words[first]) < from)
        ++first;
    kept = std::min<rapidjson::SizeType>(kept, first + static_cast<rapidjson::SizeType>(std::min<std::size_t>(most, words.Size())));
    if (first == 0 && kept == words.Size())
        return std::string();
    std::string text;
    for (rapidjson::SizeType i = first; i < kept; ++i) {
        const auto word = words[i].FindMember("word");
        if (word == words[i].MemberEnd() || !word->value.IsString())
            return std::string();
        text += (i > first ? " " : "") + std::string(word->value.GetString(), word->value.GetStringLength());
    }
    while (words.Size() > kept)
        words.PopBack();
    words.Erase(words.Begin(), words.Begin() + first);
    rapidjson::Document shortened(rapidjson::kObjectType);
    shortened.AddMember("result", rapidjson::Value(words, shortened.GetAllocator()), shortened.GetAllocator());
    shortened.AddMember("text", rapidjson::Value(text.c_str(), static_cast<rapidjson::SizeType>(text.size()),
                                                 shortened.GetAllocator()),
                        shortened.GetAllocator());
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    shortened.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace Vosk
