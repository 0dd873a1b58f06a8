// Internal. The console's line source and sink: one TCP client at a time, or the standard streams.
// It knows sockets, frames and the opening word; nothing of what the lines mean.
//
// A frame is four letters ("TAVI" from the client, "tavi" to it), the length of the text as an
// unsigned 32-bit little-endian number, and the text of one line or prompt without terminator.
//
// Used by one thread at a time; another may stop its waits through the StopSignal, which is told to
// watch each client.
#ifndef UTIL_CONSOLE_LINES_CONSOLELINK_H
#define UTIL_CONSOLE_LINES_CONSOLELINK_H

#include <cstddef>

#include "util/console/lines/ConsoleSettings.h"
#include "util/console/lines/StandardInput.h"

class StopSignal;

class ConsoleLink
{
public:
    explicit ConsoleLink(StopSignal& stop);
    ConsoleLink(const ConsoleLink&) = delete;
    ConsoleLink& operator=(const ConsoleLink&) = delete;
    ~ConsoleLink();

    // Takes leave of the client and prepares the mode's line source; over TCP it listens, waits for
    // a client and its opening word. A socket that listens already where the settings say is kept,
    // so that those in its backlog are served. 0, or -1 with everything closed.
    int Open(const ConsoleSettings& settings);

    // Closes the client's and the listening socket; the standard streams stay.
    void Close();

    // The next line: its length, or -1 for a line that was dropped or without a client.
    int Receive(char* line);

    // Whether no further line can come, from this client or at all; none is taken of a client that
    // was gone for its time.
    bool IsGone() const;
    bool IsAtEnd() const { return mGone && mClient == 0; }

    // The length of the text, or -1. A client that takes nothing for a second is given up.
    int Send(const char* text);

private:
    enum class Read
    {
        kFull,
        kSilence,  // not one byte came in time
        kShort
    };

    int Listen();
    int AcceptClient();
    int Accept();
    Read Handshake();
    void DropClient();
    void CloseListener();

    Read ReceiveFrame(char* line, int milliseconds, int* length);
    Read ReadBytes(void* buffer, std::size_t size, int milliseconds);
    void Discard(std::size_t size);
    bool SendFrame(const char* text, std::size_t length);
    bool SendAll(const char* data, std::size_t size);

    StopSignal& mStop;
    ConsoleSettings mSettings;
    StandardInput mInput;
    int mClient;    // 0 the standard streams, above it a socket, below it none
    int mListener;  // -1 none
    bool mGone;
};

#endif  // UTIL_CONSOLE_LINES_CONSOLELINK_H
