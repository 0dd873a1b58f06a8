#include "tools/browser/ScreenLines.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "tools/browser/DisplayText.h"

namespace {
// The narrowest windows of each form.
constexpr int kWide = 78;
constexpr int kMedium = 40;

// From the least to the most important.
enum Importance
{
    kTitle,
    kBytes,
    kMoreKeys,
    kSizes,
    kMessage,
    kKeys,
    kSettings,
    kUrl,
    kProgress,
    kState,
    kPrompt
};

__attribute__((format(printf, 1, 2))) std::wstring Format(const char* format, ...)
{
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return ToDisplay(text);
}

std::wstring TimeText(int milliseconds)
{
    const int seconds = milliseconds / 1000;
    return Format("%d:%02d.%d", seconds / 60, seconds % 60, milliseconds / 100 % 10);
}

class Composer
{
public:
    Composer(const ScreenContents& contents, int columns)
        : mContents(contents),
          mWide(columns >= kWide),
          mMedium(columns >= kMedium),
          mMargin(mWide ? 2 : 0),
          mCells(columns - 2 * mMargin)
    {}

    std::vector<ScreenLine> Compose()
    {
        Add(kTitle, L"HTML5 video", true).bold = true;
        Add(kUrl,
            mContents.wishes.url.empty() ? L"nothing loaded" : ToDisplay(mContents.wishes.url));
        Add(kState, State(), true);
        Add(kProgress, Progress());
        AddSettings();
        Add(kBytes, Format("bytes %llu / %llu", mContents.status.currentOffset,
                           mContents.status.totalBytes));
        AddMessage();
        AddKeys();
        return std::move(mLines);
    }

private:
    ScreenLine& Add(Importance importance, const std::wstring& text, bool apart = false)
    {
        ScreenLine line;
        line.text = std::wstring(static_cast<std::size_t>(mMargin), L' ') + CutEnd(text, mCells);
        line.importance = importance;
        line.apart = apart;
        mLines.push_back(line);
        return mLines.back();
    }

    std::wstring State() const
    {
        return Format("%s%s%s", html5_video_media_status_name(mContents.status.media),
                      mContents.status.inSeek ? ", seeking" : "",
                      mContents.hasPlayer ? "" : ", no player");
    }

    std::wstring Progress() const
    {
        constexpr int kShortestBar = 10;
        const Status& status = mContents.status;
        std::wstring times = TimeText(status.position) + L" / " + TimeText(status.duration);
        const int width = mCells - CellsOf(times) - 4;
        if (width < kShortestBar) {
            return times;
        }
        const double part = status.duration > 0 ? 1.0 * status.position / status.duration : 0;
        const int done = static_cast<int>(std::clamp(part, 0.0, 1.0) * width);
        return times + L"  [" + std::wstring(static_cast<std::size_t>(done), L'#') +
               std::wstring(static_cast<std::size_t>(width - done), L'-') + L"]";
    }

    void AddSettings()
    {
        const Session::Wishes& wishes = mContents.wishes;
        const double rate = mContents.status.speed / 100.0;
        const double volume = wishes.volume * 100;
        const char* const muted = wishes.muted ? ", muted" : "";
        std::wstring sizes =
            Format("video %d x %d", mContents.status.width, mContents.status.height);
        if (wishes.width > 0) {
            sizes += Format(mWide ? "   window %d x %d" : "  window %d x %d", wishes.width,
                            wishes.height);
        }
        if (mWide) {
            Add(kSettings, Format("rate %.2f   volume %.0f %%%s   ", rate, volume, muted) + sizes);
            return;
        }
        Add(kSettings, mMedium ? Format("rate %.2f  volume %.0f %%%s", rate, volume, muted)
                               : Format("%.2fx %.0f%%%s", rate, volume, muted));
        Add(kSizes, sizes);
    }

    void AddMessage()
    {
        if (!mContents.asksForUrl) {
            Add(kMessage, ToDisplay(mContents.message), true);
            return;
        }
        // The end of what is typed, and the cursor behind it, stay in sight.
        const std::wstring label = L"Load: ";
        const int room = mCells - CellsOf(label) - 1;
        Add(kPrompt, label + CutStart(ToDisplay(mContents.typed), room), true).cursor = true;
    }

    void AddKeys()
    {
        if (mContents.asksForUrl) {
            Add(kKeys, mMedium ? L"Enter load   Escape or ^C cancel" : L"Enter   Esc cancels",
                true);
        } else if (mWide) {
            Add(kKeys, L"space play/pause   left right 10 s   up down volume   m mute", true);
            Add(kMoreKeys, L"+ - rate   1 normal   s size   l load   c cancel   q quit");
        } else if (mMedium) {
            Add(kKeys, L"space play  left right 10 s  up down vol", true);
            Add(kMoreKeys, L"+ - rate  m mute  s size  l load  q quit");
        } else {
            Add(kKeys, L"space l load q quit", true);
        }
    }

    const ScreenContents& mContents;
    const bool mWide;
    const bool mMedium;
    const int mMargin;
    const int mCells;  // of a line, without the margins
    std::vector<ScreenLine> mLines;
};

void LeaveOutTheLeastImportant(std::vector<ScreenLine>& lines, std::size_t rows)
{
    while (lines.size() > rows) {
        lines.erase(std::min_element(lines.begin(), lines.end(),
                                     [](const ScreenLine& left, const ScreenLine& right) {
                                         return left.importance < right.importance;
                                     }));
    }
}

std::vector<ScreenLine> SpreadOut(const std::vector<ScreenLine>& lines)
{
    std::vector<ScreenLine> spread;
    for (const ScreenLine& line : lines) {
        if (line.apart) {
            spread.emplace_back();
        }
        spread.push_back(line);
    }
    return spread;
}
}  // namespace

std::vector<ScreenLine> ComposeScreen(const ScreenContents& contents, int rows, int columns)
{
    const auto room = static_cast<std::size_t>(std::max(rows, 0));
    std::vector<ScreenLine> lines = Composer(contents, columns).Compose();
    LeaveOutTheLeastImportant(lines, room);
    std::vector<ScreenLine> spread = SpreadOut(lines);
    return spread.size() <= room ? spread : lines;
}
