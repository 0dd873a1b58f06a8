#include "tools/browser/Command.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {
// A letter per argument: n a number, w a word, u the rest of the line, which may be missing.
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
    {"play", Command::kPlay, "", "play", ""},
    {"pause", Command::kPause, "", "pause", ""},
    {"seek", Command::kSeek, "n", "seek SECONDS", ""},
    {"rate", Command::kRate, "n", "rate RATE", "1 is normal"},
    {"volume", Command::kVolume, "n", "volume VOLUME", "1 is full"},
    {"mute", Command::kMute, "w", "mute on|off", ""},
    {"size", Command::kSize, "nn", "size WIDTH HEIGHT", "of the window in pixels"},
    {"status", Command::kStatus, "", "status", "print the state"},
    {"wait", Command::kWait, "n", "wait SECONDS", ""},
    {"wait-status", Command::kWaitStatus, "wn", "wait-status STATE SECONDS",
     "until the state, by name or code"},
    {"wait-position", Command::kWaitPosition, "nn", "wait-position MS SECONDS",
     "until the position is reached, in the direction of play"},
    {"wait-player", Command::kWaitPlayer, "n", "wait-player SECONDS", "until there is a player"},
    {"wait-gone", Command::kWaitGone, "n", "wait-gone SECONDS", "until the player has gone"},
    {"quit", Command::kQuit, "", "quit", "end with status 0"},
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

std::string Trimmed(const std::string& text)
{
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool TakeArguments(const Form& form, std::istringstream& words, Command& command)
{
    for (const char* kind = form.arguments; *kind != '\0'; ++kind) {
        std::string word;
        double number = 0;
        if (*kind == 'u') {
            std::getline(words, word);
            command.text = Trimmed(word);
        } else if (!(words >> word)) {
            return false;
        } else if (*kind == 'w') {
            command.text = word;
        } else if (ToNumber(word, number)) {
            command.numbers.push_back(number);
        } else {
            return false;
        }
    }
    std::string more;
    return !(words >> more) &&
           (form.kind != Command::kMute || command.text == "on" || command.text == "off");
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
    if (!TakeArguments(*form, words, command)) {
        reason = std::string("usage: ") + form->usage;
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
        if (*form.help != '\0') {
            usage.resize(std::max(kColumn, usage.size() + 1), ' ');
        }
        text += "  " + usage + form.help + "\n";
    }
    return text;
}

std::vector<std::string> SplitCommands(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char character : text) {
        if (character == ';' || character == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += character;
        }
    }
    return lines;
}
