// A whole conversation between two channels, with each of its system calls failing once in each of
// its ways. Whatever fails, the process lives and the same two channels serve the next
// conversation.
#include "tests/faults/faults.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "tests/support/Background.h"
#include "tests/support/RawPeer.h"
#include "tests/support/Records.h"
#include "util/console/CmdMgr.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/IPCTCPSocket.h"
#include "util/os_linux/ExecShell.h"
#include "util/os_linux/FSUtil.h"
#include "util/os_linux/FilePath.h"
#include "util/os_linux/PartitionParser.h"
#include "util/os_linux/Thread.h"

namespace {
using namespace test;

struct Pair
{
    Pair()
    {
        server.Register("echo", Echo);
        client.SetReplyTimeout(150);
    }

    bool Answers(int number) { return Ask(client, "echo", {number}) == number; }

    // What a fault may spoil.
    void Converse()
    {
        server.Start();
        client.Open();
        IPCParam request;
        request.Add("text", "hello");
        const std::string block(5000, 'b');
        request.Add("block", block.data(), 5000);
        Answers(1);
        client.CallWithoutReturn("echo", &request);
        Answers(2);
        client.Reopen();
        server.Quit();
        server.Start();
        Answers(3);
        ExecShell shell;
        shell.ExecWait("true");
        PartitionParser partitions;
        partitions.Parse(false);
    }

    // What must work once nothing fails any more, as an integrator recovers: one side serves again
    // whenever its peer has gone, the other reopens until it is answered.
    bool Recover()
    {
        std::atomic<bool> answered{false};
        const Background serving([&] {
            for (int round = 1; !answered; ++round) {
                server.Start();
                usleep(2000);
                if (round % 250 == 0) {
                    server.Quit();  // a socket that could not listen is made anew
                    server.Close();
                }
            }
        });
        client.Open();
        const bool recovered = WaitUntil([&] {
            client.Reopen();
            return Answers(100);
        });
        answered = true;
        return recovered;
    }

    const int callPort = FreePort();
    const int backPort = FreePort();
    IPCSocketChannel server{"server", backPort, callPort};
    IPCSocketChannel client{"client", callPort, backPort};
};

// The console's server and one client of it.
class Console
{
public:
    Console()
    {
        mConsole.SetAddress("127.0.0.1");
        mConsole.SetTolerant(true);
    }

    void Converse()
    {
        mConsole.Start();
        WaitUntil([&] { return Talk(); }, kStartPatience);
        mConsole.Stop();
    }

    bool Recover()
    {
        return WaitUntil([&] {
            mConsole.Stop();
            mConsole.Start();
            return WaitUntil([&] { return Talk(); }, kStartPatience);
        });
    }

private:
    // Milliseconds for the console's thread to listen: an emulator on a busy machine takes its
    // time.
    static constexpr int kStartPatience = 1000;

    bool Talk() const
    {
        const RawPeer client = RawPeer::TryToConnect(mPort);
        const auto say = [&client](const std::string& line) {
            return client.Send("TAVI" + Number(static_cast<int>(line.size())) + line);
        };
        for (const char* line : {"START", "$a = 1 + 2", ""}) {
            if (!say(line) || client.Receive(13).size() != 13) {  // a prompt
                return false;
            }
        }
        // The server closes first, so that the port keeps what is left of the connection.
        return say("quit") && client.WaitClosed();
    }

    const int mPort = FreePort();
    CmdMgr& mConsole = *CmdMgr::GetInstance(mPort);
};

// A scan of a directory and a path taken apart.
class Files
{
public:
    void Converse() const { Recover(); }

    bool Recover() const
    {
        FilePath path("/a/b");
        tavi::Vector<FileCompareUnit*> entries;
        const bool scanned = FSUtil::ScanDir("/proc/self", entries, nullptr) == 0;
        if (scanned != (entries.Size() > 0)) {
            _exit(3);
        }
        for (int index = 0; index < entries.Size(); ++index) {
            std::free(entries.At(index)->mName);
            std::free(entries.At(index));
        }
        return scanned && std::string(path.GetLastItem()) == "b";
    }
};

#ifdef COUNTS_COVERAGE
extern "C" void __gcov_dump();  // GCC's own; _exit writes no counts
#endif

// Runs the action in a child process; how it ended, as waitpid reports it. A child that takes more
// than 20 seconds is ended by SIGALRM.
int InChild(const std::function<int()>& action)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        // An exception that leaves the action ends the process, as in a host that catches none.
        const int result = [&]() noexcept { return action(); }();
#ifdef COUNTS_COVERAGE
        __gcov_dump();
#endif
        _exit(result);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

// A conversation of which one call fails, and the one that must be served afterwards: 0 when it
// was. Without a number of the call, none fails: how often the call was made.
template <typename Subject>
int ConverseWithFault(const char* call, int nth, int error)
{
    return InChild([=] {
        Logger::ChangeMode(1);
        Subject subject;
        faults_arm(call, nth, error);
        subject.Converse();
        const int calls = faults_disarm();
        return nth < 0 ? std::min(calls, 60) : subject.Recover() ? 0 : 1;
    });
}

struct Fault
{
    const char* call;
    std::vector<int> errors;
};

void PrintTo(const Fault& fault, std::ostream* out)
{
    *out << fault.call;
}

template <typename Subject>
void FailEachCall(const Fault& fault)
{
    const int counted = ConverseWithFault<Subject>(fault.call, -1, 0);
    ASSERT_TRUE(WIFEXITED(counted)) << "without a fault: status " << counted;
    const int calls = WEXITSTATUS(counted);
    EXPECT_GT(calls, 0);
    for (int nth = 1; nth <= calls; ++nth) {
        for (const int error : fault.errors) {
            const CapturedStderr log;
            const int status = ConverseWithFault<Subject>(fault.call, nth, error);
            // Without memory the process may end, but as the language ends it.
            const bool aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
            EXPECT_TRUE(status == 0 || (aborted && fault.call == std::string("malloc")))
                << fault.call << " number " << nth << " of " << calls << " with error " << error
                << ": status " << status << "\n"
                << log.Text();
        }
    }
}

class Faults : public testing::TestWithParam<Fault>
{};

TEST_P(Faults, TheNextConversationIsServed)
{
    FailEachCall<Pair>(GetParam());
}

class ConsoleFaults : public Faults
{};

TEST_P(ConsoleFaults, TheNextClientIsServed)
{
    FailEachCall<Console>(GetParam());
}

TEST(FileFaults, MemoryMayRunOut)
{
    FailEachCall<Files>({"malloc", {ENOMEM}});
}

// Fixed for users; the channel receives the rest of a large frame with one call.
TEST(SocketCalls, ReadTakesAtMost1024BytesWithEach)
{
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    IPCSocket reader(pair[0]);
    IPCSocket writer(pair[1]);
    const std::string bytes(3000, 'b');
    ASSERT_EQ(writer.WriteBytes(bytes.data(), 3000), 3000);
    std::string got(3000, '\0');
    faults_arm("recv", -1, 0);
    EXPECT_EQ(reader.Read(&got[0], 3000), 3000);
    EXPECT_GE(faults_disarm(), 3);
    EXPECT_EQ(got, bytes);
}

// What was left in errno is not taken for its own.
TEST(SocketCalls, AWaitWithoutAnEventEndsAndSoDoesAFailedAccept)
{
    IPCTCPSocket listener("127.0.0.1", FreePort());
    ASSERT_GE(listener.Open(), 0);
    ASSERT_EQ(listener.Bind(), 0);
    ASSERT_EQ(listener.Listen(1), 0);
    errno = EINTR;
    EXPECT_GE(Milliseconds([&] { EXPECT_EQ(listener.Select(1), 0); }), 1000);
    const CapturedLog log;
    faults_arm("accept4", 1, EMFILE);
    EXPECT_EQ(listener.Accept(), nullptr);
    faults_disarm();
    EXPECT_EQ(log.Count("Socket Accept() Failed"), 1);
}

// A channel tells of each call that fails it, and serves later.
TEST(ChannelFaults, AreToldAndLeaveItUsable)
{
    const CapturedLog log;
    const int port = FreePort();
    IPCSocketChannel channel("tv", FreePort(), port);
    channel.Register("echo", Echo);
    const auto refused = [&](const char* call, int nth, int error, auto&& action,
                             const char* line) {
        faults_arm(call, nth, error);
        action();
        EXPECT_TRUE(WaitUntil([&] { return !channel.IsRunning(); })) << call;
        faults_disarm();
        EXPECT_EQ(log.Count(line), 1) << line;
    };
    const auto open = [&] { EXPECT_EQ(channel.Open(), -1); };
    const auto bind = [&] { channel.Bind(); };
    const auto start = [&] { channel.Start(); };
    refused("socket", 1, EMFILE, open, "SendSocket Open Failure");
    refused("socket", 2, EMFILE, open, "RecvSocket Open Failure");
    EXPECT_EQ(channel.Open(), 0);
    refused("listen", 1, EADDRINUSE, bind, "Listen Failed");
    faults_arm("socket", 1, EMFILE);
    channel.Reopen();
    faults_disarm();
    EXPECT_EQ(channel.Open(), -1) << "it is open, without the one to send";
    EXPECT_EQ(channel.Close(), -1);
    EXPECT_EQ(log.Count("SendSocket Close Failure"), 1);
    channel.Reopen();
    refused("pthread_create", 1, EAGAIN, start, "Serving thread of tv can not be started");
    refused("eventfd", 1, EMFILE, start, "No event for tv : Too many open files");
    channel.Start();
    EXPECT_EQ(Ask(channel), -1) << "nobody is there";
    const RawPeer peer = RawPeer::Connect(port);
    EXPECT_TRUE(peer.Send(Frame("echo", EmptyRecord())));
    EXPECT_EQ(peer.ReceiveFrame(), EmptyReply());
    channel.Quit();
    EXPECT_EQ(channel.Close(), 0);
    EXPECT_EQ(channel.Close(), -1);
    EXPECT_EQ(log.Count("Socket Channel is Already Closed"), 1);
}

TEST(ThreadFaults, AFailedStartLeavesNoHandle)
{
    Thread thread("worker", nullptr, false, 0);
    ASSERT_EQ(thread.Start(nullptr), 0);
    ASSERT_TRUE(WaitUntil([&] { return thread.GetStatus() == Thread::kExited; }));
    faults_arm("pthread_create", 1, EAGAIN);
    EXPECT_EQ(thread.Start(nullptr), -1);
    faults_disarm();
    EXPECT_EQ(thread.GetThreadHandle(), 0U) << "it is soon another thread's";
    EXPECT_EQ(thread.Kill(), -1);
    EXPECT_EQ(thread.Start(nullptr), 0);
    while (thread.Join() != 0) {}
}

TEST(LoggerFaults, AnInterruptedConnectIsMadeAgain)
{
    const RawListener listener("./log.socket");
    char setting[] = "outpath=./log.socket";
    Logger::GetLogger(0)->ParseConfig(setting);
    faults_arm("connect", 1, EINTR);
    Logger::ChangeMode(4);
    faults_disarm();
    Logger_Print(0, 0, 1, "F", "f", 1, "text");
    EXPECT_EQ(listener.Accept().Receive(4), "text");
}

const auto kNameOf = testing::PrintToStringParamName();
const Fault kOfBoth[] = {{"socket", {EMFILE, ENOMEM}},
                         {"bind", {EADDRINUSE, EACCES}},
                         {"listen", {EADDRINUSE}},
                         {"accept4", {EINTR, ECONNABORTED, EMFILE, ENOMEM}},
                         {"connect", {EINTR, ECONNREFUSED, ENOMEM}},
                         {"setsockopt", {ENOMEM}},
                         {"recv", {EINTR, EAGAIN, ECONNRESET, ENOMEM, 0}},
                         {"send", {EINTR, EAGAIN, EPIPE, ECONNRESET, ENOMEM, 0}},
                         {"write", {EINTR, EAGAIN, ENOSPC, EPIPE, 0}},
                         {"pthread_create", {EAGAIN}},
                         {"malloc", {ENOMEM}}};
INSTANTIATE_TEST_SUITE_P(Calls, Faults, testing::ValuesIn(kOfBoth), kNameOf);
INSTANTIATE_TEST_SUITE_P(Calls, ConsoleFaults, testing::ValuesIn(kOfBoth), kNameOf);
INSTANTIATE_TEST_SUITE_P(Processes, Faults,
                         testing::Values(Fault{"sendmsg", {EINTR, EAGAIN, EPIPE, ENOMEM, 0}},
                                         Fault{"fork", {EAGAIN, ENOMEM}},
                                         Fault{"eventfd", {EMFILE, ENOMEM}},
                                         Fault{"open", {EINTR, EMFILE, EACCES}}),
                         kNameOf);
INSTANTIATE_TEST_SUITE_P(Waits, ConsoleFaults, testing::Values(Fault{"poll", {EINTR, ENOMEM}}),
                         kNameOf);

// A listener that served without it would keep its port from the next one for a minute.
TEST(ConsoleOpening, FailsWhereTheAddressCanNotBeReused)
{
    const int status = InChild([] {
        CmdMgr& console = *CmdMgr::GetInstance(FreePort());
        faults_arm("setsockopt", 1, ENOMEM);
        return console.Open() == -1 ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

// The process is interrupted every 200 microseconds through its calls.
TEST(SignalStorm, DisturbsNoCall)
{
    Pair pair;
    pair.server.Start();
    pair.client.Open();
    pair.client.SetReplyTimeout(10000);
    const Interruptions storm(200);
    for (int number = 0; number < 2000; ++number) {
        EXPECT_TRUE(pair.Answers(number));
    }
}
}  // namespace
