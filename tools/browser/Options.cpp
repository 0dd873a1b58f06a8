#include "tools/browser/Options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <system_error>

#include "tools/browser/Command.h"
#include "tools/support/CommandLine.h"

namespace {
constexpr const char* kDescription =
    "A stand-in for the browser: loads libhtml5_video.so, drives the player through\n"
    "it and shows what happens. In a terminal it is a live screen with keys; with\n"
    "--script or --exec it runs commands and prints JSON lines. Where there is no\n"
    "terminal, or one of a type (TERM) that can not be a screen, it plays the URL to\n"
    "its end, or without one runs the commands of standard input.";

std::string Footer()
{
    return "Commands:\n" + Command::Help() +
           "\n"
           "The log goes where ./logger.conf says, without one to standard error. What else\n"
           "the library and its console print goes to standard error in any case. Under a\n"
           "screen on the same terminal standard error is dropped, unless --log-file keeps\n"
           "it.\n"
           "\n"
           "Environment:\n"
           "  HBB_SYSTEM_IP   the player's IPv4 address, 127.0.0.1 by default; port 56911\n"
           "  HBB_BROWSER_IP  the one to listen on, 127.0.0.1 by default; port 56910\n"
           "\n"
           "Exit status:\n"
           "  0  all done, or the URL played to its end\n"
           "  1  a wait timed out, or there was no player for 30 s\n"
           "  2  wrong usage or a wrong command\n"
           "  3  the library can not be used\n"
           "  4  the URL could not be played to its end";
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
    CLI::App app(kDescription, "html5-video-browser");
    app.footer(Footer);
    std::string exec;
    options.library = DefaultLibrary();
    app.add_option("URL", options.url, "What to load and play at the start");
    app.add_option("--library", options.library,
                   "The library to load, without it the one beside the program, else the system's")
        ->type_name("FILE");
    AddLogOption(app, options.logMode);
    app.add_option("--log-file", options.logFile,
                   "Append standard error, and the log of mode 1 with it, to this file")
        ->type_name("FILE");
    app.add_option("--console", options.consolePort,
                   "Start the debugging console on 127.0.0.1, on this port or 28282; what it "
                   "answers goes to standard error")
        ->expected(0, 1)
        ->check(CLI::Range(1, 65535))
        ->type_name("PORT");
    CLI::Option* const script = app.add_option("--script", options.script,
                                               "Run the commands of this file, one a line; - is "
                                               "standard input")
                                    ->type_name("FILE");
    app.add_option("--exec", exec, "Run these commands, separated by semicolons")
        ->type_name("COMMANDS")
        ->excludes(script);
    if (!ParseCommandLine(app, argc, argv, exitStatus)) {
        return false;
    }
    options.console = app.count("--console") > 0;
    if (app.count("--exec") > 0) {
        options.exec = SplitCommands(exec);
    }
    return true;
}
