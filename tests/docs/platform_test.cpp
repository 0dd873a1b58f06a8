// docs/platform.md against the source of its snippets, and that source against the library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/support/program.h"
#include "tests/support/support.h"

namespace {
using testing::HasSubstr;

// The page's blocks in that language.
std::vector<std::string> Blocks(const std::string& language)
{
    const std::string page = test::ReadFile(TEST_SOURCE_DIR "/docs/platform.md");
    const std::regex fenced("```" + language + "\n([^`]*)```");
    return {std::sregex_token_iterator(page.begin(), page.end(), fenced, 1), {}};
}

TEST(PlatformPage, EverySnippetStandsInTheCompiledSource)
{
    const std::string source = test::ReadFile(TEST_SOURCE_DIR "/docs/snippets/platform.cpp");
    const std::vector<std::string> blocks = Blocks("cpp");
    EXPECT_GE(blocks.size(), 11U);
    for (const std::string& block : blocks) {
        EXPECT_THAT(source, HasSubstr(block));
    }
}

TEST(PlatformPage, TheSnippetsDoWhatThePageSays)
{
    test::WriteFile("./logger.conf", Blocks("conf").at(0));
    int status = -1;
    const std::string output = test::OutputOf(test::Program("docs/platform_snippets"), &status);
    EXPECT_EQ(status, 0);
    for (const char* text :
         {"mode=2\nkmsg=0\nserverip=192.168.1.20\nport=7272\noutpath=./platform.log\n",
          "tuning to 474000\n", "watcher has one\n", "took 5\nthen -1\n", " disks and partitions\n",
          "recordings/\nlogger.conf\nplatform.log\nscan.out\n", "film.ts in /mnt/usb, on usb\n",
          " MiB free\n", "a9993e364706816aba3e25717850c26c9cd0d89d\n", "section is intact\n"}) {
        EXPECT_THAT(output, HasSubstr(text));
    }
    EXPECT_THAT(test::ReadFile("./scan.out"), testing::StartsWith("scanned\n"));
    EXPECT_THAT(
        test::ReadFile("./platform.log"),
        testing::AllOf(HasSubstr("[LOG]: tuned to 474000 -> LogSomething in (/platform.cpp "),
                       HasSubstr("] Thread[watcher] Priority = 0, Status = 1, IsRunning = 1"),
                       HasSubstr("signal is weak"), testing::Not(HasSubstr("not printed"))));
}
}  // namespace
