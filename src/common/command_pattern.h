#ifndef KSR_COMMON_COMMAND_PATTERN_H
#define KSR_COMMON_COMMAND_PATTERN_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ksr_types.h"

namespace KSR {

// A command with arguments, written like
//   go to line <line:number 1..10000>
//   (select | pick) <count:number 1..20> [more] words
//   turn <colour:list colours>      spell <word:letters 1..12>
//   call <code:digits 3..6>         find <query:text> [now]
// Literal words; "( a | b )" alternatives (each a sequence of one or more
// items); "[ x ]" optional items; slots "<name:type ...>":
//   number A..B   an integer said naturally or digit by digit
//   digits A..B   A to B digits said one by one, kept as a string
//   list NAME     one spoken form of a host list, worth the host's value
//   letters A..B  A to B spelled letters ("a" .. "z"), worth the word
//   text [A..B]   A to B free words (1..12 if not given), up to the
//                 literal word after the slot or the end of the utterance.
// A recognizer only proposes words; `match` decides whether they are this
// command and what its slots hold: all the words, in order, nothing left.
class CommandPattern {
public:
    static constexpr int kDefaultTextWords = 12;

    // A host's pattern as the managers take it: its words lower-cased like
    // a phrase's, the slot and list names inside "<...>" as written.
    static std::string lowerWords(const std::string& pattern);
    // The host's pattern parsed that way against the host's lists.
    static std::shared_ptr<const CommandPattern> parseHostPattern(const std::string& pattern,
                                                                  const SpokenLists& lists, std::string& error);
    // The host's list as the managers keep it: each spoken form by
    // spokenForm. False with `error` for a list without a name or a spoken
    // form without a word.
    static bool takeHostList(const std::string& name, const SpokenList& items, SpokenList& taken,
                             std::string& error);
    // A list's spoken form lower-cased, with one blank between its words;
    // empty when it has none.
    static std::string spokenForm(const std::string& text);
    // Gives each argument the lowest confidence of its words, the rule a
    // command's words are judged by; 0 when `wordConfidences` does not hold
    // one figure for each of the `wordCount` words (a hypothesis).
    static void rate(std::vector<Argument>& arguments, const std::vector<int>& wordConfidences,
                     std::size_t wordCount);

    // The pattern of `text`; null with a one-line `error` when the text is
    // none. `lists` names the lists the host has set.
    static std::shared_ptr<const CommandPattern> parse(const std::string& text, const std::set<std::string>& lists,
                                                       std::string& error);

    // True when `words` are this command; `arguments` then holds every slot
    // that was filled, in the pattern's order (an optional part left out
    // leaves its slots out).
    bool match(const std::vector<std::string>& words, const SpokenLists& lists,
               std::vector<Argument>& arguments) const;

    // Whether a command of this pattern can begin with `word` (a literal
    // word; a pattern that begins with a slot begins with no word).
    bool canBeginWith(const std::string& word) const;
    // Whether the pattern has a text slot, and whether `words` are this
    // command when its text slots may hold any words, "[unk]" too ("find
    // [unk] word"): a grammar recognizer cannot name free words, so they are
    // to be heard again by a recognizer of free speech.
    bool hasText() const;
    bool matchWithUnheardText(const std::vector<std::string>& words, const SpokenLists& lists) const;
    // True when `words` are the beginning of a longer command of this
    // pattern: "go to line twenty" of "go to line <n:number 1..100>" (it
    // may become "twenty one"), "go to" of it. Whether they are a command
    // as they stand is `match`'s question.
    bool couldContinue(const std::vector<std::string>& words, const SpokenLists& lists) const;
    // Phrases that let a grammar recognizer hear the pattern: each way of
    // saying it (up to kMostGrammarPhrases) with its slots said by a sample,
    // and the words that fill each slot (a list's spoken forms, the number
    // words, the letters, the digits). A text slot is said as "[unk]".
    std::vector<std::string> grammarPhrases(const SpokenLists& lists) const;
    static constexpr std::size_t kMostGrammarPhrases = 32;

    const std::string& text() const { return m_text; }
    // The words written in the pattern, for checking them against a model.
    std::vector<std::string> literalWords() const;
    // Every word the pattern can be said with, given the lists as they are
    // now (the free words of a text slot excepted): the words a command
    // recognizer must be able to hear.
    std::vector<std::string> vocabulary(const SpokenLists& lists) const;
    std::vector<std::string> listsUsed() const;
    // Whether the pattern can end with a text slot (which then runs to the
    // end of the utterance, so nothing can be chained after it).
    bool endsWithText() const;

    // The pattern's structure, read back by a back end that builds its own
    // grammar from it (SAPI's rules of states and transitions).
    struct Node;
    using Sequence = std::vector<Node>;
    struct Node {
        enum class Kind { Word, Choice, Optional, Slot } kind = Kind::Word;
        std::string word;                    // Word
        std::vector<Sequence> alternatives;  // Choice: each one; Optional: the one
        // Slot: its name, type, range (Number) or least and most words, and
        // list (List).
        std::string name;
        SlotType type = SlotType::Number;
        long long low = 0, high = 0;
        std::string list;
    };
    const Sequence& items() const { return *mp_root; }

private:
    std::string m_text;
    std::shared_ptr<const Sequence> mp_root;
};

}  // namespace KSR

#endif
