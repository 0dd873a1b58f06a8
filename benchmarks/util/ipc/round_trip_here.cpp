// This library: a channel whose receive side serves in the other process.
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
IPCParam* AnswerEmpty(IPCParam*)
{
    return new IPCParam;
}

// The other direction of the pair is not used: a path and a port that nobody else takes.
IPCSocketChannel* NewChannel(const Endpoint& endpoint, bool serves)
{
    const std::string other = endpoint.path + ".other";
    if (!endpoint.tcp) {
        return new IPCSocketChannel("benchmark", (serves ? other : endpoint.path).c_str(),
                                    (serves ? endpoint.path : other).c_str());
    }
    return new IPCSocketChannel("benchmark", serves ? 1 : endpoint.port,
                                serves ? endpoint.port : 1);
}

void Serve(const Endpoint& endpoint)
{
    IPCSocketChannel* const channel = NewChannel(endpoint, true);
    channel->Register("play", AnswerEmpty);
    channel->Start();
}

class ChannelCaller : public Caller
{
public:
    explicit ChannelCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(endpoint); }), mChannel(NewChannel(endpoint, false))
    {
        mChannel->Open();
        bench::RetryUntil("the channel", [this] { return Command() || mChannel->Reopen() != 0; });
    }

    bool Command() override
    {
        IPCParam request;
        return Call(request);
    }

    bool Block(const std::string& block) override
    {
        IPCParam request;
        request.Add("data", block.data(), static_cast<int>(block.size()));
        return Call(request);
    }

private:
    bool Call(IPCParam& request)
    {
        IPCParam reply;
        return mChannel->Call("play", &request, &reply) == 0;
    }

    const std::unique_ptr<IPCSocketChannel> mChannel;
};

const RegisteredCaller sRegistered(1, "html5_video", [](const Endpoint& endpoint) {
    return std::make_unique<ChannelCaller>(endpoint);
});
}  // namespace
