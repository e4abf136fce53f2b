#ifndef KSR_VOSK_PHRASE_INDEX_H
#define KSR_VOSK_PHRASE_INDEX_H

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace KSR {
class CommandPatternSet;
}

namespace Vosk {

// How a recognizer's text stands against the phrase list.
enum class PhraseMatch {
    None,       // no phrase (or sequence of phrases) and no beginning of one
    Beginning,  // the beginning of a phrase, or a phrase that a longer one begins with
    Complete,   // a phrase (or a sequence) that no longer phrase begins with
};

// The command phrases looked up by the early end of a command and by
// chaining: the available phrases, the phrases of grammars that a spoken key
// switches on (heard in a chain only after their key), and every beginning of
// a phrase at a word boundary ("open" for "open file"). Command patterns
// count as phrases: "go to line forty two" is one when a pattern says so, and
// it is a beginning while more number words could still follow.
class PhraseIndex {
public:
    struct Keyed {
        Keyed(std::string grammarKey, std::vector<std::string> grammarPhrases,
              std::shared_ptr<const KSR::CommandPatternSet> grammarPatterns = nullptr)
            : key(std::move(grammarKey)), phrases(std::move(grammarPhrases)), patterns(std::move(grammarPatterns))
        {
        }
        std::string key;
        std::vector<std::string> phrases;
        std::shared_ptr<const KSR::CommandPatternSet> patterns;  // may be null
    };

    PhraseIndex(const std::vector<std::string>& available, const std::vector<Keyed>& keyed,
                std::shared_ptr<const KSR::CommandPatternSet> patterns = nullptr);

    // The text as a sequence of phrases, split leftmost-longest ("literal new
    // line" stays one phrase when it is one); a phrase of a keyed grammar
    // counts only after its key earlier in the sequence. Empty when the text
    // does not split completely.
    std::vector<std::string> split(const std::string& text) const;
    // Without chaining the text must be one available phrase.
    PhraseMatch classify(const std::string& text, bool chaining) const;
    // True when the text is a command as it stands (a phrase, or with
    // chaining a sequence of them), whether or not a longer phrase begins
    // with its last words: "page" while "page down" is on.
    bool isWhole(const std::string& text, bool chaining) const;

private:
    std::vector<std::string> splitWords(const std::vector<std::string>& words, std::size_t& consumed) const;
    bool isPattern(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const;
    // Whether the words [begin, end) could still grow into a phrase or a
    // pattern's command.
    bool canGrow(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const;

    std::unordered_set<std::string> m_available;
    std::unordered_map<std::string, std::unordered_set<std::string>> m_keyed;
    std::unordered_set<std::string> m_beginnings;
    std::size_t m_longestWords = 0;
    std::shared_ptr<const KSR::CommandPatternSet> mp_patterns;
    std::unordered_map<std::string, std::shared_ptr<const KSR::CommandPatternSet>> m_keyedPatterns;
};

}  // namespace Vosk

#endif
