// What a client must know of the console's language: which lines belong together, which one ends
// the session, and the words that can be completed. The console is another process, perhaps of
// another version, and is the one that runs the lines.
#ifndef TOOLS_CONSOLE_LANGUAGE_H
#define TOOLS_CONSOLE_LANGUAGE_H

#include <string>
#include <vector>

enum class LineRole
{
    kComment,  // blank lines too: the console skips them
    kPlain,
    kOpensBlock,
    kEndsBlock,
    kDeclares,
    kQuits
};

LineRole RoleOf(const std::string& line);

// The line's words as the console splits them: at blanks, double quotes group, and a word of more
// than 255 characters or a quote that is not closed ends the splitting.
std::vector<std::string> SplitLine(const std::string& line);

// The variable that a line declares, or "".
std::string DeclaredVariable(const std::string& line);

// Words of the language that are worth completing.
std::vector<std::string> LanguageWords();

#endif  // TOOLS_CONSOLE_LANGUAGE_H
