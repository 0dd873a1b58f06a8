// sd-bus, peer to peer: a method call without a bus daemon in between.
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/plain_sockets.h"

namespace {
constexpr char kObject[] = "/player";
constexpr char kInterface[] = "org.example.Player";

int Answer(sd_bus_message* message, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(message, nullptr);
}

const sd_bus_vtable kTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("play", "", "", Answer, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("take", "ay", "", Answer, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

sd_bus* NewBus(int socket)
{
    sd_bus* bus = nullptr;
    bench::Require(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, socket, socket) >= 0 &&
                       sd_bus_set_anonymous(bus, 1) >= 0 && sd_bus_set_trusted(bus, 1) >= 0,
                   "sd_bus_new");
    return bus;
}

void Serve(int socket)
{
    sd_bus* const bus = NewBus(socket);
    bench::Require(
        sd_bus_set_server(
            bus, 1,
            SD_ID128_MAKE(00, 01, 02, 03, 04, 05, 06, 07, 08, 09, 0a, 0b, 0c, 0d, 0e, 0f)) >= 0 &&
            sd_bus_start(bus) >= 0 &&
            sd_bus_add_object_vtable(bus, nullptr, kObject, kInterface, kTable, nullptr) >= 0,
        "sd_bus_start");
    int done = 0;
    while (done >= 0) {
        done = sd_bus_process(bus, nullptr);
        if (done == 0) {
            done = sd_bus_wait(bus, UINT64_MAX);
        }
    }
}

class BusCaller : public Caller
{
public:
    explicit BusCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Serve(AcceptFrom(ListenAt(endpoint))); }),
          mBus(NewBus(ConnectTo(endpoint)))
    {
        bench::Require(sd_bus_start(mBus) >= 0 && Command(), "sd_bus_start");
    }

    ~BusCaller() override { sd_bus_close_unref(mBus); }

    bool Command() override { return Call(NewCall("play")); }

    bool Block(const std::string& block) override
    {
        sd_bus_message* const call = NewCall("take");
        return sd_bus_message_append_array(call, 'y', block.data(), block.size()) >= 0 &&
               Call(call);
    }

private:
    sd_bus_message* NewCall(const char* method)
    {
        sd_bus_message* call = nullptr;
        sd_bus_message_new_method_call(mBus, &call, nullptr, kObject, kInterface, method);
        return call;
    }

    bool Call(sd_bus_message* call)
    {
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call(mBus, call, 0, nullptr, &reply);
        sd_bus_message_unref(call);
        sd_bus_message_unref(reply);
        return result >= 0;
    }

    sd_bus* const mBus;
};

const RegisteredCaller sRegistered(2, "sd-bus", [](const Endpoint& endpoint) {
    return std::make_unique<BusCaller>(endpoint);
});
}  // namespace
