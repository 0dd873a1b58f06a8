#include "html5_video/HTML5VideoClient.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>

#include "html5_video/ChangeEvent.h"
#include "html5_video/StatusBoard.h"
#include "util/ipc/IPCChannelMgr.h"
#include "util/ipc/IPCLog.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/Singleton.h"

std::atomic<HTML5VideoClient*> HTML5VideoClient::sHTML5VideoClient{nullptr};

namespace {
constexpr int kSendPort = 56911;
constexpr int kReceivePort = 56910;
constexpr int kArguments = 12;
constexpr int kLoadTraceLine = 186;        // fixed: tools that follow the trace match it
constexpr int kAllLoggers[] = {1, 2, 23};  // the library's own
constexpr int kNoLines = Logger::kError + 1;

// What a host may ask for before there is a client.
std::atomic<int> sReplyTimeout{0};  // milliseconds; 0 until it is set
std::atomic<bool> sLogChosen{false};
std::atomic<bool> sTraced{true};

ChangeEvent sChange;  // of the status or the connection

thread_local int sLastResult = 0;

void RaiseChange(void*)
{
    sChange.Raise();
}

// One update: a reader sees all of it or nothing.
template <typename Change>
void UpdateStatus(Change change)
{
    StatusBoard::sPlayer.Update(change);
    sChange.Raise();
}

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

HTML5VideoClient* HTML5VideoClient::Instance()
{
    return sHTML5VideoClient.load(std::memory_order_acquire);
}

HTML5VideoClient* HTML5VideoClient::GetInstance()
{
    // Not by Instance, a call more in each status read.
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
    if (!sLogChosen) {
        Logger::ChangeMode(1);
    }
    // The manager makes socket channels only.
    mChannel = static_cast<IPCSocketChannel*>(IPCChannelMgr::GetInstance()->GetIPCChannel(
        "HTML5 Video Socket", AddressFrom("HBB_SYSTEM_IP"), AddressFrom("HBB_BROWSER_IP"),
        kSendPort, kReceivePort));
    mChannel->SetConnectionHandler(RaiseChange, nullptr);
    sHTML5VideoClient = this;
    if (sReplyTimeout > 0) {
        mChannel->SetReplyTimeout(sReplyTimeout);
    }
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
    sLastResult = mChannel->Call(method, &arguments, nullptr);
    return 0;
}

int HTML5VideoClient::SendNumbers(const char* method, const char* first, int firstValue,
                                  const char* second, int secondValue)
{
    IPCParam arguments;
    if (first != nullptr) {
        arguments.Add(first, firstValue);
    }
    if (second != nullptr) {
        arguments.Add(second, secondValue);
    }
    return Send(method, arguments);
}

int HTML5VideoClient::load(const char* url)
{
    if (sTraced) {
        std::fprintf(stderr, "%s %s %d\n", __FILE__, __func__, kLoadTraceLine);
    }
    UpdateStatus([](PlayerStatus& status) {
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
    return SendNumbers("cancelLoad");
}

int HTML5VideoClient::play()
{
    return SendNumbers("play");
}

int HTML5VideoClient::pause()
{
    return SendNumbers("pause");
}

int HTML5VideoClient::seek(float seconds)
{
    return SendNumbers("seek", "ms", ToInteger(seconds * 1000.0F));
}

int HTML5VideoClient::setRate(float rate)
{
    return SendNumbers("setRate", "speed", ToInteger(rate * 100.0F));
}

int HTML5VideoClient::setVolume(float volume)
{
    return SendNumbers("setVolume", "v", ToInteger(volume * 100.0F));
}

int HTML5VideoClient::setSize(int width, int height)
{
    return SendNumbers("setSize", "w", width, "h", height);
}

int HTML5VideoClient::setMuted(bool muted)
{
    return SendNumbers("setMuted", "m", muted ? 1 : 0);
}

void HTML5VideoClient::setStatus(int playTime, int endTime, int speed, int statusValue3,
                                 int mediaStatus, bool inSeek, unsigned long long totalBytes,
                                 unsigned long long currentOffset)
{
    UpdateStatus([=](PlayerStatus& status) {
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
    UpdateStatus([=](PlayerStatus& status) {
        status.videoWidth = width;
        status.videoHeight = height;
    });
}

bool HTML5VideoClient::IsConnected()
{
    const HTML5VideoClient* const client = Instance();
    return client != nullptr && client->mChannel->IsConnected();
}

void HTML5VideoClient::Reconnect()
{
    HTML5VideoClient* const client = Instance();
    if (client != nullptr) {
        client->mChannel->Recover();
    }
}

int HTML5VideoClient::GetLastResult()
{
    return sLastResult;
}

int HTML5VideoClient::SetReplyTimeout(int milliseconds)
{
    if (milliseconds < 1) {
        return -1;
    }
    sReplyTimeout = milliseconds;
    HTML5VideoClient* const client = Instance();
    if (client != nullptr) {
        client->mChannel->SetReplyTimeout(milliseconds);
    }
    return 0;
}

int HTML5VideoClient::SetLog(int mode, int level)
{
    if (mode < -1 || mode > 4 || level < Logger::kInfo || level > kNoLines) {
        return -1;
    }
    sLogChosen = true;
    Logger::ChangeMode(mode >= 0 ? mode : Logger::GetConfiguredMode());
    for (int index : kAllLoggers) {
        Logger::GetLogger(index)->SetLevel(level);
    }
    sTraced = Logger::GetMode() != 0 && level < kNoLines;
    return 0;
}

int HTML5VideoClient::GetEventDescriptor()
{
    return sChange.Descriptor();
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
    UpdateStatus([&](PlayerStatus& status) {
        status = {values[0], values[1], values[3], values[2],  values[4],
                  values[5], values[6], inSeek,    totalBytes, currentOffset};
    });
    return new IPCParam;
}
