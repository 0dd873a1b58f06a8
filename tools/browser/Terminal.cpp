#include "tools/browser/Terminal.h"

#include <curses.h>
#include <termios.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <initializer_list>

namespace {
termios sSettings;  // as they were before
volatile std::sig_atomic_t sEnding;

// In a signal handler: only what is allowed there. Leaves the second screen and shows the cursor.
void RestoreAndDie(int signal)
{
    constexpr char kLeave[] = "\033[?1049l\033[?25h\033[0m";
    static_cast<void>(!write(STDOUT_FILENO, kLeave, sizeof(kLeave) - 1));
    tcsetattr(STDIN_FILENO, TCSANOW, &sSettings);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void OnEnd(int signal)
{
    if (sEnding != 0) {
        RestoreAndDie(signal);
    }
    sEnding = 1;
}

void Handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void* OpenScreen()
{
    tcgetattr(STDIN_FILENO, &sSettings);
    std::setlocale(LC_ALL, "");
    SCREEN* const screen = newterm(nullptr, stdout, stdin);
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
    curs_set(0);
    return screen;
}
}  // namespace

Terminal::Terminal() : mScreen(OpenScreen()) {}

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
