// The terminal as a screen for as long as this lives: no echo, single keys, the former contents
// back at the end. It is restored on every way out, also when the process dies of a signal.
//
// The first SIGINT, SIGTERM or SIGHUP only shows in IsEnding; a second one ends the process.
#ifndef TOOLS_BROWSER_TERMINAL_H
#define TOOLS_BROWSER_TERMINAL_H

class Terminal
{
public:
    Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    // False when the terminal can not be a screen: its type, TERM, is not known.
    bool IsOpen() const { return mScreen != nullptr; }

    static bool IsEnding();

private:
    void* const mScreen;  // of ncurses
};

#endif  // TOOLS_BROWSER_TERMINAL_H
