// The language, by scripts: each file in scripts/ stands beside the output it must give, and is
// run line by line through a client and as a file.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/support.h"
#include "tests/util/console/ConsoleClient.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"

namespace {
const std::string kScripts = TEST_SOURCE_DIR "/tests/util/console/scripts/";

class Script : public testing::TestWithParam<const char*>
{
protected:
    Script()
    {
        for (const auto& entry : std::filesystem::directory_iterator(kScripts)) {
            std::filesystem::copy(entry, "./");
        }
    }

    static std::string Path() { return kScripts + GetParam() + ".txt"; }
    static std::string Expected() { return test::ReadFile(kScripts + GetParam() + ".out"); }
};

TEST_P(Script, GivesItsOutputLineByLine)
{
    test::RunningConsole console;
    test::ConsoleClient client(console.Port());
    ASSERT_TRUE(client.Start());
    for (const std::string& line : test::Lines(test::ReadFile(Path()))) {
        client.Send(test::ConsoleFrame(line));
    }
    client.Send(test::ConsoleFrame("quit"));
    ASSERT_TRUE(client.WaitClosed());
    EXPECT_EQ(console.Output(), Expected());
}

INSTANTIATE_TEST_SUITE_P(Console, Script,
                         testing::Values("declare", "arithmetic", "assign", "print", "loops", "if",
                                         "nested", "file", "quit"),
                         [](const auto& script) { return std::string(script.param); });

// As a file the same lines come from another source; the script about files counts its own depth.
class ScriptFile : public Script
{};

TEST_P(ScriptFile, GivesItsOutputAsAFile)
{
    testing::internal::CaptureStdout();
    CmdParser line(("FILE " + Path()).c_str());
    char result[CmdMgr::kResultSize];
    const int code = CmdMgr::GetInstance(0)->CmdExecute(&line, result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), Expected());
    EXPECT_EQ(code, 0);
}

INSTANTIATE_TEST_SUITE_P(Console, ScriptFile,
                         testing::Values("declare", "arithmetic", "assign", "print", "loops", "if",
                                         "nested", "quit"),
                         [](const auto& script) { return std::string(script.param); });
}  // namespace
