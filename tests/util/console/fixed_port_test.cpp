// The console's default port, which only one test at a time can have.
#include "tests/util/console/console.h"

namespace {
TEST(FixedPort, Is28282OnEveryInterfaceWithoutAConfiguration)
{
    test::UsePrivateNetwork();
    testing::internal::CaptureStdout();
    CmdMgr* const console = CmdMgr::GetInstance(0);
    EXPECT_EQ(CmdMgr::GetInstance(5), console);
    ASSERT_EQ(console->Start(), 0);
    const bool answered = test::ConsoleClient(28282).Start();
    console->Stop();
    EXPECT_TRUE(answered);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can not open config file\n");
}
}  // namespace
