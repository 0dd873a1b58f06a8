// The page's console. The engine's process of the page prints the messages on the standard error
// that it inherits from the browser, among other lines: a pipe stands in its place. Console
// messages go to standard output, everything else to the true standard error.
//
// A message is one line: the text of console.log as it is, of the other levels with the level
// before and the address behind it.
#ifndef TOOLS_WEB_BROWSER_CONSOLELINES_H
#define TOOLS_WEB_BROWSER_CONSOLELINES_H

#include <functional>
#include <string>
#include <thread>

class ConsoleLines
{
public:
    // Whether the page has told "RESULT PASS" or "RESULT FAIL" is called back, on a thread of this
    // object. To be made before the engine starts a process.
    explicit ConsoleLines(std::function<void(bool passed)> onResult);
    ConsoleLines(const ConsoleLines&) = delete;
    ConsoleLines& operator=(const ConsoleLines&) = delete;

    // Passes on what has come, and puts the true standard error back.
    ~ConsoleLines();

private:
    void Run();
    bool ReadSome();
    void Pass(const std::string& line);

    const std::function<void(bool)> mOnResult;
    int mTrueError;
    int mPipe;  // its reading end
    int mStop;  // an event, when nothing more is to be waited for
    std::string mRest;
    std::thread mThread;
};

#endif  // TOOLS_WEB_BROWSER_CONSOLELINES_H
