#include "util/console/lines/ConsoleSettings.h"

#include "util/console/NumberText.h"
#include "util/os_linux/ConfigText.h"

namespace {
struct Number
{
    char key[16];
    int ConsoleSettings::*setting;
};

constexpr Number kNumbers[] = {
    {"mode=", &ConsoleSettings::mode},         {"port=", &ConsoleSettings::port},
    {"tolerant=", &ConsoleSettings::tolerant}, {"starttimeout=", &ConsoleSettings::startTimeout},
    {"linger=", &ConsoleSettings::linger},     {"verbose=", &ConsoleSettings::verbose},
};

std::string WithoutTrailingBlanks(const std::string& text)
{
    return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}
}  // namespace

void ConsoleSettings::Apply(const char* line)
{
    if (const char* const value = ConfigValueOf(line, "address=")) {
        address = WithoutTrailingBlanks(value);
    }
    for (const Number& number : kNumbers) {
        if (const char* const value = ConfigValueOf(line, number.key)) {
            this->*number.setting = IntegerOf(value);
        }
    }
}
