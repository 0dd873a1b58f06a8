// ZeroMQ: a REQ and a REP socket.
#include <zmq.h>

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
    void* const socket = zmq_socket(zmq_ctx_new(), ZMQ_REP);
    bench::Require(zmq_bind(socket, url.c_str()) == 0, "zmq_bind");
    zmq_msg_t request;
    zmq_msg_init(&request);
    while (zmq_msg_recv(&request, socket, 0) >= 0) {
        zmq_send(socket, "", 0, 0);
    }
}

class ZeroMqCaller : public Caller
{
public:
    explicit ZeroMqCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(Url(endpoint)); }),
          mContext(zmq_ctx_new()),
          mSocket(zmq_socket(mContext, ZMQ_REQ))
    {
        bench::Require(zmq_connect(mSocket, Url(endpoint).c_str()) == 0 && Command(),
                       "zmq_connect");
    }

    ~ZeroMqCaller() override
    {
        zmq_close(mSocket);
        zmq_ctx_term(mContext);
    }

    bool Command() override { return Call("play", 4); }
    bool Block(const std::string& block) override { return Call(block.data(), block.size()); }

private:
    bool Call(const void* data, std::size_t length)
    {
        char answer[16];
        return zmq_send(mSocket, data, length, 0) >= 0 &&
               zmq_recv(mSocket, answer, sizeof(answer), 0) >= 0;
    }

    void* const mContext;
    void* const mSocket;
};

const RegisteredCaller sRegistered(3, "zeromq", [](const Endpoint& endpoint) {
    return std::make_unique<ZeroMqCaller>(endpoint);
});
}  // namespace
