// Internal. Lines of standard input, read through the descriptor so that a wait can be stopped.
// Input behind the line stays buffered here for the next call.
#ifndef UTIL_CONSOLE_LINES_STANDARDINPUT_H
#define UTIL_CONSOLE_LINES_STANDARDINPUT_H

#include <cstddef>

class StopSignal;

class StandardInput
{
public:
    // Reads up to and with the next line feed, at most size - 1 characters, and terminates them.
    // The length, or -1 at the end of input, at an error or when stopped.
    int ReadLine(char* line, std::size_t size, const StopSignal& stop);

private:
    bool Fill(const StopSignal& stop);

    char mBuffer[1024];
    std::size_t mNext = 0;
    std::size_t mEnd = 0;
};

#endif  // UTIL_CONSOLE_LINES_STANDARDINPUT_H
