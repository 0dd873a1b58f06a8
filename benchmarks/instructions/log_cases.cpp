// A decorated line to a file, and a line below the level.
#include "benchmarks/instructions/counting.h"
#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
void Print(int value)
{
    TAVI_INFO("value %d of %s", value, "the player");
}

void CountDecorated(int lines)
{
    char setting[] = "outpath=line.log";
    _logger->ParseConfig(setting);
    Logger::ChangeMode(2);
    count::Count(lines, [] { Print(1000); });
}

void CountFiltered(int lines)
{
    _logger->SetLevel(Logger::kError);
    count::Count(lines, [] { Print(1000); });
}

const count::RegisteredCase sDecorated(4, "log/decorated", {1000, CountDecorated});
const count::RegisteredCase sFiltered(5, "log/filtered", {10000, CountFiltered});
}  // namespace
