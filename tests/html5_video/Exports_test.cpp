// What the library's file shows to others: its exports and how it was linked.
#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "tests/support/support.h"

namespace {
using test::OutputOf;
using testing::HasSubstr;

TEST(Exports, OnlyThePublicInterfaceIsVisible)
{
    const std::regex allowed(
        "(typeinfo (name )?for |vtable for |guard variable for |non-virtual thunk to )?"
        "(IPCParam|IPCSocket|IPCTCPSocket|IPCUnixSocket|IPCChannel|IPCMethod|StringHashFunction"
        "|IPCSocketChannel|IPCChannelMgr|Mutex|CondVar|Thread|ThreadList|ThreadListCmdClient"
        "|Logger|ExecShell|PartitionParser|FSUtil|FileCompare|FSDefaultCompare|FilePath"
        "|SimpleAllocator|CmdMgr|CmdParser|CmdValue|CmdListMgr|CmdInfo|SymListMgr|SymInfo"
        "|CmdHistory|CmdBlock|SHA1Calculator|MCrc32|HTML5VideoClient|tavi::Allocator"
        "|tavi::HashFunction<char const\\*>)(::.*)?"
        "|html5_video_(client_(init|load|cancel_load|play|pause|seek|setRate|setVolume|setSize"
        "|setMuted|is_connected|reconnect|get_event_fd|get_last_result|set_reply_timeout|set_log)"
        "|get_(status|video_dimension)|media_status_text)"
        "|Logger_Print|NanoSleep|Sleep|MSleep|USleep|SetStatus_IPC\\(IPCParam\\*\\)"
        "|SHA1(Init|Update|Final|Transform)\\(.*\\)|crc_table"
        "|(typeinfo (name )?for |vtable for )?CmdClient<ThreadList>(::.*)?");
    std::istringstream lines(OutputOf("nm -DC --defined-only " LIBRARY_FILE));
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        const std::string name = line.substr(line.find(' ', line.find(' ') + 1) + 1);
        if (name == "HTML5_VIDEO_1") {
            continue;  // the version itself
        }
        const size_t end = name.rfind('@') - 1;
        EXPECT_EQ(name.substr(end), "@@HTML5_VIDEO_1");
        EXPECT_TRUE(std::regex_match(name.substr(0, end), allowed)) << name;
        ++count;
    }
    EXPECT_GT(count, 100);
}

TEST(Exports, TheFileIsHardenedAndNeedsNothingElse)
{
    const std::string headers = OutputOf("readelf -lWd " LIBRARY_FILE);
    for (const char* const word :
         {"Library soname: [libhtml5_video.so.1]", "GNU_RELRO", "BIND_NOW", "NODELETE"}) {
        EXPECT_THAT(headers, HasSubstr(word));
    }
    EXPECT_FALSE(std::regex_search(headers, std::regex("GNU_STACK[^\n]* RWE")));
    const std::regex unknown(
        "\\(NEEDED\\)(?!.*(libstdc\\+\\+|libm\\.|libgcc_s|libc\\.|ld-linux))[^\n]*");
    std::smatch needed;
    EXPECT_FALSE(std::regex_search(headers, needed, unknown)) << needed[0];
}

TEST(Exports, NoPathOfTheBuildMachineIsInside)
{
    EXPECT_EQ(OutputOf("strings " LIBRARY_FILE " | grep -F '" TEST_SOURCE_DIR "/'"), "");
}
}  // namespace
