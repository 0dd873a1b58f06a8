// Public. The process-wide diagnostic output.
//
// All loggers share one output (none, standard error, a file, a UDP peer or a UNIX-domain stream
// socket), one buffer and one lock; a Logger adds its own level threshold. The first logger made
// reads "./logger.conf" and opens the output; for this library that happens while it is loaded.
//
// A decorated line is "[SSSSSSSS.UUUUUU][LOG]: message -> Function in (/File.cpp LINE)\n" with the
// monotonic clock's seconds and microseconds; warnings and errors carry their own prefixes with
// ANSI colours. A raw message is written as it is. Messages are cut at 1023 characters. Nothing is
// allocated per message, a filtered one costs one comparison, and errno is left as it was.
//
// Threads: every operation may be called from any thread. The lock is not recursive: a thread that
// holds it through Lock() must not call Print, Assert, SetLevel or ChangeMode before Unlock().
// Errors of the output are ignored: a diagnostic that cannot be written is dropped.
//
// The child of a fork may log, whichever thread held the lock: there the lock is free again before
// the handlers run that the host gave to pthread_atfork after the library was loaded.
#ifndef UTIL_OS_LINUX_LOGGER_H
#define UTIL_OS_LINUX_LOGGER_H

#include <atomic>
#include <cstdarg>

#include "util/Export.h"
#include "util/os_linux/LogConfig.h"
#include "util/os_linux/LoggerPrint.h"
#include "util/os_linux/StaticLock.h"

class HTML5_VIDEO_API Logger
{
public:
    // Levels; a larger value is more severe.
    enum Level
    {
        kInfo = 0,
        kWarning = 1,
        kError = 2
    };

    // The logger of an index from 0 to 26, made at level 0 on first request and never destroyed;
    // the same index always gives the same object, on whichever threads it is asked for. Null for
    // any other index.
    static Logger* GetLogger(int index);

    // A logger outside the table, at level 0.
    Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    virtual ~Logger();

    // One-time set-up: reads the configuration, opens the output and writes the settings to
    // standard output. The first constructor runs it; a further call does nothing.
    void Init();

    // Reads "./logger.conf" into sLogConfig. Without the file the settings stay as they are and
    // "Can not open config file" goes to standard output. The open output stays as it is.
    void LoadConfig();

    // Applies one line of the file: "mode=", "kmsg=", "serverip=", "port=" or "outpath=" in any
    // case, then the value. The line is modified in place. Text too long for its field is cut. The
    // open output stays as it is; "mode=" sets what GetMode returns and ChangeMode compares with.
    void ParseConfig(char* line);

    // Closes the output and opens that of the mode: 1 standard error, 2 the file outpath (else
    // "/config/debug.out"), 3 UDP to serverip and port (7272 when below 1), 4 a stream socket
    // connected to outpath (cut to 107 characters). Any other mode means 0, no output. The current
    // mode, once an output was chosen, is not reopened.
    static void ChangeMode(int mode);
    static int GetMode();

    // The mode that "./logger.conf" had when the library was loaded, whatever was chosen since.
    static int GetConfiguredMode();

    // Prints one message when the level is at least GetLevel(). raw 0: a decorated line; 1: the
    // message alone; other: nothing. All texts are read during the call only; the format is
    // printf's and must not come from outside. A level below 0 is decorated as info, one above 2
    // as an error.
    void Print(int level, int raw, const char* function, const char* file, int line,
               const char* format, ...) __attribute__((format(printf, 7, 8)));

    // Prints "%s is FAILED" with the expression at error level (cut to 127 characters in all). It
    // tests nothing itself.
    void Assert(int raw, const char* function, const char* file, int line, const char* expression);

    // The lowest level this logger prints.
    void SetLevel(int level);
    int GetLevel() const { return mLevel.load(std::memory_order_relaxed); }

    // The lock around all output.
    static void Lock() TAVI_ACQUIRE(sLock);
    static void Unlock() TAVI_RELEASE(sLock);

    // Entry of a thread that forwards kernel messages while the setting "kmsg=" is nonzero; for
    // the host to start, the library never does. The argument is not used.
    static void* ThreadKmsg(void*);

private:
    friend void ::Logger_Print(int index, int level, int raw, const char* function,
                               const char* file, int line, const char* format, ...);

    HTML5_VIDEO_LOCAL void VPrint(int level, int raw, const char* function, const char* file,
                                  int line, const char* format, va_list arguments)
        __attribute__((format(printf, 7, 0)));

    HTML5_VIDEO_LOCAL static StaticLock sLock;
    HTML5_VIDEO_LOCAL static std::atomic<bool> sInitialized;
    static LogConfig sLogConfig;  // fd guarded by sLock, port and texts by a lock of their own
    HTML5_VIDEO_LOCAL static std::atomic<Logger*> sLoggers[256];

    std::atomic<int> mLevel;
};

#endif  // UTIL_OS_LINUX_LOGGER_H
