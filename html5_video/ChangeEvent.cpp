#include "html5_video/ChangeEvent.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include "util/os_linux/FileDescriptor.h"

namespace {
void Count(int descriptor)
{
    eventfd_write(descriptor, 1);  // fails only at a count that nobody will ever reach
}
}  // namespace

// Each side writes its own word and then reads the other's, so of a change and a first Descriptor
// that meet at least one sees the other.
void ChangeEvent::Raise()
{
    mChanged = true;
    const int descriptor = mDescriptor;
    if (descriptor >= 0) {
        Count(descriptor);
    }
}

int ChangeEvent::Descriptor()
{
    const int present = mDescriptor;
    if (present >= 0) {
        return present;
    }
    const int made = OpenEvent();
    if (made < 0) {
        return -1;
    }
    int expected = -1;
    if (!mDescriptor.compare_exchange_strong(expected, made)) {
        close(made);  // another thread was first
        return expected;
    }
    if (mChanged) {
        Count(made);
    }
    return made;
}
