#include "util/console/language/StatementContext.h"

#include <cstdio>
#include <cstring>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/language/ResultText.h"

int StatementContext::Refuse(const CmdParser& line, char* result, const char* reason) const
{
    Report(line, CmdLanguage::kFailed, reason);
    return Fail(result, reason);
}

void StatementContext::Report(const CmdParser& line, int code, const char* reason) const
{
    const char* const text = line.GetString();
    if (verbose && text != nullptr) {
        std::printf("%.*s -> %d%s%s\n", static_cast<int>(std::strcspn(text, "\r\n")), text, code,
                    reason[0] != '\0' ? " " : "", reason);
        std::fflush(stdout);
    }
}
