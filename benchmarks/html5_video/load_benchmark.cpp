// Loading the library with what it does then (it reads its files and prints its settings), next to
// loading zlib: each in a fresh process that has the C and C++ libraries already. Above 1 a case is
// faster than zlib. The first lines tell the resident memory that loading adds.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"

namespace {
struct Cost
{
    double nanoseconds;
    long residentKiB;
};

double ProcessorTime()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

long ResidentKiB()
{
    long size = 0;
    long resident = 0;
    std::FILE* const file = std::fopen("/proc/self/statm", "re");
    bench::Require(file != nullptr && std::fscanf(file, "%ld %ld", &size, &resident) == 2, "statm");
    std::fclose(file);
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

// Writes the cost of loading the file to the descriptor.
void LoadHere(const char* file, int result)
{
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    ResidentKiB();
    const long before = ResidentKiB();
    const double start = ProcessorTime();
    if (dlopen(file, RTLD_NOW) != nullptr) {
        std::fflush(stdout);
        const Cost cost = {ProcessorTime() - start, ResidentKiB() - before};
        bench::Require(write(result, &cost, sizeof(cost)) == sizeof(cost), "write");
    }
}

// In a fresh process; false when there is no such library.
bool Load(const char* file, Cost& cost)
{
    int ends[2];
    bench::Require(pipe(ends) == 0, "pipe");
    const pid_t child = fork();
    bench::Require(child >= 0, "fork");
    if (child == 0) {
        execl("/proc/self/exe", "load", file, std::to_string(ends[1]).c_str(), nullptr);
        _exit(1);
    }
    close(ends[1]);
    const bool loaded = read(ends[0], &cost, sizeof(cost)) == sizeof(cost);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return loaded;
}

double TimeOf(const char* file)
{
    Cost cost = {};
    bench::Require(Load(file, cost), file);
    return cost.nanoseconds;
}
}  // namespace

int main(int count, char** arguments)
{
    if (count == 3) {
        LoadHere(arguments[1], std::atoi(arguments[2]));
        return 0;
    }
    // The last three by the name for linking: the other one has the version in it.
    const std::pair<const char*, const char*> files[] = {{"zlib", "libz.so.1"},
                                                         {"html5_video", LIBRARY_FILE},
                                                         {"sd-bus", "libsystemd.so.0"},
                                                         {"zeromq", "libzmq.so.5"},
                                                         {"nng", "libnng.so.1"},
                                                         {"thrift", "libthrift.so"},
                                                         {"capnproto", "libcapnp-rpc.so"},
                                                         {"grpc", "libgrpc++.so"}};
    bench::EnterScratchDirectory();
    bench::Interleave timing("load");
    for (const auto& [name, file] : files) {
        Cost cost = {};
        if (Load(file, cost)) {
            timing.AddTimed(name, [path = file] { return TimeOf(path); });
            std::printf("{\"topic\": \"load/resident\", \"case\": \"%s\", \"value\": %ld}\n", name,
                        cost.residentKiB);
        }
    }
    std::fflush(stdout);
    timing.Run();
    return 0;
}
