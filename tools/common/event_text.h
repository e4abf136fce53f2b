#ifndef KSR_TOOLS_EVENT_TEXT_H
#define KSR_TOOLS_EVENT_TEXT_H

#include <string>
#include <vector>

#include "dictation_document.h"
#include "grammar_file.h"
#include "ksr_types.h"

// The words the host programs use for the module's signals: ksr-demo prints
// them one line per signal, ksr-desktop shows them in its event log. Each
// function gives the details after the event's name, for example
//   command     "open file"  grammar 102 files, rule 12 files, command 0
//   command     "go to line forty two"  [line=42]  grammar 103 edit, rule 14 arguments, command 0
//   format      ","  command 10
//   grammar     files on
namespace EventText {

// The text between double quotes, with line feeds, tabs and quotes escaped.
std::string quoted(const std::string& text);
// The names a grammar file gave, "?" for ids it did not register.
std::string grammarName(const GrammarNames& names, KSR::GrammarId id);
std::string ruleName(const GrammarNames& names, KSR::RuleId id);

// A command with arguments has their values in brackets after its text.
std::string result(const GrammarNames& names, ResultKind kind, const KSR::SRData& data);
// The values of a command's slots, "line=42, colour=\"#8b0000\"": a number
// as it is, any other value quoted; "" for none.
std::string arguments(const std::vector<KSR::Argument>& values);
std::string hypothesis(const KSR::SRData& data);
std::string grammar(const GrammarNames& names, KSR::GrammarId id, bool on);
std::string mode(const char* name, bool on);
std::string microphone(const std::string& device, bool connected);
std::string document(const std::string& text);

// One line of text output: the event's name padded to a column, then the
// details (the name alone when there are none).
std::string line(const char* event, const std::string& details);

}  // namespace EventText

#endif
