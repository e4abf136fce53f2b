#ifndef KSR_TYPES_H
#define KSR_TYPES_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ksr_export.h"

// The vocabulary shared by every back end, manager and host interface.
namespace KSR {

using GrammarId = unsigned long long;  // 64-bit on every platform; counter from 100
// Rule ids: a process-wide counter from 10, shared by all grammars; 32 bits
// wide everywhere. On Windows, the module's home, that is `unsigned long`,
// the type Qt registers as QMetaType::ULong; elsewhere `unsigned long` is
// 64 bits wide, so the 32-bit unsigned int stands in.
#if defined(_WIN32)
using RuleId = unsigned long;
#else
using RuleId = std::uint32_t;
#endif
static_assert(sizeof(RuleId) == 4, "rule ids are 32 bits wide");
using CommandId = std::int32_t;   // per rule, from 0

// All bits set means "none" / "invalid" for every identifier.
constexpr GrammarId InvalidGrammarId = ~GrammarId(0);
constexpr RuleId InvalidRuleId = ~RuleId(0);
constexpr CommandId InvalidCommandId = -1;

// One recognition result: a plain value, copied freely into callbacks,
// signals and queued connections.
struct SRData {
    GrammarId grammarId = InvalidGrammarId;
    RuleId ruleId = InvalidRuleId;
    CommandId commandId = InvalidCommandId;
    std::string text;
};

enum RequiredConfidence { Low = 0, Normal = 1, High = 2 };

// State handed with recognized text from the Vosk engine to its manager.
enum RecognitionState { Failed = 0, Hypothesis = 1, Recognized = 2 };

using ResultFunction = std::function<void(SRData)>;
using VoidFunction = std::function<void()>;
using BoolFunction = std::function<void(bool)>;
using GrammarActivationFunction = std::function<void(GrammarId, bool)>;
using GrammarChangedFunction = std::function<void(GrammarId)>;
using CommandRecognizedFunction = std::function<void(const std::string&, RecognitionState)>;
using DictationRecognizedFunction = std::function<void(std::string&, RecognitionState)>;

// Splits `text` on `delimiter`, appending each piece to `tokens`. With
// keepEmpty false, empty pieces (two delimiters in a row, a leading or a
// trailing delimiter) are skipped. Returns the number of pieces appended.
KSR_EXPORT std::size_t splitString(const std::string& text, char delimiter, bool keepEmpty,
                                   std::vector<std::string>& tokens);

}  // namespace KSR

#endif
