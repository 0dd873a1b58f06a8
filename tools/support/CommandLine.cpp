#include "tools/support/CommandLine.h"

#include <CLI/CLI.hpp>

#include "tools/support/HeldOutput.h"

bool ParseCommandLine(CLI::App& app, int argc, const char* const* argv, int& exitStatus)
{
    app.set_version_flag("--version", app.get_name() + " " + HTML5_VIDEO_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        DropHeldOutput();
        exitStatus = app.exit(error) == 0 ? 0 : kExitUsage;
        return false;
    }
    return true;
}
