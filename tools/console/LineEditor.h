// Lines typed at a terminal: edited, completed and remembered. One editor per process; the terminal
// is in its ordinary mode whenever Read is not running.
#ifndef TOOLS_CONSOLE_LINEEDITOR_H
#define TOOLS_CONSOLE_LINEEDITOR_H

#include <string>

class LineEditor
{
public:
    enum class Outcome
    {
        kLine,
        kInterrupted,  // ^C: the line is to be forgotten
        kEnd,          // ^D on an empty line
        kLost          // the watched descriptor became readable
    };

    // Reads the history from its file and completes its words too. While it waits for a key it
    // watches the descriptor.
    explicit LineEditor(int watched);
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;
    ~LineEditor();

    Outcome Read(const char* prompt, std::string* line);

    // Adds the line to the history, in memory and in the file, and its words to the completion.
    void Remember(const std::string& line);

private:
    const std::string mHistoryPath;
};

#endif  // TOOLS_CONSOLE_LINEEDITOR_H
