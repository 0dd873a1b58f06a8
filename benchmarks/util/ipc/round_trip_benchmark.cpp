// A command or a block to another process and its empty answer, next to a ping-pong of the same
// bytes: the processor time of both processes together. Above 1 a case is faster. The topic is
// given as FAMILY/LOG/WHAT with tcp or unix, a log of silent, null or file (every line, to
// /dev/null or to a file) and command, 64KiB or 1MiB. Both processes share one processor, unless
// two-cores stands behind. --calls N makes N calls of one case and no timings, for a count of
// system calls, and prints the page faults of a call, both sides, in the second half of them.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"
#include "util/os_linux/Logger.h"

namespace {
constexpr std::size_t kMedium = 65536;
constexpr std::size_t kLarge = 1048576;

struct Topic
{
    explicit Topic(const std::string& name)
    {
        std::istringstream parts(name);
        std::string part;
        std::getline(parts, part, '/');
        tcp = part == "tcp";
        std::getline(parts, log, '/');
        std::getline(parts, part, '/');
        block.resize(part == "64KiB" ? kMedium : part == "1MiB" ? kLarge : 0);
        apart = std::getline(parts, part) && part == "two-cores";
    }

    bool Call(Caller& caller) const
    {
        return block.empty() ? caller.Command() : caller.Block(block);
    }

    bool tcp;
    std::string log;
    std::string block;  // empty for a command
    bool apart;         // the processes, on two processors
};

// As the video client does it, with standard error as a host may have it.
void SetLog(const std::string& log)
{
    if (log == "silent") {
        return;
    }
    const int output = log == "null" ? open("/dev/null", O_WRONLY)
                                     : open("log", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    bench::Require(output >= 0 && dup2(output, STDERR_FILENO) >= 0, log.c_str());
    Logger::ChangeMode(1);
}

// Before any caller is made.
void Prepare(const Topic& topic)
{
    SetLog(topic.log);
    if (topic.apart) {
        Caller::PutServersApart();
    }
}

bool Takes(const Topic& topic, const std::string& name)
{
    const bool logs = topic.log != "silent";
    if (name == "limit" || name == "html5_video") {
        return true;
    }
    if (name.find("limit/") == 0) {
        return logs;
    }
    return !logs;  // the peers log nothing, whatever this library does
}

void Time(const std::string& name)
{
    const Topic topic(name);
    Prepare(topic);
    std::vector<std::unique_ptr<Caller>> callers;
    bench::Interleave timing("round-trip/" + name);
    for (const auto& entry : RegisteredCaller::All()) {
        if (!Takes(topic, entry.name)) {
            continue;
        }
        callers.push_back(entry.offer(NewEndpoint(topic.tcp)));
        timing.Add(
            entry.name,
            [caller = callers.back().get(), &topic] {
                bench::Require(topic.Call(*caller), "a call");
                return 0;
            },
            callers.back()->Server());
    }
    timing.Run();
}

void Count(const std::string& name, const std::string& wanted, int calls)
{
    const Topic topic(name);
    Prepare(topic);
    for (const auto& entry : RegisteredCaller::All()) {
        if (entry.name == wanted) {
            const std::unique_ptr<Caller> caller = entry.offer(NewEndpoint(topic.tcp));
            const auto faults = [&] {
                return bench::PageFaults(getpid()) + bench::PageFaults(caller->Server());
            };
            long before = 0;
            for (int call = 0; call < calls; ++call) {
                before = call == calls / 2 ? faults() : before;
                bench::Require(topic.Call(*caller), "a call");
            }
            std::printf("{\"topic\": \"faults/%s\", \"case\": \"%s\", \"value\": %.2f}\n",
                        name.c_str(), wanted.c_str(),
                        static_cast<double>(faults() - before) / (calls - calls / 2));
            return;
        }
    }
    bench::Require(false, wanted.c_str());
}
}  // namespace

int main(int count, char** arguments)
{
    bench::PinToOneProcessor();
    bench::EnterScratchDirectory();
    if (count == 5 && std::strcmp(arguments[1], "--calls") == 0) {
        Count(arguments[3], arguments[4], std::atoi(arguments[2]));
        return 0;
    }
    bench::Require(count == 2, "usage: benchmark_round_trip TOPIC | --calls N TOPIC CASE");
    Time(arguments[1]);
    return 0;
}
