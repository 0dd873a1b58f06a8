#include "tools/support/HeldOutput.h"

#include <stdio_ext.h>
#include <unistd.h>

#include <cstdio>

namespace {
char sBuffer[BUFSIZ];

void HoldBack(int /*argc*/, char** /*argv*/, char** /*environment*/)
{
    std::setvbuf(stdout, sBuffer, _IOFBF, sizeof(sBuffer));
}

// The functions in this section run before the initialisers of every library that the program is
// linked with (System V ABI, DT_PREINIT_ARRAY), where a constructor of the program runs after them.
__attribute__((section(".preinit_array"), used)) void (*sHoldBack)(int, char**, char**) = HoldBack;
}  // namespace

void DropHeldOutput()
{
    __fpurge(stdout);
}

void ShowHeldOutput()
{
    std::fflush(stdout);
    if (isatty(STDOUT_FILENO) == 1) {
        std::setvbuf(stdout, sBuffer, _IOLBF, sizeof(sBuffer));
    }
}
