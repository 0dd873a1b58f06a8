// Internal. What "./cmd.conf" and the host decide about the console.
#ifndef UTIL_CONSOLE_LINES_CONSOLESETTINGS_H
#define UTIL_CONSOLE_LINES_CONSOLESETTINGS_H

#include <string>

struct ConsoleSettings
{
    enum Mode
    {
        kStandardStreams = 0,
        kTcp = 1
    };

    // Applies one line "key=value"; any other line changes nothing.
    void Apply(const char* line);

    int mode = kTcp;
    int port = 0;              // 0 or less: the default port
    std::string address;       // IPv4 address to listen on, "" for every interface
    int tolerant = 0;          // other than 0: a failed handshake costs only that client
    int startTimeout = 10000;  // milliseconds a new client may stay silent
    int linger = 10;           // seconds that go on for a client that has left, below 0 for ever
    int verbose = 0;           // other than 0: failed statements are told on standard output
};

#endif  // UTIL_CONSOLE_LINES_CONSOLESETTINGS_H
