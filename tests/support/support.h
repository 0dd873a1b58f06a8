// What several tests need: a condition awaited with a deadline, the log captured in a file, a
// file's text.
#ifndef TESTS_SUPPORT_SUPPORT_H
#define TESTS_SUPPORT_SUPPORT_H

#include <cstddef>
#include <functional>
#include <string>

#include "util/os_linux/Logger.h"

namespace test {
// How long anything is awaited that comes at once on an idle machine, in milliseconds: long enough
// for a busy one under a sanitizer.
constexpr int kPatience = 30000;

// The sanitizers have an allocator of their own, and open descriptors to look at memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// Polls until the condition holds or the milliseconds ran out; whether it held.
bool WaitUntil(const std::function<bool()>& condition, int milliseconds = kPatience);

// The whole file, "" when there is none.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

// Runs the command line and returns its standard output; status, when given, receives the result
// of waiting for it.
std::string OutputOf(const std::string& command, int* status = nullptr);

// A TCP port on the loopback address that was free a moment ago.
int FreePort();

// How long the action takes, in milliseconds.
long long Milliseconds(const std::function<void()>& action);

// Gives this process a loopback network of its own, so that fixed ports are free whatever else runs
// on the machine. Where that is not permitted, nothing changes and the result is false. Call it
// before any thread starts.
bool UsePrivateNetwork();

// Takes the loopback network, or gives it back. REQUIRES: it is this process's own.
void SetLoopback(bool up);

// Open descriptors and threads of this process.
int CountDescriptors();
int CountThreads();

// Memory that this process has allocated, as the C library counts it; not under a sanitizer, which
// has an allocator of its own.
std::size_t AllocatedBytes();

// Whether the thread of that kernel id waits in a system call.
bool IsAsleep(int tid);

// Runs the action in that many threads at the same time, each with its number from 0 on, and waits
// for them.
void InThreads(int count, const std::function<void(int)>& action);

// Has the signal call the handler, without SA_RESTART.
void HandleSignal(
    int number, void (*handler)(int) = [](int) {});

// Interrupts the process's calls after so many microseconds each, as long as it lives.
class Interruptions
{
public:
    explicit Interruptions(int microseconds);
    ~Interruptions();
};

// Counts the occurrences of the word.
int Count(const std::string& text, const std::string& word);

// Captures standard error into a file.
class CapturedStderr
{
public:
    CapturedStderr();
    CapturedStderr(const CapturedStderr&) = delete;
    CapturedStderr& operator=(const CapturedStderr&) = delete;
    ~CapturedStderr();

    // What was written so far.
    std::string Text() const { return ReadFile(mPath); }

    // How often the text was.
    int Count(const std::string& text) const { return test::Count(Text(), text); }

    // Waits until the text was written; whether it was.
    bool WaitFor(const std::string& text, int milliseconds = kPatience) const
    {
        return WaitUntil([&] { return Count(text) > 0; }, milliseconds);
    }

private:
    int mOriginal;
    std::string mPath;
};

// Captures the log, which it sends to standard error.
class CapturedLog : public CapturedStderr
{
public:
    CapturedLog() { Logger::ChangeMode(1); }
};
}  // namespace test

#endif  // TESTS_SUPPORT_SUPPORT_H
