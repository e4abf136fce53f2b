#ifndef KSR_TESTS_SAPI_SPOKEN_PHRASE_H
#define KSR_TESTS_SAPI_SPOKEN_PHRASE_H

#include <cstddef>
#include <string>
#include <vector>

#include "fake_grammar.h"
#include "fake_result.h"

namespace SapiFakes {

// What a test says to a recognizer: words separated by spaces and the
// engine's confidence in each (0 to 1).
struct Utterance {
    explicit Utterance(const std::string& spoken, float confidence = 1.0f);
    // The engine's confidence in each word, in order; words past the end of
    // the list keep the utterance's confidence.
    Utterance& wordConfidences(const std::vector<float>& confidences);
    // A hypothesis after every word that does not end the phrase, as an
    // engine sends them while it listens.
    Utterance& withHypotheses();
    // The speaker has not finished: no recognition or false recognition
    // yet (with hypotheses, the last word gives one too).
    Utterance& unfinished();

    std::vector<std::string> words;
    std::vector<float> confidences;  // one per word
    bool hypotheses = false;
    bool finished = true;
};

// A phrase a recognizer found in what it heard: the context whose grammar
// holds it and the phrase its result reports.
struct FoundPhrase {
    FakeContext* context = nullptr;
    PhraseSpec phrase;
};

// Finds the phrase of the first `wordCount` words of `utterance` among what
// `grammars` listen for: a path through a rule's committed transitions that
// takes all the words to the rule's end when `whole`, that the words begin
// otherwise (a hypothesis); see walkRule. Words compare without regard to
// ASCII case; the phrase carries the grammar's own spelling.
// Commands come first: grammars in ascending id (when one is SPGS_EXCLUSIVE
// only the exclusive ones listen; SPGS_DISABLED ones never do), their active
// rules in ascending id, a rule's transitions in the order they were added.
// Then the first grammar with active dictation takes any words. The phrase
// is built as SAPI documents it: grammar id, the rule's id and name, one
// element per word with the word's text (no prefix), the confidence its
// prefix requires and the engine's confidence, the rules referred to on the
// way and the transitions' properties over their elements, and the
// elements' texts joined by their one trailing space as the text. False
// when nothing listens for the words.
bool findPhrase(const std::vector<GrammarListening>& grammars, const Utterance& utterance, std::size_t wordCount,
                bool whole, FoundPhrase* found);

// The phrase of words nothing listens for, as a false recognition reports
// it: the words heard, no grammar, no rule, no property.
PhraseSpec unmatchedPhrase(const Utterance& utterance);

}  // namespace SapiFakes

#endif
