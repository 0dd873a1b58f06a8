/* Public. Sleeps of the calling thread, plain C and C++. A signal ends a sleep early; nothing is
 * reported. Each is a cancellation point. */
#ifndef UTIL_OS_LINUX_SLEEP_H
#define UTIL_OS_LINUX_SLEEP_H

#include "util/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* aNanoseconds from 0 to 999999999; a larger value sleeps not at all. */
HTML5_VIDEO_API void NanoSleep(unsigned int aSeconds, unsigned int aNanoseconds);
HTML5_VIDEO_API void Sleep(unsigned int aSeconds);
HTML5_VIDEO_API void MSleep(unsigned int aMilliseconds);
HTML5_VIDEO_API void USleep(unsigned int aMicroseconds);

#ifdef __cplusplus
}
#endif

#endif /* UTIL_OS_LINUX_SLEEP_H */
