// How cost grows with size: one JSON object a line with topic, size and ns, the median processor
// time of one operation, of both processes for a round trip.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>

#include "benchmarks/support/processes.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"
#include "util/container/HashTable.h"
#include "util/ipc/IPCMethod.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/StringHashFunction.h"
#include "util/os_linux/Thread.h"

namespace {
double ProcessorTime(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

// Runs the operation in slices of two milliseconds or more and prints the median.
void Print(const char* topic, std::size_t size, const std::function<void()>& operation,
           pid_t other = 0)
{
    clockid_t others = CLOCK_PROCESS_CPUTIME_ID;
    bench::Require(other == 0 || clock_getcpuclockid(other, &others) == 0, "clock_getcpuclockid");
    const auto now = [&] {
        return ProcessorTime(CLOCK_PROCESS_CPUTIME_ID) + (other != 0 ? ProcessorTime(others) : 0);
    };
    constexpr int kSlices = 9;
    double times[kSlices];
    for (double& time : times) {
        int count = 0;
        const double start = now();
        do {
            operation();
            ++count;
            time = (now() - start) / count;
        } while (time * count < 2e6);
    }
    std::nth_element(times, times + kSlices / 2, times + kSlices);
    std::printf("{\"topic\": \"scale/%s\", \"size\": %zu, \"ns\": %.1f}\n", topic, size,
                times[kSlices / 2]);
    std::fflush(stdout);
}

IPCParam* AnswerEmpty(IPCParam*)
{
    return new IPCParam;
}

void Serve()
{
    auto* const channel = new IPCSocketChannel("server", "unused.server", "here");
    channel->Register("take", AnswerEmpty);
    channel->Start();
}

void RoundTrips()
{
    const bench::Child server(Serve);
    IPCSocketChannel channel("caller", "here", "unused.caller");
    channel.Open();
    const auto call = [&](IPCParam& request) {
        IPCParam reply;
        return channel.Call("take", &request, &reply) == 0;
    };
    bench::RetryUntil("the channel", [&] {
        IPCParam request;
        return call(request) || channel.Reopen() != 0;
    });
    for (const int count : {0, 1, 2, 4, 8, 16, 32, 64}) {
        IPCParam request;
        for (int index = 0; index < count; ++index) {
            request.Add("argument", index);
        }
        Print(
            "round-trip-arguments", static_cast<std::size_t>(count),
            [&] { bench::Require(call(request), "a call"); }, server.Process());
    }
    for (const int bytes : {1 << 10, 1 << 12, 1 << 14, 1 << 16, 1 << 18, 1 << 20, (1 << 21) - 64}) {
        const std::vector<unsigned char> block(static_cast<std::size_t>(bytes));
        IPCParam request;
        request.Add("block", block.data(), bytes);
        Print(
            "round-trip-bytes", block.size(), [&] { bench::Require(call(request), "a call"); },
            server.Process());
    }
}

// As many buckets as a channel has.
void Methods()
{
    for (const std::size_t count : {10U, 50U, 250U, 1000U, 2500U}) {
        StringHashFunction function;
        tavi::HashTable<IPCMethod, const char*> table(250, &function);
        std::vector<std::unique_ptr<IPCMethod>> methods;
        for (std::size_t index = 0; index < count; ++index) {
            const std::string name = "method" + std::to_string(index);
            methods.push_back(std::make_unique<IPCMethod>(name.c_str(), AnswerEmpty));
            const char* key = methods.back()->ToString();
            table.Add(methods.back().get(), key);
        }
        std::size_t next = 0;
        Print("methods", count, [&] {
            constexpr int kLookups = 1000;  // a clock read costs more than a lookup
            for (int lookup = 0; lookup < kLookups; ++lookup) {
                next = (next + 7) % count;
                const char* key = methods[next]->ToString();
                bench::Require(table.Get(key) == methods[next].get(), "a lookup");
            }
        });
    }
}

void* DoNothing(void*)
{
    return nullptr;
}

// Making and destroying one more.
void Threads()
{
    for (const std::size_t count : {10U, 30U, 100U, 300U, 1000U}) {
        std::vector<std::unique_ptr<Thread>> threads;
        while (threads.size() < count) {
            threads.push_back(std::make_unique<Thread>("thread", DoNothing, false, 0));
        }
        Print("threads", count, [] { const Thread one("one more", DoNothing, false, 0); });
    }
}

void Scripts()
{
    CmdMgr* const console = CmdMgr::GetInstance(0);
    SymListMgr::GetInstance()->RegisterSymbol("i", "0", SymInfo::kInt, false);
    for (const int count : {10, 100, 1000, 10000, 100000}) {
        std::ofstream file("script");
        for (int line = 0; line < count; ++line) {
            file << "i = i + 1\n";
        }
        file.close();
        Print("script-lines", static_cast<std::size_t>(count), [console] {
            char result[CmdMgr::kResultSize];
            CmdParser line("FILE script");
            console->CmdExecute(&line, result);
        });
    }
}
}  // namespace

int main()
{
    bench::PinToOneProcessor();
    bench::EnterScratchDirectory();
    RoundTrips();
    Methods();
    Threads();
    Scripts();
    return 0;
}
