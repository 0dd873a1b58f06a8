#include "tools/player/Player.h"

#include <chrono>
#include <utility>

namespace {
using std::chrono::milliseconds;

constexpr std::size_t kMaxQueue = 1000;

// While something moves, the end and the progress are noticed this soon.
constexpr milliseconds kBusyTurn{20};
constexpr milliseconds kIdleTurn{1000};

bool IsMoving(const PlaybackState& state)
{
    return state.inSeek || state.status == HTML5_VIDEO_STATUS_LOADING ||
           state.status == HTML5_VIDEO_STATUS_PLAYING ||
           state.status == HTML5_VIDEO_STATUS_BUFFERING;
}
}  // namespace

Player::Player(const EngineMaker& makeEngine, std::function<void(const PlaybackState&)> publish)
    : mPublish(std::move(publish)),
      mWoken(false),
      mStop(false),
      mEngine(makeEngine([this] { Wake(); })),
      mThread([this] { Run(); })
{}

Player::~Player()
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        mStop = true;
    }
    mNews.notify_one();
    mThread.join();
}

bool Player::Post(Command command)
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        if (mQueue.size() >= kMaxQueue) {
            return false;
        }
        mQueue.push_back(std::move(command));
    }
    mNews.notify_one();
    return true;
}

void Player::Wake()
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        mWoken = true;
    }
    mNews.notify_one();
}

void Player::Run()
{
    PlaybackState state;
    std::deque<Command> commands;
    while (WaitForWork(commands, state)) {
        for (const Command& command : commands) {
            command(*mEngine);
        }
        commands.clear();
        state = mEngine->Update();
        mPublish(state);
    }
}

// Takes what is queued; false when the thread is to end.
bool Player::WaitForWork(std::deque<Command>& commands, const PlaybackState& state)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mNews.wait_for(lock, IsMoving(state) ? kBusyTurn : kIdleTurn,
                   [this] { return mStop || mWoken || !mQueue.empty(); });
    mWoken = false;
    commands.swap(mQueue);
    return !mStop;
}
