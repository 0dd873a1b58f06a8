// Public. One console line, split into a command word, an optional return name (the word in front
// of "=") and argument words, with a cursor over the arguments.
//
// Blanks separate words and double quotes group them: 'x = PRINT "a b" 5' has the return name x,
// the command PRINT and the arguments 'a b' and 5. There are no escapes, comments or operators at
// this level. A word has at most 255 characters; a longer one, or a quote that is not closed, ends
// the splitting and the words before it stay.
//
// Threads: a parser belongs to one thread at a time. Returned texts stay valid while the parser is
// unchanged; the next Parse invalidates them.
#ifndef UTIL_CONSOLE_CMDPARSER_H
#define UTIL_CONSOLE_CMDPARSER_H

#include <optional>
#include <string>
#include <vector>

#include "util/Export.h"
#include "util/console/CmdValue.h"

class HTML5_VIDEO_API CmdParser
{
public:
    CmdParser();
    explicit CmdParser(const char* text);
    CmdParser(const CmdParser&) = delete;
    CmdParser& operator=(const CmdParser&) = delete;
    ~CmdParser();

    // Forgets line, command and return name and sets the cursor to 0; the arguments stay.
    void Init();

    // Stores a copy of the line without splitting it (null: no line), and reads it back.
    void SetString(const char* text);
    const char* GetString() const;

    // Takes a new line, or splits the stored one. What an earlier line left is gone.
    void Parse(const char* text);
    void Parse();

    // Reads the word that starts at or after from into the token, a buffer of 256 bytes that is
    // cleared first. Returns where to go on, or null when there is no further word; a place in a
    // text that the caller may write is one that it may write too.
    static const char* GetNextToken(const char* from, char* token);
    static char* GetNextToken(char* from, char* token)
    {
        return const_cast<char*>(GetNextToken(static_cast<const char*>(from), token));
    }

    // Changes whenever the line is split or forgotten.
    unsigned GetGeneration() const { return mGeneration; }

    // Null when the line has none.
    const char* GetCommand() const;
    const char* GetReturn() const;

    // The arguments; null outside 0 to GetCount() - 1.
    int GetCount() const { return static_cast<int>(mArguments.size()); }
    const char* GetNthArg(int index) const;

    // The cursor. GetNextArg moves it forward and returns the argument there, so a new cursor
    // yields argument 1 first; past the last one it stays there and gives null. GetPrevArg moves
    // it back, and gives null at 0.
    int GetCurrentIndex() const { return mIndex; }
    void SetCurrentIndex(int index) { mIndex = index; }
    const char* GetNextArg();
    const char* GetPrevArg();

    // Converts the arguments into at most max values and returns how many were filled: a symbol
    // gives its value by its type (reserved ones too), else the word's form decides between
    // integer, hexadecimal integer, float and text. An argument that is none of these, or a symbol
    // of an unknown type, is passed over and leaves no gap.
    int GetCmdArgs(CmdValue* values, int max) const;

    // Whether the command word is the name, in any case.
    bool CompareCommand(const char* name) const;

    // Index of the first argument that equals the word exactly, or -1.
    int Search(const char* word) const;

    // What a whole word looks like. IsSymbol asks the symbol table; IsInteger takes "", "+" and
    // "-" too; IsHex only asks for the prefix "0x"; IsFloat wants a point inside or after a sign.
    static bool IsSymbol(const char* word);
    static bool IsInteger(const char* word);
    static bool IsHex(const char* word);
    static bool IsFloat(const char* word);
    static bool IsString(const char* word);
    static bool IsChar(const char* word);

private:
    int mIndex;
    unsigned mGeneration;
    std::optional<std::string> mLine;
    std::optional<std::string> mCommand;
    std::optional<std::string> mReturn;
    std::vector<std::string> mArguments;
};

#endif  // UTIL_CONSOLE_CMDPARSER_H
