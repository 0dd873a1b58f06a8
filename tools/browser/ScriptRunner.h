// Runs commands one after the other and prints what happens as JSON lines on standard output:
//
//     {"event":"status", ...}         after status and after each wait that was fulfilled
//     {"event":"player-found"}        the player reports its state, for the first time or again
//     {"event":"player-gone"}
//     {"event":"timeout", ...}        a wait was not: the state at its end, as a status
//     {"event":"error","reason":"..."}
//
// Each line also has "time", the milliseconds since the start.
#ifndef TOOLS_BROWSER_SCRIPTRUNNER_H
#define TOOLS_BROWSER_SCRIPTRUNNER_H

#include <chrono>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/browser/Command.h"

class Session;

class ScriptRunner
{
public:
    // Exit statuses, as --help lists them.
    enum Result
    {
        kDone = 0,
        kTimedOut = 1,
        kWrongCommand = 2
    };

    // The session must be started.
    explicit ScriptRunner(Session& session);

    // Looks at all the lines before it runs the first. Stops at quit and at the first failure.
    Result RunAll(const std::vector<std::string>& lines);

    // Runs lines as they come on the descriptor, until its end.
    Result RunFrom(int descriptor);

private:
    using Clock = std::chrono::steady_clock;

    bool Parse(const std::string& line, Command& command);
    Result Run(const Command& command);
    Result RunWait(const Command& command);
    Result WaitUntil(double seconds, const std::function<bool()>& condition);
    void Poll();
    void PrintStatus(const char* event);
    void Print(nlohmann::ordered_json line);

    Session& mSession;
    const Clock::time_point mStart;
    bool mQuit;
};

#endif  // TOOLS_BROWSER_SCRIPTRUNNER_H
