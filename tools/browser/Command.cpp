#include "tools/browser/Command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <sstream>

#include "tools/browser/Session.h"

namespace {
// The arguments, a letter each: u an address, which may be missing; k a media status; b on or off;
// the others numbers of kRanges.
struct Form
{
    const char* name;
    Command::Kind kind;
    const char* arguments;
    const char* usage;
    const char* help;
};

constexpr Form kForms[] = {
    {"load", Command::kLoad, "u", "load [URL]", "load; without a URL, unload"},
    {"cancel-load", Command::kCancelLoad, "", "cancel-load", "give up loading"},
    {"play", Command::kPlay, "", "play", "play on from the position"},
    {"pause", Command::kPause, "", "pause", "hold the position"},
    {"seek", Command::kSeek, "p", "seek SECONDS", "to this position"},
    {"rate", Command::kRate, "r", "rate RATE", "from -16 to 16; 1 is normal"},
    {"volume", Command::kVolume, "v", "volume VOLUME", "from 0 to 1, which is full"},
    {"mute", Command::kMute, "b", "mute on|off", "silence, whatever the volume"},
    {"size", Command::kSize, "xx", "size WIDTH HEIGHT", "of the window in pixels"},
    {"status", Command::kStatus, "", "status", "print the state"},
    {"wait", Command::kWait, "s", "wait SECONDS", "before the next command"},
    {"wait-status", Command::kWaitStatus, "ks", "wait-status STATE SECONDS",
     "until the state, by name or code"},
    {"wait-position", Command::kWaitPosition, "ms", "wait-position MS SECONDS",
     "until it is reached in the direction of play"},
    {"wait-player", Command::kWaitPlayer, "s", "wait-player SECONDS", "until there is a player"},
    {"wait-gone", Command::kWaitGone, "s", "wait-gone SECONDS", "until the player has gone"},
    {"quit", Command::kQuit, "", "quit", "end with status 0"},
};

struct Range
{
    char letter;
    double least;
    double most;
};

constexpr Range kRanges[] = {
    {'p', 0, 2147483},  // seconds, sent as milliseconds in 32 bits
    {'r', -Session::kMaxRate, Session::kMaxRate},
    {'v', 0, 1},
    {'x', 0, 65535},       // pixels
    {'m', 0, 2147483647},  // milliseconds
    {'s', 0, 86400},       // seconds of a wait
};

const Form* FindForm(const std::string& name)
{
    for (const Form& form : kForms) {
        if (name == form.name) {
            return &form;
        }
    }
    return nullptr;
}

bool ToNumber(const std::string& text, double& number)
{
    char* end = nullptr;
    number = std::strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0' && std::isfinite(number);
}

// The states that have a name.
std::vector<MediaStatus> NamedStates()
{
    constexpr int kLastCode = 199;
    std::vector<MediaStatus> states;
    for (int code = 0; code <= kLastCode; ++code) {
        const auto state = static_cast<MediaStatus>(code);
        if (std::strcmp(html5_video_media_status_name(state), "?") != 0) {
            states.push_back(state);
        }
    }
    return states;
}

std::string StateNames()
{
    std::string names;
    for (const MediaStatus state : NamedStates()) {
        names += (names.empty() ? "" : ", ") + std::string(html5_video_media_status_name(state));
    }
    return names;
}

std::string StateTable()
{
    std::string table;
    for (const MediaStatus state : NamedStates()) {
        const std::string code = std::to_string(static_cast<int>(state));
        table += std::string(6 - code.size(), ' ') + code + "  " +
                 html5_video_media_status_name(state) + "\n";
    }
    return table;
}

// A code may be another player's, a name is one of the list.
bool IsState(const std::string& word)
{
    const std::vector<MediaStatus> named = NamedStates();
    const bool isCode = !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
    return isCode || std::any_of(named.begin(), named.end(), [&](MediaStatus state) {
               return word == html5_video_media_status_name(state);
           });
}

std::string Short(double number)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.10g", number);
    return text;
}

// The functions below answer false with the reason when the word is not what the letter asks for.

bool TakeNumber(const Range& range, const std::string& word, Command& command, std::string& reason)
{
    double number = 0;
    if (!ToNumber(word, number)) {
        return false;  // the usage tells
    }
    if (number < range.least || number > range.most) {
        reason = word + " is not from " + Short(range.least) + " to " + Short(range.most);
        return false;
    }
    command.numbers.push_back(number);
    return true;
}

bool TakeWord(char letter, const std::string& word, Command& command, std::string& reason)
{
    for (const Range& range : kRanges) {
        if (range.letter == letter) {
            return TakeNumber(range, word, command, reason);
        }
    }
    command.text = word;
    if (letter == 'k' && !IsState(word)) {
        reason = "unknown state: " + word + "; the states are " + StateNames() + ", or a code";
        return false;
    }
    return letter != 'b' || word == "on" || word == "off";
}

bool TakeArguments(const Form& form, std::istringstream& words, Command& command,
                   std::string& reason)
{
    for (const char* letter = form.arguments; *letter != '\0'; ++letter) {
        std::string word;
        if (*letter == 'u' && (words >> std::ws).eof()) {
            continue;
        }
        if (!(words >> std::quoted(word)) || !TakeWord(*letter, word, command, reason)) {
            return false;
        }
    }
    std::string more;
    return !(words >> more);
}
}  // namespace

bool Command::Parse(const std::string& line, Command& command, std::string& reason)
{
    command = Command();
    std::istringstream words(line);
    std::string name;
    if (!(words >> name) || name[0] == '#') {
        return true;
    }
    const Form* const form = FindForm(name);
    if (form == nullptr) {
        reason = "unknown command: " + name;
        return false;
    }
    command.kind = form->kind;
    std::string what;
    if (!TakeArguments(*form, words, command, what)) {
        reason = what.empty() ? std::string("usage: ") + form->usage : name + ": " + what;
        return false;
    }
    return true;
}

std::string Command::Help()
{
    constexpr std::size_t kColumn = 28;
    std::string text;
    for (const Form& form : kForms) {
        std::string usage = form.usage;
        usage.resize(std::max(kColumn, usage.size() + 2), ' ');
        text += "  " + usage + form.help + "\n";
    }
    return text + "\nA URL with blanks stands in double quotes.\n\nStates, by code and name:\n" +
           StateTable();
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char character : text) {
        if (character == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += character;
        }
    }
    return lines;
}

std::vector<std::string> SplitCommands(const std::string& text)
{
    std::string ended = text;
    bool quoted = false;
    for (char& character : ended) {
        quoted = character == '"' ? !quoted : quoted && character != '\n';
        if (character == ';' && !quoted) {
            character = '\n';
        }
    }
    return SplitLines(ended);
}
