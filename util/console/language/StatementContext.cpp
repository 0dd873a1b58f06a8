#include "util/console/language/StatementContext.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

void StatementContext::Report(const char* line, int code, const char* reason) const
{
    if (!verbose || line == nullptr) {
        return;
    }
    std::string text(line + std::strspn(line, " \t"));
    text.erase(text.find_last_not_of(" \t\r\n") + 1);
    for (char& character : text) {
        if (std::iscntrl(static_cast<unsigned char>(character)) != 0) {
            character = '?';  // a terminal may stand behind standard output
        }
    }
    std::printf("%s -> %d%s%s\n", text.c_str(), code, reason[0] != '\0' ? " " : "", reason);
    std::fflush(stdout);
}
