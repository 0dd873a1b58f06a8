#include "util/checksum/X86.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/support.h"

namespace {
// By the kernel's list of what the processors have.
bool Has(const std::string& flag)
{
    return test::ReadFile("/proc/cpuinfo").find(' ' + flag + ' ') != std::string::npos;
}

TEST(X86, IsAskedForWhatItHas)
{
    EXPECT_EQ(X86HasSha(), Has("ssse3") && Has("sse4_1") && Has("sha_ni"));
    EXPECT_EQ(X86HasCarrylessMultiply(), Has("ssse3") && Has("sse4_1") && Has("pclmulqdq"));
}
}  // namespace
