#include "util/os_linux/Logger.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/Background.h"
#include "tests/support/RawPeer.h"
#include "tests/support/program.h"

namespace {
using testing::MatchesRegex;

// Seconds since the start of the machine: eight digits, where the wall clock has ten.
const std::string kTime = "\\[[0-9]{8}\\.[0-9]{6}\\]";

class LoggerTest : public testing::Test
{
protected:
    void Configure(std::string line) { mLogger->ParseConfig(line.data()); }

    // Sends the log to a new file.
    void LogToFile(const std::string& path = "./out.log")
    {
        Logger::ChangeMode(0);
        Configure("outpath=" + path);
        Logger::ChangeMode(2);
    }

    std::string Text() const { return test::ReadFile("./out.log"); }

    // What is written by the action alone.
    template <typename Action>
    std::string Written(Action action)
    {
        LogToFile();
        action();
        return Text();
    }

    Logger* const mLogger = Logger::GetLogger(5);
};

TEST_F(LoggerTest, TheTableHolds27Loggers)
{
    for (int index : {-1, 27, 255, INT_MIN, INT_MAX}) {
        EXPECT_EQ(Logger::GetLogger(index), nullptr) << index;
    }
    for (int index = 6; index <= 26; ++index) {
        Logger* found[4] = {};
        test::InThreads(4, [&](int id) { found[id] = Logger::GetLogger(index); });
        ASSERT_NE(found[0], nullptr);
        EXPECT_NE(found[0], Logger::GetLogger(index - 1));
        EXPECT_EQ(std::count(found, found + 4, found[0]), 4);
        EXPECT_EQ(found[0]->GetLevel(), Logger::kInfo);
    }
}

TEST_F(LoggerTest, DecoratesEachLevelAndNamesItsPlace)
{
    // The colour codes stand outside and inside the brackets of the time.
    const std::string info = kTime + "\\[LOG\\]: m -> ";
    const std::string warning = " \033\\[0;35m" + kTime + "\\[LOG-WARN\\]:\033\\[0;0m m -> ";
    const std::string error = "\033\\[0;31m" + kTime + "\\[\\[LOG-ERROR\\]\\]:\033\\[0;0m m -> ";
    const std::tuple<int, const char*, const char*, int, std::string> cases[] = {
        {0, "Open", "util/ipc/S.cpp", 88, info + "Open in \\(/S\\.cpp 88\\)\n"},
        {1, "F", "", INT_MAX, warning + "F in \\( 2147483647\\)\n"},
        {2, "F", "x", INT_MIN, error + "F in \\(x -2147483648\\)\n"},
        {-1, nullptr, "a/b", 0, info + "\\(null\\) in \\(/b 0\\)\n"},
        {77, "F", nullptr, 10, error + "F in \\(\\(null\\) 10\\)\n"},
    };
    mLogger->SetLevel(-1);
    for (const auto& [level, function, file, line, expected] : cases) {
        LogToFile();
        mLogger->Print(level, 0, function, file, line, "%c", 'm');
        EXPECT_THAT(Text(), MatchesRegex(expected));
    }
}

TEST_F(LoggerTest, CutsWhatDoesNotFit)
{
    const std::string text(5000, 't');
    const auto raw = [&] { mLogger->Print(0, 1, "F", "f", 1, "%s", text.c_str()); };
    EXPECT_EQ(Written(raw), text.substr(0, 1023));

    const std::string file = "/" + text;
    const std::string line =
        Written([&] { mLogger->Print(2, 0, text.c_str(), file.c_str(), 1, "%s", text.c_str()); });
    EXPECT_LE(line.size(), 64U + 1023 + 1023);
    EXPECT_EQ(line.find(" -> "), line.find("tt") + 1023);
    EXPECT_THAT(line, testing::EndsWith(" 1)\n")) << "a line always ends";

    EXPECT_THAT(Written([&] { mLogger->Assert(1, "F", "f", 1, text.c_str()); }),
                text.substr(0, 127));
}

TEST_F(LoggerTest, PrintsFromItsLevelOnButNothingForUnknownRawValues)
{
    for (int level = 0; level <= 3; ++level) {
        mLogger->SetLevel(level);
        EXPECT_EQ(mLogger->GetLevel(), level);
        const std::string text = Written([&] {
            for (int message = 0; message <= 2; ++message) {
                mLogger->Print(message, 1, "F", "f", 1, "%d", message);
                Logger_Print(5, message, 1, "F", "f", 1, "%d", message);
                mLogger->Print(message, 2, "F", "f", 1, "neither decorated nor raw");
                mLogger->Print(message, -1, "F", "f", 1, "neither decorated nor raw");
            }
        });
        EXPECT_EQ(text, std::string("001122").substr(std::min(6, 2 * level)));
    }
}

TEST_F(LoggerTest, ForeignTextIsNeverAFormat)
{
    EXPECT_THAT(Written([&] { mLogger->Assert(0, "F", "d/f", 1, "a % b == %s%n"); }),
                MatchesRegex("\033.*:\033\\[0;0m a % b == %s%n is FAILED -> F in \\(/f 1\\)\n"));
    EXPECT_EQ(Written([] {
                  for (int index : {-1, 27, 26}) {
                      Logger_Print(index, 0, 1, "F", "f", 1, "%s|%d%%", "%s%n", 5);
                  }
              }),
              "%s%n|5%");
    char lines[] = "\n\n";
    mLogger->ParseConfig(lines + 1);
    EXPECT_STREQ(lines, "\n\n") << "what stands before a setting is not its";
}

TEST_F(LoggerTest, UnknownModesMeanNoOutputAndTheCurrentOneIsNotReopened)
{
    for (int mode : {5, -1, 0}) {
        LogToFile();
        Logger::ChangeMode(mode);
        EXPECT_EQ(Logger::GetMode(), 0);
        mLogger->Print(2, 1, "F", "f", 1, "unseen");
        EXPECT_EQ(Text(), "");
    }
    LogToFile();
    mLogger->Print(0, 1, "F", "f", 1, "kept");
    Configure("outpath=./elsewhere");
    Logger::ChangeMode(2);
    mLogger->Print(0, 1, "F", "f", 1, " too");
    EXPECT_EQ(Text(), "kept too");
}

TEST_F(LoggerTest, ChangingTheModeClosesTheOldOutput)
{
    test::WriteFile("./logger.conf", "outpath=./out.log\n");
    const int before = test::CountDescriptors();
    mLogger->LoadConfig();
    for (int mode : {2, 3, 4, 2, 1}) {
        Logger::ChangeMode(mode);
        EXPECT_EQ(test::CountDescriptors(), before + (mode != 1 ? 1 : 0)) << mode;
    }
    EXPECT_GE(fcntl(STDERR_FILENO, F_GETFD), 0) << "standard error is never closed";
}

TEST_F(LoggerTest, AFullDiskIsNobodysConcern)
{
    LogToFile("/dev/full");
    errno = ENOTTY;
    mLogger->Print(2, 0, "F", "f", 1, "lost");
    EXPECT_EQ(errno, ENOTTY) << "errno is the caller's";
    EXPECT_EQ(Logger::GetMode(), 2);
}

TEST_F(LoggerTest, ModesMayChangeWhileOthersPrint)
{
    test::InThreads(3, [&](int id) {
        for (int round = 0; round < 200; ++round) {
            if (id == 0) {
                mLogger->Print(0, 0, "F", "d/f", 1, "text");
            } else if (id == 1) {
                Configure("outpath=./c.log");
            } else {
                LogToFile(round % 2 == 0 ? "./a.log" : "./b.log");
                mLogger->SetLevel(round % 2);
            }
        }
    });
    Logger::ChangeMode(0);
}

TEST_F(LoggerTest, TheLockHoldsBackEveryLine)
{
    LogToFile();
    Logger::Lock();
    {
        const test::Background printer([&] { mLogger->Print(0, 1, "F", "f", 1, "after"); });
        const test::Background configurer([&] {
            test::WriteFile("./logger.conf", "mode=3\n");
            mLogger->LoadConfig();
            Configure("port=1");
        });
        EXPECT_TRUE(configurer.Returns()) << "settings may be read";
        EXPECT_TRUE(printer.Waits());
        EXPECT_EQ(Text(), "");
        Logger::Unlock();
    }
    EXPECT_EQ(Text(), "after") << "and do not touch the open output";
}

TEST_F(LoggerTest, LinesOfManyThreadsNeverInterleave)
{
    LogToFile();
    const auto text = [](int id) { return std::string(100 + id, static_cast<char>('a' + id)); };
    test::InThreads(8, [&](int id) {
        for (int count = 0; count < 500; ++count) {
            Logger::GetLogger(id)->Print(0, 0, "F", "d/f", id, "%s", text(id).c_str());
        }
    });
    const std::string log = "\n" + Text();
    EXPECT_EQ(test::Count(log, "\n["), 8 * 500);
    for (int id = 0; id < 8; ++id) {
        const std::string rest = text(id) + " -> F in (/f " + std::to_string(id) + ")\n";
        EXPECT_EQ(test::Count(log, "][LOG]: " + rest), 500) << id;
    }
}

TEST_F(LoggerTest, ALineTravelsAsThreeDatagrams)
{
    const int peer = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof(address);
    ASSERT_EQ(bind(peer, reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(peer, reinterpret_cast<sockaddr*>(&address), &length);
    const auto receive = [peer] {
        pollfd ready = {peer, POLLIN, 0};
        char text[2048];
        return poll(&ready, 1, test::kPatience) == 1
                   ? std::string(text, static_cast<std::size_t>(recv(peer, text, sizeof(text), 0)))
                   : "nothing received";
    };
    Configure("serverip=127.0.0.1");
    Configure("port=" + std::to_string(ntohs(address.sin_port)));
    Logger::ChangeMode(3);
    Configure("mode=1");  // of no effect on the open output
    mLogger->Print(1, 0, "F", "d/f", 3, "text");
    mLogger->Print(0, 0, "F", "d/f", 4, "%s", "");
    mLogger->Print(1, 1, "F", "d/f", 3, "raw");
    EXPECT_THAT(receive(), MatchesRegex(" \033\\[0;35m" + kTime + ".*"));
    EXPECT_EQ(receive(), "text");
    EXPECT_EQ(receive(), " -> F in (/f 3)\n");
    EXPECT_THAT(receive(), MatchesRegex(kTime + "\\[LOG\\]: "));
    EXPECT_EQ(receive(), "") << "an empty message is a datagram, too";
    EXPECT_EQ(receive(), " -> F in (/f 4)\n");
    EXPECT_EQ(receive(), "raw");
    close(peer);
}

TEST_F(LoggerTest, AUnixSocketPeerGetsTheLinesAndMayLeave)
{
    const std::string path = "./" + std::string(105, 's');  // as long as an address can hold
    const test::RawListener listener(path.c_str());
    Configure("outpath=" + path + "cut away");
    Logger::ChangeMode(4);
    const test::RawPeer peer = listener.Accept();
    mLogger->Print(0, 0, "F", "d/f", 3, "text");
    Logger::ChangeMode(0);
    EXPECT_THAT(peer.Receive(256), MatchesRegex(kTime + "\\[LOG\\]: text -> F in \\(/f 3\\)\n"));

    Logger::ChangeMode(4);
    listener.Accept().Close();
    Configure("mode=1");  // of no effect on the open output
    mLogger->Print(2, 0, "F", "d/f", 3, "to nobody");
    mLogger->Print(2, 0, "F", "d/f", 3, "to nobody");  // would raise SIGPIPE
}

// What "./logger.conf" does when the library is loaded, seen through a program of its own.
const std::string kProbe = test::Program("tests/logger_probe");
const std::string kDefaults = "mode=0\nkmsg=0\nserverip=\nport=0\noutpath=\n";

TEST(LoggerConfig, WithoutTheFileSaysSoAndLogsNothing)
{
    EXPECT_EQ(test::OutputOf(kProbe + " 2>./err | grep -v stray"),
              "Can not open config file\n" + kDefaults);
    EXPECT_EQ(test::ReadFile("./err"), "stray\n");
}

TEST(LoggerConfig, ReadsEachLineAsWritten)
{
    const std::string longValue(247, 'x');  // with the key, a whole piece of 255 characters
    const std::pair<std::string, std::string> cases[] = {
        // Keys in any case, values verbatim, spaces kept, trailing TABs not.
        {"MODE=1\nKmsg=2\nServerIP=1.2.3.4\nOUTPATH= a b \t\t\n",
         "mode=1\nkmsg=2\nserverip=1.2.3.4\nport=0\noutpath= a b \n"},
        // A later line wins; no final line feed.
        {"port=5\nport=6", "mode=0\nkmsg=0\nserverip=\nport=6\noutpath=\n"},
        // Comments, blanks before =, unknown keys, an unknown mode.
        {"#port=1\n\nport =2\n port=3\nports=4\nmode=9\n", kDefaults},
        // Numbers as far as they go; a carriage return belongs to a text.
        {"kmsg= +7x\nport=-\nserverip=1.1.1.1\r\n",
         "mode=0\nkmsg=7\nserverip=1.1.1.1\r\nport=0\noutpath=\n"},
        // The default port in mode 3, an over-long address.
        {"mode=3\nport=-5\nserverip=" + std::string(100, '1') + "\n",
         "mode=3\nkmsg=0\nserverip=" + std::string(31, '1') + "\nport=7272\noutpath=\n"},
        // An over-long line, in pieces.
        {"outpath=" + longValue + "port=9\n",
         "mode=0\nkmsg=0\nserverip=\nport=9\noutpath=" + longValue + "\n"},
    };
    for (const auto& [file, settings] : cases) {
        test::WriteFile("./logger.conf", file);
        EXPECT_EQ(test::OutputOf(kProbe + " 2>/dev/null | grep -av stray"), settings) << file;
    }
}

TEST(LoggerConfig, OpensTheOutputBeforeAnythingIsLogged)
{
    const std::string lines = kTime + "\\[LOG\\]: info -> Probe in \\(/Probe\\.cpp 7\\)\nraw 5\n";
    test::WriteFile("./logger.conf", "mode=1\n");
    test::OutputOf(kProbe + " 2>./err");
    EXPECT_THAT(test::ReadFile("./err"), MatchesRegex(lines + "stray\n"));

    test::WriteFile("./logger.conf", "mode=2\noutpath=./out.log\n");
    test::WriteFile("./out.log", std::string(1000, 'x'));
    test::OutputOf(kProbe + " 2>/dev/null");
    EXPECT_THAT(test::ReadFile("./out.log"), MatchesRegex(lines)) << "an old file is truncated";

    EXPECT_EQ(
        test::OutputOf("umask 022; rm out.log; " + kProbe + " >/dev/null 2>&1; stat -c %a out.log"),
        "700\n");
}
}  // namespace
