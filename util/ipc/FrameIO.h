// Internal. Whole frames over a socket.
#ifndef UTIL_IPC_FRAMEIO_H
#define UTIL_IPC_FRAMEIO_H

class FrameBuffer;
class IPCSocket;
class ReplyReader;

// Receives length bytes into the buffer, which grows as they arrive: a peer that promises much and
// sends little costs little. Returns the bytes received; fewer than length with errno EAGAIN when
// the deadline passed, ENOMEM without memory, ECONNRESET when the peer closed the connection.
int ReceiveAll(IPCSocket& socket, FrameBuffer& buffer, int length, long long deadline);

// Receives and drops length bytes; false when the connection ended before.
bool DropAll(IPCSocket& socket, int length);

// Sends all the bytes before the deadline. False on failure; an unknown part has then gone out.
// With a reply reader (may be null), replies that arrive while there is no room to send are
// dropped: a peer that waits for us to take them would never read on otherwise.
bool SendAll(IPCSocket& socket, const unsigned char* data, int length, long long deadline,
             ReplyReader* replies);

#endif  // UTIL_IPC_FRAMEIO_H
