// Blocking stream sockets for the cases that bring none of their own. Failures end the program.
#ifndef BENCHMARKS_UTIL_IPC_PLAIN_SOCKETS_H
#define BENCHMARKS_UTIL_IPC_PLAIN_SOCKETS_H

#include "benchmarks/util/ipc/round_trip_case.h"

// A socket that listens at the endpoint.
int ListenAt(const Endpoint& endpoint);

// The first connection of the listening socket.
int AcceptFrom(int listener);

// A connection to the endpoint, once somebody listens there.
int ConnectTo(const Endpoint& endpoint);

#endif  // BENCHMARKS_UTIL_IPC_PLAIN_SOCKETS_H
