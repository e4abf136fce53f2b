#ifndef KSR_TYPES_H
#define KSR_TYPES_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
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

// What fills a slot of a command pattern (addCommandPattern).
enum class SlotType { Number = 0, Digits = 1, List = 2, Letters = 3, Text = 4 };

// The value one slot of a recognized command was filled with.
struct Argument {
    std::string name;
    SlotType type = SlotType::Number;
    long long number = 0;  // a Number slot's value
    // Digits: the digits, leading zeros kept; List: the host's value for the
    // spoken form; Letters: the word they spell; Text: the words.
    std::string text;
    std::string words;          // the words that filled the slot
    std::size_t firstWord = 0;  // where they stand in the command's text
    std::size_t wordCount = 0;
    // The lowest confidence of the slot's words in whole per cent, as the
    // command's own rule reads them; 0 when the engine gave none (hypotheses).
    int confidence = 0;
};

// A host's list for the list slots of command patterns: each spoken form
// (one or more words) with the value the host wants back for it.
using SpokenList = std::map<std::string, std::string>;
using SpokenLists = std::map<std::string, SpokenList>;

// One recognition result: a plain value, copied freely into callbacks,
// signals and queued connections. A command registered as a pattern carries
// the values of its slots in `arguments`, in the pattern's order (a left-out
// optional part leaves its slots out); every other result has none.
struct SRData {
    SRData() = default;
    // The ids and the text; `arguments` only for a command with arguments.
    SRData(GrammarId grammar, RuleId rule, CommandId command, std::string words,
           std::vector<Argument> values = std::vector<Argument>())
        : grammarId(grammar), ruleId(rule), commandId(command), text(std::move(words)), arguments(std::move(values))
    {
    }

    GrammarId grammarId = InvalidGrammarId;
    RuleId ruleId = InvalidRuleId;
    CommandId commandId = InvalidCommandId;
    std::string text;
    std::vector<Argument> arguments;
};

// "number", "digits", "list", "letters" or "text".
KSR_EXPORT const char* slotTypeName(SlotType type);

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
