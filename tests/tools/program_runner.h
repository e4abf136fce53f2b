#ifndef KSR_TESTS_PROGRAM_RUNNER_H
#define KSR_TESTS_PROGRAM_RUNNER_H

// Runs a program of the project (ksr-demo, ksr-desktop) as a separate
// process and keeps what it did: its exit status, standard output and
// standard error.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct ProgramRun {
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

// Runs `program` with `arguments` after the environment assignments in
// `environment` ("NAME=value"), in `directory` when given.
inline ProgramRun runProgram(const std::string& program, const std::vector<std::string>& arguments,
                             const std::vector<std::string>& environment = {}, const std::string& directory = "")
{
    char errPath[] = "/tmp/ksr-program-err-XXXXXX";
    const int errFd = ::mkstemp(errPath);
    if (errFd >= 0)
        ::close(errFd);
    std::string command;
    if (!directory.empty())
        command += "cd " + shellQuote(directory) + " && ";
    command += "env";
    for (const std::string& assignment : environment)
        command += " " + shellQuote(assignment);
    command += " " + shellQuote(program);
    for (const std::string& argument : arguments)
        command += " " + shellQuote(argument);
    command += " 2>" + shellQuote(errPath);

    ProgramRun run;
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
