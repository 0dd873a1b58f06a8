/* Public. The logger's entry for C, plain C (C99) and C++; Logger.h has the rest. */
#ifndef UTIL_OS_LINUX_LOGGERPRINT_H
#define UTIL_OS_LINUX_LOGGERPRINT_H

#include "util/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prints one message through the logger of that index; an index outside 0 to 26 prints nothing.
 * Levels are 0 info, 1 warning and 2 error. raw 0: a decorated line that names the function, the
 * file and the line; 1: the message alone; other: nothing. The format is printf's and must not come
 * from outside; the message is cut at 1023 characters. Texts are read during the call only; a null
 * function or file reads "(null)". Safe from any thread that does not hold the log's lock. */
HTML5_VIDEO_API void Logger_Print(int index, int level, int raw, const char* function,
                                  const char* file, int line, const char* format, ...)
    __attribute__((format(printf, 7, 8)));

#ifdef __cplusplus
}
#endif

#endif /* UTIL_OS_LINUX_LOGGERPRINT_H */
