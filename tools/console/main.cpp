// The client of the debugging console.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/console/Interrupt.h"
#include "tools/console/Session.h"

namespace {
struct Options
{
    std::string host = "127.0.0.1";
    std::string port = "28282";
    double timeout = 0;
    std::vector<std::string> statements;
    std::string file;
};

constexpr char kFooter[] =
    "Without --exec and FILE, lines come from standard input; at a terminal they can be edited,\n"
    "recalled (~/.html5_video_console_history, or in $XDG_STATE_HOME) and completed with Tab;\n"
    "^C forgets the line, ^D quits.\n"
    "\n"
    "The console sends prompts only. What a statement prints, and what a command logs, appears on\n"
    "the standard output and in the log of the console's own process, not here; nor can this\n"
    "program tell whether a statement succeeded.\n"
    "\n"
    "\"quit\" ends the session: lines behind it are not run, and that is no error.\n"
    "\n"
    "Exit status: 0 every line was run, or every line up to a \"quit\"; 1 wrong usage or input;\n"
    "2 no connection; 3 the opening was refused or not answered; 4 the connection was lost;\n"
    "130 left with ^C while a statement ran.";

ExitStatus RunFile(Session* session, const std::string& path)
{
    if (path == "-") {
        return session->RunLines(std::cin, "standard input");
    }
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "console: %s: cannot be opened\n", path.c_str());
        return kBadInput;
    }
    return session->RunLines(file, path);
}

ExitStatus RunSources(Session* session, const Options& options)
{
    ExitStatus status = kSuccess;
    for (const std::string& text : options.statements) {
        std::istringstream lines(text);
        if (status == kSuccess) {
            status = session->RunLines(lines, "--exec");
        }
    }
    if (status == kSuccess && !options.file.empty()) {
        status = RunFile(session, options.file);
    } else if (status == kSuccess && options.statements.empty()) {
        status = RunFile(session, "-");
    }
    return status == kSuccess ? session->Finish() : status;
}

int Run(const Options& options)
{
    Session session;
    const bool terminal = options.statements.empty() && options.file.empty() &&
                          isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    if (terminal) {
        Interrupt::Catch();
    }
    ExitStatus status =
        session.Open(options.host, options.port, static_cast<int>(options.timeout * 1000));
    if (status != kSuccess) {
        return status;
    }
    if (terminal) {
        std::printf("Connected to %s port %s. Results appear where that process prints.\n",
                    options.host.c_str(), options.port.c_str());
        status = session.RunTerminal();
    } else {
        status = RunSources(&session, options);
    }
    session.Close();
    return status;
}

int ParseAndRun(int argc, char** argv)
{
    Options options;
    CLI::App app("Runs statements in a debugging console", "console");
    app.add_option("--host", options.host, "Where the console listens")->capture_default_str();
    app.add_option("--port", options.port, "Its TCP port")->capture_default_str();
    app.add_option("--timeout", options.timeout,
                   "Seconds to wait for the first prompt; without it as long as it takes")
        ->check(CLI::Range(0.001, 86400.0));
    app.add_option("--exec", options.statements, "Run this line, before the file; may be repeated")
        ->type_name("LINE")
        ->allow_extra_args(false);
    app.add_option("FILE", options.file, "Run the lines of this file, - for standard input");
    app.footer(kFooter);
    try {
        app.parse(argc, argv);
        return Run(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kSuccess : kBadInput;
    }
}
}  // namespace

int main(int argc, char** argv)
{
    try {
        return ParseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "console: %s\n", error.what());
        return kBadInput;
    }
}
