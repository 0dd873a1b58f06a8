#include "util/ipc/IPCSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <memory>
#include <numeric>
#include <vector>

#include "tests/support/Background.h"
#include "util/ipc/IPCTCPSocket.h"
#include "util/ipc/IPCUnixSocket.h"

namespace {
using namespace test;

using SocketPtr = std::unique_ptr<IPCSocket>;

// A host's own, of which only the size of what is written is seen.
class Overriding : public IPCTCPSocket
{
public:
    using IPCTCPSocket::IPCTCPSocket;
    int Write(void*, int length) override { return -length; }
};

TEST(IPCSocket, ConstDataIsWrittenByTheOverride)
{
    EXPECT_EQ(Overriding("127.0.0.1", 1).WriteBytes("abc", 3), -3);
}

// Opens, binds and listens; the descriptor.
int MakeListener(IPCSocket& socket)
{
    const int descriptor = socket.Open();
    socket.SetServerOption();
    EXPECT_EQ(socket.Bind(), 0);
    EXPECT_EQ(socket.Listen(1), 0);
    return descriptor;
}

mode_t ModeOf(const char* path)
{
    struct stat file = {};
    EXPECT_EQ(lstat(path, &file), 0);
    return file.st_mode;
}

void LimitDescriptors(rlim_t count)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, count);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

// For both families, whether by TCP or not: a listener, a caller and the accepted connection.
class IPCSocketTest : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        ASSERT_GE(MakeListener(*listener), 3);
        ASSERT_EQ(caller->GetStatus(), 2);
        ASSERT_GE(caller->Open(), 3);
        ASSERT_EQ(caller->GetStatus(), 0);
        ASSERT_EQ(caller->Connect(), 0);
        ASSERT_EQ(caller->GetStatus(), 1);
        ASSERT_EQ(listener->Select(3), 1);
        accepted.reset(listener->Accept());
        ASSERT_NE(accepted, nullptr);
    }

    const SocketPtr listener{
        GetParam() ? static_cast<IPCSocket*>(new IPCTCPSocket("127.0.0.1", FreePort()))
                   : new IPCUnixSocket("./socket")};
    SocketPtr caller{listener->Duplicate()};
    SocketPtr accepted;
};

INSTANTIATE_TEST_SUITE_P(TcpAndUnix, IPCSocketTest, testing::Bool());

TEST_P(IPCSocketTest, PeekSeesWhatReadReturns)
{
    IPCSocket& reader = *accepted;
    EXPECT_EQ(reader.Select(0), 0);
    EXPECT_EQ(reader.Select(-1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(caller->WriteBytes("none", -1), 0);
    ASSERT_EQ(caller->WriteBytes("abcdefgh", 8), 8);
    EXPECT_EQ(reader.Select(3), 1);
    char bytes[9] = "--------";
    EXPECT_EQ(reader.Peek(bytes, 0), 0);
    EXPECT_EQ(reader.Peek(bytes, 3), 3);
    EXPECT_EQ(std::string(bytes, 3), "abc");
    EXPECT_EQ(reader.Peek(bytes, 9), 8);
    EXPECT_EQ(reader.Read(bytes, 0), 0);
    EXPECT_EQ(reader.Read(bytes, 5), 5);
    EXPECT_EQ(std::string(bytes, 5), "abcde");
    EXPECT_EQ(reader.Select(3), 1);
    ASSERT_EQ(caller->WriteBytes("ij", 2), 2);
    // Of what was received before and of what was not, which may take a moment to arrive.
    EXPECT_TRUE(WaitUntil([&] { return reader.Peek(bytes, 9) == 5; }));
    EXPECT_EQ(reader.Read(bytes, 5), 5);
    EXPECT_EQ(std::string(bytes, 5), "fghij");
    EXPECT_EQ(reader.Select(0), 0);
}

TEST_P(IPCSocketTest, ConnectsOnlyOnce)
{
    const CapturedLog log;
    EXPECT_EQ(caller->Connect(), -1);
    EXPECT_EQ(errno, EISCONN);
    EXPECT_EQ(log.Count("Socket Connect() Failed"), 1);
    EXPECT_EQ(caller->GetStatus(), 1);
}

TEST_P(IPCSocketTest, ReadFillsTheWholeLengthHoweverItArrives)
{
    std::string sent(300000, '\0');
    std::iota(sent.begin(), sent.end(), '\0');
    const Background writer([&] {
        std::size_t at = 0;
        for (const int piece : {1, 1023, 1024, 1025, 5, 200000, 96922}) {
            caller->Write(&sent[at], piece);
            at += static_cast<std::size_t>(piece);
        }
    });
    std::string got;
    for (const int length : {3, 2000, 1, 1024, 100000, 196972}) {
        std::string part(static_cast<std::size_t>(length), 'x');
        ASSERT_EQ(accepted->Read(&part[0], length), length);
        got += part;
    }
    EXPECT_TRUE(got == sent);
}

TEST_P(IPCSocketTest, ReportsAPeerThatIsGone)
{
    caller->WriteBytes("ab", 2);
    caller.reset();
    char bytes[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(accepted->Select(3), 1);
    EXPECT_EQ(accepted->Read(bytes, 4), 2);
    EXPECT_EQ(std::string(bytes, 4), std::string("ab\0\0", 4));
    errno = EAGAIN;  // of an earlier call
    EXPECT_EQ(accepted->Select(3), 1);
    EXPECT_EQ(accepted->Peek(bytes, 4), 0);
    int result = 0;
    for (int round = 0; round < 3; ++round) {
        result = accepted->WriteBytes("late", 4);  // and no SIGPIPE
    }
    EXPECT_EQ(result, -1);
}

TEST_P(IPCSocketTest, ShutdownWakesAReaderInAnotherThread)
{
    char byte = 0;
    const Background reader([&] { EXPECT_EQ(accepted->Read(&byte, 1), 0); });
    EXPECT_TRUE(reader.Waits());
    accepted->Shutdown();
}

TEST_P(IPCSocketTest, SignalsDoNotEndAWait)
{
    static std::atomic<int> signals{0};
    HandleSignal(SIGUSR1, [](int) { ++signals; });
    signals = 0;
    Background waiter([&] {
        char bytes[4];
        EXPECT_EQ(accepted->Select(INT_MAX), 1);
        EXPECT_EQ(accepted->Read(bytes, 4), 4);
    });
    for (int round = 1; round <= 50; ++round) {
        waiter.Signal(SIGUSR1);
        EXPECT_TRUE(WaitUntil([&] { return signals == round; }));
    }
    caller->WriteBytes("abcd", 4);
}

TEST(IPCSocket, OperationsWithoutADescriptorFailAndSaySo)
{
    const CapturedLog log;
    IPCTCPSocket socket("127.0.0.1", 1);
    char bytes[4];
    socket.SetServerOption();
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(socket.Bind(), -1);
    EXPECT_EQ(socket.Listen(1), -1);
    EXPECT_EQ(socket.Accept(), nullptr);
    EXPECT_EQ(socket.Connect(), -1);
    EXPECT_EQ(socket.Select(1), -1);
    EXPECT_EQ(socket.Write(bytes, 4), -1);
    EXPECT_EQ(socket.Read(bytes, 4), -1);
    EXPECT_EQ(socket.Peek(bytes, 4), 0);
    EXPECT_EQ(log.Count("No Defined Socket"), 8);
    EXPECT_EQ(socket.Close(), -1);
    EXPECT_EQ(log.Count("Socket Close() Failed"), 1);
}

TEST(IPCSocket, OpensFailWhereThereIsNoDescriptor)
{
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers need descriptors of their own";
    }
    const CapturedLog log;
    IPCTCPSocket tcp("127.0.0.1", 1);
    IPCUnixSocket local("./socket");
    LimitDescriptors(0);
    EXPECT_EQ(tcp.Open(), -1);
    EXPECT_EQ(local.Open(), -1);
    LimitDescriptors(1024);
    EXPECT_EQ(tcp.GetStatus(), 2);
    EXPECT_EQ(log.Count("TCP Socket Open() Failed"), 1);
    EXPECT_EQ(log.Count("Unix Socket Open() Failed ->"), 1);
}

TEST(IPCSocket, FailuresLeaveErrnoBehind)
{
    Logger::ChangeMode(2);  // a file: the log line must not disturb errno either
    IPCTCPSocket closed("127.0.0.1", FreePort());
    closed.Open();
    EXPECT_EQ(closed.Connect(), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    IPCTCPSocket foreign("192.0.2.1", 1);
    foreign.Open();
    EXPECT_EQ(foreign.Bind(), -1);
    EXPECT_EQ(errno, EADDRNOTAVAIL);
}

TEST(IPCSocket, DescriptorsAreCloseOnExecAndMayLieAbove1023)
{
    LimitDescriptors(4096);
    std::vector<int> fillers;
    while (fillers.empty() || fillers.back() < 1100) {
        fillers.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_GE(fillers.back(), 0);
    }
    IPCTCPSocket listener("127.0.0.1", FreePort());
    const int descriptor = MakeListener(listener);
    EXPECT_GT(descriptor, 1023);
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(listener.Select(0), 0);
    const SocketPtr caller(listener.Duplicate());
    caller->Open();
    EXPECT_EQ(caller->Connect(), 0);
    EXPECT_EQ(listener.Select(3), 1);
    const SocketPtr accepted(listener.Accept());
    EXPECT_EQ(accepted->WriteBytes("x", 1), 1);
    EXPECT_EQ(caller->Select(3), 1);
}

TEST(IPCUnixSocket, ReplacesAStaleFileAndOpensItToEveryone)
{
    WriteFile("socket", "stale");
    IPCUnixSocket socket("socket");
    socket.Open();
    EXPECT_EQ(socket.Bind(), 0);
    EXPECT_EQ(ModeOf("socket"), S_IFSOCK | 0777U);
    // Bound already: refused, and the file that callers use stays.
    EXPECT_EQ(socket.Bind(), -1);
    EXPECT_EQ(ModeOf("socket"), S_IFSOCK | 0777U);
}

TEST(IPCUnixSocket, ItsFileNeverAllowsMoreThanTheModeAskedFor)
{
    for (const mode_t mask : {0, 0777}) {
        const SocketPtr socket(IPCUnixSocket("narrow", 0660).Duplicate());
        const int descriptor = socket->Open();
        umask(mask);
        EXPECT_EQ(socket->Bind(), 0);
        struct stat made = {};
        fstat(descriptor, &made);  // what the file was made with
        EXPECT_EQ(made.st_mode & 0777, 0660U);
        EXPECT_EQ(ModeOf("narrow"), S_IFSOCK | 0660U);
    }
}

TEST(IPCUnixSocket, RefusesAPathThatDoesNotFit)
{
    IPCUnixSocket longest(std::string(107, 'p').c_str());
    EXPECT_GE(longest.Open(), 3);
    EXPECT_EQ(longest.Bind(), 0);
    const CapturedLog log;
    IPCUnixSocket tooLong(std::string(108, 'p').c_str());
    EXPECT_EQ(tooLong.Open(), -1);
    EXPECT_EQ(log.Count("Unix Socket Open() Failed, no path or one of 108 bytes or more"), 1);
    IPCUnixSocket nobody("./nobody");
    nobody.Open();
    EXPECT_EQ(nobody.Connect(), -1);
    EXPECT_EQ(log.Count("./nobody : No such file or directory -> Connect in"), 1);
}

TEST(IPCTCPSocket, TellsItsLife)
{
    const CapturedLog log;
    const SocketPtr socket(IPCTCPSocket("127.0.0.1", 1).Duplicate());
    const std::string descriptor = std::to_string(socket->Open());
    socket->SetServerOption();
    EXPECT_EQ(socket->Close(), 0);
    for (const std::string& line :
         {std::string("[LOG]:  -> Duplicate in (/IPCTCPSocket.cpp "),
          "[LOG]: SetServerOption returns " + descriptor + " 0 0 -> SetServerOption in ",
          "[LOG]: Socket is Closed : " + descriptor + " -> Close in "}) {
        EXPECT_EQ(log.Count(line), 1) << line;
    }
}

TEST(IPCTCPSocket, NeverConnectsToItself)
{
    // The system may choose the very port that is called for the calling side; here it must.
    UsePrivateNetwork();
    const char range[] = "/proc/sys/net/ipv4/ip_local_port_range";
    const std::string usual = ReadFile(range);
    WriteFile(range, "56911 56911");
    if (ReadFile(range) != "56911\t56911\n") {
        GTEST_SKIP() << "no network of its own";
    }
    IPCTCPSocket caller("127.0.0.1", 56911);
    ASSERT_GE(caller.Open(), 3);
    caller.SetServerOption();
    EXPECT_EQ(caller.Connect(), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(caller.GetStatus(), 0);
    IPCTCPSocket listener("127.0.0.1", 56911);
    MakeListener(listener);
    WriteFile(range, usual);
    EXPECT_EQ(caller.Connect(), 0) << "the socket is as new";
}

TEST(IPCTCPSocket, ListensOnItsAddressOnlyAndWithoutOneOnEveryInterface)
{
    for (const char* const address : {static_cast<const char*>(nullptr), "127.0.0.1"}) {
        const int port = FreePort();
        IPCTCPSocket listener(address, port);
        MakeListener(listener);
        IPCTCPSocket caller("127.0.0.9", port);
        caller.Open();
        EXPECT_EQ(caller.Connect(), address == nullptr ? 0 : -1);
    }
}
}  // namespace
