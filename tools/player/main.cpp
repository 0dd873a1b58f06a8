// The reference player. Threads: this one waits for the signal to end; the channel's serving
// thread queues the browser's commands; the player's thread runs the engine; the pusher's thread
// tells the state.
#include <pthread.h>

#include <chrono>
#include <csignal>
#include <memory>

#include "tools/player/ClockEngine.h"
#include "tools/player/Commands.h"
#include "tools/player/Options.h"
#include "tools/player/Player.h"
#include "tools/player/PlayerConsole.h"
#include "tools/player/PlayerLog.h"
#include "tools/player/StatusPusher.h"
#include "tools/support/LogMode.h"
#include "util/ipc/IPCSocketChannel.h"
#ifdef PLAYER_HAS_GSTREAMER
#include "tools/player/GstEngine.h"
#endif

namespace {
constexpr int kLibraryLogger = 2;

std::int64_t SteadyMilliseconds()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::unique_ptr<Engine> MakeEngine(const Options& options, std::function<void()> wake)
{
#ifdef PLAYER_HAS_GSTREAMER
    if (options.engine == "gstreamer") {
        return std::make_unique<GstEngine>(options.headless, std::move(wake));
    }
#endif
    static_cast<void>(wake);  // a clock has no news of its own
    return std::make_unique<ClockEngine>(options.clock, SteadyMilliseconds);
}

// Every thread inherits the mask, so the signals wait for the main thread.
sigset_t BlockEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signals;
}

void SetUpLog(const Options& options)
{
    const int mode = ChooseLogMode(options.logMode);
    if (mode != kLogAsConfigured) {
        Logger::ChangeMode(mode);
    }
    // An absent browser is an error to the library and everyday life to a player, which tells it
    // in its own words.
    Logger::GetLogger(kLibraryLogger)
        ->SetLevel(options.verbose ? Logger::kInfo : Logger::kError + 1);
}

int Run(const Options& options)
{
    const sigset_t signals = BlockEndSignals();
    SetUpLog(options);

    IPCSocketChannel channel("HTML5 Video Socket", options.browserAddress.c_str(),
                             options.listenAddress.c_str(), options.browserPort,
                             options.listenPort);
    StatusPusher pusher(channel);
    PlayerConsole console(options.consolePort);
    Player player([&](std::function<void()> wake) { return MakeEngine(options, std::move(wake)); },
                  [&](const PlaybackState& state) { pusher.Update(console.Filter(state)); });
    RegisterCommands(channel, player, pusher);
    if (options.console && !console.Start()) {
        PLAYER_ERROR("The console's thread can not be started");
        return kExitFailed;
    }
    channel.Start();
    if (!channel.IsBound()) {
        PLAYER_ERROR("Can not listen on %s port %d: is another player running?",
                     options.listenAddress.c_str(), options.listenPort);
        return kExitFailed;
    }
    PLAYER_INFO("The %s engine listens on %s port %d", options.engine.c_str(),
                options.listenAddress.c_str(), options.listenPort);
    pusher.Start();

    int signal = 0;
    sigwait(&signals, &signal);
    PLAYER_INFO("Ending on signal %d", signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);  // a second signal ends it at once
    pusher.Stop();
    channel.Quit();  // no command comes any more; the player may go
    return kExitEnded;
}
}  // namespace

int main(int argc, char** argv)
{
    Options options;
    int exitStatus = kExitEnded;
    return ParseOptions(argc, argv, options, exitStatus) ? Run(options) : exitStatus;
}
