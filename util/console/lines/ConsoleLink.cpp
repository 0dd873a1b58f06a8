#include "util/console/lines/ConsoleLink.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/console/CmdLanguage.h"
#include "util/console/lines/StopSignal.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FileDescriptor.h"

namespace {
constexpr int kStandardStreams = 0;
constexpr int kBacklog = 5;
constexpr int kNoLimit = -1;
constexpr char kOpeningWord[] = "START";

void Report(const char* message)
{
    std::printf("%s\n", message);
    std::fflush(stdout);
}

void CloseDescriptor(int* descriptor)
{
    if (*descriptor > 0) {
        const CancelGuard guard;
        close(*descriptor);
    }
    *descriptor = -1;
}

// False for a port or an address that is none.
bool FillAddress(const ConsoleSettings& settings, sockaddr_in* address)
{
    *address = {};
    address->sin_family = AF_INET;
    address->sin_addr.s_addr = htonl(INADDR_ANY);
    address->sin_port = htons(static_cast<uint16_t>(settings.port));
    return settings.port <= UINT16_MAX &&
           (settings.address.empty() ||
            inet_pton(AF_INET, settings.address.c_str(), &address->sin_addr) == 1);
}
}  // namespace

ConsoleLink::ConsoleLink(StopSignal& stop)
    : mStop(stop), mClient(kStandardStreams), mListener(-1), mGone(false)
{}

ConsoleLink::~ConsoleLink()
{
    Close();
}

int ConsoleLink::Open(const ConsoleSettings& settings)
{
    DropClient();
    const bool tcp = settings.mode == ConsoleSettings::kTcp;
    if (!tcp || settings.port != mSettings.port || settings.address != mSettings.address) {
        CloseListener();
    }
    mSettings = settings;
    if (settings.mode == ConsoleSettings::kStandardStreams) {
        mClient = kStandardStreams;
        return 0;
    }
    return tcp && (mListener >= 0 || Listen() == 0) ? AcceptClient() : -1;
}

void ConsoleLink::Close()
{
    if (mSettings.mode == ConsoleSettings::kTcp && mListener >= 0) {
        CloseListener();  // first, so that whoever sees the client's end finds no old listener
        DropClient();
    }
    mGone = false;
}

bool ConsoleLink::IsGone() const
{
    return mGone || mClient < 0 || mStop.HasLapsed();
}

void ConsoleLink::DropClient()
{
    mStop.Watch(-1, 0);
    CloseDescriptor(&mClient);
    mGone = false;
}

void ConsoleLink::CloseListener()
{
    CloseDescriptor(&mListener);
}

int ConsoleLink::Listen()
{
    sockaddr_in address = {};
    const bool valid = FillAddress(mSettings, &address);
    mListener = OpenSocket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    // Without address reuse, connections of before would hold the port for a minute, and those
    // accepted now would do so to the next console.
    const int on = 1;
    if (!valid || setsockopt(mListener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0 ||
        bind(mListener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        Report("Bind Error");
    } else if (listen(mListener, kBacklog) != 0) {
        Report("Error Can not Listen Socket");
    } else {
        return 0;
    }
    CloseListener();
    return -1;
}

int ConsoleLink::AcceptClient()
{
    for (;;) {
        mClient = Accept();
        if (mClient < 0) {
            break;
        }
        const Read outcome = Handshake();
        if (outcome == Read::kFull) {
            mStop.Watch(mClient, mSettings.linger);
            return 0;
        }
        DropClient();
        // Who says nothing at all is no reason to end: the next one may.
        if (mStop.IsRaised() || (outcome == Read::kShort && mSettings.tolerant == 0)) {
            break;
        }
    }
    CloseListener();
    return -1;
}

// The client's socket, or -1 after a report, or silently when stopped.
int ConsoleLink::Accept()
{
    while (mStop.Wait(mListener, POLLIN, kNoLimit) != StopSignal::kStopped) {
        const int client = AcceptSocket(mListener, nullptr, nullptr);
        if (client >= 0) {
            const int on = 1;  // a prompt is all there is to send: it waits for nothing
            setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
            return client;
        }
        // A client that left the backlog again is no error of ours.
        if (errno != EAGAIN && errno != ECONNABORTED && errno != EPROTO) {
            Report("Error :  accept ");
            return -1;
        }
    }
    return -1;
}

// Full when the client opened properly, silence when it said nothing at all, else short.
ConsoleLink::Read ConsoleLink::Handshake()
{
    char line[CmdLanguage::kLineSize];
    int length = 0;
    const Read outcome = ReceiveFrame(line, mSettings.startTimeout, &length);
    if (outcome != Read::kFull) {
        return outcome;
    }
    constexpr std::size_t kLength = sizeof(kOpeningWord) - 1;
    if (static_cast<std::size_t>(length) < kLength ||
        std::memcmp(line, kOpeningWord, kLength) != 0) {
        Report("START FAIL");
        return Read::kShort;
    }
    return Read::kFull;
}

int ConsoleLink::Receive(char* line)
{
    if (mClient < 0) {
        return -1;
    }
    int length = -1;
    if (mClient == kStandardStreams) {
        length = mInput.ReadLine(line, CmdLanguage::kLineSize, mStop);
        mGone = length < 0;
        return length;
    }
    return ReceiveFrame(line, kNoLimit, &length) == Read::kFull ? length : -1;
}

int ConsoleLink::Send(const char* text)
{
    if (mClient < 0) {
        return -1;
    }
    const std::size_t length = std::strlen(text);
    if (mClient == kStandardStreams) {
        const bool written = std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0;
        return written ? static_cast<int>(length) : -1;
    }
    return SendFrame(text, length) ? static_cast<int>(length) : -1;
}
