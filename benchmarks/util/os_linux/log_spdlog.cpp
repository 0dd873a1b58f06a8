// spdlog with its basic file sink, flushed after each line.
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "benchmarks/util/os_linux/log_case.h"

namespace {
std::shared_ptr<spdlog::logger> sLogger;

void Open(const std::string& file)
{
    sLogger = spdlog::basic_logger_mt("benchmark", file);
    sLogger->flush_on(spdlog::level::info);
}

void Print(int value)
{
    SPDLOG_LOGGER_INFO(sLogger, "value {} of {}", value, "the player");
}

void Filtered(int value)
{
    sLogger->debug("value {} of {}", value, "the player");
}

const RegisteredLog sRegistered(3, "spdlog", {Open, Print, Filtered});
}  // namespace
