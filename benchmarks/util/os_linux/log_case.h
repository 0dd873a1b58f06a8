// A line of log, written and filtered.
#ifndef BENCHMARKS_UTIL_OS_LINUX_LOG_CASE_H
#define BENCHMARKS_UTIL_OS_LINUX_LOG_CASE_H

#include <string>

#include "benchmarks/support/registered.h"

struct LogCase
{
    void (*open)(const std::string& file);  // what is logged goes to the file
    void (*print)(int value);               // "value %d of %s" with the place, flushed
    void (*filtered)(int value);            // the same below the level; null for none
};

using RegisteredLog = bench::Registered<LogCase>;

#endif  // BENCHMARKS_UTIL_OS_LINUX_LOG_CASE_H
