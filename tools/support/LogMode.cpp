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
                   "Log in this mode, not in that of ./logger.conf: 0 none, 1 stderr, 2 file, "
                   "3 udp, 4 unix")
        ->type_name("MODE")
        ->transform(CLI::CheckedTransformer(modes, CLI::ignore_case).description(""));
}

int ChooseLogMode(int asked)
{
    const bool configured = access("./logger.conf", R_OK) == 0;
    return asked == kLogAsConfigured && !configured ? kLogStandardError : asked;
}
