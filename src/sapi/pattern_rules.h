#ifndef KSR_SAPI_PATTERN_RULES_H
#define KSR_SAPI_PATTERN_RULES_H

#include <functional>
#include <map>
#include <string>

#include "ksr_sapi_com.h"
#include "ksr_types.h"
#include "common/command_pattern.h"

namespace KSR {

using PatternItem = CommandPattern::Node;
using PatternItems = CommandPattern::Sequence;

// The rules a grammar's command patterns refer to. Each kind of slot with
// its reach (number words, digits, letters, free words) and each host list
// is one rule of the SAPI grammar, made the first time a pattern needs it
// and shared by every later one; the list rules are remembered by list so
// that a new list replaces their words.
struct SlotRules {
    std::map<std::string, SPSTATEHANDLE> made;   // by rule name
    std::map<std::string, SPSTATEHANDLE> lists;  // by list name
    // SAPI only hears the dictation transitions of text slots in a grammar
    // that has its dictation topic loaded.
    bool freeWordsLoaded = false;
    // Names the rule of each pattern; never reused, so that what a failed
    // attempt left in SAPI's grammar is never built upon.
    unsigned long nextBody = 0;
};

// Writes command patterns into one SAPI grammar as dynamic rules, without
// committing. A pattern is a rule of its own (its body): literal words are
// word transitions, alternatives parallel transitions, optional parts an
// empty transition beside them, and every slot a rule reference. Words ask
// for high confidence ("+"), as commands do. Each call stops at the first
// call SAPI refuses; failure() then holds its result.
class PatternRuleBuilder {
public:
    PatternRuleBuilder(ISpRecoGrammar* grammar, SlotRules& rules, const SpokenLists& lists);

    // A new rule holding `items`, for a top-level rule to refer to.
    bool addBody(const PatternItems& items, SPSTATEHANDLE& body);
    // Empties the rule of the list NAME, if the grammar has one, and fills
    // it with `items`: one transition per spoken form, carrying the host's
    // value as a property named after the list.
    bool refillList(const std::string& name, const SpokenList& items);

    HRESULT failure() const { return m_failure; }

    // The most words a number up to `high` is said with.
    static long long mostNumberWords(long long high);

private:
    using Step = std::function<bool(SPSTATEHANDLE from, SPSTATEHANDLE to)>;

    bool addItems(const PatternItems& items, SPSTATEHANDLE from, SPSTATEHANDLE to);
    bool addItem(const PatternItem& item, SPSTATEHANDLE from, SPSTATEHANDLE to);
    bool slotRule(const PatternItem& slot, SPSTATEHANDLE& rule);
    bool listRule(const std::string& name, SPSTATEHANDLE& rule);
    bool fillList(SPSTATEHANDLE rule, const std::string& name, const SpokenList& items);
    // `least` to `most` steps in a row from the rule's start to its end.
    bool chain(SPSTATEHANDLE start, long long least, long long most, const Step& step);
    bool words(SPSTATEHANDLE from, SPSTATEHANDLE to, const std::vector<std::string>& choices);
    bool word(SPSTATEHANDLE from, SPSTATEHANDLE to, const std::string& text, const SPPROPERTYINFO* property);
    bool emptyTransition(SPSTATEHANDLE from, SPSTATEHANDLE to);
    bool newState(SPSTATEHANDLE in, SPSTATEHANDLE& made);
    bool subRule(const std::string& name, SPSTATEHANDLE& rule);
    bool check(HRESULT result);

    ISpRecoGrammar* m_grammar;
    SlotRules& m_rules;
    const SpokenLists& m_lists;
    HRESULT m_failure = S_OK;
};

}  // namespace KSR

#endif
