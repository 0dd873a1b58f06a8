// Compiled as a host that leaves the width of its file offsets to the C library: on 32-bit targets
// its directory entries are laid out otherwise than the library's.
#include <cstring>

#include "util/os_linux/FSUtil.h"

int SortNamesOnHost(const char* a, const char* b)
{
    dirent entries[2] = {};
    std::strcpy(entries[0].d_name, a);
    std::strcpy(entries[1].d_name, b);
    const dirent* first = &entries[0];
    const dirent* second = &entries[1];
    return FSUtil::Sort(&first, &second);
}
