// Internal. Tells a host's loop that something has changed: an eventfd, made when it is asked for.
// From any thread; nothing waits.
#ifndef HTML5_VIDEO_CHANGEEVENT_H
#define HTML5_VIDEO_CHANGEEVENT_H

#include <atomic>

class ChangeEvent
{
public:
    constexpr ChangeEvent() : mDescriptor(-1), mChanged(false) {}
    ChangeEvent(const ChangeEvent&) = delete;
    ChangeEvent& operator=(const ChangeEvent&) = delete;

    // Something has changed. One system call when there is a descriptor, else none.
    void Raise();

    // The descriptor, always the same one; -1 with errno when none is to be had. The first call
    // makes it: readable at once when there was a change before.
    int Descriptor();

private:
    std::atomic<int> mDescriptor;
    std::atomic<bool> mChanged;
};

#endif  // HTML5_VIDEO_CHANGEEVENT_H
