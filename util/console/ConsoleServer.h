// Internal. How a line arrives and who serves it: the settings, the console's thread, and its loop
// of prompt, line and statement. What a line does is the interpreter's business.
//
// Threads: what is said at CmdMgr, whose operations these are.
#ifndef UTIL_CONSOLE_CONSOLESERVER_H
#define UTIL_CONSOLE_CONSOLESERVER_H

#include <atomic>
#include <memory>

#include "util/console/language/Interpreter.h"
#include "util/console/lines/ConsoleLink.h"
#include "util/console/lines/ConsoleSettings.h"
#include "util/console/lines/LineSource.h"
#include "util/console/lines/StopSignal.h"
#include "util/os_linux/StaticLock.h"

class Thread;

class ConsoleServer
{
public:
    static constexpr char kPrompt[] = "\nCMD>";

    explicit ConsoleServer(int port);
    ConsoleServer(const ConsoleServer&) = delete;
    ConsoleServer& operator=(const ConsoleServer&) = delete;
    ~ConsoleServer();

    void LoadConfig();
    void ParseConfig(const char* line);

    // Calls change(ConsoleSettings&); the settings hold from the next opening on.
    template <typename Change>
    void ChangeSettings(Change change)
    {
        const StaticLockHold hold(mSettingsLock);
        change(mSettings);
    }
    void Set(int ConsoleSettings::*setting, int value);

    int Start();
    void Stop();

    // Stops, and waits up to two seconds for the thread to end.
    void End();

    int Open();

    // Serves clients on the calling thread until it is told to stop. Nothing when the console runs
    // already.
    void Run();

    ConsoleLink& Link() { return mLink; }
    LineSource& Lines() { return mLines; }
    Interpreter& Language() { return mLanguage; }

private:
    static void* ThreadBody(void* server);
    bool WaitForFormerThread() TAVI_REQUIRES(mStartLock);
    bool BeginServing();
    void EndServing();
    void Serve();
    void NextClient();

    StaticLock mStartLock;  // one Start at a time
    std::unique_ptr<Thread> mThread TAVI_GUARDED_BY(mStartLock);

    // Held to change the two together: a Stop beside the loop's end would otherwise raise the
    // signal for the next loop.
    StaticLock mStateLock;
    std::atomic<bool> mStop;
    std::atomic<bool> mServing;  // from Start, or Run, until the loop has ended

    StaticLock mSettingsLock;
    ConsoleSettings mSettings TAVI_GUARDED_BY(mSettingsLock);

    // Of the console's thread.
    StopSignal mSignal;
    ConsoleLink mLink;
    LineSource mLines;
    Interpreter mLanguage;
};

#endif  // UTIL_CONSOLE_CONSOLESERVER_H
