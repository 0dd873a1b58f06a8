#include "util/checksum/X86.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace {
// By the kernel's list of what this processor has.
bool HasFlags(const char* flags)
{
    std::ifstream processors("/proc/cpuinfo");
    std::string line;
    while (std::getline(processors, line) && line.compare(0, 5, "flags") != 0) {}
    std::istringstream words(flags);
    bool all = true;
    for (std::string word; words >> word;) {
        all = all && (line + ' ').find(' ' + word + ' ') != std::string::npos;
    }
    return all;
}

TEST(X86, IsAskedForWhatItHas)
{
    EXPECT_EQ(X86HasSha(), HasFlags("ssse3 sse4_1 sha_ni"));
    EXPECT_EQ(X86HasCarrylessMultiply(), HasFlags("pclmulqdq ssse3 sse4_1"));
}
}  // namespace
