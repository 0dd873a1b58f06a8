// Lines of a descriptor, with a limit on the wait for each.
#ifndef TOOLS_BROWSER_LINEREADER_H
#define TOOLS_BROWSER_LINEREADER_H

#include <string>

class LineReader
{
public:
    enum Result
    {
        kLine,
        kNothingYet,
        kEnd
    };

    // The descriptor stays the caller's.
    explicit LineReader(int descriptor) : mDescriptor(descriptor), mAtEnd(false) {}

    // The next line, without its end. A last line without an end counts, one of more than 64 KB is
    // cut there.
    Result Read(std::string& line, int milliseconds);

private:
    bool TakeLine(std::string& line);
    bool Fill(int milliseconds);

    const int mDescriptor;
    std::string mBuffer;
    bool mAtEnd;
};

#endif  // TOOLS_BROWSER_LINEREADER_H
