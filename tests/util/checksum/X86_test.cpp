#include "util/checksum/X86.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/support.h"

namespace {
// By the kernel's list of what the processors have.
bool Has(const std::string& flag)
{
    static const std::string sProcessors = test::ReadFile("/proc/cpuinfo");
    return sProcessors.find(' ' + flag + ' ') != std::string::npos;
}

TEST(X86, IsAskedForWhatItHas)
{
    const bool both = Has("ssse3") && Has("sse4_1");
    EXPECT_EQ(X86HasSha(), both && Has("sha_ni"));
    EXPECT_EQ(X86HasCarrylessMultiply(), both && Has("pclmulqdq"));
}
}  // namespace
