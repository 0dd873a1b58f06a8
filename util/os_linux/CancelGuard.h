// Public. Keeps the calling thread from being cancelled while the guard lives: a thread that is
// cancelled with a lock held leaves it locked for ever, and one cancelled inside a destructor ends
// the process. A cancel that arrives meanwhile stays pending.
#ifndef UTIL_OS_LINUX_CANCELGUARD_H
#define UTIL_OS_LINUX_CANCELGUARD_H

class CancelGuard
{
public:
    CancelGuard();
    CancelGuard(const CancelGuard&) = delete;
    CancelGuard& operator=(const CancelGuard&) = delete;
    ~CancelGuard();

private:
    int mPrevious;
};

#endif  // UTIL_OS_LINUX_CANCELGUARD_H
