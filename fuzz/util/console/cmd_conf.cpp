// The lines of cmd.conf.
#include <string>

#include "fuzz/support/support.h"
#include "util/console/CmdMgr.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CmdMgr* const console = CmdMgr::GetInstance(0);
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        console->ParseConfig(text.substr(begin, end - begin).c_str());
        begin = end + 1;
    }
    return 0;
}
