#include "benchmarks/support/processes.h"

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace bench {
namespace {
char sScratch[] = "/tmp/benchmark.XXXXXX";
pid_t sOwner;

void RemoveScratch()
{
    std::error_code ignored;
    if (getpid() == sOwner) {
        std::filesystem::remove_all(sScratch, ignored);
    }
}
}  // namespace

void PinToOneProcessor()
{
    cpu_set_t all;
    sched_getaffinity(0, sizeof(all), &all);
    int last = CPU_SETSIZE - 1;
    while (last > 0 && !CPU_ISSET(last, &all)) {
        --last;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(last, &one);
    Require(sched_setaffinity(0, sizeof(one), &one) == 0, "sched_setaffinity");
}

void EnterScratchDirectory()
{
    Require(mkdtemp(sScratch) != nullptr && chdir(sScratch) == 0, "a directory under /tmp");
    sOwner = getpid();
    std::atexit(RemoveScratch);
}

Child::Child(const std::function<void()>& body) : mProcess(fork())
{
    Require(mProcess >= 0, "fork");
    if (mProcess == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        for (;;) {
            pause();
        }
    }
}

Child::~Child()
{
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

void RetryUntil(const char* what, const std::function<bool()>& attempt)
{
    constexpr int kAttempts = 1000;
    for (int count = 0; count < kAttempts; ++count) {
        if (attempt()) {
            return;
        }
        usleep(5000);
    }
    Require(false, what);
}

void Require(bool condition, const char* what)
{
    if (!condition) {
        std::perror(what);
        std::exit(1);
    }
}
}  // namespace bench
