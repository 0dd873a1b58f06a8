// Standard output goes to standard error while this lives: the library tells its settings there,
// where the browser prints its own lines.
#ifndef TOOLS_BROWSER_OUTPUTTOERROR_H
#define TOOLS_BROWSER_OUTPUTTOERROR_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

class OutputToError
{
public:
    OutputToError() : mOutput(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        std::fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    OutputToError(const OutputToError&) = delete;
    OutputToError& operator=(const OutputToError&) = delete;
    ~OutputToError()
    {
        std::fflush(stdout);
        if (mOutput >= 0) {
            dup2(mOutput, STDOUT_FILENO);
            close(mOutput);
        }
    }

private:
    const int mOutput;
};

#endif  // TOOLS_BROWSER_OUTPUTTOERROR_H
