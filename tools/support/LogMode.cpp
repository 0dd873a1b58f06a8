#include "tools/support/LogMode.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

void AddLogOption(CLI::App& app, int& mode)
{
    const std::vector<std::pair<std::string, int>> modes = {
        {"none", kLogNone}, {"stderr", kLogStandardError}, {"file", 2}, {"udp", 3}, {"unix", 4}};
    app.add_option("--log", mode,
                   "Log in this mode, by name or as a number from 0, not in that of ./logger.conf")
        ->type_name("none|stderr|file|udp|unix")
        ->transform(CLI::CheckedTransformer(modes, CLI::ignore_case).description(""));
}

int ChooseLogMode(int asked)
{
    const bool configured = access("./logger.conf", R_OK) == 0;
    return asked == kLogAsConfigured && !configured ? kLogStandardError : asked;
}
