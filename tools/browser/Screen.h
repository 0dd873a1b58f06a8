// The live view for a person: the state, drawn ten times a second, and a key for each command.
#ifndef TOOLS_BROWSER_SCREEN_H
#define TOOLS_BROWSER_SCREEN_H

#include <string>

#include "tools/browser/Status.h"

class Session;

class Screen
{
public:
    // The session must be started, and a Terminal open for as long as this runs.
    explicit Screen(Session& session) : mSession(session) {}

    // Returns when q is pressed, a signal asks for the end, or the terminal has gone.
    void Run();

private:
    bool HandleKey(int key);
    void HandleSetting(int key);
    void SeekBy(double seconds);
    void AskForUrl();
    void Poll();
    void Draw() const;
    void DrawState(const Status& status) const;
    void DrawProgress(const Status& status) const;

    Session& mSession;
    std::string mMessage;
};

#endif  // TOOLS_BROWSER_SCREEN_H
