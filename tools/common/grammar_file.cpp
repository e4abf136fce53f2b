#include "grammar_file.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <fstream>
#include <set>
#include <sstream>

#include "ksr_vosk_manager.h"

namespace {

using Value = rapidjson::Value;

bool onlyKeys(const Value& object, const std::set<std::string>& allowed, const std::string& where,
              std::string& error)
{
    for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
        const std::string key = member->name.GetString();
        if (!allowed.count(key)) {
            error = where + ": unknown key \"" + key + "\"";
            return false;
        }
    }
    return true;
}

bool readString(const Value& object, const char* key, std::string& out, const std::string& where,
                std::string& error)
{
    if (!object.HasMember(key))
        return true;
    if (!object[key].IsString()) {
        error = where + ": \"" + key + "\" must be a string";
        return false;
    }
    out = object[key].GetString();
    return true;
}

bool readBool(const Value& object, const char* key, bool& out, const std::string& where, std::string& error)
{
    if (!object.HasMember(key))
        return true;
    if (!object[key].IsBool()) {
        error = where + ": \"" + key + "\" must be true or false";
        return false;
    }
    out = object[key].GetBool();
    return true;
}

bool readInt(const Value& object, const char* key, int& out, const std::string& where, std::string& error)
{
    if (!object.HasMember(key))
        return true;
    if (!object[key].IsInt()) {
        error = where + ": \"" + key + "\" must be a whole number";
        return false;
    }
    out = object[key].GetInt();
    return true;
}

bool readStrings(const Value& object, const char* key, std::vector<std::string>& out, const std::string& where,
                 std::string& error)
{
    if (!object.HasMember(key))
        return true;
    const Value& list = object[key];
    if (!list.IsArray()) {
        error = where + ": \"" + key + "\" must be a list of strings";
        return false;
    }
    for (const Value& item : list.GetArray()) {
        if (!item.IsString()) {
            error = where + ": \"" + key + "\" must be a list of strings";
            return false;
        }
        out.push_back(item.GetString());
    }
    return true;
}

bool readRule(const Value& value, const std::string& where, RuleSpec& rule, std::string& error)
{
    if (!value.IsObject()) {
        error = where + " must be an object";
        return false;
    }
    if (!onlyKeys(value, {"name", "active", "commands", "patterns"}, where, error) ||
        !readString(value, "name", rule.name, where, error) || !readBool(value, "active", rule.active, where, error) ||
        !readStrings(value, "commands", rule.commands, where, error) ||
        !readStrings(value, "patterns", rule.patterns, where, error))
        return false;
    if (rule.name.empty()) {
        error = where + ": a rule needs a \"name\"";
        return false;
    }
    return true;
}

bool readGrammar(const Value& value, const std::string& where, GrammarSpec& grammar, std::string& error)
{
    if (!value.IsObject()) {
        error = where + " must be an object";
        return false;
    }
    if (!onlyKeys(value, {"name", "activationKey", "active", "rules"}, where, error) ||
        !readString(value, "name", grammar.name, where, error) ||
        !readString(value, "activationKey", grammar.activationKey, where, error) ||
        !readBool(value, "active", grammar.active, where, error))
        return false;
    if (grammar.name.empty()) {
        error = where + ": a grammar needs a \"name\"";
        return false;
    }
    if (value.HasMember("rules")) {
        if (!value["rules"].IsArray()) {
            error = where + ": \"rules\" must be a list";
            return false;
        }
        for (const Value& item : value["rules"].GetArray()) {
            RuleSpec rule;
            const std::string ruleWhere = where + ", rule " + std::to_string(grammar.rules.size() + 1);
            if (!readRule(item, ruleWhere, rule, error))
                return false;
            grammar.rules.push_back(rule);
        }
    }
    return true;
}

// "lists": { "NAME": { "spoken form": "value", ... }, ... }
bool readLists(const Value& value, KSR::SpokenLists& lists, std::string& error)
{
    if (!value.IsObject()) {
        error = "\"lists\" must be an object of lists";
        return false;
    }
    for (auto list = value.MemberBegin(); list != value.MemberEnd(); ++list) {
        const std::string name = list->name.GetString();
        const std::string where = "list \"" + name + "\"";
        if (!list->value.IsObject()) {
            error = where + " must be an object of spoken forms and their values";
            return false;
        }
        KSR::SpokenList& items = lists[name];
        for (auto item = list->value.MemberBegin(); item != list->value.MemberEnd(); ++item) {
            if (!item->value.IsString()) {
                error = where + ": the value of \"" + item->name.GetString() + "\" must be a string";
                return false;
            }
            items[item->name.GetString()] = item->value.GetString();
        }
    }
    return true;
}

bool readDocument(const Value& root, GrammarFile& file, std::string& error)
{
    if (!root.IsObject()) {
        error = "the top level must be an object";
        return false;
    }
    if (!onlyKeys(root, {"grammars", "lists", "dictation", "thresholds", "modes", "settings"}, "top level", error))
        return false;
    if (root.HasMember("lists") && !readLists(root["lists"], file.lists, error))
        return false;
    if (!root.HasMember("grammars") || !root["grammars"].IsArray()) {
        error = "\"grammars\" must be a list of grammars";
        return false;
    }
    for (const Value& item : root["grammars"].GetArray()) {
        GrammarSpec grammar;
        if (!readGrammar(item, "grammar " + std::to_string(file.grammars.size() + 1), grammar, error))
            return false;
        file.grammars.push_back(grammar);
    }
    if (root.HasMember("dictation")) {
        const Value& dictation = root["dictation"];
        if (!dictation.IsObject()) {
            error = "\"dictation\" must be an object";
            return false;
        }
        file.hasDictation = true;
        if (!onlyKeys(dictation, {"activationKey", "active", "forcedWordsKeyword", "forcedWords"}, "dictation",
                      error) ||
            !readString(dictation, "activationKey", file.dictationKey, "dictation", error) ||
            !readBool(dictation, "active", file.dictationActive, "dictation", error) ||
            !readString(dictation, "forcedWordsKeyword", file.forcedWordsKeyword, "dictation", error) ||
            !readStrings(dictation, "forcedWords", file.forcedWords, "dictation", error))
            return false;
    }
    if (root.HasMember("thresholds")) {
        const Value& thresholds = root["thresholds"];
        if (!thresholds.IsObject()) {
            error = "\"thresholds\" must be an object";
            return false;
        }
        if (!onlyKeys(thresholds, {"command", "dictation"}, "thresholds", error) ||
            !readInt(thresholds, "command", file.commandThreshold, "thresholds", error) ||
            !readInt(thresholds, "dictation", file.dictationThreshold, "thresholds", error))
            return false;
    }
    if (root.HasMember("modes")) {
        const Value& modes = root["modes"];
        if (!modes.IsObject()) {
            error = "\"modes\" must be an object";
            return false;
        }
        if (!onlyKeys(modes, {"numerals", "capitals", "spelling"}, "modes", error) ||
            !readBool(modes, "numerals", file.numerals, "modes", error) ||
            !readBool(modes, "capitals", file.capitals, "modes", error) ||
            !readBool(modes, "spelling", file.spelling, "modes", error))
            return false;
    }
    if (root.HasMember("settings")) {
        const Value& settings = root["settings"];
        if (!settings.IsObject()) {
            error = "\"settings\" must be an object";
            return false;
        }
        if (!onlyKeys(settings, {"fastCommands", "chain"}, "settings", error) ||
            !readInt(settings, "fastCommands", file.fastCommands, "settings", error) ||
            !readBool(settings, "chain", file.chain, "settings", error))
            return false;
        if (file.fastCommands < 0) {
            error = "settings: \"fastCommands\" must be 0 (off) or a quiet time in ms";
            return false;
        }
    }
    return true;
}

// The first word of `phrase` that the model does not know ("" if none).
std::string unknownWord(KSR_VoskManager& manager, const std::string& phrase)
{
    std::istringstream words(phrase);
    std::string word;
    while (words >> word)
        if (!manager.phraseExists(word))
            return word;
    return phrase.empty() ? std::string("(empty phrase)") : std::string();
}

bool refused(KSR_VoskManager& manager, const std::string& what, const std::string& phrase, std::string& error)
{
    const std::string word = unknownWord(manager, phrase);
    error = what + " \"" + phrase + "\" was refused" +
            (word.empty() ? std::string() : ": the model does not know the word \"" + word + "\"");
    return false;
}

}  // namespace

const char* bundledGrammarFile() { return KSR_BUNDLED_GRAMMAR; }

bool readGrammarFile(const std::string& path, GrammarFile& file, std::string& error)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        error = "cannot open it";
        return false;
    }
    std::ostringstream text;
    text << stream.rdbuf();
    const std::string json = text.str();
    rapidjson::Document document;
    document.Parse(json.c_str(), json.size());
    if (document.HasParseError()) {
        std::size_t line = 1;
        const std::size_t offset = document.GetErrorOffset();
        for (std::size_t i = 0; i < offset && i < json.size(); ++i)
            line += json[i] == '\n';
        error = std::string("not valid JSON at line ") + std::to_string(line) + ": " +
                rapidjson::GetParseError_En(document.GetParseError());
        return false;
    }
    return readDocument(document, file, error);
}

bool registerGrammarFile(KSR_VoskManager& manager, const GrammarFile& file, GrammarNames& names,
                         std::string& error)
{
    // The dictation grammar is always added: it gives the engine its
    // literal keyword, without which the engine listens to no command. It
    // stays off unless the file asks for dictation.
    names.dictationGrammar = manager.addDictationGrammar(file.hasDictation ? file.dictationKey : "");
    if (names.dictationGrammar == KSR::InvalidGrammarId)
        return refused(manager, "the dictation activation key", file.dictationKey, error);
    names.grammars[names.dictationGrammar] = "dictation";
    const std::vector<unsigned long> dictationRules = manager.getRuleIds(names.dictationGrammar);
    if (!dictationRules.empty()) {
        names.formattingRule = static_cast<KSR::RuleId>(dictationRules.front());
        names.rules[names.formattingRule] = "formatting";
    }

    // Patterns name the lists, so the lists come first.
    for (const auto& list : file.lists)
        if (!manager.setList(list.first, list.second)) {
            error = "list \"" + list.first + "\" was refused: " + manager.listProblem(list.first, list.second);
            return false;
        }

    std::vector<KSR::GrammarId> toActivate;
    for (const GrammarSpec& grammar : file.grammars) {
        const KSR::GrammarId id = manager.addCommandGrammar(grammar.activationKey);
        if (id == KSR::InvalidGrammarId)
            return refused(manager, "the activation key of grammar \"" + grammar.name + "\"", grammar.activationKey,
                           error);
        names.grammars[id] = grammar.name;
        for (const RuleSpec& rule : grammar.rules) {
            const KSR::RuleId ruleId = manager.addRule(id, rule.name);
            names.rules[ruleId] = rule.name;
            for (const std::string& command : rule.commands)
                if (manager.addCommand(ruleId, command) == KSR::InvalidCommandId)
                    return refused(manager, "command of rule \"" + rule.name + "\"", command, error);
            for (const std::string& pattern : rule.patterns)
                if (manager.addCommandPattern(ruleId, pattern) == KSR::InvalidCommandId) {
                    const std::string problem = manager.patternProblem(pattern);
                    error = "pattern of rule \"" + rule.name + "\" \"" + pattern + "\" was refused: " +
                            (problem.empty() ? std::string("the rule has it already") : problem);
                    return false;
                }
            if (!rule.active)
                manager.setRuleActivated(ruleId, false);
        }
        if (grammar.active)
            toActivate.push_back(id);
    }
    for (KSR::GrammarId id : toActivate)
        manager.setActivated(id, true);
    if (file.hasDictation && file.dictationActive)
        manager.setActivated(names.dictationGrammar, true);

    if (!file.forcedWordsKeyword.empty() && !manager.setForcedWordsKeyword(file.forcedWordsKeyword)) {
        error = "the forced-words keyword \"" + file.forcedWordsKeyword + "\" was refused";
        return false;
    }
    if (!file.forcedWords.empty() && !manager.setForcedWords(file.forcedWords)) {
        for (const std::string& word : file.forcedWords)
            if (!unknownWord(manager, word).empty())
                return refused(manager, "the forced word", word, error);
        error = "the forced words were refused";
        return false;
    }
    if (file.commandThreshold != -1 && !manager.setCommandRequiredConfidence(file.commandThreshold)) {
        error = "thresholds: \"command\" must be 0 to 100";
        return false;
    }
    if (file.dictationThreshold != -1 && !manager.setDictationRequiredConfidence(file.dictationThreshold)) {
        error = "thresholds: \"dictation\" must be 0 to 100";
        return false;
    }
    if (file.numerals)
        manager.setNumeralModeEnabled(true);
    if (file.spelling)
        manager.setSpellingModeEnabled(true);
    if (file.capitals)
        manager.setCapitalsModeEnabled(true);
    manager.setFastCommands(file.fastCommands);
    if (file.chain)
        manager.setCommandChaining(true);
    return true;
}
