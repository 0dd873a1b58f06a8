#include "tools/console/Language.h"

#include <strings.h>

#include <cstring>

namespace {
constexpr std::size_t kLongestWord = 255;

constexpr struct
{
    const char* word;
    LineRole role;
} kWords[] = {
    {"FOR", LineRole::kOpensBlock},   {"WHILE", LineRole::kOpensBlock},
    {"IF", LineRole::kOpensBlock},    {"DO", LineRole::kOpensBlock},
    {"MACRO", LineRole::kOpensBlock}, {"END", LineRole::kEndsBlock},
    {"quit", LineRole::kQuits},       {"help", LineRole::kPlain},
    {"FILE", LineRole::kPlain},       {"PRINT", LineRole::kPlain},
    {"BREAK", LineRole::kPlain},      {"INT", LineRole::kDeclares},
    {"CHAR", LineRole::kDeclares},    {"STRING", LineRole::kDeclares},
    {"FLOAT", LineRole::kDeclares},   {"POINTER", LineRole::kDeclares},
    {"FREE", LineRole::kPlain},       {"SLEEP", LineRole::kPlain},
    {"ELSE", LineRole::kPlain},       {"thread_show", LineRole::kPlain},
    {"NTSC", LineRole::kPlain},       {"PAL", LineRole::kPlain},
};

// The word that says what the line is: the first, or the one behind "name =".
std::string CommandOf(const std::string& line)
{
    const std::vector<std::string> words = SplitLine(line);
    const std::size_t index = words.size() > 1 && words[1] == "=" ? 2 : 0;
    return index < words.size() ? words[index] : "";
}
}  // namespace

std::vector<std::string> SplitLine(const std::string& line)
{
    std::vector<std::string> words;
    const char* at = line.c_str();
    for (;;) {
        at += std::strspn(at, " \t\n\v\f\r");
        const bool quoted = *at == '"';
        at += quoted ? 1 : 0;
        const std::size_t length = std::strcspn(at, quoted ? "\"" : " \t\r\n");
        if (length > kLongestWord || (at[length] == '\0' && (quoted || length == 0))) {
            return words;
        }
        words.emplace_back(at, length);
        at += length + (quoted ? 1 : 0);
    }
}

LineRole RoleOf(const std::string& line)
{
    const char* const text = line.c_str() + std::strspn(line.c_str(), " \t");
    if (*text == '\0' || *text == '\n' || *text == '#') {
        return LineRole::kComment;
    }
    const std::string command = CommandOf(line);
    for (const auto& known : kWords) {
        const bool anyCase = known.role == LineRole::kQuits;
        if ((anyCase ? strcasecmp(command.c_str(), known.word) : command.compare(known.word)) ==
            0) {
            return known.role;
        }
    }
    return LineRole::kPlain;
}

std::string DeclaredVariable(const std::string& line)
{
    const std::vector<std::string> words = SplitLine(line);
    return words.size() > 1 && RoleOf(line) == LineRole::kDeclares ? words[1] : "";
}

std::vector<std::string> LanguageWords()
{
    std::vector<std::string> words;
    for (const auto& known : kWords) {
        words.emplace_back(known.word);
    }
    return words;
}
