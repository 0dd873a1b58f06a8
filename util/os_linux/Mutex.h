// Public. A named lock that reports in the log when it has been waiting long.
//
// Neither recursive nor error-checking: a thread must not lock a Mutex it already holds. A waiting
// Lock polls every 10 ms, so it may take the mutex up to 10 ms after it was freed.
#ifndef UTIL_OS_LINUX_MUTEX_H
#define UTIL_OS_LINUX_MUTEX_H

#include <pthread.h>

#include "util/Export.h"
#include "util/os_linux/ThreadAnnotations.h"

class HTML5_VIDEO_API TAVI_CAPABILITY("mutex") Mutex
{
public:
    // The name is copied and cut to 31 characters; null gives "Undefined".
    explicit Mutex(const char* name);
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // REQUIRES: nobody holds the mutex.
    virtual ~Mutex();

    // Takes the mutex, waiting as long as it takes. After 110 ms, and then every 100 ms, it logs
    // "Lock %s has blocked in %d" at info level with the name and the count of 10 ms waits.
    // Always 0.
    int Lock() TAVI_ACQUIRE();

    // One attempt: 0 when taken, -1 when held by anyone, the calling thread included.
    int Trylock() TAVI_TRY_ACQUIRE(0);

    // 0, or the POSIX error number.
    int Unlock() TAVI_RELEASE();

    // The name as stored.
    const char* GetName() const { return mName; }

private:
    friend class CondVar;

    pthread_mutex_t mMutex;
    char mName[32];
};

// Holds a Mutex for a scope.
class TAVI_SCOPED_CAPABILITY MutexHold
{
public:
    explicit MutexHold(Mutex& mutex) TAVI_ACQUIRE(mutex) : mMutex(mutex) { mMutex.Lock(); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;
    ~MutexHold() TAVI_RELEASE() { mMutex.Unlock(); }

private:
    Mutex& mMutex;
};

#endif  // UTIL_OS_LINUX_MUTEX_H
