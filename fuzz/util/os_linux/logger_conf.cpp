// The lines of logger.conf.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/support/support.h"
#include "util/os_linux/Logger.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Logger* const logger = new Logger;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::vector<char> line(text.begin() + static_cast<std::ptrdiff_t>(begin),
                               text.begin() + static_cast<std::ptrdiff_t>(end));
        line.push_back('\0');
        const std::size_t before = std::strlen(line.data());
        logger->ParseConfig(line.data());
        fuzz::Require(std::strlen(line.data()) <= before, "a line grew");
        begin = end + 1;
    }
    return 0;
}
