// A caller and its server process, one per library, for the round trips.
#ifndef BENCHMARKS_UTIL_IPC_ROUND_TRIP_CASE_H
#define BENCHMARKS_UTIL_IPC_ROUND_TRIP_CASE_H

#include <functional>
#include <memory>
#include <string>

#include "benchmarks/support/processes.h"
#include "benchmarks/support/registered.h"

// Where a server listens: a TCP port of the loopback, or a UNIX-domain socket.
struct Endpoint
{
    bool tcp;
    int port;
    std::string path;
};

// A fresh one, each time.
Endpoint NewEndpoint(bool tcp);

// The base makes the server process first.
class Caller
{
public:
    // The servers of the callers to come run on another processor than the caller does.
    static void PutServersApart() { sApart = true; }

    virtual ~Caller() = default;

    // Calls "play" without arguments and waits for the empty answer; false when it failed.
    virtual bool Command() = 0;

    // Sends the block and waits for the empty answer.
    virtual bool Block(const std::string& block) = 0;

    pid_t Server() const { return mServer.Process(); }

protected:
    explicit Caller(const std::function<void()>& serve)
        : mServer([&serve] {
              if (sApart) {
                  bench::PinToProcessor(1);
              }
              serve();
          })
    {}

private:
    static inline bool sApart = false;

    const bench::Child mServer;
};

// Starts the server process, connects to it and has made one call.
using MakeCaller = std::function<std::unique_ptr<Caller>(const Endpoint&)>;
using RegisteredCaller = bench::Registered<MakeCaller>;

#endif  // BENCHMARKS_UTIL_IPC_ROUND_TRIP_CASE_H
