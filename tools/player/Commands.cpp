#include "tools/player/Commands.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include "tools/player/Player.h"
#include "tools/player/PlayerLog.h"
#include "tools/player/StatusPusher.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCParam.h"

namespace {
Player* sPlayer;  // both set before the channel is started
StatusPusher* sPusher;

std::mutex sDelayMutex;
std::condition_variable sDelayChanged;
int sDelay = 0;  // milliseconds, under sDelayMutex

const IPCParam::Arg* Find(IPCParam& request, const char* name)
{
    for (int index = 0; index < request.GetCount(); ++index) {
        const IPCParam::Arg* const argument = request.GetArg(index);
        if (std::strcmp(argument->mName, name) == 0) {
            return argument;
        }
    }
    return nullptr;
}

bool Refuse(const char* method, const char* name, const char* wanted)
{
    PLAYER_ERROR("%s refused: it needs %s \"%s\"", method, wanted, name);
    return false;
}

bool Integer(IPCParam& request, const char* method, const char* name, int& value)
{
    const IPCParam::Arg* const argument = Find(request, name);
    if (argument == nullptr || argument->mType != 'i') {
        return Refuse(method, name, "the integer");
    }
    value = static_cast<int>(argument->mValue);
    return true;
}

bool IsControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

// "" for no URL. A URL with control characters is none, and would garble the log.
bool Url(IPCParam& request, std::string& url)
{
    const IPCParam::Arg* const argument = Find(request, "url");
    if (argument == nullptr || (argument->mType != 's' && argument->mType != 'i') ||
        (argument->mType == 'i' && argument->mValue != 0)) {
        return Refuse("load", "url", "the string");
    }
    if (argument->mType == 's') {
        url = reinterpret_cast<const char*>(argument->mValue);
    }
    if (std::any_of(url.begin(), url.end(), IsControl)) {
        return Refuse("load", "url", "without control characters the string");
    }
    return true;
}

bool Post(const char* method, Player::Command command)
{
    const bool posted = sPlayer->Post(std::move(command));
    if (!posted) {
        PLAYER_ERROR("%s dropped: too many commands wait", method);
    }
    return posted;
}

// A command that ends the medium of before.
void PostChange(const char* method, const Player::Command& command)
{
    sPusher->Hold();
    const auto change = [command](Engine& engine) {
        command(engine);
        sPusher->Release();
    };
    if (!Post(method, change)) {
        sPusher->Release();
    }
}

int Limited(const char* method, int value, int low, int high)
{
    const int limited = std::clamp(value, low, high);
    if (limited != value) {
        PLAYER_WARNING("%s: %d is taken as %d", method, value, limited);
    }
    return limited;
}

// The empty answer, given when it is due.
IPCParam* Answer()
{
    std::unique_lock<std::mutex> lock(sDelayMutex);
    const auto delay = std::chrono::milliseconds(sDelay);
    sDelayChanged.wait_for(lock, delay, [] { return sDelay == 0; });
    return nullptr;
}

IPCParam* OnLoad(IPCParam* request)
{
    std::string url;
    if (!Url(*request, url)) {
        return Answer();
    }
    PLAYER_INFO("load %s", url.c_str());
    PostChange("load",
               [url](Engine& engine) { url.empty() ? engine.CancelLoad() : engine.Load(url); });
    return Answer();
}

IPCParam* OnCancelLoad(IPCParam*)
{
    PLAYER_INFO("cancelLoad");
    PostChange("cancelLoad", [](Engine& engine) { engine.CancelLoad(); });
    return Answer();
}

IPCParam* OnPlay(IPCParam*)
{
    PLAYER_INFO("play");
    Post("play", [](Engine& engine) { engine.Play(); });
    return Answer();
}

IPCParam* OnPause(IPCParam*)
{
    PLAYER_INFO("pause");
    Post("pause", [](Engine& engine) { engine.Pause(); });
    return Answer();
}

IPCParam* OnSeek(IPCParam* request)
{
    int ms = 0;
    if (Integer(*request, "seek", "ms", ms)) {
        PLAYER_INFO("seek %d", ms);
        Post("seek", [ms](Engine& engine) { engine.Seek(ms); });
    }
    return Answer();
}

IPCParam* OnSetRate(IPCParam* request)
{
    int speed = 0;
    if (Integer(*request, "setRate", "speed", speed)) {
        PLAYER_INFO("setRate %d", speed);
        speed = Limited("setRate", speed, -Engine::kMaxSpeed, Engine::kMaxSpeed);
        Post("setRate", [speed](Engine& engine) { engine.SetSpeed(speed); });
    }
    return Answer();
}

IPCParam* OnSetVolume(IPCParam* request)
{
    int volume = 0;
    if (Integer(*request, "setVolume", "v", volume)) {
        PLAYER_INFO("setVolume %d", volume);
        volume = Limited("setVolume", volume, 0, 100);
        Post("setVolume", [volume](Engine& engine) { engine.SetVolume(volume); });
    }
    return Answer();
}

IPCParam* OnSetSize(IPCParam* request)
{
    int width = 0;
    int height = 0;
    if (Integer(*request, "setSize", "w", width) && Integer(*request, "setSize", "h", height)) {
        PLAYER_INFO("setSize %d %d", width, height);
        width = Limited("setSize", width, 1, Engine::kMaxSize);
        height = Limited("setSize", height, 1, Engine::kMaxSize);
        Post("setSize", [=](Engine& engine) { engine.SetSize(width, height); });
    }
    return Answer();
}

IPCParam* OnSetMuted(IPCParam* request)
{
    int muted = 0;
    if (Integer(*request, "setMuted", "m", muted)) {
        PLAYER_INFO("setMuted %d", muted);
        Post("setMuted", [muted](Engine& engine) { engine.SetMuted(muted != 0); });
    }
    return Answer();
}
}  // namespace

void RegisterCommands(IPCChannel& channel, Player& player, StatusPusher& pusher)
{
    sPlayer = &player;
    sPusher = &pusher;
    channel.Register("load", OnLoad);
    channel.Register("cancelLoad", OnCancelLoad);
    channel.Register("play", OnPlay);
    channel.Register("pause", OnPause);
    channel.Register("seek", OnSeek);
    channel.Register("setRate", OnSetRate);
    channel.Register("setVolume", OnSetVolume);
    channel.Register("setSize", OnSetSize);
    channel.Register("setMuted", OnSetMuted);
}

void SetAnswerDelay(int milliseconds)
{
    {
        const std::lock_guard<std::mutex> hold(sDelayMutex);
        sDelay = milliseconds;
    }
    sDelayChanged.notify_all();
}
