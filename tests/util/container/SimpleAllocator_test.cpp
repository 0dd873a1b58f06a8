#include "util/container/SimpleAllocator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "tests/support/support.h"
#include "util/os_linux/Logger.h"

namespace {
using testing::HasSubstr;

class SimpleAllocatorTest : public testing::Test
{
protected:
    SimpleAllocatorTest() { Logger::ChangeMode(1); }

    test::CapturedStderr mLog;
};

char* At(void* start, int offset)
{
    return static_cast<char*>(start) + offset;
}

TEST_F(SimpleAllocatorTest, HandsOutBlocksInOrderRaisedToFourBytes)
{
    SimpleAllocator pool(16);
    void* const start = pool.GetMemory(5);
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % 8, 0U) << "nodes of a table fit";
    EXPECT_EQ(pool.GetMemory(0), At(start, 8)) << "nothing asked, nothing used";
    EXPECT_EQ(pool.GetMemory(8), At(start, 8)) << "a request that fills the pool succeeds";
    EXPECT_EQ(mLog.Text(), "");
    EXPECT_EQ(pool.GetMemory(1), nullptr);
    EXPECT_THAT(mLog.Text(), HasSubstr("No Memory.. 16 4 16"));
    pool.PutMemory(start);
    EXPECT_EQ(pool.GetMemory(1), nullptr) << "single blocks are not taken back";
    pool.Flush();
    EXPECT_EQ(pool.GetMemory(4), start);
}

TEST_F(SimpleAllocatorTest, RefusesSizesThatNoPoolCanHold)
{
    SimpleAllocator pool(12);
    for (int size : {-1, INT_MIN, 13, INT_MAX - 2, INT_MAX}) {
        EXPECT_EQ(pool.GetMemory(size), nullptr) << size;
    }
    EXPECT_NE(pool.GetMemory(12), nullptr) << "a refusal uses nothing";
    for (int size : {0, -1, INT_MIN}) {
        SimpleAllocator empty(size);
        EXPECT_EQ(empty.GetMemory(1), nullptr);
    }
}

TEST_F(SimpleAllocatorTest, PrintsItsFigures)
{
    SimpleAllocator pool(256);
    pool.GetMemory(40);
    pool.Print();
    EXPECT_THAT(mLog.Text(), HasSubstr("Size = 256, 100 ... Used = 40 28 ... Free = 216 d8 -> "));
}
}  // namespace
