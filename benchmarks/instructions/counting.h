// Work that is counted rather than timed: its instructions under a simulator and its system calls.
// A program runs one case; what is counted lies between two marks, which the case sets on the
// thread that does the work. Starting, connecting and warming up lie before them, so figures
// repeat.
#ifndef BENCHMARKS_INSTRUCTIONS_COUNTING_H
#define BENCHMARKS_INSTRUCTIONS_COUNTING_H

#include "benchmarks/support/registered.h"

// The marks: functions, for a simulator that knows names, each of which makes a system call that
// nothing else here makes, for whoever follows system calls. scripts/lib/benchmark_instructions.py
// and emulator_counts.cpp know them.
extern "C" {
void CountingBegins();
void CountingEnds();
}

namespace count {
// Runs before the marks, for memory, tables and connections that only the first ones make.
constexpr int kWarmUp = 20;

struct Case
{
    int operations;               // between the marks
    void (*run)(int operations);  // sets the marks
};

using RegisteredCase = bench::Registered<Case>;

// The operation so many times, on the calling thread.
template <typename Operation>
void Count(int operations, Operation operation)
{
    for (int done = 0; done < kWarmUp; ++done) {
        operation();
    }
    CountingBegins();
    for (int done = 0; done < operations; ++done) {
        operation();
    }
    CountingEnds();
}

// For work that comes from elsewhere, such as requests: each says so at the same place. Counts from
// one such place to that of so many operations later.
class Served
{
public:
    explicit Served(int operations) : mLast(kWarmUp + operations) {}

    // From the thread that does the work.
    void Arrived()
    {
        const int arrived = mArrived++;
        if (arrived == kWarmUp) {
            CountingBegins();
        } else if (arrived == mLast) {
            CountingEnds();
        }
    }

    // What has to arrive.
    int All() const { return mLast + 1; }

private:
    const int mLast;
    int mArrived = 0;
};

// One line for each case of this program, its name and its operations; or, with the name of one as
// the argument, runs it.
int Main(int count, char** arguments);
}  // namespace count

#endif  // BENCHMARKS_INSTRUCTIONS_COUNTING_H
