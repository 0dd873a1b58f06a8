// The console's server: its life, its settings, its clients, good and hostile.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/support.h"
#include "tests/util/console/ConsoleClient.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
using test::ConsoleClient;
using test::ConsoleFrame;
using test::RawListener;
using test::RawPeer;
using test::RunningConsole;

CmdMgr& Console()
{
    return *CmdMgr::GetInstance(0);
}

// Runs the console's loop on a thread of the test's own, to see it end.
class Loop
{
public:
    Loop()
        : mThread([this] {
              CmdMgr::ThreadLoop(&Console());
              mEnded = true;
          })
    {}
    ~Loop()
    {
        Console().Stop();
        mThread.join();
    }
    bool Ends() const
    {
        return test::WaitUntil([this] { return mEnded.load(); });
    }

private:
    std::atomic<bool> mEnded{false};
    std::thread mThread;
};

TEST(CmdMgr, AnswersEveryLineWithOnePrompt)
{
    // A key counts at the very start only, in any case; the last one wins.
    RunningConsole console(
        "# port=1\n\n port=1\nMODE=0\nmode=1\t\t\n\tmode=0\nADDRESS=127.0.0.1 \r\n");
    EXPECT_FALSE(RawPeer::TryToConnect(console.Port(), "127.0.0.2").IsOpen()) << "not its address";
    ConsoleClient client(console.Port());
    for (const char byte : ConsoleFrame("START")) {  // in the smallest pieces
        ASSERT_TRUE(client.Send(std::string(1, byte)));
    }
    EXPECT_TRUE(client.ReadPrompt());
    for (const char* line : {"", "  ", "# comment", "INT n 3", "unknown", "PRINT", "END",
                             "x =", "FILE none", "BREAK", "PRINT n\n"}) {
        EXPECT_TRUE(client.Run(line)) << line;
    }
    // A block is one statement: its one prompt follows its END.
    EXPECT_TRUE(client.Send(ConsoleFrame("FOR 1 2 1")));
    EXPECT_TRUE(client.Send(ConsoleFrame("PRINT \"in block\"")));
    EXPECT_FALSE(client.HasInput(50));
    EXPECT_TRUE(client.Run("END"));
    EXPECT_TRUE(client.Run(std::string(1023, 'x')));
    EXPECT_FALSE(client.HasInput(50)) << "nothing but prompts is ever sent";
    EXPECT_TRUE(client.Send(ConsoleFrame("quit")));
    EXPECT_TRUE(client.WaitClosed());
    EXPECT_EQ(console.Output(), "3\nin block\nin block\n");
}

TEST(CmdMgr, StopsAndStartsAgain)
{
    RunningConsole console;
    ConsoleClient waiting(console.Port());
    ASSERT_TRUE(waiting.Start());
    EXPECT_EQ(Console().Start(), -1) << "it runs already";
    SymListMgr& symbols = *SymListMgr::GetInstance();
    symbols.RegisterSymbol("turns", "0", SymInfo::kInt, false);
    for (const std::string line : {"", "SLEEP 100000", "FOR 1 1 0\nturns = turns + 1\nSLEEP 1\nEND",
                                   "WHILE 1 == 1\nturns = turns + 1\nEND", "FILE loop.txt"}) {
        test::WriteFile("loop.txt", "FOR 1 1 0\nturns = turns + 1\nFILE none\nEND\nSLEEP 100000\n");
        const bool loops = test::Count(line, "END") + test::Count(line, "FILE") > 0;
        symbols.SetValue("turns", "0");
        ConsoleClient client(console.Port());
        waiting.Close();
        ASSERT_TRUE(client.Start()) << line;
        for (const std::string& part : test::Lines(line)) {
            client.Send(ConsoleFrame(part));
        }
        ASSERT_TRUE(test::WaitUntil([&] { return !loops || symbols.GetIntValue("turns") > 0; }));
        const auto begin = std::chrono::steady_clock::now();
        Console().Stop();
        ASSERT_TRUE(client.WaitClosed()) << line;
        EXPECT_EQ(Console().Start(), 0) << line;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    }
    EXPECT_TRUE(console.ServesNextClient());
    Console().Stop();  // while it waits for a client
    EXPECT_EQ(Console().Start(), 0);
    EXPECT_TRUE(console.ServesNextClient());
}

int HangUp(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/)
{
    Console().Close();
    return 0;
}

TEST(CmdMgr, TakesClientsOneAfterTheOther)
{
    const CmdParser command("hang_up");
    CmdListMgr::GetInstance()->RegisterCommand(HangUp, &command, nullptr, nullptr);
    RunningConsole console;
    const ConsoleClient first(console.Port());
    ASSERT_TRUE(first.Start());
    std::array<std::unique_ptr<ConsoleClient>, 3> waiting;
    for (auto& client : waiting) {
        client = std::make_unique<ConsoleClient>(console.Port());
        ASSERT_TRUE(client->Send(ConsoleFrame("STARTUP") + ConsoleFrame("PRINT waited")));
    }
    EXPECT_FALSE(waiting[0]->HasInput(20));
    EXPECT_TRUE(first.Run("PRINT first"));
    first.Send(ConsoleFrame("quit"));
    EXPECT_TRUE(first.WaitClosed());
    for (auto& client : waiting) {
        EXPECT_TRUE(client->ReadPrompt());
        EXPECT_TRUE(client->ReadPrompt());
        client->Close();  // gone without a word
    }
    const ConsoleClient last(console.Port());
    ASSERT_TRUE(last.Start());
    last.Send(ConsoleFrame("hang_up"));
    EXPECT_TRUE(last.WaitClosed());
    EXPECT_TRUE(console.ServesNextClient());
    EXPECT_EQ(console.Output(), "first\nwaited\nwaited\nwaited\nserved\n");
}

TEST(CmdMgr, FailsToOpenWithAReport)
{
    const int port = test::FreePort();
    const RawListener holder(port);
    CmdMgr& console = Console();
    console.ParseConfig(("port=" + std::to_string(port)).c_str());
    const std::vector<std::vector<const char*>> cases = {
        {}, {"port=65536"}, {"port=0", "address=not an address"}, {"mode=2"}};
    for (const std::vector<const char*>& settings : cases) {
        for (const char* setting : settings) {
            console.ParseConfig(setting);
        }
        testing::internal::CaptureStdout();
        EXPECT_EQ(console.Open(), -1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  settings == cases.back() ? "" : "Bind Error\n");
    }
    test::WriteFile("script.txt", "IF 1 == 1\nPRINT run\nEND\n");
    CmdParser file("FILE script.txt");
    char result[CmdMgr::kResultSize];
    testing::internal::CaptureStdout();
    EXPECT_EQ(console.CmdExecute(&file, result), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "run\n") << "a script needs no client";
    char line[CmdMgr::kLineSize];
    EXPECT_EQ(console.GetLine(line), -1);
    EXPECT_EQ(console.SetLine("x"), -1);
    EXPECT_EQ(console.SendResult("x"), 0);
}

TEST(Linger, EndsWhatRunsForAClientThatHasLeft)
{
    const RunningConsole console("linger=1\n");
    for (const std::string statement : {"SLEEP 100000", "WHILE 1 == 1\nEND"}) {
        ConsoleClient client(console.Port());
        ASSERT_TRUE(client.Start()) << statement;
        for (const std::string& line : test::Lines(statement)) {
            client.Send(ConsoleFrame(line));
        }
        EXPECT_FALSE(client.HasInput(150)) << statement << " goes on while its client is there";
        const auto begin = std::chrono::steady_clock::now();
        client.Close();
        EXPECT_TRUE(console.ServesNextClient()) << statement;
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
    }
}

TEST(Linger, RunsWithinItsTimeWhatTheClientSentBefore)
{
    for (const char* const linger : {"", "linger=-1\n", "LINGER=0\n"}) {
        RunningConsole console(linger);
        {
            ConsoleClient client(console.Port());
            ASSERT_TRUE(client.Start());
            client.Send(ConsoleFrame("SLEEP 250") + ConsoleFrame("PRINT late"));
        }
        EXPECT_TRUE(console.ServesNextClient());
        const bool cut = std::string(linger) == "LINGER=0\n";
        EXPECT_EQ(console.Output(), cut ? "served\n" : "late\nserved\n") << linger;
        Console().SetLinger(10);
    }
}

TEST(Verbose, TellsOfWhatFailedOrNamedNothing)
{
    test::WriteFile("wrong.txt", "PRINT right\ntun 7\n");
    RunningConsole console("verbose=1\n");
    const ConsoleClient client(console.Port());
    ASSERT_TRUE(client.Start());
    for (const char* const line :
         {"INT n 3", "n = 4", "n = n + 1", "n = n / 0", "FREE nobody", "FILE none", "FILE\r\n",
          "FILE wrong.txt", "m = 5", "m = thread_shaw all", "END", "# nothing", ""}) {
        EXPECT_TRUE(client.Run(line)) << line;
    }
    for (const char* const line : {"IF 1 == 1", "m = n + 1", "WHILE 1", "SLEEP 1", "END", "END"}) {
        client.Send(ConsoleFrame(line));
    }
    EXPECT_TRUE(client.ReadPrompt());
    EXPECT_EQ(console.Output(),
              "n = n / 0 -> -1 argument fail\nFREE nobody -> -1\n"
              "FILE none -> -1 Can not find file\nFILE -> -1 argument fail\n"
              "right\ntun 7 -> 0 no such command\nm = 5 -> 0 not assigned\n"
              "m = thread_shaw all -> 0 no such command\n"
              "END -> 0 no such command\n"
              "m = n + 1 -> 0 not assigned\nWHILE 1 -> -1 argument fail\n");
    Console().SetVerbose(false);
}

// What the console's loop writes when the text is its standard input.
std::string OutputFor(const std::string& text)
{
    test::WriteFile("input.txt", text);
    const int original = dup(STDIN_FILENO);
    const int file = open("input.txt", O_RDONLY | O_CLOEXEC);
    dup2(file, STDIN_FILENO);
    close(file);
    testing::internal::CaptureStdout();
    Console().ParseConfig("MODE=0");
    {
        const Loop loop;
        EXPECT_TRUE(loop.Ends());
    }
    dup2(original, STDIN_FILENO);
    close(original);
    return testing::internal::GetCapturedStdout();
}

TEST(CmdMgr, UsesTheStandardStreamsAndEndsWithThem)
{
    EXPECT_EQ(OutputFor("INT n 2\nFOR 1 n 1\nPRINT \"line\"\nEND\nquit\nPRINT n\nPRINT end"),
              "\nCMD>\nCMD>line\nline\n\nCMD>\nCMD>2\n\nCMD>end\n\nCMD>");
    EXPECT_EQ(OutputFor("FOR 1 2 1\nPRINT never\n"), "\nCMD>\nCMD>");
}

TEST(CmdMgr, AbandonsABlockWhenItsLinesEnd)
{
    RunningConsole console;
    for (const std::string& bad : {std::string(), std::string("wxyz")}) {
        const ConsoleClient client(console.Port());
        ASSERT_TRUE(client.Start());
        client.Send(ConsoleFrame("IF 1 == 1") + ConsoleFrame("PRINT never") + bad);
        if (!bad.empty()) {
            EXPECT_TRUE(client.ReadPrompt()) << "the dropped line ends the block";
            EXPECT_TRUE(client.Run("END"));
        }
    }
    EXPECT_TRUE(console.ServesNextClient());
    EXPECT_EQ(console.Output(), "served\n");
}

TEST(Hostile, FramesAreDroppedAndTheConnectionGoesOn)
{
    const std::string line = "PRINT longest" + std::string(1010, ' ');
    const std::string longLine = "PRINT never" + std::string(1013, ' ');
    const struct
    {
        const char* name;
        std::string bytes;
        int prompts;  // that answer the bytes
    } cases[] = {
        {"length 0", ConsoleFrame(""), 1},
        {"length 1023", ConsoleFrame(line), 1},
        {"length 1024", ConsoleFrame(longLine), 1},
        {"length 2^32-1, some of it", ConsoleFrame(longLine, 0xFFFFFFFFU), 1},
        {"wrong magic", "tavi", 1},
        {"wrong magic with length and text", "XAVI" + ConsoleFrame("text").substr(4), 3},
        {"text that stays away", ConsoleFrame("PRIN", 9), 1},
        {"garbage, and a part of a magic", "\xff\n\nGET / HTTP/1.1\r\nTA", 6},
        {"zeros in the text", ConsoleFrame(std::string("PRINT\0PRINT never", 17)), 1},
    };
    RunningConsole console;
    for (const auto& hostile : cases) {
        SCOPED_TRACE(hostile.name);
        ConsoleClient client(console.Port());
        ASSERT_TRUE(client.Start());
        ASSERT_TRUE(client.Send(hostile.bytes));
        for (int count = 0; count < hostile.prompts; ++count) {
            EXPECT_TRUE(client.ReadPrompt());
        }
        EXPECT_TRUE(client.Run("INT n")) << "the next frame is understood";
        EXPECT_FALSE(client.HasInput(0));
    }
    EXPECT_TRUE(console.ServesNextClient());
    EXPECT_EQ(console.Output(), "longest\nserved\n");
}

TEST(Hostile, ClientsThatTakeNoPromptsAreGivenUp)
{
    RunningConsole console;
    {
        ConsoleClient client(console.Port());
        ASSERT_TRUE(client.Start());
        std::string lines;
        for (int count = 0; count < 10000; ++count) {
            lines += ConsoleFrame("");
        }
        while (client.Send(lines)) {}  // until the server reads no more and closes
        ConsoleClient next(console.Port());
        EXPECT_TRUE(next.Start());
    }
    EXPECT_TRUE(console.ServesNextClient());
}

TEST(Handshake, RefusesAllButStart)
{
    const struct
    {
        std::string bytes;
        const char* output;
    } cases[] = {
        {ConsoleFrame("start"), "START FAIL\n"},
        {ConsoleFrame("STAR"), "START FAIL\n"},
        {ConsoleFrame(""), "START FAIL\n"},
        {"GET /", ""},
        {ConsoleFrame("", 1024), ""},
        {"", ""},
    };
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.bytes);
        const int port = test::FreePort();
        Console().ParseConfig(("port=" + std::to_string(port)).c_str());
        testing::internal::CaptureStdout();
        {
            const Loop loop;
            ConsoleClient client(port);
            client.Send(bad.bytes);
            client.EndSending();
            EXPECT_TRUE(client.WaitClosed());
            EXPECT_TRUE(loop.Ends()) << "the opening fails, and the console ends";
        }
        EXPECT_EQ(testing::internal::GetCapturedStdout(), bad.output);
    }
}

TEST(Handshake, CostsOnlyThatClientWhenTolerant)
{
    RunningConsole console("tolerant=1\nstarttimeout=200\n");
    for (const std::string& bytes : {ConsoleFrame("stop"), std::string("GET / HTTP/1.0\r\n\r\n"),
                                     std::string(), ConsoleFrame("STAR", 9)}) {
        ConsoleClient client(console.Port());
        client.Send(bytes);
        client.Close();
        EXPECT_TRUE(console.ServesNextClient()) << bytes;
    }
    EXPECT_EQ(console.Output(), "START FAIL\nserved\nserved\nserved\nserved\n");
    const ConsoleClient silent(console.Port());
    const ConsoleClient next(console.Port());
    EXPECT_TRUE(next.Start());
    EXPECT_TRUE(silent.WaitClosed());
    // Once opened, a client may be silent as long as it likes.
    EXPECT_FALSE(next.HasInput(400));
    EXPECT_TRUE(next.Run("PRINT patient"));
}

TEST(Settings, HoldFromTheNextOpeningOn)
{
    const RunningConsole console;
    const auto usePort = [](int port) {
        Console().ParseConfig(("port=" + std::to_string(port)).c_str());
    };
    const ConsoleClient client(console.Port());
    ASSERT_TRUE(client.Start());
    const int other = test::FreePort();
    usePort(other);
    EXPECT_TRUE(client.Run("PRINT \"who is served stays\""));
    client.Send(ConsoleFrame("quit"));
    const ConsoleClient next(other);
    ASSERT_TRUE(next.Start());
    EXPECT_FALSE(RawPeer::TryToConnect(console.Port()).IsOpen());
    usePort(console.Port());
    next.Send(ConsoleFrame("quit"));
    EXPECT_TRUE(console.ServesNextClient());
}

TEST(Settings, AreTakenByCallToo)
{
    const int port = test::FreePort();
    auto console = std::make_unique<CmdMgr>(port);
    console->SetAddress("127.0.0.1");
    console->SetTolerant(true);
    console->SetStartTimeout(100);
    testing::internal::CaptureStdout();
    ASSERT_EQ(console->Start(), 0);
    {
        ConsoleClient silent(port);
        EXPECT_TRUE(silent.WaitClosed());
        ConsoleClient wrong(port);
        wrong.Send(ConsoleFrame("wrong"));
        EXPECT_TRUE(wrong.WaitClosed());
        ConsoleClient client(port);
        EXPECT_TRUE(client.Start());
        EXPECT_FALSE(RawPeer::TryToConnect(port, "127.0.0.2").IsOpen()) << "another address";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can not open config file\nSTART FAIL\n");
    console.reset();
    EXPECT_FALSE(RawPeer::TryToConnect(port).IsOpen()) << "its thread has ended with it";
}
}  // namespace
