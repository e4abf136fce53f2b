#ifndef KSR_COMMON_COMMAND_PATTERN_SET_H
#define KSR_COMMON_COMMAND_PATTERN_SET_H

#include <memory>
#include <string>
#include <vector>

#include "common/command_pattern.h"
#include "ksr_types.h"

namespace KSR {

// The command patterns that are listening now, with the host's lists as they
// were when the set was made: an immutable snapshot, shared between the
// host's thread (which replaces it) and the recognition thread (which reads
// it), so that a result is always judged against one consistent set.
class CommandPatternSet {
public:
    CommandPatternSet(std::vector<std::shared_ptr<const CommandPattern>> patterns, SpokenLists lists);

    bool empty() const { return m_patterns.empty(); }
    // Whether the set holds these very patterns, in this order, with these lists.
    bool sameAs(const std::vector<std::shared_ptr<const CommandPattern>>& patterns, const SpokenLists& lists) const
    {
        return m_patterns == patterns && m_lists == lists;
    }
    std::size_t size() const { return m_patterns.size(); }
    const SpokenLists& lists() const { return m_lists; }

    // The first pattern, in the set's order, that the words [begin, end) of
    // `words` are a command of, with its slots; -1 when none is.
    int match(const std::vector<std::string>& words, std::size_t begin, std::size_t end,
              std::vector<Argument>& arguments) const;
    bool matches(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const;
    // Whether more words could still make the words [begin, end) a command
    // (see CommandPattern::couldContinue).
    bool couldContinue(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const;
    // Whether the words [begin, end) are a command of a pattern with a text
    // slot once that slot's words are heard again (see
    // CommandPattern::matchWithUnheardText).
    bool matchesWithUnheardText(const std::vector<std::string>& words, std::size_t begin, std::size_t end) const;
    bool hasText() const;
    // Words that begin like a command of a pattern, two words at least, and
    // are none ("go to line ten thousand one" for 1..10000, "turn dark
    // blue", "go to line"): the speaker meant a command and it failed. With `mayGoOn` the speaker may
    // still be saying it: words that more words could make a command are
    // not missed yet.
    bool missed(const std::vector<std::string>& words, bool mayGoOn) const;
    // The phrases that let a grammar recognizer hear every pattern, each once.
    std::vector<std::string> grammarPhrases() const;

private:
    std::vector<std::shared_ptr<const CommandPattern>> m_patterns;
    SpokenLists m_lists;
};

}  // namespace KSR

#endif
