// Loads the library, says so, and stays until its standard input ends, so that its memory can be
// looked at.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

#include "benchmarks/support/processes.h"

int main()
{
    bench::Require(dlopen(LIBRARY_FILE, RTLD_NOW) != nullptr, LIBRARY_FILE);
    std::puts("loaded");
    std::fflush(stdout);
    char byte = 0;
    while (read(STDIN_FILENO, &byte, 1) > 0) {}
    return 0;
}
