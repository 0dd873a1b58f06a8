#include "util/console/lines/ConsoleSettings.h"

#include "util/console/NumberText.h"
#include "util/os_linux/ConfigText.h"

namespace {
std::string WithoutTrailingBlanks(const std::string& text)
{
    return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}
}  // namespace

void ConsoleSettings::Apply(const char* line)
{
    if (const char* value = ConfigValueOf(line, "mode=")) {
        mode = IntegerOf(value);
    } else if ((value = ConfigValueOf(line, "port=")) != nullptr) {
        port = IntegerOf(value);
    } else if ((value = ConfigValueOf(line, "address=")) != nullptr) {
        address = WithoutTrailingBlanks(value);
    } else if ((value = ConfigValueOf(line, "tolerant=")) != nullptr) {
        tolerant = IntegerOf(value) != 0;
    } else if ((value = ConfigValueOf(line, "starttimeout=")) != nullptr) {
        startTimeout = IntegerOf(value);
    } else if ((value = ConfigValueOf(line, "linger=")) != nullptr) {
        linger = IntegerOf(value);
    } else if ((value = ConfigValueOf(line, "verbose=")) != nullptr) {
        verbose = IntegerOf(value) != 0;
    }
}
