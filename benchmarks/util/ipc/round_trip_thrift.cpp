// Thrift: the binary protocol over a buffered transport, to a server of one thread. The transport's
// buffer has 512 bytes by default, so that a block takes 128 receives, each after a poll.
#include <thrift/Thrift.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>
#include <thrift/transport/TSocket.h>

#include "Player.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"

namespace {
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::protocol::TBinaryProtocolFactory;
using apache::thrift::transport::TBufferedTransport;
using apache::thrift::transport::TBufferedTransportFactory;
using apache::thrift::transport::TServerSocket;
using apache::thrift::transport::TSocket;

class Player : public bench::thrift::PlayerIf
{
public:
    void play() override {}
    void take(const std::string&) override {}
};

void Serve(const Endpoint& endpoint)
{
    const auto listener = endpoint.tcp ? std::make_shared<TServerSocket>("127.0.0.1", endpoint.port)
                                       : std::make_shared<TServerSocket>(endpoint.path);
    apache::thrift::server::TSimpleServer(
        std::make_shared<bench::thrift::PlayerProcessor>(std::make_shared<Player>()), listener,
        std::make_shared<TBufferedTransportFactory>(), std::make_shared<TBinaryProtocolFactory>())
        .serve();
}

template <typename Action>
bool Succeeds(Action action)
{
    try {
        action();
        return true;
    } catch (const apache::thrift::TException&) {
        return false;
    }
}

class ThriftCaller : public Caller
{
public:
    explicit ThriftCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(endpoint); }),
          mTransport(std::make_shared<TBufferedTransport>(
              endpoint.tcp ? std::make_shared<TSocket>("127.0.0.1", endpoint.port)
                           : std::make_shared<TSocket>(endpoint.path))),
          mClient(std::make_shared<TBinaryProtocol>(mTransport))
    {
        // It would print each attempt that comes too early.
        apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
        bench::RetryUntil("Thrift", [this] {
            mTransport->close();  // what a refused attempt left
            return Succeeds([this] { mTransport->open(); });
        });
        bench::Require(Command(), "Thrift");
    }

    bool Command() override
    {
        return Succeeds([this] { mClient.play(); });
    }

    bool Block(const std::string& block) override
    {
        return Succeeds([&] { mClient.take(block); });
    }

private:
    const std::shared_ptr<TBufferedTransport> mTransport;
    bench::thrift::PlayerClient mClient;
};

const RegisteredCaller sRegistered(5, "thrift", [](const Endpoint& endpoint) {
    return std::make_unique<ThriftCaller>(endpoint);
});
}  // namespace
