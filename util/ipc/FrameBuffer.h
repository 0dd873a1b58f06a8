// Internal. The memory for a connection's frames, one at a time: made for the first one, kept for
// those that follow, given back when the connection ends. As large as the largest one so far, in
// whole pages.
#ifndef UTIL_IPC_FRAMEBUFFER_H
#define UTIL_IPC_FRAMEBUFFER_H

#include <cstddef>

class FrameBuffer
{
public:
    FrameBuffer() = default;
    FrameBuffer(const FrameBuffer&) = delete;
    FrameBuffer& operator=(const FrameBuffer&) = delete;
    ~FrameBuffer() { Release(); }

    // Where the frame begins; after Reserve it may be another place.
    unsigned char* Data() { return mData; }
    std::size_t Capacity() const { return mCapacity; }

    // Makes room for the size and keeps what is there. False when memory ran out; the buffer is
    // then as before.
    bool Reserve(std::size_t size);

    void Release();

private:
    unsigned char* mData = nullptr;
    std::size_t mCapacity = 0;
};

#endif  // UTIL_IPC_FRAMEBUFFER_H
