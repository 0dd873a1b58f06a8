#include "util/os_linux/CancelGuard.h"

#include <pthread.h>

CancelGuard::CancelGuard() : mPrevious(PTHREAD_CANCEL_ENABLE)
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mPrevious);
}

CancelGuard::~CancelGuard()
{
    pthread_setcancelstate(mPrevious, nullptr);
}
