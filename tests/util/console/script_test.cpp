// The language, by scripts: each file in scripts/ stands beside the output it must give, and is
// run line by line through a client and as a file.
#include <filesystem>

#include "tests/util/console/console.h"

namespace {
const std::string kScripts = TEST_SOURCE_DIR "/tests/util/console/scripts/";

class Script : public testing::TestWithParam<const char*>
{
protected:
    Script() { std::filesystem::copy(kScripts, "./"); }

    const std::string mPath = kScripts + GetParam() + ".txt";
    const std::string mExpected = test::ReadFile(kScripts + GetParam() + ".out");
};

TEST_P(Script, GivesItsOutputLineByLine)
{
    test::RunningConsole console;
    const test::ConsoleClient client = console.Client();
    client.SendLines(test::ReadFile(mPath) + "\nquit");
    EXPECT_TRUE(client.WaitClosed());
    EXPECT_EQ(console.Output(), mExpected);
}

// As a file the same lines come from another source; the script about files counts its own depth.
using ScriptFile = Script;

TEST_P(ScriptFile, GivesItsOutput)
{
    const test::Executed executed = test::Execute("FILE " + mPath);
    EXPECT_EQ(executed.output, mExpected);
    EXPECT_EQ(executed.code, 0);
}

const auto kName = [](const auto& script) { return std::string(script.param); };
const auto kBoth =
    testing::Values("declare", "arithmetic", "assign", "print", "loops", "if", "nested", "quit");
INSTANTIATE_TEST_SUITE_P(Console, Script, kBoth, kName);
INSTANTIATE_TEST_SUITE_P(Console, ScriptFile, kBoth, kName);
INSTANTIATE_TEST_SUITE_P(ConsoleOnly, Script, testing::Values("file"), kName);
}  // namespace
