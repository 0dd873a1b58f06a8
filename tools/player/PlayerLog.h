// The player's log lines go through the library's logger, under an index of the player's own.
#ifndef TOOLS_PLAYER_PLAYERLOG_H
#define TOOLS_PLAYER_PLAYERLOG_H

#include "util/os_linux/Logger.h"

constexpr int kPlayerLogger = 20;

#define PLAYER_LOG(level, ...) \
    Logger::GetLogger(kPlayerLogger)->Print((level), 0, __func__, __FILE__, __LINE__, __VA_ARGS__)
#define PLAYER_INFO(...) PLAYER_LOG(Logger::kInfo, __VA_ARGS__)
#define PLAYER_WARNING(...) PLAYER_LOG(Logger::kWarning, __VA_ARGS__)
#define PLAYER_ERROR(...) PLAYER_LOG(Logger::kError, __VA_ARGS__)

#endif  // TOOLS_PLAYER_PLAYERLOG_H
