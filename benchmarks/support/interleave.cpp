#include "benchmarks/support/interleave.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace bench {
namespace {
const double kSliceNanoseconds = 1e6;

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double Nanoseconds(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}
}  // namespace

void Interleave::Run(int rounds)
{
    for (Case& timed : mCases) {
        Calibrate(timed);
    }
    for (int round = 0; round < rounds; ++round) {
        for (Case& timed : mCases) {
            timed.times.push_back(Measure(timed) / static_cast<double>(timed.count));
        }
        std::reverse(mCases.begin(), mCases.end());
    }
    if (rounds % 2 != 0) {
        std::reverse(mCases.begin(), mCases.end());
    }
    for (const Case& timed : mCases) {
        Report(timed);
    }
}

// Nanoseconds of processor time so far.
double Interleave::Now(const Case& timed) const
{
    double now =
        Nanoseconds(mClock == kThread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_PROCESS_CPUTIME_ID);
    clockid_t clock;
    if (timed.other != 0 && clock_getcpuclockid(timed.other, &clock) == 0) {
        now += Nanoseconds(clock);
    }
    return now;
}

// Nanoseconds of one slice.
double Interleave::Measure(const Case& timed) const
{
    if (timed.timed) {
        return timed.timed();
    }
    const double start = Now(timed);
    timed.run(timed.count);
    return Now(timed) - start;
}

// Whether a slice lasts long enough for the clock: the least of several, since calls that start
// threads or touch new memory would leave slices of one call.
bool Interleave::LastsLongEnough(const Case& timed) const
{
    constexpr int kSlices = 10;
    for (int slice = 0; slice < kSlices; ++slice) {
        if (Measure(timed) < kSliceNanoseconds) {
            return false;
        }
    }
    return true;
}

// Doubles the operations of a slice until it lasts long enough.
void Interleave::Calibrate(Case& timed) const
{
    while (!timed.timed && !LastsLongEnough(timed)) {
        timed.count *= 2;
    }
}

void Interleave::Report(const Case& timed) const
{
    const Case& base = mCases.front();
    std::vector<double> ratios;
    for (std::size_t round = 0; round < timed.times.size(); ++round) {
        ratios.push_back(base.times[round] / timed.times[round]);
    }
    const auto range = std::minmax_element(ratios.begin(), ratios.end());
    std::printf(
        "{\"topic\": \"%s\", \"case\": \"%s\", \"base\": \"%s\", \"ratio_median\": %.3f, "
        "\"ratio_min\": %.3f, \"ratio_max\": %.3f, \"ns\": %.1f}\n",
        mTopic.c_str(), timed.name.c_str(), base.name.c_str(), Median(ratios), *range.first,
        *range.second, Median(timed.times));
    std::fflush(stdout);
}
}  // namespace bench
