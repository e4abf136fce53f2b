#include "grammar_words.h"

#include <utility>

namespace SapiFakes {

namespace {

GrammarWord readWord(const std::string& written)
{
    GrammarWord word;
    std::size_t start = 0;
    for (; start < written.size() && (written[start] == '+' || written[start] == '-'); ++start)
        word.requiredConfidence = written[start] == '+' ? SP_HIGH_CONFIDENCE : SP_LOW_CONFIDENCE;
    word.text = written.substr(start);
    return word;
}

}  // namespace

std::vector<GrammarWord> grammarWords(const std::string& text, const std::string& separators)
{
    std::vector<GrammarWord> words;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = separators.empty() ? std::string::npos : text.find_first_of(separators, start);
        const std::string written = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        GrammarWord word = readWord(written);
        if (!word.text.empty())
            words.push_back(std::move(word));
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return words;
}

}  // namespace SapiFakes
