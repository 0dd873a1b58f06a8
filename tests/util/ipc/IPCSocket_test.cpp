#include "util/ipc/IPCSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <thread>

#include "tests/support/support.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/IPCTCPSocket.h"
#include "util/ipc/IPCUnixSocket.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Thread.h"

namespace {
using SocketPtr = std::unique_ptr<IPCSocket>;

struct Tcp
{
    static SocketPtr Make() { return SocketPtr(new IPCTCPSocket("127.0.0.1", test::FreePort())); }
};

struct Unix
{
    static SocketPtr Make() { return SocketPtr(new IPCUnixSocket("./socket")); }
};

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

// One suite for both families: a listener, a caller and the accepted connection.
template <typename Family>
class IPCSocketTest : public testing::Test
{
protected:
    void SetUp() override
    {
        listener = Family::Make();
        ASSERT_GE(listener->Open(), 3);
        listener->SetServerOption();
        ASSERT_EQ(listener->Bind(), 0);
        ASSERT_EQ(listener->Listen(1), 0);
        caller.reset(listener->Duplicate());
        ASSERT_EQ(caller->GetStatus(), 2);
        ASSERT_GE(caller->Open(), 3);
        ASSERT_EQ(caller->GetStatus(), 0);
        ASSERT_EQ(caller->Connect(), 0);
        ASSERT_EQ(caller->GetStatus(), 1);
        ASSERT_EQ(listener->Select(3), 1);
        accepted.reset(listener->Accept());
        ASSERT_NE(accepted, nullptr);
    }

    SocketPtr listener;
    SocketPtr caller;
    SocketPtr accepted;
};

using Families = testing::Types<Tcp, Unix>;
TYPED_TEST_SUITE(IPCSocketTest, Families);

TYPED_TEST(IPCSocketTest, PeekSeesWhatReadReturns)
{
    IPCSocket& reader = *this->accepted;
    EXPECT_EQ(reader.Select(0), 0);
    EXPECT_EQ(reader.Select(-1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(this->caller->WriteBytes("none", -1), 0);
    ASSERT_EQ(this->caller->WriteBytes("abcdefgh", 8), 8);
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
    EXPECT_EQ(reader.Read(bytes, 3), 3);
    EXPECT_EQ(std::string(bytes, 3), "fgh");
    EXPECT_EQ(reader.Select(0), 0);
}

TYPED_TEST(IPCSocketTest, ConnectsOnlyOnce)
{
    const test::CapturedLog log;
    EXPECT_EQ(this->caller->Connect(), -1);
    EXPECT_EQ(errno, EISCONN);
    EXPECT_EQ(test::Count(log.Text(), "Socket Connect() Failed"), 1);
    EXPECT_EQ(this->caller->GetStatus(), 1);
}

TYPED_TEST(IPCSocketTest, ReadFillsTheWholeLengthHoweverItArrives)
{
    std::string sent(300000, '\0');
    std::iota(sent.begin(), sent.end(), '\0');
    std::thread writer([&] {
        std::size_t at = 0;
        for (const std::size_t piece : {1, 1023, 1024, 1025, 5, 200000}) {
            this->caller->Write(&sent[at], static_cast<int>(piece));
            at += piece;
        }
        this->caller->Write(&sent[at], static_cast<int>(sent.size() - at));
    });
    std::string got(sent.size(), 'x');
    const int lengths[] = {3, 2000, 1, 1024, 100000};
    int at = 0;
    for (const int length : lengths) {
        ASSERT_EQ(this->accepted->Read(&got[static_cast<std::size_t>(at)], length), length);
        at += length;
    }
    const int rest = static_cast<int>(sent.size()) - at;
    ASSERT_EQ(this->accepted->Read(&got[static_cast<std::size_t>(at)], rest), rest);
    writer.join();
    EXPECT_EQ(got, sent);
}

TYPED_TEST(IPCSocketTest, ReportsAPeerThatIsGone)
{
    this->caller->WriteBytes("ab", 2);
    this->caller.reset();
    char bytes[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(this->accepted->Select(3), 1);
    EXPECT_EQ(this->accepted->Read(bytes, 4), 2);
    EXPECT_EQ(std::string(bytes, 4), std::string("ab\0\0", 4));
    errno = EAGAIN;  // of an earlier call
    EXPECT_EQ(this->accepted->Select(3), 1);
    EXPECT_EQ(this->accepted->Peek(bytes, 4), 0);
    int result = 0;
    for (int round = 0; round < 3; ++round) {
        result = this->accepted->WriteBytes("late", 4);  // and no SIGPIPE
    }
    EXPECT_EQ(result, -1);
}

TYPED_TEST(IPCSocketTest, ShutdownWakesAReaderInAnotherThread)
{
    char byte = 0;
    int result = 99;
    std::atomic<int> tid{0};
    std::thread reader([&] {
        tid = Thread::GetTid();
        result = this->accepted->Read(&byte, 1);
    });
    EXPECT_TRUE(test::WaitUntil([&] { return tid != 0 && test::IsAsleep(tid); }));
    this->accepted->Shutdown();
    reader.join();
    EXPECT_EQ(result, 0);
}

TYPED_TEST(IPCSocketTest, SignalsDoNotEndAWait)
{
    static std::atomic<int> signals{0};
    struct sigaction action = {};
    action.sa_handler = [](int) { ++signals; };
    sigaction(SIGUSR1, &action, nullptr);  // without SA_RESTART
    signals = 0;
    int selected = -2;
    int read = -2;
    std::thread waiter([&] {
        char bytes[4];
        selected = this->accepted->Select(INT_MAX);
        read = this->accepted->Read(bytes, 4);
    });
    for (int round = 1; round <= 50; ++round) {
        pthread_kill(waiter.native_handle(), SIGUSR1);
        EXPECT_TRUE(test::WaitUntil([&] { return signals == round; }));
    }
    this->caller->WriteBytes("abcd", 4);
    waiter.join();
    EXPECT_EQ(selected, 1);
    EXPECT_EQ(read, 4);
}

TEST(IPCSocket, OperationsWithoutADescriptorFailAndSaySo)
{
    const test::CapturedLog log;
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
    EXPECT_EQ(test::Count(log.Text(), "No Defined Socket"), 8);
    EXPECT_EQ(socket.Close(), -1);
    EXPECT_EQ(test::Count(log.Text(), "Socket Close() Failed"), 1);
}

TEST(IPCSocket, OpensFailWhereThereIsNoDescriptor)
{
    if (test::kSanitized) {
        GTEST_SKIP() << "the sanitizers need descriptors of their own";
    }
    const test::CapturedLog log;
    IPCTCPSocket tcp("127.0.0.1", 1);
    IPCUnixSocket local("./socket");
    IPCSocketChannel channel("tv", "./send", "./receive");
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none = {0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(tcp.Open(), -1);
    EXPECT_EQ(local.Open(), -1);
    EXPECT_EQ(channel.Open(), -1);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(tcp.GetStatus(), 2);
    EXPECT_EQ(test::Count(log.Text(), "TCP Socket Open() Failed"), 1);
    EXPECT_EQ(test::Count(log.Text(), "Unix Socket Open() Failed ->"), 2);
    EXPECT_EQ(test::Count(log.Text(), "SendSocket Open Failure"), 1);
    EXPECT_EQ(channel.Open(), 0);
}

TEST(IPCSocket, FailuresLeaveErrnoBehind)
{
    Logger::ChangeMode(2);  // a file: the log line must not disturb errno either
    IPCTCPSocket closed("127.0.0.1", test::FreePort());
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
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<int> fillers;
    while (fillers.empty() || fillers.back() < 1100) {
        fillers.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_GE(fillers.back(), 0);
    }
    IPCTCPSocket listener("127.0.0.1", test::FreePort());
    const int descriptor = listener.Open();
    EXPECT_GT(descriptor, 1023);
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(listener.Bind(), 0);
    EXPECT_EQ(listener.Listen(1), 0);
    EXPECT_EQ(listener.Select(0), 0);
    const SocketPtr caller(listener.Duplicate());
    caller->Open();
    EXPECT_EQ(caller->Connect(), 0);
    EXPECT_EQ(listener.Select(3), 1);
    const SocketPtr accepted(listener.Accept());
    EXPECT_EQ(accepted->WriteBytes("x", 1), 1);
    EXPECT_EQ(caller->Select(3), 1);
    for (const int filler : fillers) {
        close(filler);
    }
}

TEST(IPCUnixSocket, ReplacesAStaleFileAndOpensItToEveryone)
{
    test::WriteFile("socket", "stale");
    IPCUnixSocket socket("socket");
    socket.Open();
    EXPECT_EQ(socket.Bind(), 0);
    struct stat node = {};
    ASSERT_EQ(lstat("socket", &node), 0);
    EXPECT_TRUE(S_ISSOCK(node.st_mode));
    EXPECT_EQ(node.st_mode & 0777, 0777u);
    // Bound already: refused, and the file that callers use stays.
    EXPECT_EQ(socket.Bind(), -1);
    EXPECT_EQ(lstat("socket", &node), 0);
}

TEST(IPCUnixSocket, ItsFileNeverAllowsMoreThanTheModeAskedFor)
{
    for (const mode_t mask : {0, 0777}) {
        const SocketPtr socket(IPCUnixSocket("narrow", 0660).Duplicate());
        const int descriptor = socket->Open();
        umask(mask);
        EXPECT_EQ(socket->Bind(), 0);
        struct stat bits = {};
        fstat(descriptor, &bits);  // what the file was made with
        EXPECT_EQ(bits.st_mode & 0777, 0660U);
        ASSERT_EQ(lstat("narrow", &bits), 0);
        EXPECT_EQ(bits.st_mode & 0777, 0660U);
    }
}

TEST(IPCUnixSocket, RefusesAPathThatDoesNotFit)
{
    IPCUnixSocket longest(std::string(107, 'p').c_str());
    EXPECT_GE(longest.Open(), 3);
    EXPECT_EQ(longest.Bind(), 0);
    const test::CapturedLog log;
    IPCUnixSocket tooLong(std::string(108, 'p').c_str());
    EXPECT_EQ(tooLong.Open(), -1);
    EXPECT_EQ(test::Count(log.Text(), "Unix Socket Open() Failed"), 1);
    IPCUnixSocket nobody("./nobody");
    nobody.Open();
    EXPECT_EQ(nobody.Connect(), -1);
    EXPECT_EQ(test::Count(log.Text(), "./nobody : No such file or directory -> Connect in"), 1);
}

TEST(IPCTCPSocket, TellsItsLife)
{
    const test::CapturedLog log;
    const SocketPtr socket(IPCTCPSocket("127.0.0.1", 1).Duplicate());
    const std::string descriptor = std::to_string(socket->Open());
    socket->SetServerOption();
    EXPECT_EQ(socket->Close(), 0);
    for (const std::string& line :
         {std::string("[LOG]:  -> Duplicate in (/IPCTCPSocket.cpp "),
          "[LOG]: SetServerOption returns " + descriptor + " 0 0 -> SetServerOption in ",
          "[LOG]: Socket is Closed : " + descriptor + " -> Close in "}) {
        EXPECT_EQ(test::Count(log.Text(), line), 1) << line;
    }
}

TEST(IPCTCPSocket, NeverConnectsToItself)
{
    // The system may choose the very port that is called for the calling side; here it must.
    test::UsePrivateNetwork();
    const char range[] = "/proc/sys/net/ipv4/ip_local_port_range";
    test::WriteFile(range, "56911 56911");
    if (test::ReadFile(range) != "56911\t56911\n") {
        GTEST_SKIP() << "no network of its own";
    }
    IPCTCPSocket caller("127.0.0.1", 56911);
    ASSERT_GE(caller.Open(), 3);
    caller.SetServerOption();
    EXPECT_EQ(caller.Connect(), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(caller.GetStatus(), 0);
    IPCTCPSocket listener("127.0.0.1", 56911);
    listener.Open();
    listener.SetServerOption();
    EXPECT_EQ(listener.Bind(), 0);
    EXPECT_EQ(listener.Listen(1), 0);
}

TEST(IPCTCPSocket, ListensOnItsAddressOnlyAndWithoutOneOnEveryInterface)
{
    for (const char* const address : {static_cast<const char*>(nullptr), "127.0.0.1"}) {
        const int port = test::FreePort();
        IPCTCPSocket listener(address, port);
        listener.Open();
        listener.SetServerOption();
        ASSERT_EQ(listener.Bind(), 0);
        ASSERT_EQ(listener.Listen(1), 0);
        IPCTCPSocket caller("127.0.0.9", port);
        caller.Open();
        EXPECT_EQ(caller.Connect(), address == nullptr ? 0 : -1);
    }
}
}  // namespace
