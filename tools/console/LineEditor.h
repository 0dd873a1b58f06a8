// Lines typed at a terminal: edited, completed and remembered. One editor per process; the terminal
// is in its ordinary mode whenever Read is not running.
#ifndef TOOLS_CONSOLE_LINEEDITOR_H
#define TOOLS_CONSOLE_LINEEDITOR_H

#include <string>
#include <vector>

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

    // Reads the history from its file, and completes the words beside those of the language. While
    // it waits for a key it watches the descriptor.
    LineEditor(int watched, const std::vector<std::string>& words);
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;
    ~LineEditor();

    Outcome Read(const char* prompt, std::string* line);

    // Adds the line to the history, in memory and in the file, and a variable that it declares to
    // the completion.
    void Remember(const std::string& line);

private:
    const std::string mHistoryPath;
};

#endif  // TOOLS_CONSOLE_LINEEDITOR_H
