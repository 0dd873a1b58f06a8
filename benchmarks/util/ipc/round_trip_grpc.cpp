// gRPC: a blocking call without encryption, to a server with the threads that it has by default. It
// comes last, so that nothing is forked once its threads run. More than half of a block's time is
// the C library giving the memory of each call back to the system and taking it anew.
#include <grpcpp/grpcpp.h>

#include <chrono>

#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"
#include "round_trip.grpc.pb.h"

namespace {
using bench::grpc::Empty;

std::string Address(const Endpoint& endpoint)
{
    return endpoint.tcp ? "127.0.0.1:" + std::to_string(endpoint.port) : "unix:" + endpoint.path;
}

class Player : public bench::grpc::Player::Service
{
    grpc::Status Play(grpc::ServerContext*, const Empty*, Empty*) override
    {
        return grpc::Status::OK;
    }

    grpc::Status Take(grpc::ServerContext*, const bench::grpc::Block*, Empty*) override
    {
        return grpc::Status::OK;
    }
};

void Serve(const std::string& address)
{
    Player player;
    const std::unique_ptr<grpc::Server> server =
        grpc::ServerBuilder()
            .AddListeningPort(address, grpc::InsecureServerCredentials())
            .RegisterService(&player)
            .BuildAndStart();
    bench::Require(server != nullptr, "gRPC");
    server->Wait();
}

class GrpcCaller : public Caller
{
public:
    explicit GrpcCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(Address(endpoint)); }),
          mChannel(grpc::CreateChannel(Address(endpoint), grpc::InsecureChannelCredentials())),
          mStub(bench::grpc::Player::NewStub(mChannel))
    {
        const auto latest = std::chrono::system_clock::now() + std::chrono::seconds(5);
        bench::Require(mChannel->WaitForConnected(latest) && Command(), "gRPC");
    }

    bool Command() override
    {
        grpc::ClientContext context;
        Empty answer;
        return mStub->Play(&context, Empty(), &answer).ok();
    }

    bool Block(const std::string& block) override
    {
        grpc::ClientContext context;
        bench::grpc::Block request;
        request.set_data(block);
        Empty answer;
        return mStub->Take(&context, request, &answer).ok();
    }

private:
    const std::shared_ptr<grpc::Channel> mChannel;
    const std::unique_ptr<bench::grpc::Player::Stub> mStub;
};

const RegisteredCaller sRegistered(7, "grpc", [](const Endpoint& endpoint) {
    return std::make_unique<GrpcCaller>(endpoint);
});
}  // namespace
