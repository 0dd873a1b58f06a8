#include "benchmarks/instructions/counting.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>

#include "benchmarks/support/processes.h"

// No scheduling policy has this number: the calls fail at once.
constexpr int kNoPolicy = -1;

void CountingBegins()
{
    syscall(SYS_sched_get_priority_min, kNoPolicy);
}

void CountingEnds()
{
    syscall(SYS_sched_get_priority_max, kNoPolicy);
}

namespace count {
int Main(int count, char** arguments)
{
    for (const auto& entry : RegisteredCase::All()) {
        if (count == 1) {
            std::printf("%s %d\n", entry.name.c_str(), entry.offer.operations);
        } else if (entry.name == arguments[1]) {
            bench::EnterScratchDirectory();
            entry.offer.run(entry.offer.operations);
            return 0;
        }
    }
    bench::Require(count == 1, "usage: benchmark_instructions [CASE]");
    return 0;
}
}  // namespace count
