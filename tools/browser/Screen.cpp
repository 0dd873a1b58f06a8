#include "tools/browser/Screen.h"

#include <curses.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "tools/browser/Session.h"
#include "tools/browser/Terminal.h"

namespace {
constexpr int kTurn = 100;  // milliseconds
constexpr int kMargin = 2;
constexpr double kSeekStep = 10;  // seconds
constexpr double kRateStep = 0.25;
constexpr double kVolumeStep = 0.1;

enum Row
{
    kTitleRow = 1,
    kUrlRow = 2,
    kStateRow = 4,
    kBarRow = 5,
    kSettingsRow = 6,
    kBytesRow = 7,
    kMessageRow = 9,
    kKeysRow = 11
};

struct WindowSize
{
    int width;
    int height;
};
constexpr WindowSize kSizes[] = {{640, 360}, {1280, 720}, {1920, 1080}};

std::string TimeText(int milliseconds)
{
    char text[32];
    const int seconds = milliseconds / 1000;
    std::snprintf(text, sizeof(text), "%d:%02d.%d", seconds / 60, seconds % 60,
                  milliseconds / 100 % 10);
    return text;
}

// The window sizes in turn.
WindowSize NextSize(const Session::Wishes& wishes)
{
    for (const WindowSize& size : kSizes) {
        if (size.width > wishes.width) {
            return size;
        }
    }
    return kSizes[0];
}
}  // namespace

void Screen::Run()
{
    timeout(kTurn);
    bool running = true;
    while (running && !Terminal::IsEnding()) {
        Poll();
        Draw();
        errno = 0;
        const int key = getch();
        // A terminal that has gone answers at once, for ever.
        running = key == ERR ? errno != EIO : HandleKey(key);
    }
}

void Screen::Poll()
{
    switch (mSession.Poll()) {
        case Session::Event::kNone:
            break;
        case Session::Event::kPlayerFound:
            mMessage = "The player is there";
            break;
        case Session::Event::kPlayerGone:
            mMessage = "The player has gone; waiting for the next one";
            break;
    }
}

// False when it was the key to quit.
bool Screen::HandleKey(int key)
{
    const Session::Wishes& wishes = mSession.GetWishes();
    switch (key) {
        case ' ':
            wishes.play ? mSession.Pause() : mSession.Play();
            break;
        case KEY_LEFT:
            SeekBy(-kSeekStep);
            break;
        case KEY_RIGHT:
            SeekBy(kSeekStep);
            break;
        case 'l':
            AskForUrl();
            break;
        case 'c':
            mSession.CancelLoad();
            break;
        case 'q':
            return false;
        default:
            HandleSetting(key);
            break;
    }
    return true;
}

void Screen::HandleSetting(int key)
{
    const Session::Wishes& wishes = mSession.GetWishes();
    switch (key) {
        case KEY_UP:
            mSession.SetVolume(std::min(wishes.volume + kVolumeStep, 1.0));
            break;
        case KEY_DOWN:
            mSession.SetVolume(std::max(wishes.volume - kVolumeStep, 0.0));
            break;
        case '+':
            mSession.SetRate(wishes.rate + kRateStep);
            break;
        case '-':
            mSession.SetRate(wishes.rate - kRateStep);
            break;
        case '1':
            mSession.SetRate(1);
            break;
        case 'm':
            mSession.SetMuted(!wishes.muted);
            break;
        case 's': {
            const WindowSize size = NextSize(wishes);
            mSession.SetSize(size.width, size.height);
            break;
        }
        default:
            break;
    }
}

void Screen::SeekBy(double seconds)
{
    mSession.Seek(std::max(mSession.GetStatus().position / 1000.0 + seconds, 0.0));
}

void Screen::AskForUrl()
{
    constexpr int kMaxUrl = 1023;
    char url[kMaxUrl + 1] = "";
    move(kMessageRow, kMargin);
    clrtoeol();
    addstr("Load: ");
    timeout(-1);
    echo();
    curs_set(1);
    const bool given = getnstr(url, kMaxUrl) == OK && url[0] != '\0';
    curs_set(0);
    noecho();
    timeout(kTurn);
    mMessage.clear();
    if (given) {
        mSession.Load(url);
        mSession.Play();
    }
}

void Screen::Draw() const
{
    const Status status = mSession.GetStatus();
    const Session::Wishes& wishes = mSession.GetWishes();
    erase();
    attron(A_BOLD);
    mvaddstr(kTitleRow, kMargin, "HTML5 video");
    attroff(A_BOLD);
    printw("  %s", mSession.HasPlayer() ? "" : "no player");
    mvaddnstr(kUrlRow, kMargin, wishes.url.empty() ? "nothing loaded" : wishes.url.c_str(),
              std::max(COLS - 2 * kMargin, 1));
    DrawState(status);
    DrawProgress(status);
    mvaddstr(kMessageRow, kMargin, mMessage.c_str());
    mvaddstr(kKeysRow, kMargin, "space play/pause   left right 10 s   up down volume   m mute");
    mvaddstr(kKeysRow + 1, kMargin, "+ - rate   1 normal   s size   l load   c cancel   q quit");
    refresh();
}

void Screen::DrawState(const Status& status) const
{
    const Session::Wishes& wishes = mSession.GetWishes();
    mvprintw(kStateRow, kMargin, "%s%s", Name(status.media), status.inSeek ? ", seeking" : "");
    mvprintw(kSettingsRow, kMargin, "rate %.2f   volume %.0f %%%s   video %d x %d",
             status.speed / 100.0, wishes.volume * 100, wishes.muted ? ", muted" : "", status.width,
             status.height);
    if (wishes.width > 0) {
        printw("   window %d x %d", wishes.width, wishes.height);
    }
    mvprintw(kBytesRow, kMargin, "bytes %llu / %llu", status.currentOffset, status.totalBytes);
}

void Screen::DrawProgress(const Status& status) const
{
    const std::string times = TimeText(status.position) + " / " + TimeText(status.duration);
    const int width = COLS - 2 * kMargin - static_cast<int>(times.size()) - 4;
    mvaddstr(kBarRow, kMargin, times.c_str());
    if (width < 10) {
        return;
    }
    const double part = status.duration > 0 ? 1.0 * status.position / status.duration : 0;
    const int done = static_cast<int>(std::clamp(part, 0.0, 1.0) * width);
    const std::string bar = std::string(static_cast<std::size_t>(done), '#') +
                            std::string(static_cast<std::size_t>(width - done), '-');
    printw("  [%s]", bar.c_str());
}
