// The lines of logger.conf and of cmd.conf.
#include <sstream>
#include <string>

#include "fuzz/support/support.h"
#include "util/console/CmdMgr.h"
#include "util/os_linux/Logger.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Logger* const logger = new Logger;
    static CmdMgr* const console = CmdMgr::GetInstance(0);
    std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
    for (std::string line; std::getline(text, line);) {
        console->ParseConfig(line.c_str());
        const std::size_t before = std::string(line.c_str()).size();
        logger->ParseConfig(line.data());
        fuzz::Require(std::string(line.c_str()).size() <= before, "a line grew");
    }
    return 0;
}
