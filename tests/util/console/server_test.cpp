// The console's server: its life, its settings, its clients, good and hostile.
#include <gmock/gmock.h>

#include <cstdio>
#include <memory>
#include <tuple>
#include <vector>

#include "tests/support/Background.h"
#include "tests/util/console/console.h"

namespace {
using test::Console;
using test::ConsoleClient;
using test::ConsoleFrame;
using test::RawPeer;
using test::RunningConsole;

void UsePort(int port)
{
    Console().ParseConfig(("port=" + std::to_string(port)).c_str());
}

// What the console's loop writes to standard output beside the action, until it ends by itself.
std::string OutputOfLoop(const std::function<void()>& action)
{
    testing::internal::CaptureStdout();
    const test::Background loop([] { CmdMgr::ThreadLoop(&Console()); });
    action();
    EXPECT_TRUE(loop.Returns());
    Console().Stop();
    return testing::internal::GetCapturedStdout();
}

TEST(CmdMgr, AnswersEveryLineWithOnePrompt)
{
    // A key counts at the very start only, in any case; the last one wins.
    RunningConsole console(
        "# port=1\n\n port=1\nMODE=0\nmode=1\t\t\n\tmode=0\nADDRESS=127.0.0.1 \r\n");
    EXPECT_FALSE(RawPeer::TryToConnect({console.Port(), "127.0.0.2"}).IsOpen())
        << "not its address";
    const ConsoleClient client(console.Port());
    for (const char byte : ConsoleFrame("START")) {  // in the smallest pieces
        ASSERT_TRUE(client.Send(std::string(1, byte)));
    }
    EXPECT_TRUE(client.ReadPrompt());
    for (const char* line : {"", "  ", "# comment", "INT n 3", "unknown", "PRINT", "END",
                             "x =", "FILE none", "BREAK", "PRINT n\n"}) {
        EXPECT_TRUE(client.Run(line)) << line;
    }
    // A block is one statement: its one prompt follows its END.
    client.SendLines("FOR 1 2 1\nPRINT \"in block\"");
    EXPECT_FALSE(client.HasInput(50));
    EXPECT_TRUE(client.Run("END"));
    EXPECT_TRUE(client.Run(std::string(1023, 'x')));
    EXPECT_FALSE(client.HasInput(50)) << "nothing but prompts is ever sent";
    EXPECT_TRUE(client.Quit());
    EXPECT_EQ(console.Output(), "3\nin block\nin block\n");
}

TEST(CmdMgr, StopsAndStartsAgain)
{
    const RunningConsole console;
    EXPECT_EQ(Console().Start(), -1) << "it runs already";
    CmdMgr::ThreadLoop(&Console());  // which returns, for the same reason
    test::Symbols().RegisterSymbol("turns", "0", SymInfo::kInt, false);
    test::WriteFile("loop.txt", "FOR 1 1 0\nturns = turns + 1\nFILE none\nEND\nSLEEP 100000\n");
    for (const std::string lines : {"", "IF 1 == 1\nturns = turns + 1\nSLEEP 100000\nEND",
                                    "FOR 1 1 0\nturns = turns + 1\nSLEEP 1\nEND",
                                    "WHILE 1 == 1\nturns = turns + 1\nEND", "FILE loop.txt"}) {
        SCOPED_TRACE(lines);
        test::Symbols().SetValue("turns", "0");
        const ConsoleClient client = console.Client();
        client.SendLines(lines);
        ASSERT_TRUE(test::WaitUntil(
            [&] { return lines.empty() || test::Symbols().GetIntValue("turns") > 0; }));
        const auto restart = [&] {
            Console().Stop();
            ASSERT_TRUE(client.WaitClosed());
            EXPECT_EQ(Console().Start(), 0);
        };
        EXPECT_LT(test::Milliseconds(restart), 2000);
    }
    EXPECT_TRUE(console.ServesNextClient());
    Console().Stop();  // while it waits for a client
    EXPECT_EQ(Console().Start(), 0);
    EXPECT_TRUE(console.ServesNextClient());
}

TEST(CmdMgr, TakesClientsOneAfterTheOther)
{
    test::RegisterCommand("hang_up", [](CmdParser*, CmdInfo*, char*) {
        Console().Close();
        return 0;
    });
    RunningConsole console;
    const ConsoleClient first = console.Client();
    std::vector<ConsoleClient> waiting;
    for (int count = 0; count < 3; ++count) {
        waiting.emplace_back(console.Port()).SendLines("STARTUP\nPRINT waited");
    }
    EXPECT_FALSE(waiting[0].HasInput(20));
    EXPECT_TRUE(first.Run("PRINT first"));
    EXPECT_TRUE(first.Quit());
    for (ConsoleClient& client : waiting) {
        EXPECT_TRUE(client.ReadPrompt() && client.ReadPrompt());
        client.Close();  // gone without a word
    }
    const ConsoleClient last = console.Client();
    last.SendLines("hang_up");
    EXPECT_TRUE(last.WaitClosed());
    EXPECT_TRUE(console.ServesNextClient());
    EXPECT_EQ(console.Output(), "first\nwaited\nwaited\nwaited\nserved\n");
}

TEST(CmdMgr, FailsToOpenWithAReport)
{
    const int port = test::FreePort();
    const test::RawListener holder(port);
    UsePort(port);
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"", "", "Bind Error\n"},
        {"port=65536", "", "Bind Error\n"},
        {"port=0", "address=not an address", "Bind Error\n"},
        {"mode=2", "", ""}};
    for (const auto& [setting, another, output] : cases) {
        Console().ParseConfig(setting);
        Console().ParseConfig(another);
        testing::internal::CaptureStdout();
        EXPECT_EQ(Console().Open(), -1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), output);
    }
    test::WriteFile("script.txt", "IF 1 == 1\nPRINT run\nEND\n");
    EXPECT_EQ(test::Execute("FILE script.txt").output, "run\n") << "a script needs no client";
    char line[CmdMgr::kLineSize];
    EXPECT_EQ(Console().GetLine(line), -1);
    EXPECT_EQ(Console().SetLine("x"), -1);
    EXPECT_EQ(Console().SendResult("x"), 0);
}

TEST(Linger, EndsWhatRunsForAClientThatHasLeft)
{
    const RunningConsole console("linger=1\n");
    for (const char* const statement : {"SLEEP 100000", "WHILE 1 == 1\nEND"}) {
        SCOPED_TRACE(statement);
        ConsoleClient client = console.Client();
        client.SendLines(statement);
        EXPECT_FALSE(client.HasInput(150)) << "it goes on while its client is there";
        client.Close();
        EXPECT_GE(test::Milliseconds([&] { EXPECT_TRUE(console.ServesNextClient()); }), 900);
    }
}

TEST(Linger, RunsWithinItsTimeWhatTheClientSentBefore)
{
    for (const char* const linger : {"", "linger=-1\n", "LINGER=0\n"}) {
        RunningConsole console(linger);
        console.Client().SendLines("SLEEP 250\nPRINT late");
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
    const ConsoleClient client = console.Client();
    client.SendLines("INT n 3\nn = 4\nn = n + 1\nn = n / 0\nFREE nobody\nFILE none");
    client.Send(ConsoleFrame("FILE\r\n"));
    client.SendLines(
        "FILE wrong.txt\nm = 5\nm = thread_shaw all\nEND\n# nothing\n\n"
        "IF 1 == 1\nm = n + 1\nWHILE 1\nSLEEP 1\nEND\nEND");
    EXPECT_TRUE(client.Quit());
    EXPECT_EQ(console.Output(),
              "n = n / 0 -> -1 argument fail\nFREE nobody -> -1\n"
              "FILE none -> -1 Can not find file\nFILE -> -1 argument fail\n"
              "right\ntun 7 -> 0 no such command\nm = 5 -> 0 not assigned\n"
              "m = thread_shaw all -> 0 no such command\n"
              "END -> 0 no such command\n"
              "m = n + 1 -> 0 not assigned\nWHILE 1 -> -1 argument fail\n");
    Console().SetVerbose(false);
}

TEST(CmdMgr, UsesTheStandardStreamsAndEndsWithThem)
{
    Console().ParseConfig("MODE=0");
    const std::pair<const char*, const char*> cases[] = {
        {"INT n 2\nFOR 1 n 1\nPRINT \"line\"\nEND\nquit\nPRINT n\nPRINT end",
         "\nCMD>\nCMD>line\nline\n\nCMD>\nCMD>2\n\nCMD>end\n\nCMD>"},
        {"FOR 1 2 1\nPRINT never\n", "\nCMD>\nCMD>"},
    };
    for (const auto& [input, output] : cases) {
        test::WriteFile("input.txt", input);
        ASSERT_NE(std::freopen("input.txt", "re", stdin), nullptr);
        EXPECT_EQ(OutputOfLoop([] {}), output);
    }
}

TEST(CmdMgr, AbandonsABlockWhenItsLinesEnd)
{
    RunningConsole console;
    console.Client().SendLines("IF 1 == 1\nPRINT never");
    const ConsoleClient client = console.Client();
    client.SendLines("IF 1 == 1\nPRINT never");
    client.Send("wxyz");
    EXPECT_TRUE(client.ReadPrompt()) << "the dropped line ends the block";
    EXPECT_TRUE(client.Run("END"));
    EXPECT_TRUE(client.Quit());
    EXPECT_TRUE(console.ServesNextClient());
    EXPECT_EQ(console.Output(), "served\n");
}

TEST(Hostile, FramesAreDroppedAndTheConnectionGoesOn)
{
    const std::string line = "PRINT longest" + std::string(1010, ' ');
    const std::string longLine = "PRINT never" + std::string(1013, ' ');
    // What the bytes are, and how many prompts answer them.
    const std::tuple<const char*, std::string, int> cases[] = {
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
    for (const auto& [name, bytes, prompts] : cases) {
        SCOPED_TRACE(name);
        const ConsoleClient client = console.Client();
        ASSERT_TRUE(client.Send(bytes));
        for (int count = 0; count < prompts; ++count) {
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
    const RunningConsole console;
    {
        const ConsoleClient client = console.Client();
        std::string lines;
        for (int count = 0; count < 10000; ++count) {
            lines += ConsoleFrame("");
        }
        while (client.Send(lines)) {}  // until the server reads no more and closes
        EXPECT_TRUE(ConsoleClient(console.Port()).Start());
    }
    EXPECT_TRUE(console.ServesNextClient());
}

TEST(Handshake, RefusesAllButStart)
{
    const std::pair<std::string, const char*> cases[] = {
        {ConsoleFrame("start"), "START FAIL\n"},
        {ConsoleFrame("STAR"), "START FAIL\n"},
        {ConsoleFrame(""), "START FAIL\n"},
        {"GET /", ""},
        {ConsoleFrame("", 1024), ""},
        {"", ""},
    };
    for (const auto& [bytes, output] : cases) {
        SCOPED_TRACE(bytes);
        const int port = test::FreePort();
        UsePort(port);
        const auto opening = [port, sent = bytes] {
            const ConsoleClient client(port);
            client.Send(sent);
            client.EndSending();
            EXPECT_TRUE(client.WaitClosed());
        };
        EXPECT_EQ(OutputOfLoop(opening), output) << "the opening fails, and the console ends";
    }
}

TEST(Handshake, CostsOnlyThatClientWhenTolerant)
{
    RunningConsole console("tolerant=1\nstarttimeout=200\n");
    for (const std::string& bytes : {ConsoleFrame("stop"), std::string("GET / HTTP/1.0\r\n\r\n"),
                                     std::string(), ConsoleFrame("STAR", 9)}) {
        ConsoleClient(console.Port()).Send(bytes);
        EXPECT_TRUE(console.ServesNextClient()) << bytes;
    }
    EXPECT_EQ(console.Output(), "START FAIL\nserved\nserved\nserved\nserved\n");
    const ConsoleClient silent(console.Port());
    const ConsoleClient next = console.Client();
    EXPECT_TRUE(silent.WaitClosed());
    // Once opened, a client may be silent as long as it likes.
    EXPECT_FALSE(next.HasInput(400));
    EXPECT_TRUE(next.Run("PRINT patient"));
}

TEST(Settings, HoldFromTheNextOpeningOn)
{
    const RunningConsole console;
    const ConsoleClient client = console.Client();
    const int other = test::FreePort();
    UsePort(other);
    EXPECT_TRUE(client.Run("PRINT \"who is served stays\""));
    client.SendLines("quit");
    const ConsoleClient next(other);
    ASSERT_TRUE(next.Start());
    EXPECT_FALSE(RawPeer::TryToConnect(console.Port()).IsOpen());
    UsePort(console.Port());
    next.SendLines("quit");
    EXPECT_TRUE(console.ServesNextClient());
}

TEST(Settings, AreTakenByCallToo)
{
    const int port = test::FreePort();
    auto console = std::make_unique<CmdMgr>(port);
    console->SetAddress("127.0.0.1");
    console->SetTolerant(true);
    console->SetStartTimeout(100);
    console->SetVerbose(true);
    testing::internal::CaptureStdout();
    ASSERT_EQ(console->Start(), 0);
    {
        EXPECT_LT(test::Milliseconds([&] { ConsoleClient(port).WaitClosed(); }), 5000);
        const ConsoleClient wrong(port);
        wrong.SendLines("wrong");
        EXPECT_TRUE(wrong.WaitClosed());
        const ConsoleClient client(port);
        EXPECT_TRUE(client.Start() && client.Run("FREE nobody"));
        EXPECT_FALSE(RawPeer::TryToConnect({port, "127.0.0.2"}).IsOpen()) << "another address";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Can not open config file\nSTART FAIL\nFREE nobody -> -1\n");
    console.reset();
    EXPECT_FALSE(RawPeer::TryToConnect(port).IsOpen()) << "its thread has ended with it";
}
}  // namespace
