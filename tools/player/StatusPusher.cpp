#include "tools/player/StatusPusher.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "tools/player/PlayerLog.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
int Milliseconds(std::int64_t value)
{
    return static_cast<int>(std::clamp<std::int64_t>(value, 0, std::numeric_limits<int>::max()));
}

int High(std::uint64_t value)
{
    return static_cast<int>(static_cast<std::uint32_t>(value >> 32));
}

int Low(std::uint64_t value)
{
    return static_cast<int>(static_cast<std::uint32_t>(value));
}

// The browser goes by the order; the names are for people who read the bytes.
void Fill(IPCParam& request, const PlaybackState& state)
{
    request.Add("playTime", Milliseconds(state.position));
    request.Add("endTime", Milliseconds(state.duration));
    request.Add("speed", state.speed);
    request.Add("volume", state.volume);
    request.Add("mediaStatus", static_cast<int>(state.status));
    request.Add("width", state.width);
    request.Add("height", state.height);
    request.Add("inSeek", state.inSeek ? 1 : 0);
    request.Add("totalHigh", High(state.totalBytes));
    request.Add("totalLow", Low(state.totalBytes));
    request.Add("offsetHigh", High(state.currentOffset));
    request.Add("offsetLow", Low(state.currentOffset));
}
}  // namespace

StatusPusher::StatusPusher(IPCSocketChannel& channel)
    : mChannel(channel), mPushing(false), mStop(false)
{
    mSchedule.Update(PlaybackState());
    mChannel.SetReplyTimeout(static_cast<int>(kAnswer.count()));
}

StatusPusher::~StatusPusher()
{
    Stop();
}

void StatusPusher::Start()
{
    mThread = std::thread([this] { Run(); });
}

void StatusPusher::Stop()
{
    if (!mThread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        mStop = true;
    }
    mNews.notify_one();
    mChannel.Reopen();  // ends a push that waits for its answer
    mThread.join();
}

void StatusPusher::Update(const PlaybackState& state)
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        if (!mSchedule.Update(state)) {
            return;
        }
    }
    mNews.notify_one();
}

void StatusPusher::Hold()
{
    std::unique_lock<std::mutex> lock(mMutex);
    mSchedule.Hold();
    mPushEnded.wait(lock, [this] { return !mPushing; });
}

void StatusPusher::Release()
{
    const std::lock_guard<std::mutex> hold(mMutex);
    mSchedule.Release();
}

void StatusPusher::Run()
{
    PlaybackState state;
    while (WaitForPush(state)) {
        Report(Push(state));
    }
}

// Waits until a state is to be pushed; false when the thread is to end. Meanwhile a channel whose
// browser has left is made ready for the next one.
bool StatusPusher::WaitForPush(PlaybackState& state)
{
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mStop) {
        if (!mChannel.IsRunning()) {
            PLAYER_INFO("Waiting for the browser's commands");
            mChannel.Start();
        }
        const PushSchedule::Time now = std::chrono::steady_clock::now();
        if (const std::optional<PlaybackState> due = mSchedule.Take(now)) {
            state = *due;
            mPushing = true;
            return true;
        }
        mNews.wait_until(lock, mSchedule.Next(now));
    }
    return false;
}

bool StatusPusher::Push(const PlaybackState& state)
{
    IPCParam request;
    IPCParam reply;
    Fill(request, state);
    if (mChannel.Call("SetStatus", &request, &reply) == 0) {
        return true;
    }
    mChannel.Reopen();
    return false;
}

void StatusPusher::Report(bool reached)
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        if (reached != mSchedule.IsReached() && !mStop) {
            PLAYER_INFO("%s", reached ? "The browser takes the state" : "The browser has gone");
        }
        mSchedule.Report(reached);
        mPushing = false;
    }
    mPushEnded.notify_all();
}
