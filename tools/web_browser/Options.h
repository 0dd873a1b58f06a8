// The command line of the web browser.
#ifndef TOOLS_WEB_BROWSER_OPTIONS_H
#define TOOLS_WEB_BROWSER_OPTIONS_H

#include <string>

#include "tools/support/CommandLine.h"
#include "tools/support/LogMode.h"

struct Options
{
    std::string url;  // a path was made a file:// address
    std::string script;
    std::string screenshot;
    bool headless = false;
    bool resume = false;
    double timeout = 0;  // seconds, 0 for none
    int logMode = kLogAsConfigured;
    int width = 1280;  // of the page, pixels
    int height = 720;
};

// Exit statuses, as --help lists them.
enum ExitStatus
{
    kExitDone = 0,
    kExitFailed = 1,
    // kExitUsage, 2, is that of all the programs.
    kExitTimeout = 3,
    kExitEngineDied = 4
};

// False, with the status to exit with, when there is nothing to run.
bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus);

#endif  // TOOLS_WEB_BROWSER_OPTIONS_H
