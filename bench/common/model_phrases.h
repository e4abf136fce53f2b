#ifndef KSR_BENCH_MODEL_PHRASES_H
#define KSR_BENCH_MODEL_PHRASES_H

// Command phrases made of words the model knows, so that a grammar of any
// size can be built from them.

#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace Bench {

// Words of the model (graph/words.txt) without the special symbols.
inline std::vector<std::string> modelWords(const std::string& modelDir)
{
    std::ifstream file(modelDir + "/graph/words.txt");
    std::vector<std::string> words;
    std::string line;
    while (std::getline(file, line)) {
        const std::string word = line.substr(0, line.find(' '));
        if (!word.empty() && word[0] != '<' && word[0] != '#' && word[0] != '[')
            words.push_back(word);
    }
    return words;
}

// `count` distinct phrases of two or three model words.
inline std::vector<std::string> makePhrases(const std::vector<std::string>& words, std::size_t count)
{
    std::set<std::string> seen;
    std::vector<std::string> phrases;
    const std::size_t n = words.size();
    for (std::size_t i = 0; phrases.size() < count; ++i) {
        std::string phrase = words[i % n] + " " + words[(i * 7 + 3) % n];
        if (i % 3 == 0)
            phrase += " " + words[(i * 13 + 5) % n];
        if (seen.insert(phrase).second)
            phrases.push_back(phrase);
    }
    return phrases;
}

}  // namespace Bench

#endif
