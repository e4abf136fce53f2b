#ifndef KSR_TOOLS_GRAMMAR_FILE_H
#define KSR_TOOLS_GRAMMAR_FILE_H

#include <map>
#include <string>
#include <vector>

#include "ksr_types.h"

class KSR_VoskManager;

// The host programs' grammar file (JSON), read by ksr-demo and ksr-desktop:
//
// {
//   "grammars": [                       command grammars, registered in order
//     { "name": "files",
//       "activationKey": "north",       optional; saying it switches this
//                                       grammar on and the other keyed ones off
//       "active": true,                 optional, default false
//       "rules": [ { "name": "files", "active": true,
//                    "commands": ["open file", "close window"],
//                    "patterns": ["go to line <line:number 1..10000>",
//                                 "turn <colour:list colours>"] } ] }
//   ],                                  patterns: commands with arguments
//                                       (addCommandPattern), added after the
//                                       rule's phrases
//   "lists": {                          optional: the host lists of list slots,
//     "colours": { "red": "#ff0000",    each spoken form with its value (setList),
//                  "dark red": "#8b0000" } },   set before any pattern is added
//   "dictation": {                      optional: free dictation
//     "activationKey": "",  "active": true,
//     "forcedWordsKeyword": "force", "forcedWords": ["smith"] },
//   "thresholds": { "command": 90, "dictation": 50 },   optional, per cent
//   "modes": { "numerals": false, "capitals": false, "spelling": false },
//   "settings": { "fastCommands": 250, "chain": true }   optional: the early
//                                       end's quiet time in ms (0: off) and
//                                       chained commands, both off by default
// }
//
// Unknown keys are refused, so that a misspelt key is not silently ignored.

struct RuleSpec {
    std::string name;
    bool active = true;
    std::vector<std::string> commands;
    // Initialized here so that a rule written {name, active, commands} is whole.
    std::vector<std::string> patterns{};
};

struct GrammarSpec {
    std::string name;
    std::string activationKey;
    bool active = false;
    std::vector<RuleSpec> rules;
};

struct GrammarFile {
    std::vector<GrammarSpec> grammars;
    KSR::SpokenLists lists;
    bool hasDictation = false;
    std::string dictationKey;
    bool dictationActive = false;
    std::string forcedWordsKeyword;
    std::vector<std::string> forcedWords;
    int commandThreshold = -1;    // -1: keep the module's default
    int dictationThreshold = -1;
    bool numerals = false;
    bool capitals = false;
    bool spelling = false;
    int fastCommands = 0;  // quiet time in ms; 0: off
    bool chain = false;
};

// Names of what was registered, for printing results.
struct GrammarNames {
    std::map<KSR::GrammarId, std::string> grammars;
    std::map<KSR::RuleId, std::string> rules;
    KSR::GrammarId dictationGrammar = KSR::InvalidGrammarId;
    KSR::RuleId formattingRule = KSR::InvalidRuleId;
};

// The grammar file that ships beside the sources (tools/demo/grammar.json).
const char* bundledGrammarFile();

// Reads and checks the file's structure; false with `error` set.
bool readGrammarFile(const std::string& path, GrammarFile& file, std::string& error);

// Registers everything through the manager; false with `error` set when the
// manager refuses something (a word the model does not know, a bad threshold).
bool registerGrammarFile(KSR_VoskManager& manager, const GrammarFile& file, GrammarNames& names,
                         std::string& error);

#endif
