// A gate that threads wait at; the wait is a cancellation point.
#ifndef TESTS_UTIL_OS_LINUX_GATE_H
#define TESTS_UTIL_OS_LINUX_GATE_H

#include <semaphore.h>

namespace test {
class Gate
{
public:
    Gate() { sem_init(&mSemaphore, 0, 0); }
    ~Gate() { sem_destroy(&mSemaphore); }
    void Open() { sem_post(&mSemaphore); }
    void Wait()
    {
        while (sem_wait(&mSemaphore) != 0) {}
    }

    static void* WaitAt(void* gate)
    {
        static_cast<Gate*>(gate)->Wait();
        return nullptr;
    }

private:
    sem_t mSemaphore;
};
}  // namespace test

#endif  // TESTS_UTIL_OS_LINUX_GATE_H
