// The web browser: WPE WebKit with the video library in its own process. The main loop's thread,
// one for the commands to the player, one for the page's console, and the engine's.
#include <glib-unix.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

#include "html5_video/html5_video_client.h"
#include "tools/support/HeldOutput.h"
#include "tools/support/LogMode.h"
#include "tools/web_browser/ConsoleLines.h"
#include "tools/web_browser/MediaElementScript.h"
#include "tools/web_browser/Options.h"
#include "tools/web_browser/PageChannel.h"
#include "tools/web_browser/Picture.h"
#include "tools/web_browser/PlayerLink.h"
#include "tools/web_browser/PrivateFolder.h"
#include "tools/web_browser/ViewBackend.h"
#include "tools/web_browser/WebPage.h"
#ifdef WEB_BROWSER_HAS_WINDOW
#include "tools/web_browser/X11Window.h"
#endif

namespace {
// Runs until the first reason to end, which gives the exit status.
class Loop
{
public:
    Loop() : mLoop(g_main_loop_new(nullptr, FALSE)), mStatus(kExitDone), mEnding(false) {}
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;
    ~Loop() { g_main_loop_unref(mLoop); }

    int Run()
    {
        if (!mEnding) {
            g_main_loop_run(mLoop);
        }
        return mStatus;
    }

    void End(ExitStatus status)
    {
        if (!mEnding) {
            mEnding = true;
            mStatus = status;
            g_main_loop_quit(mLoop);
        }
    }

    // The same, from any thread.
    void PostEnd(ExitStatus status)
    {
        using Ending = std::function<void()>;
        g_idle_add_full(
            G_PRIORITY_DEFAULT,
            [](gpointer end) -> gboolean {
                (*static_cast<Ending*>(end))();
                return G_SOURCE_REMOVE;
            },
            new Ending([this, status] { End(status); }),
            [](gpointer end) { delete static_cast<Ending*>(end); });
    }

private:
    GMainLoop* const mLoop;
    ExitStatus mStatus;
    bool mEnding;
};

gboolean OnSignal(gpointer loop)
{
    static_cast<Loop*>(loop)->End(kExitDone);
    return G_SOURCE_CONTINUE;
}

gboolean OnTimeout(gpointer loop)
{
    std::fprintf(stderr, "The time is over\n");
    static_cast<Loop*>(loop)->End(kExitTimeout);
    return G_SOURCE_REMOVE;
}

void AddEnds(Loop& loop, const Options& options)
{
    g_unix_signal_add(SIGINT, OnSignal, &loop);
    g_unix_signal_add(SIGTERM, OnSignal, &loop);
    if (options.timeout > 0) {
        g_timeout_add(static_cast<guint>(options.timeout * 1000), OnTimeout, &loop);
    }
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (!path.empty() && (!file.is_open() || file.bad())) {
        throw std::runtime_error(path + " can not be read");
    }
    return text;
}

WebPage::Events EventsFor(Loop& loop, PageChannel& channel, const std::unique_ptr<WebPage>& page)
{
    WebPage::Events events;
    events.message = [&](JSCValue* message) { channel.Receive(message, page->Address()); };
    events.loadFailed = [&loop](const std::string& reason) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        loop.End(kExitFailed);
    };
    events.engineDied = [&loop] {
        std::fprintf(stderr, "The engine's process of the page has died\n");
        loop.End(kExitEngineDied);
    };
    return events;
}

int Run(const Options& options)
{
    ShowHeldOutput();  // what the library told while it was loaded, before the page's lines
    html5_video_client_set_log(ChooseLogMode(options.logMode), 0);
    std::signal(SIGPIPE, SIG_IGN);
    const std::string extraScript = ReadFile(options.script);
    Loop loop;
    AddEnds(loop, options);
    const PrivateFolder folder;
    ViewBackend backend(options.width, options.height);
#ifdef WEB_BROWSER_HAS_WINDOW
    std::unique_ptr<X11Window> window;
    if (!options.headless) {
        window = std::make_unique<X11Window>(backend, options.width, options.height,
                                             [&loop] { loop.End(kExitDone); });
    }
#else
    if (!options.headless) {
        throw std::runtime_error("This browser was built without windows: use --headless");
    }
#endif
    if (options.headless && !options.screenshot.empty()) {
        backend.SetTaker([](const Picture&) {});
    }
    const ConsoleLines console(
        [&loop](bool passed) { loop.PostEnd(passed ? kExitDone : kExitFailed); });
    std::unique_ptr<WebPage> page;
    std::unique_ptr<PageChannel> channel;
    PlayerLink link([&](const PlayerLink::Report& report) {
        const std::string call = page != nullptr ? channel->ReportCall(report) : "";
        if (!call.empty()) {
            page->Run(call);
        }
    });
    channel = std::make_unique<PageChannel>(link);
    page =
        std::make_unique<WebPage>(backend.Get(), folder.Path(), MediaElementScript(options.resume),
                                  extraScript, EventsFor(loop, *channel, page));
    page->Load(options.url);
    const int status = loop.Run();
    const bool written =
        options.screenshot.empty() || WritePng(backend.LastPicture(), options.screenshot);
    return status == kExitDone && !written ? static_cast<int>(kExitFailed) : status;
}
}  // namespace

int main(int argc, char** argv)
{
    Options options;
    int exitStatus = 0;
    if (!ParseOptions(argc, argv, options, exitStatus)) {
        return exitStatus;
    }
    try {
        return Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return kExitUsage;
    }
}
