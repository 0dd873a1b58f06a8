// The live view for a person: the state, drawn ten times a second, and a key for each command.
// While an address is typed the view goes on.
#ifndef TOOLS_BROWSER_SCREEN_H
#define TOOLS_BROWSER_SCREEN_H

#include <string>

#include "tools/browser/UrlPrompt.h"

class Session;

class Screen
{
public:
    // The session must be started, and a Terminal open for as long as this runs.
    explicit Screen(Session& session) : mSession(session) {}

    // Returns when q is pressed, a signal asks for the end, or the terminal has gone. While an
    // address is typed ^C only gives that up.
    void Run();

private:
    bool MustEnd();
    bool HandleKey(int key);
    bool HandleCommand(int key);
    void HandleSetting(int key);
    void HandleTyped(int key);
    void SeekBy(double seconds);
    void Poll();
    void Draw() const;

    Session& mSession;
    UrlPrompt mPrompt;
    std::string mMessage;
};

#endif  // TOOLS_BROWSER_SCREEN_H
