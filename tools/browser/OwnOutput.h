// Standard output is for the browser's own lines, or its screen. What the library and its console
// print there goes to standard error.
#ifndef TOOLS_BROWSER_OWNOUTPUT_H
#define TOOLS_BROWSER_OWNOUTPUT_H

#include <cstdio>

// Returns the stream to what was standard output so far; from here on descriptor 1 and stdout are
// standard error. To be called once, before the library is loaded; the stream lives until the
// process ends. Null when there are no descriptors left.
std::FILE* TakeStandardOutput();

#endif  // TOOLS_BROWSER_OWNOUTPUT_H
