// Internal. Keeps the reply side of a send connection in step with the requests.
//
// Every request is answered by one reply, in order: a signed 32-bit length and that many bytes.
// Replies that nobody waits for any more (of CallWithoutReturn, or late ones) are owed by the peer
// and dropped before the next awaited one. Guarded by the channel's mutex.
#ifndef UTIL_IPC_REPLYREADER_H
#define UTIL_IPC_REPLYREADER_H

#include "util/ipc/StreamSocket.h"

class GatherList;

class ReplyReader
{
public:
    // A fresh connection owes nothing.
    void Reset() { *this = ReplyReader(); }

    // A request went out.
    void Expect() { ++mOwed; }
    bool IsOwed() const { return mOwed > 0; }

    // Sends all of the list before the deadline; when that is not done, an unknown part has gone
    // out. Owed replies that arrive while there is no room to send are dropped: a peer that waits
    // for us to take them would never read on otherwise.
    Outcome Send(StreamSocket& socket, GatherList& list, long long deadline);

    // Counts bytes that somebody else received on the connection: what belongs to an owed reply has
    // then come, in part or whole.
    void Take(const unsigned char* bytes, int length);

    // Drops the owed replies but the last and reads that one's bytes into the socket's frame,
    // length is their count (0 for a reply without a record). After kLate the connection is in step
    // and the reply still owed; after kClosed and kFailed it can not be used any more.
    Outcome ReadLast(StreamSocket& socket, int& length, long long deadline);

private:
    Outcome ReadLength(StreamSocket& socket, long long deadline);
    [[gnu::cold]] Outcome DropOne(StreamSocket& socket, long long deadline);
    [[gnu::cold]] bool DropArrived(StreamSocket& socket);
    void Finish();

    long long mOwed = 0;   // replies outstanding, the one in progress included
    int mLengthBytes = 0;  // how much of the length word has arrived
    unsigned char mLength[4] = {};
    int mBodyLeft = 0;  // bytes still to come once the length word is whole
};

#endif  // UTIL_IPC_REPLYREADER_H
