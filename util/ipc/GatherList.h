// Internal. What one system call sends: a frame, and the large blocks of its record from where they
// are, in the order of the wire.
#ifndef UTIL_IPC_GATHERLIST_H
#define UTIL_IPC_GATHERLIST_H

#include <sys/uio.h>

#include <cstddef>

class GatherList
{
public:
    // The frame's bytes stand from here on.
    explicit GatherList(const unsigned char* frame) { Restart(frame); }
    GatherList(const GatherList&) = delete;
    GatherList& operator=(const GatherList&) = delete;

    void Restart(const unsigned char* frame)
    {
        mTaken = frame;
        mFirst = mEnd = mPieces;
    }

    // Sends the block instead of what stands at its place in the frame. False when it is too small
    // to be worth it, or there is no room left in the list.
    bool Insert(const unsigned char* place, const void* block, std::size_t length);

    // The frame ends here; nothing is inserted any more.
    void End(const unsigned char* frameEnd);

    // The pieces that are left; none when all has been sent.
    iovec* Pieces() { return mFirst; }
    std::size_t Count() const { return static_cast<std::size_t>(mEnd - mFirst); }

    void Sent(std::size_t length);

private:
    static constexpr int kMost = 16;

    const unsigned char* mTaken;  // what stands before is in the list
    iovec* mFirst;
    iovec* mEnd;
    iovec mPieces[kMost];
};

#endif  // UTIL_IPC_GATHERLIST_H
