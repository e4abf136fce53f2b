#ifndef KSR_TOOLS_DICTATION_DOCUMENT_H
#define KSR_TOOLS_DICTATION_DOCUMENT_H

#include <string>

#include "grammar_file.h"
#include "ksr_types.h"

// What a recognition result is to a host: a command of one of its grammars,
// dictated text (the dictation grammar, no rule) or a spoken formatting
// phrase (the dictation grammar's formatting rule; its text is the
// characters it writes, "," or "\n").
enum class ResultKind { Command, Text, Format };

ResultKind resultKind(const GrammarNames& names, const KSR::SRData& data);
// "command", "text" or "format": the event's name in the hosts' output.
const char* resultEventName(ResultKind kind);

// The text the dictation wrote so far: dictated text and the characters of
// formatting phrases, in the order they arrived. The module formats both
// (capitals, blanks between texts, numerals), so the document is their
// concatenation.
class DictationDocument {
public:
    explicit DictationDocument(const GrammarNames& names) : m_names(names) {}

    // Adds what the result writes, if anything, and says what it was.
    ResultKind add(const KSR::SRData& data);
    const std::string& text() const { return m_text; }

private:
    const GrammarNames& m_names;
    std::string m_text;
};

#endif
