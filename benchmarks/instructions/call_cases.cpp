// One call, "play" without arguments and its empty answer over TCP with a silent log: the caller's
// thread and the serving thread of the other process. And the player's report, "SetStatus", handled
// by the video client, which logs to standard error.
#include <fcntl.h>
#include <unistd.h>

#include "benchmarks/instructions/counting.h"
#include "benchmarks/instructions/video_client.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/plain_sockets.h"
#include "benchmarks/util/ipc/record_case.h"
#include "html5_video/HTML5VideoClient.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
constexpr int kCalls = 1000;

count::Served sServed(kCalls);

IPCParam* AnswerEmpty(IPCParam*)
{
    return new IPCParam;
}

IPCParam* AnswerCounted(IPCParam* request)
{
    sServed.Arrived();
    return AnswerEmpty(request);
}

IPCParam* SetStatusCounted(IPCParam* request)
{
    sServed.Arrived();
    return SetStatus_IPC(request);
}

void Serve(int port, IPCHandler handler)
{
    IPCSocketChannel* const channel = new IPCSocketChannel("benchmark", 1, port);
    channel->Register("play", handler);
    channel->Start();
}

void ReceiveReports(int port)
{
    const int null = open("/dev/null", O_WRONLY);
    bench::Require(dup2(null, STDERR_FILENO) >= 0, "dup2");
    StartVideoClient(port, SetStatusCounted);
}

// Calls the process that serves at the port.
class Peer
{
public:
    explicit Peer(int port) : mChannel("benchmark", port, 1) { mChannel.Open(); }

    // The first call that is answered connects.
    void Connect(const char* method, IPCParam& request)
    {
        bench::RetryUntil("the channel",
                          [&] { return Try(method, request) || mChannel.Reopen() != 0; });
    }

    void Call(const char* method, IPCParam& request)
    {
        bench::Require(Try(method, request), "a call");
    }

private:
    bool Try(const char* method, IPCParam& request)
    {
        IPCParam reply;
        return mChannel.Call(method, &request, &reply) == 0;
    }

    IPCSocketChannel mChannel;
};

void CountCallingSide(int calls)
{
    const int port = NewEndpoint(true).port;
    const bench::Child server([port] { Serve(port, AnswerEmpty); });
    IPCParam request;
    Peer peer(port);
    peer.Connect("play", request);
    count::Count(calls, [&] {
        IPCParam fresh;
        peer.Call("play", fresh);
    });
}

// The process that serves sets the marks.
void CallAll(int port, const char* method, IPCParam& request)
{
    Peer peer(port);
    peer.Connect(method, request);
    for (int calls = 1; calls < sServed.All(); ++calls) {
        peer.Call(method, request);
    }
}

void CountServingSide(int)
{
    const int port = NewEndpoint(true).port;
    const bench::Child server([port] { Serve(port, AnswerCounted); });
    IPCParam request;
    CallAll(port, "play", request);
}

void CountSetStatus(int)
{
    const int port = NewEndpoint(true).port;
    const bench::Child client([port] { ReceiveReports(port); });
    IPCParam report;
    for (int index = 0; index < kIntegers; ++index) {
        report.Add(kNames[index], 1000 + index);
    }
    CallAll(port, "SetStatus", report);
}

const count::RegisteredCase sCallingSide(0, "call/calling-side", {kCalls, CountCallingSide});
const count::RegisteredCase sServingSide(1, "call/serving-side", {kCalls, CountServingSide});
const count::RegisteredCase sSetStatus(2, "status/set-handled", {kCalls, CountSetStatus});
}  // namespace
