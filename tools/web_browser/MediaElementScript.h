// The script that every page gets: the media element on top of the player.
#ifndef TOOLS_WEB_BROWSER_MEDIAELEMENTSCRIPT_H
#define TOOLS_WEB_BROWSER_MEDIAELEMENTSCRIPT_H

#include <string>

// With resume, elements go on when a player has come back after its death; otherwise they report a
// network error.
std::string MediaElementScript(bool resume);

#endif  // TOOLS_WEB_BROWSER_MEDIAELEMENTSCRIPT_H
