// What the live screen shows, as lines that fit in a window of any size.
#ifndef TOOLS_BROWSER_SCREENLINES_H
#define TOOLS_BROWSER_SCREENLINES_H

#include <string>
#include <vector>

#include "tools/browser/Session.h"
#include "tools/browser/Status.h"

struct ScreenContents
{
    Status status;
    Session::Wishes wishes;
    bool hasPlayer = false;
    std::string message;
    bool asksForUrl = false;
    std::string typed;  // of the URL
};

struct ScreenLine
{
    std::wstring text;
    int importance = 0;  // where there is little room, the least important lines are left out
    bool apart = false;  // a blank line above it, where there is room for all of them
    bool bold = false;
    bool cursor = false;  // stands behind the text
};

// No line is longer than the columns, and there are no more than the rows. Narrow windows get
// shorter lines, not only cut ones.
std::vector<ScreenLine> ComposeScreen(const ScreenContents& contents, int rows, int columns);

#endif  // TOOLS_BROWSER_SCREENLINES_H
