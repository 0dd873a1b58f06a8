// Cap'n Proto: its two-party remote calls, with the event loop that its simple interface makes.
#include <capnp/ez-rpc.h>

#include <memory>

#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"
#include "round_trip.capnp.h"

namespace {
using bench::capnp::Player;

std::string Address(const Endpoint& endpoint)
{
    return endpoint.tcp ? "127.0.0.1:" + std::to_string(endpoint.port) : "unix:" + endpoint.path;
}

// The library destroys it by its exact type, so that its destructors need not be virtual.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class PlayerServer : public Player::Server
{
protected:
    kj::Promise<void> play(PlayContext) override { return kj::READY_NOW; }
    kj::Promise<void> take(TakeContext) override { return kj::READY_NOW; }
};
#pragma GCC diagnostic pop

void Serve(const std::string& address)
{
    capnp::EzRpcServer server(kj::heap<PlayerServer>(), address.c_str());
    kj::NEVER_DONE.wait(server.getWaitScope());
}

// A connection, made or refused at the first call.
struct Connection
{
    explicit Connection(const std::string& address)
        : client(address.c_str()), player(client.getMain<Player>())
    {}

    capnp::EzRpcClient client;
    Player::Client player;
};

class CapnProtoCaller : public Caller
{
public:
    explicit CapnProtoCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(Address(endpoint)); })
    {
        bench::RetryUntil("Cap'n Proto", [&] {
            mConnection = std::make_unique<Connection>(Address(endpoint));
            return Command();
        });
    }

    bool Command() override { return Call(mConnection->player.playRequest()); }

    bool Block(const std::string& block) override
    {
        auto request = mConnection->player.takeRequest();
        request.setBlock(
            kj::arrayPtr(reinterpret_cast<const kj::byte*>(block.data()), block.size()));
        return Call(std::move(request));
    }

private:
    template <typename Request>
    bool Call(Request request)
    {
        return kj::runCatchingExceptions(
                   [&] { request.send().wait(mConnection->client.getWaitScope()); }) == nullptr;
    }

    std::unique_ptr<Connection> mConnection;
};

const RegisteredCaller sRegistered(6, "capnproto", [](const Endpoint& endpoint) {
    return std::make_unique<CapnProtoCaller>(endpoint);
});
}  // namespace
