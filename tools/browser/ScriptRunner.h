// Runs commands one after the other, or plays what is loaded, and prints what happens as JSON
// lines:
//
//     {"event":"status", ...}         after status and after each wait that was fulfilled; at each
//                                     new state while it plays to the end
//     {"event":"player-found"}        the player reports its state, for the first time or again
//     {"event":"player-gone"}
//     {"event":"timeout", ...}        a wait was not: the state at its end, as a status
//     {"event":"error","reason":"..."}
//
// Each line also has "time", the milliseconds since the start.
#ifndef TOOLS_BROWSER_SCRIPTRUNNER_H
#define TOOLS_BROWSER_SCRIPTRUNNER_H

#include <chrono>
#include <cstdio>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/browser/Command.h"
#include "tools/browser/Session.h"

class ScriptRunner
{
public:
    // Exit statuses, as --help lists them.
    enum Result
    {
        kDone = 0,
        kTimedOut = 1,
        kWrongCommand = 2,
        kNotPlayed = 4
    };

    // The session must be started. The stream is flushed after each line.
    ScriptRunner(Session& session, std::FILE* output);

    // Looks at all the lines before it runs the first. Stops at quit and at the first failure.
    Result RunAll(const std::vector<std::string>& lines);

    // Runs lines as they come on the descriptor, until its end.
    Result RunFrom(int descriptor);

    // Waits until the media that was loaded and played has come to its end: kDone, or kNotPlayed
    // when it failed or was unloaded by somebody else. Without a player for 30 s: kTimedOut.
    Result PlayToEnd();

private:
    using Clock = std::chrono::steady_clock;

    bool Parse(const std::string& line, Command& command);
    Result Run(const Command& command);
    Result RunWait(const Command& command);
    Result WaitUntil(double seconds, const std::function<bool()>& condition);
    void Poll();
    void PrintStatus(const char* event) { PrintStatus(event, mSession.GetStatus()); }
    void PrintStatus(const char* event, const Status& status);
    void Print(nlohmann::ordered_json line);

    Session& mSession;
    std::FILE* const mOutput;
    const Clock::time_point mStart;
    bool mQuit;
};

#endif  // TOOLS_BROWSER_SCRIPTRUNNER_H
