// What the library's file shows to others: its exports and how it was linked.
#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "tests/support/support.h"

namespace {
using namespace test;

// The list of the packages is what the interface is.
TEST(Exports, OnlyThePublicInterfaceIsVisible)
{
    const std::string list = ReadFile(TEST_SOURCE_DIR "/debian/libhtml5-video1.symbols");
    std::istringstream names(OutputOf("nm -DC --defined-only " LIBRARY_FILE
                                      " | sed 's/^[^ ]* . //; s/@@/@/; /^HTML5_VIDEO_1$/d'"));
    int count = 0;
    for (std::string name; std::getline(names, name); ++count) {
        EXPECT_EQ(Count(list, '"' + name + '"') + Count(list, "\n " + name + ' '), 1) << name;
    }
    EXPECT_GT(count, 400);
}

TEST(Exports, TheFileIsHardenedAndNeedsNothingElse)
{
    const std::string headers = OutputOf("readelf -lWd " LIBRARY_FILE);
    for (const char* const word :
         {"Library soname: [libhtml5_video.so.1]", "GNU_RELRO", "BIND_NOW", "NODELETE"}) {
        EXPECT_THAT(headers, testing::HasSubstr(word));
    }
    EXPECT_FALSE(std::regex_search(headers, std::regex("GNU_STACK[^\n]* RWE")));
    const std::regex unknown(
        "\\(NEEDED\\)(?!.*(libstdc\\+\\+|libm\\.|libgcc_s|libc\\.|ld-linux))[^\n]*");
    std::smatch needed;
    EXPECT_FALSE(std::regex_search(headers, needed, unknown)) << needed[0];
}
}  // namespace
