#include "tools/player/Options.h"

#include <CLI/CLI.hpp>
#include <vector>

#include "tools/support/CommandLine.h"
#include "tools/support/HeldOutput.h"

namespace {
constexpr const char* kDescription =
    "The reference player: takes the commands of a browser that uses libhtml5_video\n"
    "and reports its state back. Ends cleanly on SIGTERM and SIGINT.";

constexpr const char* kFooter =
    "What a browser may load: a file path, a file:// or http(s):// address; with the\n"
    "clock engine also clock:SECONDS, a video of that length.\n"
    "\n"
    "Exit status:\n"
    "  0  ended by a signal\n"
    "  1  could not start: the port is taken\n"
    "  2  wrong usage";

const std::vector<std::string> kEngines = {
#ifdef PLAYER_HAS_GSTREAMER
    "gstreamer",
#endif
    "clock"};

void AddConnection(CLI::App& app, Options& options)
{
    const CLI::Range ports(1, 65535);
    app.add_option("--listen", options.listenAddress, "IPv4 address that takes the commands")
        ->envname("HBB_SYSTEM_IP")
        ->type_name("ADDRESS")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app.add_option("--listen-port", options.listenPort, "Its port")
        ->check(ports)
        ->type_name("PORT")
        ->capture_default_str();
    app.add_option("--browser", options.browserAddress, "IPv4 address of the browser")
        ->envname("HBB_BROWSER_IP")
        ->type_name("ADDRESS")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app.add_option("--browser-port", options.browserPort, "Port of the browser")
        ->check(ports)
        ->type_name("PORT")
        ->capture_default_str();
}

void AddClock(CLI::App& app, ClockEngine::Settings& clock)
{
    app.add_option("--clock-duration", clock.duration,
                   "Clock engine: length of a file in milliseconds")
        ->check(CLI::Range(1, 1000000000))
        ->type_name("MS")
        ->capture_default_str();
    const CLI::Range delays(0, 60000);
    app.add_option("--clock-load-time", clock.loadTime,
                   "Clock engine: milliseconds that loading takes")
        ->check(delays)
        ->type_name("MS")
        ->capture_default_str();
    app.add_option("--clock-seek-time", clock.seekTime,
                   "Clock engine: milliseconds that a seek takes")
        ->check(delays)
        ->type_name("MS")
        ->capture_default_str();
}

void AddConsole(CLI::App& app, Options& options)
{
    app.add_option("--console", options.consolePort,
                   "Start the debugging console on 127.0.0.1, on this port or 28282: the state, a "
                   "forced failure, slow answers")
        ->expected(0, 1)
        ->check(CLI::Range(1, 65535))
        ->type_name("PORT");
}
}  // namespace

bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus)
{
    CLI::App app(kDescription, "html5-video-player");
    app.footer(kFooter);
    options.engine = kEngines.front();
    app.add_option("--engine", options.engine, "What plays the media")
        ->check(CLI::IsMember(kEngines))
        ->capture_default_str();
    app.add_flag("--headless", options.headless,
                 "GStreamer engine: no window and no sound, as without a display");
    AddConnection(app, options);
    AddClock(app, options.clock);
    AddConsole(app, options);
    app.add_flag("-v,--verbose", options.verbose, "Log what the library does, too");
    AddLogOption(app, options.logMode);
    if (!ParseCommandLine(app, argc, argv, exitStatus)) {
        return false;
    }
    ShowHeldOutput();
    options.console = app.count("--console") > 0;
    return true;
}
