// The command line of the browser stand-in.
#ifndef TOOLS_BROWSER_OPTIONS_H
#define TOOLS_BROWSER_OPTIONS_H

#include <string>
#include <vector>

#include "tools/support/LogMode.h"

struct Options
{
    std::string library;
    std::string url;
    int logMode = kLogAsConfigured;
    std::string logFile;
    bool console = false;
    int consolePort = 28282;
    std::string script;             // "-" is standard input
    std::vector<std::string> exec;  // commands, of --exec
};

// An exit status beside those of ScriptRunner and of a wrong command line.
constexpr int kExitNoLibrary = 3;

// False, with the status to exit with, when there is nothing to run.
bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus);

#endif  // TOOLS_BROWSER_OPTIONS_H
