// Processes and processors for benchmarks of two processes.
#ifndef BENCHMARKS_SUPPORT_PROCESSES_H
#define BENCHMARKS_SUPPORT_PROCESSES_H

#include <sys/types.h>

#include <functional>

namespace bench {
// Keeps the calling process, its later threads and its later children on one processor, the last
// one: a round trip is then the work of both sides, without waking another processor.
void PinToOneProcessor();

// The same for another of the machine's processors, counted back from the last, which is 0.
void PinToProcessor(int fromLast);

// Minor page faults of the process so far.
long PageFaults(pid_t process);

// The process runs in a fresh directory under /tmp, which is removed at exit.
void EnterScratchDirectory();

// A child that runs the body until the object is destroyed, which kills it, or the parent dies.
class Child
{
public:
    explicit Child(const std::function<void()>& body);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    pid_t Process() const { return mProcess; }

private:
    const pid_t mProcess;
};

// Calls the attempt until it succeeds; the program ends with a message after five seconds.
void RetryUntil(const char* what, const std::function<bool()>& attempt);

// Ends the program with a message unless the condition holds.
void Require(bool condition, const char* what);
}  // namespace bench

#endif  // BENCHMARKS_SUPPORT_PROCESSES_H
