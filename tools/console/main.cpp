// The client of the debugging console.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tools/console/Interrupt.h"
#include "tools/console/Session.h"
#include "tools/support/CommandLine.h"
#include "tools/support/HeldOutput.h"

namespace {
// Seconds. At a terminal somebody can see what is waited for, and end it.
constexpr double kWaitAlone = 30;

struct Options
{
    std::string host = "127.0.0.1";
    std::string port = "28282";
    std::optional<double> timeout;
    std::string words;
    std::vector<std::string> statements;
    std::string file;
};

constexpr char kFooter[] =
    "Without --exec and FILE, lines come from standard input; at a terminal they can\n"
    "be edited, recalled (~/.html5_video_console_history, or in $XDG_STATE_HOME) and\n"
    "completed with Tab: words of the language, names of --words, variables declared\n"
    "in this session. ^C forgets the line or leaves a statement that runs, ^D quits.\n"
    "\n"
    "The console sends prompts only. What a statement prints, and what a command\n"
    "logs, appears on the standard output and in the log of the console's own\n"
    "process, not here; nor can this program tell whether a statement succeeded.\n"
    "\n"
    "\"quit\" ends the session: lines behind it are not run, and that is no error.\n"
    "\n"
    "Exit status:\n"
    "  0    every line was run, or every line up to a \"quit\"\n"
    "  1    wrong input\n"
    "  2    wrong usage\n"
    "  3    no connection, or the opening was refused or not answered\n"
    "  4    the connection was lost\n"
    "  130  left with ^C while a statement ran or the console served somebody else";

ExitStatus RunFile(Session* session, const std::string& path)
{
    if (path == "-") {
        return session->RunLines(std::cin, "standard input");
    }
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "html5-video-console: %s: cannot be opened\n", path.c_str());
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

// Milliseconds to wait for the first prompt, 0 as long as it takes.
int Limit(const Options& options, bool terminal)
{
    const double seconds = options.timeout.value_or(terminal ? 0 : kWaitAlone);
    return static_cast<int>(seconds * 1000);
}

// The first word of each line. False when there is no such file.
bool ReadWords(const std::string& path, std::vector<std::string>* words)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream(line) >> words->emplace_back();
    }
    return path.empty() || file.eof();
}

int Run(const Options& options)
{
    std::vector<std::string> words;
    if (!ReadWords(options.words, &words)) {
        std::fprintf(stderr, "html5-video-console: %s: cannot be read\n", options.words.c_str());
        return kBadInput;
    }
    Session session;
    const bool terminal = options.statements.empty() && options.file.empty() &&
                          isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    if (terminal) {
        Interrupt::Catch();
    }
    ExitStatus status = session.Open(options.host, options.port, Limit(options, terminal));
    if (status != kSuccess) {
        return status;
    }
    if (terminal) {
        std::printf("Connected to %s port %s. Results appear where that process prints.\n",
                    options.host.c_str(), options.port.c_str());
        status = session.RunTerminal(words);
    } else {
        status = RunSources(&session, options);
    }
    session.Close();
    return status;
}

// Reads only the digits of a port: a service's name is none.
std::string CheckPort(const std::string& text)
{
    const bool digits = !text.empty() && text.size() <= 5 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    const int port = digits ? std::stoi(text) : 0;
    return port >= 1 && port <= 65535 ? "" : "a port is a number from 1 to 65535, not " + text;
}

int ParseAndRun(int argc, char** argv)
{
    Options options;
    CLI::App app("Runs statements in a debugging console", "html5-video-console");
    app.add_option("--host", options.host, "Where the console listens")
        ->type_name("ADDRESS")
        ->capture_default_str();
    app.add_option("--port", options.port, "Its TCP port")
        ->check(CheckPort)
        ->type_name("PORT")
        ->capture_default_str();
    app.add_option("--timeout", options.timeout,
                   "Seconds to wait for the first prompt, which comes late when the console serves "
                   "somebody else; 0 as long as it takes. Without it 30, at a terminal 0")
        ->check(CLI::Range(0.0, 86400.0))
        ->type_name("SECONDS");
    app.add_option("--exec", options.statements, "Run this line, before the file; may be repeated")
        ->type_name("LINE")
        ->allow_extra_args(false);
    app.add_option("--words", options.words,
                   "Complete the names in this file, one a line; the host's command \"commands "
                   "PATH\" writes one")
        ->type_name("FILE");
    app.add_option("FILE", options.file, "Run the lines of this file, - for standard input");
    app.footer(kFooter);
    int exitStatus = kSuccess;
    if (!ParseCommandLine(app, argc, argv, exitStatus)) {
        return exitStatus;
    }
    ShowHeldOutput();
    return Run(options);
}
}  // namespace

int main(int argc, char** argv)
{
    try {
        return ParseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "html5-video-console: %s\n", error.what());
        return kBadInput;
    }
}
