// The player's command line.
#ifndef TOOLS_PLAYER_OPTIONS_H
#define TOOLS_PLAYER_OPTIONS_H

#include <string>

#include "tools/player/ClockEngine.h"
#include "tools/support/LogMode.h"

struct Options
{
    std::string engine;
    bool headless = false;
    std::string listenAddress = "127.0.0.1";
    int listenPort = 56911;
    std::string browserAddress = "127.0.0.1";
    int browserPort = 56910;
    bool verbose = false;
    int logMode = kLogAsConfigured;
    bool console = false;
    int consolePort = 28282;
    ClockEngine::Settings clock;
};

// Exit statuses beside that of wrong usage, as --help lists them.
constexpr int kExitEnded = 0;
constexpr int kExitFailed = 1;

// False, with the status to exit with, when there is nothing to run: help or the version was
// asked for, or the command line is wrong.
bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus);

#endif  // TOOLS_PLAYER_OPTIONS_H
