// Endurance: many rounds of what a box does for months. Prints a table of the threads, descriptors
// and heap bytes before and after each row of rounds; exit status 1 when any of them grew.
//
//     endurance [ROUNDS-DIVISOR]    divides the numbers of rounds, for a short run
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "util/console/CmdMgr.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/Logger.h"

namespace {
std::atomic<long> gUpdates{0};

IPCParam* Echo(IPCParam* request)
{
    IPCParam* const reply = new IPCParam;
    reply->Add("n", request->GetCount() > 0 ? static_cast<int>(request->GetArg(0)->mValue) : 0);
    return reply;
}

IPCParam* Update(IPCParam*)
{
    ++gUpdates;
    return new IPCParam;
}

struct Figures
{
    int threads;
    int descriptors;
    long heap;  // bytes in use, of all arenas
};

Figures Measure()
{
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {test::CountThreads(), test::CountDescriptors(),
            static_cast<long>(heap.uordblks + heap.hblkhd)};
}

// A round before the first figures lets what is made once be made. 64 KiB of heap may differ: the
// arenas of threads that ended keep some blocks.
bool Endure(const char* name, long rounds, const std::function<bool(long rounds)>& run)
{
    if (!run(std::min(rounds, 20L))) {
        std::printf("| %s | failed to begin |\n", name);
        return false;
    }
    const Figures before = Measure();
    const auto start = std::chrono::steady_clock::now();
    const bool served = run(rounds);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    // A thread that was joined is gone from the list of tasks a moment later, and may have been
    // counted before.
    test::WaitUntil([&before] { return test::CountThreads() <= before.threads; });
    const Figures after = Measure();
    const bool same = after.threads <= before.threads && after.descriptors == before.descriptors &&
                      after.heap - before.heap < 65536;
    std::printf("| %s | %ld | %.1f s | %d, %d | %d, %d | %ld, %ld | %s |\n", name, rounds,
                took.count(), before.threads, after.threads, before.descriptors, after.descriptors,
                before.heap, after.heap, served && same ? "yes" : "NO");
    std::fflush(stdout);
    return served && same;
}

bool StartAndStop(long rounds)
{
    static IPCSocketChannel channel("start", test::FreePort(), test::FreePort());
    for (long round = 0; round < rounds; ++round) {
        channel.Start();
        channel.Quit();
    }
    return !channel.IsRunning();
}

bool PeersComeAndDie(long rounds)
{
    static const int port = test::FreePort();
    static IPCSocketChannel channel("peers", test::FreePort(), port);
    channel.Register("echo", Echo);
    const std::string request = test::Frame("echo", test::EmptyRecord());
    for (long round = 0; round < rounds; ++round) {
        channel.Start();
        {
            const test::RawPeer peer = test::RawPeer::Connect(port);
            // Every other one dies in the middle of its request.
            peer.Send(round % 2 == 0 ? request : request.substr(0, 11));
            if (round % 2 == 0 && peer.ReceiveFrame().size() != 20) {
                return false;
            }
        }
        if (!test::WaitUntil([] { return !channel.IsRunning(); })) {
            return false;
        }
    }
    return true;
}

// Eight threads call, and the other side pushes an update back for every tenth call.
bool CallsFromEightThreads(long rounds)
{
    static const int there = test::FreePort();
    static const int back = test::FreePort();
    static IPCSocketChannel server("server", back, there);
    static IPCSocketChannel client("client", there, back);
    static const bool started = [] {
        server.Register("echo", Echo);
        client.Register("SetStatus", Update);
        server.Start();
        client.Start();
        return true;
    }();
    std::atomic<long> left{rounds};
    std::atomic<long> wrong{started ? 0 : 1};
    test::InThreads(8, [&](int) {
        for (long number = --left; number >= 0; number = --left) {
            IPCParam request;
            request.Add("n", static_cast<int>(number));
            IPCParam reply;
            wrong += client.Call("echo", &request, &reply) == 0 && reply.GetCount() == 1 &&
                             reply.GetArg(0)->mValue == number
                         ? 0
                         : 1;
            if (number % 10 == 0) {
                IPCParam update;
                wrong += server.Call("SetStatus", &update, nullptr) == 0 ? 0 : 1;
            }
        }
    });
    return wrong == 0;
}

bool ConsoleSessions(long rounds)
{
    static const int port = test::FreePort();
    static CmdMgr* const console = [] {
        CmdMgr* const made = CmdMgr::GetInstance(port);
        made->SetAddress("127.0.0.1");
        made->Start();
        return made;
    }();
    static_cast<void>(console);
    const auto frame = [](const std::string& text) {
        return "TAVI" + test::Number(static_cast<int>(text.size())) + text;
    };
    for (long round = 0; round < rounds; ++round) {
        const test::RawPeer client = test::RawPeer::Connect(port);
        client.Send(frame("START") + frame("INT endurance 1") + frame("FREE endurance") +
                    frame("quit"));
        // A prompt after each line but the last.
        if (client.Receive(3 * 13).size() != 3 * 13 || !client.WaitClosed()) {
            return false;
        }
    }
    return true;
}
}  // namespace

int main(int count, char** arguments)
{
    const long divisor = count > 1 ? std::max(1L, std::atol(arguments[1])) : 1;
    Logger::GetLogger(1)->SetLevel(Logger::kError + 1);
    Logger::GetLogger(2)->SetLevel(Logger::kError + 1);
    std::printf("| what | rounds | time | threads | descriptors | heap bytes | same |\n");
    std::printf("| --- | --- | --- | --- | --- | --- | --- |\n");
    bool same = Endure("channel started and stopped", 10000 / divisor, StartAndStop);
    same = Endure("peer connects and dies", 10000 / divisor, PeersComeAndDie) && same;
    same = Endure("calls from 8 threads", 1000000 / divisor, CallsFromEightThreads) && same;
    same = Endure("console sessions", 10000 / divisor, ConsoleSessions) && same;
    std::printf("updates pushed back: %ld\n", gUpdates.load());
    return same ? 0 : 1;
}
