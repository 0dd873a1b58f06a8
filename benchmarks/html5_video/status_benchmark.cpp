// Reading the player's state through the C function while updates arrive, next to a copy that a
// mutex guards, and to one that nothing guards: what any read pays when the writer takes its cache
// line away. Above 1 a case is faster than the mutex.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "html5_video/HTML5VideoClient.h"
#include "html5_video/html5_video_client.h"

namespace {
std::mutex sMutex;
PlayerStatus sGuarded;

// As a host reads it; the read is a call that stores each value where the caller wants it.
template <typename Read>
int ReadWith(Read read)
{
    int time = 0;
    int end = 0;
    int speed = 0;
    int media = 0;
    int seeking = 0;
    unsigned long long total = 0;
    unsigned long long offset = 0;
    read(&time, &end, &speed, &media, &seeking, &total, &offset);
    return time;
}

int ReadHere()
{
    return ReadWith(html5_video_get_status);
}

int ReadGuarded()
{
    const std::lock_guard<std::mutex> hold(sMutex);
    const PlayerStatus copy = sGuarded;
    bench::Keep(copy);
    return copy.playTime;
}

// As many values as a status has, in one cache line; a read may see parts of two updates.
struct alignas(64) Unguarded
{
    std::atomic<int> values[11];
};
Unguarded sUnguarded;

[[gnu::noinline]] int CopyUnguarded(int* time, int* end, int* speed, int* media, int* seeking,
                                    unsigned long long* total, unsigned long long* offset)
{
    const auto read = [](int index) {
        return sUnguarded.values[index].load(std::memory_order_relaxed);
    };
    *time = read(0);
    *end = read(1);
    *speed = read(2);
    *media = read(3);
    *seeking = read(4);
    *total = static_cast<unsigned>(read(5));
    *offset = static_cast<unsigned>(read(6));
    return 0;
}

int ReadUnguarded()
{
    return ReadWith(CopyUnguarded);
}

void UpdateAll(int time)
{
    for (std::atomic<int>& value : sUnguarded.values) {
        value.store(time, std::memory_order_relaxed);
    }
    HTML5VideoClient::GetInstance()->setStatus(time, 60000, 100, 7, 2, false, 5000, 2500);
    const std::lock_guard<std::mutex> hold(sMutex);
    sGuarded.playTime = time;
}

void Compare(const char* topic, std::chrono::microseconds pause)
{
    std::atomic<bool> run{true};
    std::thread updates([&] {
        for (int time = 0; run; ++time) {
            UpdateAll(time);
            if (pause.count() != 0) {
                std::this_thread::sleep_for(pause);
            }
        }
    });
    bench::Interleave timing(topic, bench::Interleave::kThread);
    // Not by a pointer to the function, whose call would be part of the time.
    timing.Add("mutex", [] { return ReadGuarded(); });
    timing.Add("html5_video", [] { return ReadHere(); });
    timing.Add("unguarded", [] { return ReadUnguarded(); });
    timing.Run();
    run = false;
    updates.join();
}
}  // namespace

int main()
{
    bench::EnterScratchDirectory();
    const int null = open("/dev/null", O_WRONLY);
    bench::Require(dup2(null, STDERR_FILENO) >= 0, "dup2");
    html5_video_client_init();
    Compare("status/1000-updates-a-second", std::chrono::microseconds(1000));
    Compare("status/updates-without-pause", std::chrono::microseconds(0));
    return 0;
}
