// The lines of logger.conf and of cmd.conf.
#include <sstream>
#include <string>

#include "fuzz/support/support.h"
#include "util/console/CmdMgr.h"
#include "util/os_linux/Logger.h"

void fuzz::Run(const std::string& bytes)
{
    static Logger* const logger = new Logger;
    static CmdMgr* const console = CmdMgr::GetInstance(0);
    std::istringstream text(bytes);
    for (std::string line; std::getline(text, line);) {
        console->ParseConfig(line.c_str());
        const std::size_t before = std::string(line.c_str()).size();
        logger->ParseConfig(line.data());
        Require(std::string(line.c_str()).size() <= before, "a line grew");
    }
}
