#include "tools/browser/Terminal.h"

#include <curses.h>
#include <term.h>
#include <termios.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <initializer_list>

namespace {
// Milliseconds after which an Escape is that key, and no longer the beginning of another one's
// code. ncurses would wait for a second; the variable of this name goes before.
constexpr int kEscapeDelay = 100;

termios sSettings;                   // as they were before
int sOutput;                         // the terminal's descriptor
volatile std::sig_atomic_t sEnding;  // the signal that asked for it

// In a signal handler: only what is allowed there. Leaves the second screen and shows the cursor.
void RestoreAndDie(int signal)
{
    constexpr char kLeave[] = "\033[?1049l\033[?25h\033[0m";
    static_cast<void>(!write(sOutput, kLeave, sizeof(kLeave) - 1));
    tcsetattr(STDIN_FILENO, TCSANOW, &sSettings);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void OnEnd(int signal)
{
    if (sEnding != 0) {
        RestoreAndDie(signal);
    }
    sEnding = signal;
}

void Handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void* OpenScreen(std::FILE* output)
{
    tcgetattr(STDIN_FILENO, &sSettings);
    sOutput = fileno(output);
    std::setlocale(LC_CTYPE, "");  // the encoding alone: numbers keep their point
    SCREEN* const screen = newterm(nullptr, output, stdin);
    if (screen == nullptr) {
        return nullptr;
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Handle(signal, OnEnd);
    }
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT}) {
        Handle(signal, RestoreAndDie);
    }
    cbreak();
    noecho();
    keypad(stdscr, TRUE);
    if (std::getenv("ESCDELAY") == nullptr) {
        set_escdelay(kEscapeDelay);
    }
    return screen;
}
}  // namespace

bool Terminal::CanBeScreen()
{
    int error = 0;
    if (setupterm(nullptr, STDIN_FILENO, &error) != OK) {
        return false;
    }
    const bool can = cursor_address != nullptr;
    del_curterm(cur_term);
    return can;
}

Terminal::Terminal(std::FILE* output) : mScreen(OpenScreen(output)) {}

Terminal::~Terminal()
{
    if (IsOpen()) {
        endwin();
        delscreen(static_cast<SCREEN*>(mScreen));
    }
}

bool Terminal::IsEnding()
{
    return sEnding != 0;
}

bool Terminal::TakeInterrupt()
{
    const bool interrupted = sEnding == SIGINT;
    if (interrupted) {
        sEnding = 0;
    }
    return interrupted;
}
