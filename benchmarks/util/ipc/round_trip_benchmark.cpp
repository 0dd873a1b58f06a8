// A command to another process and its empty answer, both processes on one processor, next to a
// ping-pong of the same bytes: the processor time of both together. Above 1 a case is faster. The
// topic is given as FAMILY/LOG/WHAT with tcp or unix, a log of silent, null or file (every line, to
// /dev/null or to a file) and command or block; --calls N makes N calls of one case and no timings,
// for a count of system calls.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/round_trip_case.h"
#include "util/os_linux/Logger.h"

namespace {
struct Topic
{
    bool tcp;
    std::string log;
    bool block;
};

Topic TopicOf(const std::string& name)
{
    return {name.find("tcp/") == 0,
            name.substr(name.find('/') + 1, name.rfind('/') - name.find('/') - 1),
            name.rfind("/block") != std::string::npos};
}

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

bool Takes(const Topic& topic, const std::string& name)
{
    const bool logs = topic.log != "silent";
    if (name == "limit" || name == "html5_video") {
        return true;
    }
    if (name.find("limit/") == 0) {
        return name == (logs ? "limit/log-lines" : topic.block ? "limit/short-reads" : "");
    }
    return !logs;  // the peers log nothing, whatever this library does
}

void Time(const std::string& name)
{
    const Topic topic = TopicOf(name);
    SetLog(topic.log);
    std::vector<std::unique_ptr<Caller>> callers;
    bench::Interleave timing("round-trip/" + name);
    for (const auto& entry : RegisteredCaller::All()) {
        if (!Takes(topic, entry.name)) {
            continue;
        }
        callers.push_back(entry.offer(NewEndpoint(topic.tcp)));
        timing.Add(
            entry.name,
            [caller = callers.back().get(), block = topic.block] {
                bench::Require(block ? caller->Block() : caller->Command(), "a call");
                return 0;
            },
            callers.back()->Server());
    }
    timing.Run();
}

void Count(const std::string& name, const std::string& wanted, int calls)
{
    const Topic topic = TopicOf(name);
    SetLog(topic.log);
    for (const auto& entry : RegisteredCaller::All()) {
        if (entry.name == wanted) {
            const std::unique_ptr<Caller> caller = entry.offer(NewEndpoint(topic.tcp));
            for (int call = 0; call < calls; ++call) {
                bench::Require(topic.block ? caller->Block() : caller->Command(), "a call");
            }
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
