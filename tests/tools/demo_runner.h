#ifndef KSR_TESTS_DEMO_RUNNER_H
#define KSR_TESTS_DEMO_RUNNER_H

// Runs the demo host (ksr-demo) as a separate process and reads what it
// printed: its exit status, standard output (JSON lines parsed) and
// standard error.

#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "program_runner.h"

using DemoRun = ProgramRun;

// One JSON line of the demo, flattened to what the tests compare.
struct DemoEvent {
    std::string event;
    std::string text;       // "text" (or "name" for grammar events, "mode" for modes, "path" for files)
    long long grammar = -1;
    long long rule = -1;
    long long command = -2;
    std::string grammarName;
    std::string ruleName;
    bool active = false;
};

inline std::vector<DemoEvent> parseEvents(const DemoRun& run)
{
    std::vector<DemoEvent> events;
    for (const std::string& line : run.lines()) {
        rapidjson::Document json;
        json.Parse(line.c_str());
        if (json.HasParseError() || !json.IsObject() || !json.HasMember("event"))
            continue;
        DemoEvent event;
        event.event = json["event"].GetString();
        for (const char* key : {"text", "name", "mode", "path"})
            if (json.HasMember(key) && json[key].IsString())
                event.text = json[key].GetString();
        if (json.HasMember("grammar"))
            event.grammar = static_cast<long long>(json["grammar"].GetUint64());
        if (json.HasMember("rule"))
            event.rule = static_cast<long long>(json["rule"].GetUint());
        if (json.HasMember("command"))
            event.command = json["command"].GetInt();
        if (json.HasMember("grammarName"))
            event.grammarName = json["grammarName"].GetString();
        if (json.HasMember("ruleName"))
            event.ruleName = json["ruleName"].GetString();
        if (json.HasMember("active"))
            event.active = json["active"].GetBool();
        events.push_back(event);
    }
    return events;
}

// Runs the demo with `arguments` after the environment assignments in
// `environment` ("NAME=value"), in `directory` when given.
inline DemoRun runDemo(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {},
                       const std::string& directory = "")
{
    return runProgram(KSR_DEMO_PROGRAM, arguments, environment, directory);
}

#endif
