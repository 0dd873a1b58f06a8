#include "tools/browser/Screen.h"

#include <curses.h>

#include <algorithm>
#include <cerrno>

#include "tools/browser/DisplayText.h"
#include "tools/browser/ScreenLines.h"
#include "tools/browser/Session.h"
#include "tools/browser/Terminal.h"

namespace {
constexpr int kTurn = 100;  // milliseconds
constexpr int kControlL = 12;
constexpr double kSeekStep = 10;  // seconds
constexpr double kRateStep = 0.25;
constexpr double kVolumeStep = 0.1;

struct WindowSize
{
    int width;
    int height;
};
constexpr WindowSize kSizes[] = {{640, 360}, {1280, 720}, {1920, 1080}};

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
    while (running && !MustEnd()) {
        Poll();
        Draw();
        errno = 0;
        const int key = getch();
        // A terminal that has gone answers at once, for ever.
        running = key == ERR ? errno != EIO : HandleKey(key);
    }
}

bool Screen::MustEnd()
{
    if (mPrompt.IsOpen() && Terminal::TakeInterrupt()) {
        mPrompt.Close();
    }
    return Terminal::IsEnding();
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

// False when it was the key to quit. The screen is drawn after every key, KEY_RESIZE among them.
bool Screen::HandleKey(int key)
{
    if (key == kControlL) {
        clearok(curscr, TRUE);  // the next drawing begins with an empty terminal
        return true;
    }
    if (mPrompt.IsOpen()) {
        HandleTyped(key);
        return true;
    }
    return HandleCommand(key);
}

void Screen::HandleTyped(int key)
{
    if (mPrompt.HandleKey(key) == UrlPrompt::kGiven) {
        mMessage.clear();
        mSession.Load(mPrompt.GetText());
        mSession.Play();
    }
}

bool Screen::HandleCommand(int key)
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
            mPrompt.Open();
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
            mSession.SetRate(std::min(wishes.rate + kRateStep, Session::kMaxRate));
            break;
        case '-':
            mSession.SetRate(std::max(wishes.rate - kRateStep, -Session::kMaxRate));
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

void Screen::Draw() const
{
    ScreenContents contents;
    contents.status = mSession.GetStatus();
    contents.wishes = mSession.GetWishes();
    contents.hasPlayer = mSession.HasPlayer();
    contents.message = mMessage;
    contents.asksForUrl = mPrompt.IsOpen();
    contents.typed = mPrompt.GetText();

    erase();
    const std::vector<ScreenLine> lines = ComposeScreen(contents, LINES, COLS);
    const ScreenLine* cursor = nullptr;
    for (std::size_t row = 0; row < lines.size(); ++row) {
        attrset(lines[row].bold ? A_BOLD : A_NORMAL);
        mvaddwstr(static_cast<int>(row), 0, lines[row].text.c_str());
        cursor = lines[row].cursor ? &lines[row] : cursor;
    }
    if (cursor != nullptr) {
        move(static_cast<int>(cursor - lines.data()), std::min(CellsOf(cursor->text), COLS - 1));
    }
    curs_set(cursor != nullptr ? 1 : 0);
    refresh();
}
