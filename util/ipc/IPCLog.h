// Internal. The log calls of this folder's sources and of the video client: one logger for all, so
// that the library's start makes it once.
#ifndef UTIL_IPC_IPCLOG_H
#define UTIL_IPC_IPCLOG_H

#include "util/Export.h"
#include "util/os_linux/ModuleLog.h"

HTML5_VIDEO_LOCAL extern Logger* const _logger;

#endif  // UTIL_IPC_IPCLOG_H
