#include "tools/support/CommandLine.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/support/HeldOutput.h"
#include "tools/support/HelpFormat.h"

bool ParseCommandLine(CLI::App& app, int argc, const char* const* argv, int& exitStatus)
{
    app.formatter(std::make_shared<HelpFormat>());
    app.get_formatter()->label("Positionals", "Arguments");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("--version", app.get_name() + " " + HTML5_VIDEO_VERSION,
                         "Print the version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        DropHeldOutput();
        exitStatus = app.exit(error) == 0 ? 0 : kExitUsage;
        return false;
    }
    return true;
}
