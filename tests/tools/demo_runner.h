#ifndef KSR_TESTS_DEMO_RUNNER_H
#define KSR_TESTS_DEMO_RUNNER_H

// Runs the demo host (ksr-demo) as a separate process and reads what it
// printed: its exit status, standard output (JSON lines parsed) and
// standard error.

#include <rapidjson/document.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

struct DemoRun {
    int status = -1;
    std::string out;
    std::string err;

    std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        std::istringstream stream(out);
        std::string line;
        while (std::getline(stream, line))
            all.push_back(line);
        return all;
    }
};

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

inline std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline std::string shellQuote(const std::string& text)
{
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Runs the demo with `arguments` after the environment assignments in
// `environment` ("NAME=value"), in `directory` when given.
inline DemoRun runDemo(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {},
                       const std::string& directory = "")
{
    char errPath[] = "/tmp/ksr-demo-err-XXXXXX";
    const int errFd = ::mkstemp(errPath);
    if (errFd >= 0)
        ::close(errFd);
    std::string command;
    if (!directory.empty())
        command += "cd " + shellQuote(directory) + " && ";
    command += "env";
    for (const std::string& assignment : environment)
        command += " " + shellQuote(assignment);
    command += " " + shellQuote(KSR_DEMO_PROGRAM);
    for (const std::string& argument : arguments)
        command += " " + shellQuote(argument);
    command += " 2>" + shellQuote(errPath);

    DemoRun run;
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe) {
        char chunk[4096];
        std::size_t got;
        while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
            run.out.append(chunk, got);
        const int status = ::pclose(pipe);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    run.err = readFile(errPath);
    std::remove(errPath);
    return run;
}

#endif
