// Internal. Keeps the reply side of a send connection in step with the requests.
//
// Every request is answered by one reply, in order: a signed 32-bit length and that many bytes.
// Replies that nobody waits for any more (of CallWithoutReturn, or late ones) are owed by the peer
// and dropped before the next awaited one. Guarded by the channel's mutex.
#ifndef UTIL_IPC_REPLYREADER_H
#define UTIL_IPC_REPLYREADER_H

#include <cstdint>

class FrameBuffer;
class IPCSocket;

class ReplyReader
{
public:
    enum Result
    {
        kDone,
        kTimeout,  // the connection is in step; the reply is still owed
        kBroken    // the peer is gone, or sent a length that cannot be trusted
    };

    // A fresh connection owes nothing.
    void Reset() { *this = ReplyReader(); }

    // A request went out.
    void Expect() { ++mOwed; }
    bool IsOwed() const { return mOwed > 0; }

    // Drops what has arrived of the owed replies, without waiting. False when broken.
    bool DropArrived(IPCSocket& socket);

    // Counts bytes that somebody else received on the connection: what belongs to an owed reply has
    // then come, in part or whole.
    void Take(const unsigned char* bytes, int length);

    // Drops the owed replies but the last and reads that one's bytes into the buffer, length is
    // their count (0 for a reply without a record).
    Result ReadLast(IPCSocket& socket, FrameBuffer& buffer, int& length, long long deadline);

private:
    bool IsTooBig() const;
    int Missing() const;
    Result ReceivePart(IPCSocket& socket, long long deadline);
    Result DropOne(IPCSocket& socket, long long deadline);
    void Finish();

    long long mOwed = 0;   // replies outstanding, the one in progress included
    int mLengthBytes = 0;  // how much of the length word has arrived
    unsigned char mLength[4] = {};
    int mBodyLeft = 0;  // bytes still to come once the length word is whole
};

#endif  // UTIL_IPC_REPLYREADER_H
