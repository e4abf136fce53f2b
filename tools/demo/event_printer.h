#ifndef KSR_DEMO_EVENT_PRINTER_H
#define KSR_DEMO_EVENT_PRINTER_H

#include <QObject>

#include <cstdio>
#include <map>
#include <string>

#include "dictation_document.h"
#include "grammar_file.h"
#include "k_vosk_interface.h"

// Prints one line per signal of the interface, as text or as JSON:
//   command     "open file"  grammar 102 files, rule 12 files, command 0
//   command     "volume ten"  [level=10]  grammar 103 edit, rule 14 arguments, command 1
//                                                 a command with arguments
//   text        "Hello world"                     dictated text
//   format      ","  command 10                   spoken formatting phrase
//   hypothesis  "open fi"                         partial result (when asked;
//                                                 each new text once per grammar)
//   failed                                        nothing usable was heard
//   grammar     files on                          a grammar was switched
//   mode        spelling on                       a dictation mode was switched
//   microphone  "Built-in" lost                   the microphone went away (paced listening;
//   microphone  "Built-in" back                   listening goes on and it is tried again)
//   document    "Hello world,\n"                  all text written (on request)
// JSON lines carry the same fields: {"event":"command","text":...}; a
// command with arguments adds "arguments": {"level": 10} (numbers as JSON
// numbers, other values as strings).
// It lives on the thread that prints; signals from the recognition thread
// reach it queued.
class EventPrinter : public QObject {
public:
    EventPrinter(K_VoskInterface& recognizer, const GrammarNames& names, bool json, bool hypotheses,
                 std::FILE* out = stdout);

    // A line of the demo's own: the file being heard, listening started.
    void file(const std::string& path);
    void listening(const std::string& device, int frequency);
    // The text the dictation wrote so far (dictated text and the characters
    // of formatting phrases, in order), as one line; nothing if none.
    void document();

private:
    void result(const KSR::SRData& data);
    void hypothesis(const KSR::SRData& data);
    void failed();
    void grammar(KSR::GrammarId id, bool on);
    void mode(const char* name, bool on);
    void microphone(const QString& device, bool connected);

    void emitLine(const std::string& line);

    const GrammarNames& m_names;
    const bool m_json;
    const bool m_hypotheses;
    std::FILE* m_out;
    // Last partial text per grammar: the command and the dictation
    // recognizers send theirs in turn, each repeated for every chunk.
    std::map<KSR::GrammarId, std::string> m_lastHypothesis;
    DictationDocument m_document;
};

#endif
