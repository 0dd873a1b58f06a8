// Internal. The log calls of the library's modules. Each source that uses them defines its
// file-static logger first:
//
//     static Logger* const _logger = Logger::GetLogger(1);
//
// or includes the header of its folder that declares one for all (util/ipc/IPCLog.h).
//
// The level is tested before the call, so a filtered line costs one comparison.
#ifndef UTIL_OS_LINUX_MODULELOG_H
#define UTIL_OS_LINUX_MODULELOG_H

#include "util/os_linux/Logger.h"

#define TAVI_LOG(level, raw, ...)                                                      \
    do {                                                                               \
        if (_logger->GetLevel() <= (level)) {                                          \
            _logger->Print((level), (raw), __func__, __FILE__, __LINE__, __VA_ARGS__); \
        }                                                                              \
    } while (false)

#define TAVI_INFO(...) TAVI_LOG(Logger::kInfo, 0, __VA_ARGS__)
#define TAVI_WARNING(...) TAVI_LOG(Logger::kWarning, 0, __VA_ARGS__)
#define TAVI_ERROR(...) TAVI_LOG(Logger::kError, 0, __VA_ARGS__)
#define TAVI_RAW(...) TAVI_LOG(Logger::kInfo, 1, __VA_ARGS__)

#endif  // UTIL_OS_LINUX_MODULELOG_H
