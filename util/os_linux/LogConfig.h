// Public. The logger's settings and its output, one record per process (Logger::sLogConfig).
#ifndef UTIL_OS_LINUX_LOGCONFIG_H
#define UTIL_OS_LINUX_LOGCONFIG_H

#include <atomic>

struct LogConfig
{
    std::atomic<int> kmsg;  // nonzero: Logger::ThreadKmsg forwards kernel messages
    std::atomic<int> mode;  // 0 none, 1 standard error, 2 file, 3 UDP, 4 UNIX-domain stream
    int fd;                 // 0 never chosen, -1 none, 2 standard error, else owned by the logger
    int port;               // UDP port of mode 3
    char outpath[1024];     // file of mode 2, socket path of mode 4
    char serverip[32];      // dotted-decimal IPv4 address of mode 3
};

#endif  // UTIL_OS_LINUX_LOGCONFIG_H
