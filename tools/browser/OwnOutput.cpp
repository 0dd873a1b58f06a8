#include "tools/browser/OwnOutput.h"

#include <fcntl.h>
#include <unistd.h>

std::FILE* TakeStandardOutput()
{
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (own < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        return nullptr;
    }
    // Not every print of the library is followed by a flush.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return fdopen(own, "w");
}
