#include "util/ipc/IPCLog.h"

Logger* const _logger = Logger::GetLogger(2);
