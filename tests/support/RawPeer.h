// A peer made of plain system calls, so that what the library puts on the wire is checked by code
// that shares nothing with it.
#ifndef TESTS_SUPPORT_RAWPEER_H
#define TESTS_SUPPORT_RAWPEER_H

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/support.h"

namespace test {
// The bytes that the hexadecimal digits name, in pairs; whatever else stands there is passed over.
std::string Hex(std::string digits);

// A signed 32-bit number, least significant byte first.
std::string Number(std::int32_t value);

// A text with its NUL and zero padding to a multiple of 4.
std::string Text(const std::string& text);

// An encoded record of integers named a, and of no arguments.
std::string Integers(const std::vector<int>& values);
std::string EmptyRecord();

// A request frame, and a reply, around an encoded record.
std::string Frame(const std::string& method, const std::string& record);
std::string Reply(const std::string& record);

// The reply of a player that took a command, or of a browser that took a report.
std::string EmptyReply();

// Where a socket listens: a TCP port of a host, or a path.
union Address
{
    Address(int port, const char* host = "127.0.0.1");
    Address(const char* path);

    sockaddr any;
    sockaddr_in tcp;
    sockaddr_un local = {};  // the largest of them
};

// One stream connection; every receive gives up after kPatience.
class RawPeer
{
public:
    explicit RawPeer(int descriptor) : mDescriptor(descriptor) {}
    RawPeer(RawPeer&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
    RawPeer& operator=(RawPeer&& other) noexcept
    {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }
    ~RawPeer() { Close(); }

    // Connect tries again until somebody listens.
    static RawPeer TryToConnect(const Address& to);
    static RawPeer Connect(const Address& to);

    bool IsOpen() const { return mDescriptor >= 0; }
    bool Send(const std::string& bytes) const;

    // Exactly that many bytes, fewer when the connection ended or time ran out.
    std::string Receive(std::size_t length, int milliseconds = kPatience) const;

    // One whole frame or reply: the length word and as many bytes as it says.
    std::string ReceiveFrame() const;

    // Whether the other side closed the connection.
    bool WaitClosed() const;
    void Close();

    // The other side sees the end and may still send.
    void EndSending() const { shutdown(mDescriptor, SHUT_WR); }

    // Closes with a reset.
    void Reset();

    // Whether any byte or the end is there within the milliseconds.
    bool HasInput(int milliseconds) const;

private:
    friend class RawListener;

    int mDescriptor;
};

// A listening socket. A file that stands at its path makes way for it.
class RawListener
{
public:
    explicit RawListener(const Address& at);

    RawPeer Accept() const;
    bool SomebodyConnected(int milliseconds = 0) const { return mSocket.HasInput(milliseconds); }

    // Ends an Accept that waits.
    void Shutdown() const { shutdown(mSocket.mDescriptor, SHUT_RDWR); }

private:
    const RawPeer mSocket;
};
}  // namespace test

#endif  // TESTS_SUPPORT_RAWPEER_H
