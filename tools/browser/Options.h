// The command line of the browser stand-in.
#ifndef TOOLS_BROWSER_OPTIONS_H
#define TOOLS_BROWSER_OPTIONS_H

#include <string>
#include <vector>

struct Options
{
    std::string library;
    std::string url;
    std::string log;
    bool console = false;
    int consolePort = 28282;
    std::string script;             // "-" is standard input
    std::vector<std::string> exec;  // commands, of --exec
};

// Exit statuses beside those of ScriptRunner.
constexpr int kExitUsage = 2;
constexpr int kExitNoLibrary = 3;

// False, with the status to exit with, when there is nothing to run.
bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus);

#endif  // TOOLS_BROWSER_OPTIONS_H
