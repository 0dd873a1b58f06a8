#include "util/os_linux/Mutex.h"

#include "util/os_linux/FixedText.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Sleep.h"

static Logger* const _logger = Logger::GetLogger(1);

Mutex::Mutex(const char* name) : mMutex(PTHREAD_MUTEX_INITIALIZER), mName()
{
    CopyName(mName, name);
}

Mutex::~Mutex()
{
    pthread_mutex_destroy(&mMutex);
}

int Mutex::Lock() TAVI_NO_THREAD_SAFETY_ANALYSIS
{
    for (int attempts = 0; Trylock() != 0; ++attempts) {
        MSleep(10);
        if (attempts > 0 && attempts % 10 == 0) {
            TAVI_INFO("Lock %s has blocked in %d", mName, attempts);
        }
    }
    return 0;
}

int Mutex::Trylock()
{
    return pthread_mutex_trylock(&mMutex) == 0 ? 0 : -1;
}

int Mutex::Unlock()
{
    return pthread_mutex_unlock(&mMutex);
}
