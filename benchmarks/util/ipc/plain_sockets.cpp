#include "benchmarks/util/ipc/plain_sockets.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "benchmarks/support/processes.h"

namespace {
struct Address
{
    sockaddr_storage storage = {};
    socklen_t length = 0;

    sockaddr* Get() { return reinterpret_cast<sockaddr*>(&storage); }
};

Address AddressOf(const Endpoint& endpoint)
{
    Address address;
    if (endpoint.tcp) {
        auto* const inet = reinterpret_cast<sockaddr_in*>(&address.storage);
        inet->sin_family = AF_INET;
        inet->sin_port = htons(static_cast<std::uint16_t>(endpoint.port));
        inet->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.length = sizeof(*inet);
    } else {
        auto* const local = reinterpret_cast<sockaddr_un*>(&address.storage);
        local->sun_family = AF_UNIX;
        std::strncpy(local->sun_path, endpoint.path.c_str(), sizeof(local->sun_path) - 1);
        address.length = sizeof(*local);
    }
    return address;
}

int NewSocket(const Endpoint& endpoint)
{
    const int descriptor = socket(endpoint.tcp ? AF_INET : AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bench::Require(descriptor >= 0, "socket");
    return descriptor;
}

// TCP without delay; nothing for others.
int WithoutDelay(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    return descriptor;
}

int FreePort()
{
    const int descriptor = NewSocket({true, 0, ""});
    Address address = AddressOf({true, 0, ""});
    bench::Require(bind(descriptor, address.Get(), address.length) == 0 &&
                       getsockname(descriptor, address.Get(), &address.length) == 0,
                   "a free port");
    close(descriptor);
    return ntohs(reinterpret_cast<sockaddr_in*>(&address.storage)->sin_port);
}
}  // namespace

Endpoint NewEndpoint(bool tcp)
{
    static int count = 0;
    return {tcp, tcp ? FreePort() : 0, "s" + std::to_string(++count)};
}

int ListenAt(const Endpoint& endpoint)
{
    const int descriptor = NewSocket(endpoint);
    Address address = AddressOf(endpoint);
    bench::Require(
        bind(descriptor, address.Get(), address.length) == 0 && listen(descriptor, 1) == 0, "bind");
    return descriptor;
}

int AcceptFrom(int listener)
{
    const int descriptor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    bench::Require(descriptor >= 0, "accept");
    return WithoutDelay(descriptor);
}

int ConnectTo(const Endpoint& endpoint)
{
    const int descriptor = NewSocket(endpoint);
    Address address = AddressOf(endpoint);
    bench::RetryUntil("connect",
                      [&] { return connect(descriptor, address.Get(), address.length) == 0; });
    return WithoutDelay(descriptor);
}
