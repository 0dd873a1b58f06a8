// Timings as ratios measured in one process. The cases of a topic run in short slices, round by
// round, in an order that turns around with each round, so that a machine which is busy or changes
// its clock rate slows all of them alike. What is reported is the ratio within a round. Time is
// processor time: that of other programs on the machine does not count.
#ifndef BENCHMARKS_SUPPORT_INTERLEAVE_H
#define BENCHMARKS_SUPPORT_INTERLEAVE_H

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {
// Makes the compiler believe that the value is used.
template <typename T>
void Keep(const T& value)
{
    asm volatile("" : : "r"(&value) : "memory");
}

class Interleave
{
public:
    // Whose processor time counts: the calling process's with all its threads, or the calling
    // thread's alone.
    enum Clock
    {
        kProcess,
        kThread
    };

    // The topic names what is measured in the output, such as "sha1/1KiB".
    explicit Interleave(std::string topic, Clock clock = kProcess)
        : mTopic(std::move(topic)), mClock(clock)
    {}

    // Adds a case; the first one added is the base. One call of the operation is one measured
    // unit of work; its result is kept from being optimised away. The operation is copied. With
    // another process that does part of the work, its processor time is added.
    template <typename Operation>
    void Add(std::string name, Operation operation, pid_t other = 0)
    {
        mCases.push_back({std::move(name),
                          [operation](std::size_t count) {
                              for (std::size_t i = 0; i < count; ++i) {
                                  Keep(operation());
                              }
                          },
                          1,
                          {},
                          other,
                          {}});
    }

    // Adds a case that runs its operation once and says itself how many nanoseconds it took.
    void AddTimed(std::string name, std::function<double()> operation)
    {
        mCases.push_back({std::move(name), {}, 1, {}, 0, std::move(operation)});
    }

    // Measures every case in the given number of rounds and prints one JSON object a line on
    // standard output: topic, case, base, ratio_median, ratio_min, ratio_max, ns. A ratio is the
    // base's time divided by the case's time in the same round: above 1 the case is faster than
    // the base. ns is the case's median time of one operation in nanoseconds. A reader takes the
    // lines that begin with a brace, since what is measured may print too.
    void Run(int rounds = 101);

private:
    struct Case
    {
        std::string name;
        std::function<void(std::size_t count)> run;
        std::size_t count;          // operations in one slice
        std::vector<double> times;  // nanoseconds of one operation, by round
        pid_t other;                // 0 for none
        std::function<double()> timed;
    };

    double Now(const Case& timed) const;
    double Measure(const Case& timed) const;
    bool LastsLongEnough(const Case& timed) const;
    void Calibrate(Case& timed) const;
    void Report(const Case& timed) const;

    const std::string mTopic;
    const Clock mClock;
    std::vector<Case> mCases;
};
}  // namespace bench

#endif  // BENCHMARKS_SUPPORT_INTERLEAVE_H
