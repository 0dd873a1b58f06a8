#include "tools/player/PlayerConsole.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/player/Commands.h"
#include "util/console/CmdClient.h"
#include "util/console/CmdMgr.h"

// Its handler may run until WaitForHandlers has returned.
class PlayerConsole::Client final : public CmdClient<PlayerConsole>
{
public:
    using CmdClient<PlayerConsole>::CmdClient;

    int CmdHandler(CmdParser* line, CmdInfo* info, char* result) override
    {
        CmdValue value;
        const bool hasNumber =
            line->GetCmdArgs(&value, 1) == 1 && value.GetType() == CmdValue::kInt;
        if (line->CompareCommand("player_state")) {
            Describe(result);
        } else if (line->CompareCommand("commands") && line->GetCount() == 1) {
            WriteNames(line->GetNthArg(0), result);
        } else if (!hasNumber || line->CompareCommand("commands") ||
                   !(line->CompareCommand("player_fail") ? mOwner->Fail(value.GetInt())
                                                         : mOwner->Delay(value.GetInt()))) {
            std::snprintf(result, CmdMgr::kResultSize, "%s", info->mHelp);
        } else {
            std::snprintf(result, CmdMgr::kResultSize, "%d", value.GetInt());
        }
        std::printf("%s\n", result);
        std::fflush(stdout);
        return 0;
    }

private:
    // A file that is there is left alone: whoever reaches the console could have chosen any.
    static void WriteNames(const char* path, char* result)
    {
        std::FILE* const file = std::fopen(path, "wxe");
        if (file == nullptr) {
            std::snprintf(result, CmdMgr::kResultSize, "%s: %s", path, std::strerror(errno));
            return;
        }
        CmdListMgr* const commands = CmdListMgr::GetInstance();
        int count = 0;
        while (const CmdInfo* const known = commands->GetInfo(count)) {
            std::fprintf(file, "%s\n", known->mName);
            ++count;
        }
        const bool written = std::fclose(file) == 0;
        std::snprintf(result, CmdMgr::kResultSize, written ? "%d names" : "Not written", count);
    }

    void Describe(char* result)
    {
        const PlaybackState state = mOwner->GetState();
        std::snprintf(
            result, CmdMgr::kResultSize,
            "%s at %lld of %lld ms, speed %d, volume %d, %d x %d, %llu of %llu bytes%s",
            html5_video_media_status_name(state.status), static_cast<long long>(state.position),
            static_cast<long long>(state.duration), state.speed, state.volume, state.width,
            state.height, static_cast<unsigned long long>(state.currentOffset),
            static_cast<unsigned long long>(state.totalBytes), state.inSeek ? ", in seek" : "");
    }
};

namespace {
struct Offer
{
    const char* name;
    const char* parameters;
    const char* help;
};

constexpr Offer kOffers[] = {
    {"player_state", "player_state", "player_state : show the state as it was reported last"},
    {"player_fail", "player_fail int",
     "player_fail CODE : tell that media status, an error from 100 to 104; 0 ends it"},
    {"player_delay", "player_delay int",
     "player_delay MS : answer every command later, at most 35000; 0 ends it"},
    {"commands", "commands string",
     "commands FILE : write the names of all commands to a new file"},
};
}  // namespace

PlayerConsole::PlayerConsole(int port)
    : mPort(port), mForced(0), mClient(std::make_unique<Client>(this))
{
    for (const Offer& offer : kOffers) {
        mClient->Register(offer.parameters, offer.help);
    }
}

PlayerConsole::~PlayerConsole()
{
    SetAnswerDelay(0);
    CmdMgr::GetInstance(mPort)->Stop();
    for (const Offer& offer : kOffers) {
        CmdListMgr::GetInstance()->UnregisterCommand(offer.name, mClient.get());
    }
    CmdListMgr::GetInstance()->WaitForHandlers();
}

bool PlayerConsole::Start()
{
    CmdMgr* const console = CmdMgr::GetInstance(mPort);
    console->SetAddress("127.0.0.1");
    console->SetTolerant(true);
    console->SetVerbose(true);
    return console->Start() == 0;
}

PlaybackState PlayerConsole::Filter(const PlaybackState& state)
{
    PlaybackState reported = state;
    if (const int forced = mForced) {
        reported.status = static_cast<MediaStatus>(forced);
    }
    const std::lock_guard<std::mutex> hold(mMutex);
    mLatest = reported;
    return reported;
}

PlaybackState PlayerConsole::GetState()
{
    const std::lock_guard<std::mutex> hold(mMutex);
    return mLatest;
}

bool PlayerConsole::Fail(int code)
{
    if (code != 0 && (code < static_cast<int>(HTML5_VIDEO_STATUS_ERROR_NOT_FOUND) ||
                      code > static_cast<int>(HTML5_VIDEO_STATUS_ERROR_INTERNAL))) {
        return false;
    }
    mForced = code;
    return true;
}

bool PlayerConsole::Delay(int milliseconds)
{
    if (milliseconds < 0 || milliseconds > kMaxDelay) {
        return false;
    }
    SetAnswerDelay(milliseconds);
    return true;
}
