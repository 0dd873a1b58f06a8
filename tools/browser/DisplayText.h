// Text for a terminal, out of bytes that may be anything. A cell is the place of one narrow
// character; a wide one, as of Chinese, takes two, a combining mark none.
#ifndef TOOLS_BROWSER_DISPLAYTEXT_H
#define TOOLS_BROWSER_DISPLAYTEXT_H

#include <string>

// The characters of these bytes in the locale's encoding. A byte that is none, and a control
// character, shows as "?"; what only steers how others are shown, such as a change of the writing
// direction, is left out.
std::wstring ToDisplay(const std::string& bytes);

// The cells that a text of ToDisplay takes.
int CellsOf(const std::wstring& text);

// As much from the start, or from the end, of the text as fits in so many cells.
std::wstring CutEnd(const std::wstring& text, int cells);
std::wstring CutStart(const std::wstring& text, int cells);

#endif  // TOOLS_BROWSER_DISPLAYTEXT_H
