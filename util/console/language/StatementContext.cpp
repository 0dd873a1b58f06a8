#include "util/console/language/StatementContext.h"

#include <cstdio>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/language/ResultText.h"
#include "util/os_linux/ConfigText.h"
#include "util/os_linux/FixedText.h"

int StatementContext::Refuse(const CmdParser& line, char* result, const char* reason) const
{
    Report(line, CmdLanguage::kFailed, reason);
    return Fail(result, reason);
}

void StatementContext::Report(const CmdParser& line, int code, const char* reason) const
{
    if (!verbose || line.GetString() == nullptr) {
        return;
    }
    char text[CmdLanguage::kLineSize];
    CopyText(text, line.GetString());
    StripLineEnd(text);
    for (char* at = text; *at != '\0'; ++at) {
        if ((*at > '\0' && *at < ' ') || *at == '\x7f') {
            *at = ' ';  // a terminal may stand behind standard output
        }
    }
    std::printf("%s -> %d%s%s\n", text, code, reason[0] != '\0' ? " " : "", reason);
    std::fflush(stdout);
}
