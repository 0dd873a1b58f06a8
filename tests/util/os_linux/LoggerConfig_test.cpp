// What "./logger.conf" does when the library is loaded, seen through a program of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/support/program.h"
#include "tests/support/support.h"

namespace {
using test::OutputOf;
using testing::MatchesRegex;

const std::string kProbe = test::Program("tests/logger_probe");

const std::string kDefaults = "mode=0\nkmsg=0\nserverip=\nport=0\noutpath=\n";

TEST(LoggerConfig, WithoutTheFileSaysSoAndLogsNothing)
{
    EXPECT_EQ(OutputOf(kProbe + " 2>./err | grep -v stray"),
              "Can not open config file\n" + kDefaults);
    EXPECT_EQ(test::ReadFile("./err"), "stray\n");
}

TEST(LoggerConfig, ReadsEachLineAsWritten)
{
    const std::string longValue(247, 'x');  // with the key, a whole piece of 255 characters
    const struct
    {
        const char* why;
        std::string file, settings;
    } cases[] = {
        {"keys in any case, values verbatim, spaces kept, trailing TABs not",
         "MODE=1\nKmsg=2\nServerIP=1.2.3.4\nOUTPATH= a b \t\t\n",
         "mode=1\nkmsg=2\nserverip=1.2.3.4\nport=0\noutpath= a b \n"},
        {"a later line wins, no final line feed", "port=5\nport=6",
         "mode=0\nkmsg=0\nserverip=\nport=6\noutpath=\n"},
        {"comments, blanks before =, unknown keys, an unknown mode",
         "#port=1\n\nport =2\n port=3\nports=4\nmode=9\n", kDefaults},
        {"numbers as far as they go; a carriage return belongs to a text",
         "kmsg= +7x\nport=-\nserverip=1.1.1.1\r\n",
         "mode=0\nkmsg=7\nserverip=1.1.1.1\r\nport=0\noutpath=\n"},
        {"the default port in mode 3, an over-long address",
         "mode=3\nport=-5\nserverip=" + std::string(100, '1') + "\n",
         "mode=3\nkmsg=0\nserverip=" + std::string(31, '1') + "\nport=7272\noutpath=\n"},
        {"an over-long line, in pieces", "outpath=" + longValue + "port=9\n",
         "mode=0\nkmsg=0\nserverip=\nport=9\noutpath=" + longValue + "\n"},
    };
    for (const auto& c : cases) {
        test::WriteFile("./logger.conf", c.file);
        EXPECT_EQ(OutputOf(kProbe + " 2>/dev/null | grep -av stray"), c.settings) << c.why;
    }
}

TEST(LoggerConfig, OpensTheOutputBeforeAnythingIsLogged)
{
    const char* const kLines =
        "\\[[0-9]{8}\\.[0-9]{6}\\]\\[LOG\\]: info -> Probe in \\(/Probe\\.cpp 7\\)\nraw 5\n";

    test::WriteFile("./logger.conf", "mode=1\n");
    OutputOf(kProbe + " 2>./err");
    EXPECT_THAT(test::ReadFile("./err"), MatchesRegex(kLines + std::string("stray\n")));

    test::WriteFile("./logger.conf", "mode=2\noutpath=./out.log\n");
    test::WriteFile("./out.log", std::string(1000, 'x'));
    OutputOf(kProbe + " 2>/dev/null");
    EXPECT_THAT(test::ReadFile("./out.log"), MatchesRegex(kLines)) << "an old file is truncated";

    OutputOf("umask 022; rm out.log; " + kProbe + " 2>/dev/null");
    struct stat node = {};
    ASSERT_EQ(stat("./out.log", &node), 0);
    EXPECT_EQ(node.st_mode & 0777U, 0700U);
}

}  // namespace
