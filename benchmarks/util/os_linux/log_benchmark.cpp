// A decorated line to a file next to the least that makes the same bytes, one snprintf and one
// write; and a filtered line next to a call and a test. Above 1 a case is faster.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <ctime>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/os_linux/log_case.h"
#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
Logger* const sQuiet = Logger::GetLogger(3);
int sFile;
std::atomic<int> sLevel{Logger::kError};

void OpenLimit(const std::string& file)
{
    sFile = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0700);
    bench::Require(sFile >= 0, file.c_str());
}

void PrintLimit(int value)
{
    char line[2048];
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int length =
        std::snprintf(line, sizeof(line), "[%08ld.%06ld][LOG]: value %d of %s -> %s in (%s %d)\n",
                      static_cast<long>(now.tv_sec), now.tv_nsec / 1000, value, "the player",
                      __func__, "/log_benchmark.cpp", __LINE__);
    bench::Require(write(sFile, line, static_cast<std::size_t>(length)) == length, "write");
}

__attribute__((noinline, format(printf, 6, 7))) void CallAndTest(int level, int raw,
                                                                 const char* function,
                                                                 const char* file, int line,
                                                                 const char* format, ...)
{
    if (sLevel.load(std::memory_order_relaxed) <= level) {
        std::printf("%d %s %s %d %s\n", raw, function, file, line, format);
    }
}

void FilteredLimit(int value)
{
    CallAndTest(Logger::kInfo, 0, __func__, __FILE__, __LINE__, "value %d of %s", value,
                "the player");
}

void OpenHere(const std::string& file)
{
    bench::Require(file.size() < sizeof(LogConfig::outpath), "outpath");
    std::string setting = "outpath=" + file;
    _logger->ParseConfig(setting.data());
    Logger::ChangeMode(2);
    sQuiet->SetLevel(Logger::kError);
}

void PrintHere(int value)
{
    TAVI_INFO("value %d of %s", value, "the player");
}

void FilteredByMacro(int value)
{
    Logger* const _logger = sQuiet;
    TAVI_INFO("value %d of %s", value, "the player");
}

void FilteredByPrint(int value)
{
    sQuiet->Print(Logger::kInfo, 0, __func__, __FILE__, __LINE__, "value %d of %s", value,
                  "the player");
}

const RegisteredLog sLimit(0, "limit", {OpenLimit, PrintLimit, FilteredLimit});
const RegisteredLog sHere(1, "html5_video", {OpenHere, PrintHere, FilteredByMacro});
const RegisteredLog sPrint(2, "html5_video/Print", {nullptr, nullptr, FilteredByPrint});
}  // namespace

int main()
{
    bench::EnterScratchDirectory();
    bench::Interleave lines("log/line-to-a-file");
    bench::Interleave filtered("log/filtered");
    static int value = 0;
    for (const auto& entry : RegisteredLog::All()) {
        if (entry.offer.open != nullptr) {
            entry.offer.open(entry.name + ".log");
            lines.Add(entry.name, [print = entry.offer.print] { return print(++value), 0; });
        }
        if (entry.offer.filtered != nullptr) {
            filtered.Add(entry.name, [print = entry.offer.filtered] { return print(++value), 0; });
        }
    }
    lines.Run();
    filtered.Run();
    return 0;
}
