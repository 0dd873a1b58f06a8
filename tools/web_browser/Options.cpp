#include "tools/web_browser/Options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <system_error>

namespace {
constexpr const char* kDescription =
    "A small browser on WPE WebKit whose video elements are played by the player\n"
    "process, through libhtml5_video.so. The page's console messages go to standard\n"
    "output, one line each.";

constexpr const char* kFooter =
    "Environment:\n"
    "  HBB_SYSTEM_IP   the player's IPv4 address, 127.0.0.1 by default; port 56911\n"
    "  HBB_BROWSER_IP  the one to listen on, 127.0.0.1 by default; port 56910\n"
    "\n"
    "Exit status:\n"
    "  0  the page logged a line that begins with \"RESULT PASS\", or the browser was\n"
    "     closed\n"
    "  1  a line that begins with \"RESULT FAIL\", or the page could not be loaded\n"
    "  2  wrong usage, or no window can be opened\n"
    "  3  the time is over\n"
    "  4  the engine's process died";

// What is no address is the path of a file.
std::string AddressOf(const std::string& text)
{
    std::error_code ignored;
    if (text.find(':') != std::string::npos && !std::filesystem::exists(text, ignored)) {
        return text;
    }
    return "file://" + std::filesystem::absolute(text, ignored).string();
}

bool ParseSize(const std::string& text, Options& options)
{
    char end = '\0';
    return std::sscanf(text.c_str(), "%dx%d%c", &options.width, &options.height, &end) == 2 &&
           options.width > 0 && options.height > 0 && options.width <= 8192 &&
           options.height <= 8192;
}
}  // namespace

bool ParseOptions(int argc, const char* const* argv, Options& options, int& exitStatus)
{
    CLI::App app(kDescription, "html5-video-web-browser");
    app.footer(kFooter);
    app.add_option("URL", options.url, "The page, an address or the path of a file")->required();
    app.add_flag("--headless", options.headless, "No window, and no display needed");
    app.add_option("--timeout", options.timeout, "End with status 3 after this many seconds")
        ->check(CLI::PositiveNumber)
        ->type_name("SECONDS");
    app.add_option("--script", options.script,
                   "JavaScript to run in every page when it has been read, before its load event")
        ->check(CLI::ExistingFile)
        ->type_name("FILE");
    app.add_option("--screenshot", options.screenshot,
                   "At the end, write the page's last picture to this PNG file")
        ->type_name("FILE");
    app.add_flag("--resume", options.resume,
                 "When the player died, video elements go on as soon as there is another one; "
                 "otherwise they report a network error");
    app.add_option_function<std::string>(
           "--size",
           [&options](const std::string& text) {
               if (!ParseSize(text, options)) {
                   throw CLI::ValidationError("--size", "WIDTHxHEIGHT, at most 8192 each");
               }
           },
           "The page's size in pixels")
        ->type_name("WIDTHxHEIGHT")
        ->default_str("1280x720");
    AddLogOption(app, options.logMode);
    if (!ParseCommandLine(app, argc, argv, exitStatus)) {
        return false;
    }
    options.url = AddressOf(options.url);
    return true;
}
