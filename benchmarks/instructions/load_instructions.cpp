// Counts loading the library in a process that has the C and C++ libraries already.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "benchmarks/instructions/counting.h"
#include "benchmarks/support/processes.h"

namespace {
// It prints its settings then.
void CountLoad(int)
{
    const int null = open("/dev/null", O_WRONLY);
    bench::Require(dup2(null, STDOUT_FILENO) >= 0, "dup2");
    CountingBegins();
    void* const library = dlopen(LIBRARY_FILE, RTLD_NOW);
    std::fflush(stdout);
    CountingEnds();
    bench::Require(library != nullptr, LIBRARY_FILE);
}

const count::RegisteredCase sLoad(0, "load", {1, CountLoad});
}  // namespace

int main(int count, char** arguments)
{
    return count::Main(count, arguments);
}
