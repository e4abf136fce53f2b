// ksr-bench-numerals: throughput of the spoken-number converter.
//
// A generated corpus of 100,000 dictated sentences mixing ordinary words,
// runs of number words (with scales, fillers and "point") and arithmetic
// words goes through
//   (a) a plain baseline that only splits each sentence on blanks and joins
//       the words again with single blanks, and
//   (b) KSR_NumeralConverter::convertText.
// CPU time, median of the repetitions, a and b interleaved. Goal b/a <= 3.
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "cpu_clock.h"
#include "ksr_types.h"
#include "vosk_manager/ksr_numeral_converter.h"

namespace {

const std::size_t kSentences = 100000;
const int kRepetitions = 7;

volatile std::size_t g_sink = 0;

const std::vector<std::string> kWords = {"the",   "cat",    "is",   "on",    "table",  "we",    "have",
                                         "apples", "and",   "a",    "house", "people", "think", "that",
                                         "it",    "costs",  "about", "dollars", "in",   "year",  "I"};
const std::vector<std::string> kNumbers = {"one",         "two",          "three",        "twenty three",
                                           "forty two",   "fourty five",  "ninety nine",  "one hundred and five",
                                           "three thousand four hundred",   "two million",  "nineteen eighty four",
                                           "a hundred",   "seven point two five",          "zero point five",
                                           "one hundred twenty three thousand four hundred fifty six"};
const std::vector<std::string> kOperators = {"plus", "minus", "times", "divided by", "equals", "percent",
                                             "multiplied by", "equals to"};

std::vector<std::string> makeCorpus()
{
    std::mt19937 random(42);
    std::uniform_int_distribution<int> length(4, 14);
    std::uniform_int_distribution<int> kind(0, 9);
    auto pick = [&random](const std::vector<std::string>& from) {
        return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(random)];
    };
    std::vector<std::string> corpus;
    corpus.reserve(kSentences);
    for (std::size_t n = 0; n < kSentences; ++n) {
        std::string sentence;
        for (int i = length(random); i > 0; --i) {
            const int k = kind(random);
            const std::string part = k < 6 ? pick(kWords) : k < 9 ? pick(kNumbers) : pick(kOperators);
            sentence += (sentence.empty() ? "" : " ") + part;
        }
        corpus.push_back(std::move(sentence));
    }
    return corpus;
}

std::string splitAndJoin(const std::string& text)
{
    std::vector<std::string> words;
    KSR::splitString(text, ' ', false, words);
    std::string joined;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0)
            joined += ' ';
        joined += words[i];
    }
    return joined;
}

template <typename F>
double timeCorpus(const std::vector<std::string>& corpus, F convert)
{
    const double start = Bench::cpuSeconds();
    std::size_t total = 0;
    for (const std::string& sentence : corpus)
        total += convert(sentence).size();
    g_sink = g_sink + total;
    return Bench::cpuSeconds() - start;
}

}  // namespace

int main()
{
    const std::vector<std::string> corpus = makeCorpus();
    std::size_t words = 0;
    for (const std::string& sentence : corpus) {
        std::vector<std::string> tokens;
        words += KSR::splitString(sentence, ' ', false, tokens);
    }
    const KSR_NumeralConverter converter;
    std::vector<double> baseline, converted;
    for (int rep = 0; rep < kRepetitions; ++rep) {
        baseline.push_back(timeCorpus(corpus, splitAndJoin));
        converted.push_back(timeCorpus(corpus, [&converter](const std::string& s) { return converter.convertText(s); }));
    }
    const double a = Bench::median(baseline);
    const double b = Bench::median(converted);

    std::printf("Spoken-number converter: %zu sentences, %zu words, median of %d runs, CPU time\n", corpus.size(),
                words, kRepetitions);
    std::printf("example: \"%s\"\n      -> \"%s\"\n", corpus[1].c_str(), converter.convertText(corpus[1]).c_str());
    std::printf("%-36s %12s %12s %8s   %s\n", "figure", "baseline a", "converter b", "b/a", "goal");
    std::printf("%-36s %12.1f %12.1f %8.2f   %s\n", "corpus [ms]", a * 1000, b * 1000, b / a, "b/a <= 3");
    std::printf("%-36s %12.0f %12.0f %8.2f   %s\n", "throughput [sentences/s]", corpus.size() / a,
                corpus.size() / b, b / a, "");
    std::printf("%-36s %12.1f %12.1f %8.2f   %s\n", "per word [ns]", a / words * 1e9, b / words * 1e9, b / a, "");
    return 0;
}
