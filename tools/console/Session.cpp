#include "tools/console/Session.h"

#include <cstdio>

#include "tools/console/Interrupt.h"
#include "tools/console/LineEditor.h"

namespace {
using Answer = ConsoleConnection::Answer;

constexpr int kNoLimit = -1;

// Milliseconds without an answer after which the user is told what is waited for.
constexpr int kPatience = 1000;

// Milliseconds Close waits for the console to end the connection.
constexpr int kLeaveTimeout = 1000;

void Report(const std::string& message)
{
    std::fprintf(stderr, "html5-video-console: %s\n", message.c_str());
}

bool Fits(const std::string& line, const std::string& place)
{
    if (line.size() <= ConsoleConnection::kLongestLine) {
        return true;
    }
    Report(place + "a line has at most " + std::to_string(ConsoleConnection::kLongestLine) +
           " bytes, this one has " + std::to_string(line.size()));
    return false;
}
}  // namespace

ExitStatus Session::Open(const std::string& host, const std::string& port, int limit)
{
    const std::string reason = mConnection.Connect(host, port, limit);
    if (!reason.empty()) {
        Report("cannot connect to " + host + " port " + port + ": " + reason);
        return kNotConnected;
    }
    Answer answer = Answer::kClosed;
    if (mConnection.Send("START")) {
        const bool patient = limit <= 0 || limit > kPatience;
        answer = mConnection.WaitForPrompt(patient ? kPatience : limit);
        if (answer == Answer::kTimeout && patient) {
            Report(limit > 0 ? "waiting: the console may be serving somebody else"
                             : "waiting: the console may be serving somebody else; ^C ends this");
            answer = mConnection.WaitForPrompt(limit > 0 ? limit - kPatience : kNoLimit);
        }
    }
    switch (answer) {
        case Answer::kPrompt:
            mOpen = true;
            return kSuccess;
        case Answer::kTimeout:
            Report("no answer from " + host + " port " + port +
                   ": the console may be serving somebody else");
            return kNotConnected;
        case Answer::kInterrupted:
            return kInterrupted;
        case Answer::kStrange:
            Report(host + " port " + port + " is no console");
            return kNotConnected;
        case Answer::kClosed:
            break;
    }
    Report(host + " port " + port + " refused the connection's opening");
    return kNotConnected;
}

ExitStatus Session::RunLines(std::istream& source, const std::string& name)
{
    int number = 0;
    for (std::string line; mOpen && std::getline(source, line);) {
        ++number;
        if (!Fits(line, name + ":" + std::to_string(number) + ": ")) {
            return kBadInput;
        }
        mBuilder.Add(line);
        if (mBuilder.IsComplete()) {
            const ExitStatus status = RunStatement(mBuilder.Take());
            if (status != kSuccess) {
                return status;
            }
        }
    }
    if (source.bad()) {
        Report(name + ": cannot be read");
        return kBadInput;
    }
    return kSuccess;
}

ExitStatus Session::Finish()
{
    if (mBuilder.IsOpen()) {
        Report("the last block has no END and was not sent");
        return kBadInput;
    }
    return kSuccess;
}

ExitStatus Session::RunTerminal(const std::vector<std::string>& words)
{
    LineEditor editor(mConnection.Descriptor(), words);
    while (mOpen) {
        std::string line;
        switch (editor.Read(mBuilder.IsOpen() ? "...>" : "CMD>", &line)) {
            case LineEditor::Outcome::kEnd:
                std::printf("\n");
                return kSuccess;
            case LineEditor::Outcome::kInterrupted:
                std::printf("^C\n");
                mBuilder.Clear();
                continue;
            case LineEditor::Outcome::kLost:
                std::printf("\n");
                return WaitForAnswer(false);
            case LineEditor::Outcome::kLine:
                break;
        }
        editor.Remember(line);
        if (!Fits(line, "")) {
            continue;
        }
        mBuilder.Add(line);
        if (mBuilder.IsComplete()) {
            const ExitStatus status = RunStatement(mBuilder.Take());
            if (status != kSuccess) {
                return status;
            }
        }
    }
    return kSuccess;
}

void Session::Close()
{
    if (mOpen && mConnection.Send("quit")) {
        mConnection.WaitForPrompt(kLeaveTimeout);
    }
    mOpen = false;
}

ExitStatus Session::RunStatement(const std::vector<std::string>& statement)
{
    for (const std::string& line : statement) {
        if (!mConnection.Send(line)) {
            break;  // what the console sent before it closed is still to be read
        }
    }
    return WaitForAnswer(MayQuit(statement));
}

ExitStatus Session::WaitForAnswer(bool mayQuit)
{
    bool told = false;
    for (;;) {
        switch (mConnection.WaitForPrompt(kNoLimit)) {
            case Answer::kPrompt:
                return kSuccess;
            case Answer::kInterrupted:
                if (told) {
                    mOpen = false;
                    return kInterrupted;
                }
                told = true;
                Report(
                    "the statement still runs in the console; ^C again leaves, and the host ends\n"
                    "it after its linger time (10 s unless its cmd.conf says otherwise)");
                break;
            case Answer::kClosed:
            case Answer::kStrange:
            case Answer::kTimeout:
                mOpen = false;
                if (mayQuit) {
                    return kSuccess;
                }
                Report("the connection was lost");
                return kLost;
        }
    }
}
