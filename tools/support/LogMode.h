// The option --log of all the programs: where the library's log goes, instead of where logger.conf
// sends it.
#ifndef TOOLS_SUPPORT_LOGMODE_H
#define TOOLS_SUPPORT_LOGMODE_H

namespace CLI {
class App;
}

// The modes have the numbers of logger.conf.
constexpr int kLogAsConfigured = -1;  // as logger.conf says
constexpr int kLogNone = 0;
constexpr int kLogStandardError = 1;

// Adds --log MODE, the mode by its number or its name. Without it the mode stays as it is.
void AddLogOption(CLI::App& app, int& mode);

// The mode that a program should log in: the one asked for; with kLogAsConfigured the same again
// where the working directory has a logger.conf that can be read, else standard error.
int ChooseLogMode(int asked);

#endif  // TOOLS_SUPPORT_LOGMODE_H
