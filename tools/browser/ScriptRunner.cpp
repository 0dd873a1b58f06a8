#include "tools/browser/ScriptRunner.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <thread>

#include "tools/browser/LineReader.h"

namespace {
constexpr std::chrono::milliseconds kTurn{10};
constexpr int kLineWait = 50;  // milliseconds

// How long to be without a player, and how long an end counts as that of the former media when
// nothing else of this one was seen: a player tells its last state first.
constexpr std::chrono::seconds kPlayerWait{30};
constexpr std::chrono::seconds kFormerEnd{2};

// For numbers that the command's range bounds.
int ToInt(double value)
{
    return static_cast<int>(value);
}

bool IsOver(MediaStatus media)
{
    return media == HTML5_VIDEO_STATUS_ENDED || media == HTML5_VIDEO_STATUS_IDLE || IsError(media);
}

bool IsAt(const Status& status, double position)
{
    return status.speed < 0 ? status.position <= position : status.position >= position;
}

bool IsState(const Status& status, const std::string& wanted)
{
    return wanted == html5_video_media_status_name(status.media) ||
           wanted == std::to_string(static_cast<int>(status.media));
}
}  // namespace

ScriptRunner::ScriptRunner(Session& session, std::FILE* output)
    : mSession(session), mOutput(output), mStart(Clock::now()), mQuit(false)
{}

ScriptRunner::Result ScriptRunner::RunAll(const std::vector<std::string>& lines)
{
    std::vector<Command> commands(lines.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        if (!Parse(lines[index], commands[index])) {
            return kWrongCommand;
        }
    }
    for (const Command& command : commands) {
        Poll();
        const Result result = Run(command);
        if (result != kDone || mQuit) {
            return result;
        }
    }
    return kDone;
}

ScriptRunner::Result ScriptRunner::RunFrom(int descriptor)
{
    LineReader reader(descriptor);
    std::string line;
    LineReader::Result read = LineReader::kNothingYet;
    while (!mQuit && (read = reader.Read(line, kLineWait)) != LineReader::kEnd) {
        Poll();
        Command command;
        if (read == LineReader::kNothingYet) {
            continue;
        }
        const Result result = Parse(line, command) ? Run(command) : kWrongCommand;
        if (result != kDone) {
            return result;
        }
    }
    return kDone;
}

ScriptRunner::Result ScriptRunner::PlayToEnd()
{
    MediaStatus shown = HTML5_VIDEO_STATUS_UNKNOWN;
    bool begun = false;
    Clock::time_point changed = Clock::now();
    Clock::time_point hadPlayer = changed;
    for (Poll(); Clock::now() - hadPlayer < kPlayerWait; Poll()) {
        const Status status = mSession.GetStatus();
        const Clock::time_point now = Clock::now();
        hadPlayer = mSession.HasPlayer() ? now : hadPlayer;
        if (mSession.HasPlayer() && status.media != shown) {
            PrintStatus("status", status);
            shown = status.media;
            changed = now;
        }
        begun = begun || (shown != HTML5_VIDEO_STATUS_UNKNOWN && !IsOver(shown));
        if (IsOver(shown) && (begun || now - changed >= kFormerEnd)) {
            return shown == HTML5_VIDEO_STATUS_ENDED ? kDone : kNotPlayed;
        }
        std::this_thread::sleep_for(kTurn);
    }
    PrintStatus("timeout");
    return kTimedOut;
}

bool ScriptRunner::Parse(const std::string& line, Command& command)
{
    std::string reason;
    if (Command::Parse(line, command, reason)) {
        return true;
    }
    Print({{"event", "error"}, {"reason", reason}});
    return false;
}

ScriptRunner::Result ScriptRunner::Run(const Command& command)
{
    switch (command.kind) {
        case Command::kNothing:
            break;
        case Command::kLoad:
            mSession.Load(command.text);
            break;
        case Command::kCancelLoad:
            mSession.CancelLoad();
            break;
        case Command::kPlay:
            mSession.Play();
            break;
        case Command::kPause:
            mSession.Pause();
            break;
        case Command::kSeek:
            mSession.Seek(command.numbers[0]);
            break;
        case Command::kRate:
            mSession.SetRate(command.numbers[0]);
            break;
        case Command::kVolume:
            mSession.SetVolume(command.numbers[0]);
            break;
        case Command::kMute:
            mSession.SetMuted(command.text == "on");
            break;
        case Command::kSize:
            mSession.SetSize(ToInt(command.numbers[0]), ToInt(command.numbers[1]));
            break;
        case Command::kStatus:
            PrintStatus("status");
            break;
        case Command::kQuit:
            mQuit = true;
            break;
        default:
            return RunWait(command);
    }
    return kDone;
}

ScriptRunner::Result ScriptRunner::RunWait(const Command& command)
{
    switch (command.kind) {
        case Command::kWaitStatus:
            return WaitUntil(command.numbers[0],
                             [&] { return IsState(mSession.GetStatus(), command.text); });
        case Command::kWaitPosition:
            return WaitUntil(command.numbers[1],
                             [&] { return IsAt(mSession.GetStatus(), command.numbers[0]); });
        case Command::kWaitPlayer:
            return WaitUntil(command.numbers[0], [&] { return mSession.HasPlayer(); });
        case Command::kWaitGone:
            return WaitUntil(command.numbers[0], [&] { return !mSession.HasPlayer(); });
        default:
            break;
    }
    const Clock::time_point end =
        Clock::now() + std::chrono::milliseconds(ToInt(command.numbers[0] * 1000));
    while (Clock::now() < end) {
        Poll();
        std::this_thread::sleep_for(std::min<Clock::duration>(kTurn, end - Clock::now()));
    }
    return kDone;
}

ScriptRunner::Result ScriptRunner::WaitUntil(double seconds, const std::function<bool()>& condition)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(ToInt(seconds * 1000));
    for (Poll(); !condition(); Poll()) {
        if (Clock::now() >= end) {
            PrintStatus("timeout");
            return kTimedOut;
        }
        std::this_thread::sleep_for(kTurn);
    }
    PrintStatus("status");
    return kDone;
}

void ScriptRunner::Poll()
{
    switch (mSession.Poll()) {
        case Session::Event::kNone:
            break;
        case Session::Event::kPlayerFound:
            Print({{"event", "player-found"}});
            break;
        case Session::Event::kPlayerGone:
            Print({{"event", "player-gone"}});
            break;
    }
}

void ScriptRunner::PrintStatus(const char* event, const Status& status)
{
    Print({{"event", event},
           {"player", mSession.HasPlayer()},
           {"state", html5_video_media_status_name(status.media)},
           {"mediaStatus", static_cast<int>(status.media)},
           {"position", status.position},
           {"duration", status.duration},
           {"speed", status.speed},
           {"inSeek", status.inSeek},
           {"width", status.width},
           {"height", status.height},
           {"totalBytes", status.totalBytes},
           {"currentOffset", status.currentOffset}});
}

void ScriptRunner::Print(nlohmann::ordered_json line)
{
    line["time"] =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - mStart).count();
    // A line of a script may hold any bytes; what is no text is replaced.
    const std::string text =
        line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    std::fwrite(text.data(), 1, text.size(), mOutput);
    std::fflush(mOutput);
}
