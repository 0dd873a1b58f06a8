#include "html5_video/HTML5VideoClient.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>

#include "html5_video/StatusBoard.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCChannelMgr.h"
#include "util/ipc/IPCParam.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Singleton.h"

static Logger* const _logger = Logger::GetLogger(2);

std::atomic<HTML5VideoClient*> HTML5VideoClient::sHTML5VideoClient{nullptr};

namespace {
constexpr int kSendPort = 56911;
constexpr int kReceivePort = 56910;
constexpr int kArguments = 12;
constexpr int kLoadTraceLine = 186;  // fixed: tools that follow the trace match it

const char* AddressFrom(const char* variable)
{
    const char* const value = std::getenv(variable);
    if (value == nullptr) {
        return "127.0.0.1";
    }
    in_addr address = {};
    if (inet_aton(value, &address) == 0) {
        TAVI_ERROR("%s is no IPv4 address : %s", variable, value);
    }
    return value;
}

unsigned long long Join(int high, int low)
{
    return static_cast<unsigned long long>(static_cast<unsigned>(high)) << 32 |
           static_cast<unsigned>(low);
}

// Truncation toward zero, as the wire wants it. A product that no integer holds is cut to the
// nearest one; what is no number becomes 0.
int ToInteger(float value)
{
    if (value >= 2147483648.0F) {
        return 2147483647;
    }
    if (value < -2147483648.0F) {
        return -2147483647 - 1;
    }
    return value == value ? static_cast<int>(value) : 0;
}
}  // namespace

HTML5VideoClient* HTML5VideoClient::GetInstance()
{
    HTML5VideoClient* const made = sHTML5VideoClient.load(std::memory_order_acquire);
    return made != nullptr ? made : MakeInstance();
}

// Apart, so that a status read does not pay for what this keeps on the stack.
HTML5VideoClient* HTML5VideoClient::MakeInstance()
{
    static StaticLock sLock;
    // The constructor publishes the instance itself: the player's first report may arrive on the
    // serving thread before the constructor returns.
    return GetOrMake(sHTML5VideoClient, sLock, [] { return new HTML5VideoClient; });
}

HTML5VideoClient::HTML5VideoClient() : mChannel(nullptr)
{
    Logger::ChangeMode(1);
    mChannel = IPCChannelMgr::GetInstance()->GetIPCChannel(
        "HTML5 Video Socket", AddressFrom("HBB_SYSTEM_IP"), AddressFrom("HBB_BROWSER_IP"),
        kSendPort, kReceivePort);
    sHTML5VideoClient = this;
    Init();
}

int HTML5VideoClient::Init()
{
    mChannel->Register("SetStatus", SetStatus_IPC);
    mChannel->Start();
    return 0;
}

int HTML5VideoClient::Send(const char* method, IPCParam& arguments)
{
    mChannel->Call(method, &arguments, nullptr);
    return 0;
}

int HTML5VideoClient::load(const char* url)
{
    std::fprintf(stderr, "%s %s %d\n", __FILE__, __func__, kLoadTraceLine);
    StatusBoard::sPlayer.Update([](PlayerStatus& status) {
        status.playTime = 0;
        status.endTime = 0;
        status.statusValue3 = 0;
        status.mediaStatus = 0;
        status.speed = 100;
        status.inSeek = false;
    });
    IPCParam arguments;
    arguments.Add("url", url);
    return Send("load", arguments);
}

int HTML5VideoClient::cancelLoad()
{
    IPCParam arguments;
    return Send("cancelLoad", arguments);
}

int HTML5VideoClient::play()
{
    IPCParam arguments;
    return Send("play", arguments);
}

int HTML5VideoClient::pause()
{
    IPCParam arguments;
    return Send("pause", arguments);
}

int HTML5VideoClient::seek(float seconds)
{
    IPCParam arguments;
    arguments.Add("ms", ToInteger(seconds * 1000.0F));
    return Send("seek", arguments);
}

int HTML5VideoClient::setRate(float rate)
{
    IPCParam arguments;
    arguments.Add("speed", ToInteger(rate * 100.0F));
    return Send("setRate", arguments);
}

int HTML5VideoClient::setVolume(float volume)
{
    IPCParam arguments;
    arguments.Add("v", ToInteger(volume * 100.0F));
    return Send("setVolume", arguments);
}

int HTML5VideoClient::setSize(int width, int height)
{
    IPCParam arguments;
    arguments.Add("w", width);
    arguments.Add("h", height);
    return Send("setSize", arguments);
}

int HTML5VideoClient::setMuted(bool muted)
{
    IPCParam arguments;
    arguments.Add("m", muted ? 1 : 0);
    return Send("setMuted", arguments);
}

void HTML5VideoClient::setStatus(int playTime, int endTime, int speed, int statusValue3,
                                 int mediaStatus, bool inSeek, unsigned long long totalBytes,
                                 unsigned long long currentOffset)
{
    StatusBoard::sPlayer.Update([=](PlayerStatus& status) {
        status.playTime = playTime;
        status.endTime = endTime;
        status.speed = speed;
        status.statusValue3 = statusValue3;
        status.mediaStatus = mediaStatus;
        status.inSeek = inSeek;
        status.totalBytes = totalBytes;
        status.currentOffset = currentOffset;
    });
}

void HTML5VideoClient::setVideoDimension(int width, int height)
{
    StatusBoard::sPlayer.Update([=](PlayerStatus& status) {
        status.videoWidth = width;
        status.videoHeight = height;
    });
}

PlayerStatus HTML5VideoClient::GetStatus() const
{
    return StatusBoard::sPlayer.Read();
}

IPCParam* SetStatus_IPC(IPCParam* request)
{
    TAVI_INFO("");
    int values[kArguments] = {};
    for (int position = 0; position < kArguments; ++position) {
        const IPCParam::Arg* const argument =
            position < request->GetCount() ? request->GetArg(position) : nullptr;
        if (argument == nullptr || argument->mType != 'i') {
            TAVI_ERROR("ARG ERROR %d", position);
            continue;
        }
        values[position] = static_cast<int>(argument->mValue);
    }
    const bool inSeek = values[7] != 0;
    const unsigned long long totalBytes = Join(values[8], values[9]);
    const unsigned long long currentOffset = Join(values[10], values[11]);
    TAVI_INFO("%d %d %d %d %d inSeek %d %lld %lld", values[3], values[0], values[1], values[2],
              values[4], inSeek ? 1 : 0, static_cast<long long>(totalBytes),
              static_cast<long long>(currentOffset));
    HTML5VideoClient::GetInstance();
    // One update: a reader never sees the size of another report than the rest.
    StatusBoard::sPlayer.Update([&](PlayerStatus& status) {
        status = {values[0], values[1], values[3], values[2],  values[4],
                  values[5], values[6], inSeek,    totalBytes, currentOffset};
    });
    return new IPCParam;
}
