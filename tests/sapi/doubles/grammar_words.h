#ifndef KSR_TESTS_SAPI_GRAMMAR_WORDS_H
#define KSR_TESTS_SAPI_GRAMMAR_WORDS_H

#include <string>
#include <vector>

#include "ksr_sapi_com.h"

namespace SapiFakes {

// One word of a word transition as SAPI reads it: the text without its
// confidence prefix, and the confidence the prefix asks for.
struct GrammarWord {
    std::string text;
    signed char requiredConfidence = SP_NORMAL_CONFIDENCE;
};

// The words of a word transition's text. SAPI splits the text at any of the
// separator characters (no separators: the text is one word) and reads the
// "+" (high) and "-" (low) characters in front of each word as the
// confidence it requires; a word without them requires normal confidence.
// SAPI's documentation names one prefix character per word and does not
// say what several mean: here each one overrides the one before, so "-+"
// asks for high confidence.
std::vector<GrammarWord> grammarWords(const std::string& text, const std::string& separators);

}  // namespace SapiFakes

#endif
