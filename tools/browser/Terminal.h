// The terminal as a screen for as long as this lives: no echo, single keys, the former contents
// back at the end. It is restored on every way out, also when the process dies of a signal.
//
// The first SIGINT, SIGTERM or SIGHUP only shows in IsEnding; a second one ends the process.
#ifndef TOOLS_BROWSER_TERMINAL_H
#define TOOLS_BROWSER_TERMINAL_H

#include <cstdio>

class Terminal
{
public:
    // Whether a terminal of this process's TERM can be a screen: its type is known, and the cursor
    // can be moved.
    static bool CanBeScreen();

    // Draws on this stream and reads keys from standard input, both the terminal's.
    explicit Terminal(std::FILE* output);
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    // False when curses does not take the terminal.
    bool IsOpen() const { return mScreen != nullptr; }

    static bool IsEnding();

    // Takes back a SIGINT, so that IsEnding is false again: true when there was one.
    static bool TakeInterrupt();

private:
    void* const mScreen;  // of ncurses
};

#endif  // TOOLS_BROWSER_TERMINAL_H
