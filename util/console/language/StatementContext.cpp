#include "util/console/language/StatementContext.h"

#include <cstdio>

#include "util/console/CmdLanguage.h"
#include "util/os_linux/ConfigText.h"
#include "util/os_linux/FixedText.h"

void StatementContext::Report(const char* line, int code, const char* reason) const
{
    if (!verbose || line == nullptr) {
        return;
    }
    char text[CmdLanguage::kLineSize];
    CopyText(text, line);
    StripLineEnd(text);
    for (char* at = text; *at != '\0'; ++at) {
        if ((*at > '\0' && *at < ' ') || *at == '\x7f') {
            *at = ' ';  // a terminal may stand behind standard output
        }
    }
    std::printf("%s -> %d%s%s\n", text, code, reason[0] != '\0' ? " " : "", reason);
    std::fflush(stdout);
}
