// Internal. Where the console's next line comes from: the script file that FILE runs, else the
// client. Of the console's thread.
#ifndef UTIL_CONSOLE_LINES_LINESOURCE_H
#define UTIL_CONSOLE_LINES_LINESOURCE_H

#include <cstdio>

class ConsoleLink;
class StopSignal;

class LineSource
{
public:
    LineSource(ConsoleLink& link, StopSignal& stop) : mLink(link), mStop(stop) {}
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;

    // Reads the next line into CmdLanguage::kLineSize bytes: its length, or -1 when it was dropped
    // or none can come. None comes once the StopSignal says so. A script needs no client.
    int Next(char* line);

    // How many scripts are being read, one called by the other.
    int ScriptDepth() const { return mDepth; }

private:
    friend class ScriptScope;

    ConsoleLink& mLink;
    StopSignal& mStop;
    FILE* mScript = nullptr;
    int mDepth = 0;
};

// Makes lines come from a script, which it takes over, for its time; then from where they came
// before, where that stood.
class ScriptScope
{
public:
    ScriptScope(LineSource& lines, FILE* script);
    ScriptScope(const ScriptScope&) = delete;
    ScriptScope& operator=(const ScriptScope&) = delete;
    ~ScriptScope();

private:
    LineSource& mLines;
    FILE* const mFormer;
};

#endif  // UTIL_CONSOLE_LINES_LINESOURCE_H
