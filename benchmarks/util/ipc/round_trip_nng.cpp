// nng: a request and a reply socket.
#include <nng/nng.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>

#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"

namespace {
std::string Url(const Endpoint& endpoint)
{
    return endpoint.tcp ? "tcp://127.0.0.1:" + std::to_string(endpoint.port)
                        : "ipc://" + endpoint.path;
}

void Serve(const std::string& url)
{
    nng_socket socket;
    bench::Require(nng_rep0_open(&socket) == 0 && nng_listen(socket, url.c_str(), nullptr, 0) == 0,
                   "nng_listen");
    nng_msg* request = nullptr;
    while (nng_recvmsg(socket, &request, 0) == 0) {
        nng_msg_clear(request);
        nng_sendmsg(socket, request, 0);
    }
}

class NngCaller : public Caller
{
public:
    explicit NngCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(Url(endpoint)); }), mSocket()
    {
        bench::Require(nng_req0_open(&mSocket) == 0, "nng_req0_open");
        bench::RetryUntil(
            "nng_dial", [&] { return nng_dial(mSocket, Url(endpoint).c_str(), nullptr, 0) == 0; });
        bench::Require(Command(), "nng_send");
    }

    ~NngCaller() override { nng_close(mSocket); }

    bool Command() override { return Call("play", 4); }
    bool Block(const std::string& block) override { return Call(block.data(), block.size()); }

private:
    bool Call(const void* data, std::size_t length)
    {
        nng_msg* message = nullptr;
        if (nng_msg_alloc(&message, 0) != 0 || nng_msg_append(message, data, length) != 0 ||
            nng_sendmsg(mSocket, message, 0) != 0 || nng_recvmsg(mSocket, &message, 0) != 0) {
            return false;
        }
        nng_msg_free(message);
        return true;
    }

    nng_socket mSocket;
};

const RegisteredCaller sRegistered(4, "nng", [](const Endpoint& endpoint) {
    return std::make_unique<NngCaller>(endpoint);
});
}  // namespace
