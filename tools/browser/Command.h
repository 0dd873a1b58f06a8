// One line of a script: a command of the browser with its arguments.
#ifndef TOOLS_BROWSER_COMMAND_H
#define TOOLS_BROWSER_COMMAND_H

#include <string>
#include <vector>

struct Command
{
    enum Kind
    {
        kNothing,  // an empty line or a comment
        kLoad,
        kCancelLoad,
        kPlay,
        kPause,
        kSeek,
        kRate,
        kVolume,
        kMute,
        kSize,
        kStatus,
        kWait,
        kWaitStatus,
        kWaitPosition,
        kWaitPlayer,
        kWaitGone,
        kQuit
    };

    Kind kind = kNothing;
    std::string text;             // the URL, the state's name or code, on or off
    std::vector<double> numbers;  // the numbers, in order

    // False with the reason when the line is no command.
    // An address with blanks stands in double quotes.
    static bool Parse(const std::string& line, Command& command, std::string& reason);

    // A table of the commands for people.
    static std::string Help();
};

// The lines of a script.
std::vector<std::string> SplitLines(const std::string& text);

// Its commands, when a semicolon ends one, too; but not one within double quotes.
std::vector<std::string> SplitCommands(const std::string& text);

#endif  // TOOLS_BROWSER_COMMAND_H
