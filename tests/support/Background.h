// A thread beside the test's own, which is expected to wait for something or to come back.
#ifndef TESTS_SUPPORT_BACKGROUND_H
#define TESTS_SUPPORT_BACKGROUND_H

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include "tests/support/support.h"

namespace test {
class Background
{
public:
    explicit Background(std::function<void()> action)
        : mThread([this, action = std::move(action)] {
              mTid = gettid();
              action();
              mReturned = true;
          })
    {}
    ~Background() { mThread.join(); }

    // Until it sleeps in a system call, or has returned; whether it sleeps.
    bool Waits() const
    {
        return WaitUntil([this] { return mReturned || (mTid != 0 && IsAsleep(mTid)); }) &&
               !mReturned;
    }

    // Whether it returns within the milliseconds.
    bool Returns(int milliseconds = kPatience) const
    {
        return WaitUntil([this] { return mReturned.load(); }, milliseconds);
    }

    void Signal(int number) { pthread_kill(mThread.native_handle(), number); }

private:
    std::atomic<int> mTid{0};
    std::atomic<bool> mReturned{false};
    std::thread mThread;
};
}  // namespace test

#endif  // TESTS_SUPPORT_BACKGROUND_H
