// KSR_Grammar: commands with arguments and the host's lists in SAPI's
// grammar (the rules themselves are written by PatternRuleBuilder).

#include "common/command_pattern.h"
#include "ksr_logger.h"
#include "ksr_sapi_grammar.h"
#include "sapi/pattern_rules.h"
#include "sapi/result_code.h"

int KSR_Grammar::addCommandPattern(KSR::RuleId ruleId, const std::shared_ptr<const KSR::CommandPattern>& pattern,
                                   const KSR::SpokenLists& lists)
{
    const std::shared_ptr<RuleInfo> rule = findRule(ruleId);
    if (!rule || !pattern) {
        KSR_Logger::Error("You need to add a rule before you add a command!");
        return -1;
    }
    const std::string& text = pattern->text();
    int known = -1;
    if (takeKnownCommand(*rule, text, known))
        return known;

    if (!m_grammar) {
        KSR_Logger::Error("Could not add command " + text + "!");
        return -1;
    }
    const KSR::PatternItems& items = pattern->items();
    if (pattern->hasText() && !loadFreeWords()) {
        KSR_Logger::Error("Could not load dictation for command " + text + "!");
        return -1;
    }
    const std::shared_ptr<CommandInfo> command = newCommand(*rule, text);
    command->pattern = pattern;
    KSR::PatternRuleBuilder builder(m_grammar.get(), *mp_slotRules, lists);
    SPSTATEHANDLE body = nullptr;
    HRESULT added = E_FAIL;
    if (builder.addBody(items, body))
        added = m_grammar->AddRuleTransition(rule->state, nullptr, body, 1.0f, &command->property);
    else
        added = builder.failure();
    if (FAILED(added)) {
        KSR_Logger::Error("Could not add command " + text + "! (Error code:" + KSR::resultCodeText(added) + ")");
        return -1;
    }
    return commitCommand(*rule, text, command);
}

bool KSR_Grammar::setList(const std::string& name, const KSR::SpokenList& items)
{
    if (!mp_slotRules->lists.count(name))
        return true;
    const KSR::SpokenLists none;
    KSR::PatternRuleBuilder builder(m_grammar.get(), *mp_slotRules, none);
    HRESULT result = m_grammar ? S_OK : E_POINTER;
    if (SUCCEEDED(result) && !builder.refillList(name, items))
        result = builder.failure();
    if (SUCCEEDED(result))
        result = m_grammar->Commit(0);
    if (FAILED(result)) {
        KSR_Logger::Error("Could not give list " + name + " to grammar! (Error code:" + KSR::resultCodeText(result) +
                          ")");
        return false;
    }
    return true;
}

// A grammar that carries free dictation has the topic loaded already.
bool KSR_Grammar::loadFreeWords()
{
    if (m_dictationEnabled || mp_slotRules->freeWordsLoaded)
        return true;
    if (!m_grammar || FAILED(m_grammar->LoadDictation(nullptr, SPLO_STATIC)))
        return false;
    mp_slotRules->freeWordsLoaded = true;
    return true;
}
