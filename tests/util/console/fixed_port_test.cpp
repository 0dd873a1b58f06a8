// The console's default port, which only one test at a time can have.
#include <gtest/gtest.h>

#include "tests/support/support.h"
#include "tests/util/console/ConsoleClient.h"
#include "util/console/CmdMgr.h"

namespace {
TEST(FixedPort, Is28282OnEveryInterfaceWithoutAConfiguration)
{
    test::UsePrivateNetwork();
    testing::internal::CaptureStdout();
    CmdMgr* const console = CmdMgr::GetInstance(0);
    EXPECT_EQ(CmdMgr::GetInstance(5), console);
    ASSERT_EQ(console->Start(), 0);
    {
        test::ConsoleClient client(28282);
        EXPECT_TRUE(client.Start());
        EXPECT_TRUE(client.Run("PRINT here"));
    }
    console->Stop();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can not open config file\nhere\n");
}
}  // namespace
