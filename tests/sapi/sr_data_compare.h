#ifndef KSR_TESTS_SAPI_SR_DATA_COMPARE_H
#define KSR_TESTS_SAPI_SR_DATA_COMPARE_H

// Comparing and printing recognition records in test expectations.

#include <ostream>
#include <string>

#include "ksr_types.h"

namespace KSR {

inline bool operator==(const SRData& a, const SRData& b)
{
    return a.grammarId == b.grammarId && a.ruleId == b.ruleId && a.commandId == b.commandId && a.text == b.text;
}

inline void PrintTo(const SRData& data, std::ostream* out)
{
    *out << "{g " << data.grammarId << ", r " << data.ruleId << ", c " << data.commandId << ", \"" << data.text
         << "\"}";
}

inline SRData srData(GrammarId grammar, RuleId rule, CommandId command, const std::string& text)
{
    SRData data;
    data.grammarId = grammar;
    data.ruleId = rule;
    data.commandId = command;
    data.text = text;
    return data;
}

}  // namespace KSR

#endif
