#include "benchmarks/support/processes.h"

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace bench {
namespace {
char sScratch[] = "/tmp/benchmark.XXXXXX";
pid_t sOwner;

cpu_set_t Affinity()
{
    cpu_set_t processors;
    sched_getaffinity(0, sizeof(processors), &processors);
    return processors;
}

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
    PinToProcessor(0);
}

void PinToProcessor(int fromLast)
{
    static const cpu_set_t all = Affinity();  // before any call of this
    int processor = CPU_SETSIZE - 1;
    while (processor > 0 && (!CPU_ISSET(processor, &all) || fromLast-- > 0)) {
        --processor;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(processor, &one);
    Require(sched_setaffinity(0, sizeof(one), &one) == 0, "sched_setaffinity");
}

long PageFaults(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string skipped;
    std::getline(file, skipped, ')');  // the name may hold spaces
    for (int field = 3; field < 10; ++field) {
        file >> skipped;
    }
    long faults = 0;
    Require(static_cast<bool>(file >> faults), "/proc");
    return faults;
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
