#ifndef KSR_TESTS_SAPI_GRAMMAR_WALK_H
#define KSR_TESTS_SAPI_GRAMMAR_WALK_H

#include <cstddef>
#include <string>
#include <vector>

#include "fake_grammar.h"
#include "fake_result.h"
#include "grammar_words.h"

namespace SapiFakes {

// A path a recognizer found through a rule: the words as the grammar spells
// them (a dictated word as it was said), the rules it went through below
// the top-level one, and the properties of the transitions it took.
struct WalkedPhrase {
    std::vector<GrammarWord> words;
    std::vector<PhraseRule> rules;
    std::vector<PhraseProperty> properties;
};

// Walks the first `wordCount` of `spoken` through the committed transitions
// of `grammar` from the initial state of `rule`, as a recognizer parses
// them: a word transition takes its words (compared without regard to
// ASCII case), an empty one none, a dictation transition any one word (when
// the grammar has its dictation topic loaded), and a rule reference walks
// the rule it refers to before going on. Transitions are tried in the order
// they were added and the first path found wins. `whole`: the words must
// take the walk to the rule's end; otherwise they may stop anywhere, even
// inside a transition of several words (a hypothesis).
//
// The phrase is made as SAPI documents it: each rule reference a child
// rule spanning its words; each property over the words of its transition
// (of the rule referred to, for a reference), the properties met inside a
// rule referred to with a property becoming its children, those inside one
// referred to without a property going to the level of the reference.
bool walkRule(const GrammarListening& grammar, const ListenedRule& rule, const std::vector<std::string>& spoken,
              std::size_t wordCount, bool whole, WalkedPhrase& walked);

}  // namespace SapiFakes

#endif
