#include "tools/browser/Options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <system_error>

#include "tools/browser/Command.h"

namespace {
constexpr const char* kDescription =
    "A stand-in for the browser: loads libhtml5_video.so, drives the player through it and shows\n"
    "what happens. In a terminal it is a live screen with keys; with --script or --exec, or when\n"
    "standard input or output is no terminal, it runs commands and prints JSON lines.";

std::string Footer()
{
    return "Commands:\n" + Command::Help() +
           "\n"
           "Environment: HBB_SYSTEM_IP is the player's IPv4 address, HBB_BROWSER_IP the one to\n"
           "listen on; both are 127.0.0.1 by default. The ports are 56911 and 56910.\n"
           "\n"
           "Exit status: 0 all done, 1 a wait timed out, 2 wrong usage or a wrong command, 3 the\n"
           "library can not be used.";
}

// The library in the folder lib beside the program's own folder, else the one that the system
// finds by its name.
std::string DefaultLibrary()
{
    std::error_code ignored;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    const std::filesystem::path beside =
        program.parent_path().parent_path() / "lib" / VIDEO_LIBRARY;
    return std::filesystem::exists(beside, ignored) ? beside.string() : VIDEO_LIBRARY;
}
}  // namespace

bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus)
{
    CLI::App app(kDescription);
    app.footer(Footer);
    std::string exec;
    options.library = DefaultLibrary();
    app.add_option("url", options.url, "What to load and play at the start");
    app.add_option("--library", options.library, "The library to load")->capture_default_str();
    app.add_option("--log", options.log,
                   "Append standard error, and with it the library's log, to this file");
    app.add_option("--console", options.consolePort,
                   "Start the debugging console on 127.0.0.1, on this port or 28282; what it "
                   "answers goes to standard error")
        ->expected(0, 1)
        ->check(CLI::Range(1, 65535));
    CLI::Option* const script = app.add_option("--script", options.script,
                                               "Run the commands of this file, - is standard "
                                               "input");
    app.add_option("--exec", exec, "Run these commands, separated by semicolons")->excludes(script);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        exitStatus = app.exit(error) == 0 ? 0 : kExitUsage;
        return false;
    }
    options.console = app.count("--console") > 0;
    if (app.count("--exec") > 0) {
        options.exec = SplitCommands(exec);
    }
    return true;
}
