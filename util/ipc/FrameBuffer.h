// Internal. The bytes of one frame: small ones in the object, which lives on the stack, larger ones
// on the heap.
#ifndef UTIL_IPC_FRAMEBUFFER_H
#define UTIL_IPC_FRAMEBUFFER_H

#include <cstddef>

#include "util/ipc/StreamSocket.h"

class FrameBuffer
{
public:
    FrameBuffer() : mData(mInline), mCapacity(sizeof(mInline)) {}
    FrameBuffer(const FrameBuffer&) = delete;
    FrameBuffer& operator=(const FrameBuffer&) = delete;
    ~FrameBuffer();

    unsigned char* Data() { return mData; }
    std::size_t Capacity() const { return mCapacity; }

    // Makes room for the size and keeps what is there. False when memory ran out; the buffer is
    // then as before.
    bool Reserve(std::size_t size);

    // Receives the bytes from count up to the length; count then says how many have come. Room is
    // made as they arrive: a peer that promises much and sends little costs little. Without memory
    // it fails with ENOMEM.
    Outcome Receive(StreamSocket& socket, int length, long long deadline, int& count);

private:
    unsigned char* mData;
    std::size_t mCapacity;
    unsigned char mInline[4096];
};

#endif  // UTIL_IPC_FRAMEBUFFER_H
