// What the command lines of all the programs have in common: --help, --version, and the exit status
// of wrong usage.
#ifndef TOOLS_SUPPORT_COMMANDLINE_H
#define TOOLS_SUPPORT_COMMANDLINE_H

namespace CLI {
class App;
}

constexpr int kExitUsage = 2;

// Adds --version and parses. False when there is nothing to run, with the status to exit with: help
// or the version was asked for, 0, or the command line is wrong, kExitUsage. Then what the library
// told while it was loaded is dropped, so that the help, the version or the reason stands alone.
bool ParseCommandLine(CLI::App& app, int argc, const char* const* argv, int& exitStatus);

#endif  // TOOLS_SUPPORT_COMMANDLINE_H
