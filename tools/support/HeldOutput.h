// What a linked library writes to standard output before main begins, held back until the program
// knows whether anybody wants it: libhtml5_video.so tells its log settings there while it is
// loaded, which would stand above a help text, or within an answer for another program.
//
// A program that calls one of these functions has its standard output buffered from the very start.
// One that calls neither of them later writes all of it at its first flush, or at its end.
#ifndef TOOLS_SUPPORT_HELDOUTPUT_H
#define TOOLS_SUPPORT_HELDOUTPUT_H

// Forgets what was held back.
void DropHeldOutput();

// Writes what was held back, and each further line as usual.
void ShowHeldOutput();

#endif  // TOOLS_SUPPORT_HELDOUTPUT_H
