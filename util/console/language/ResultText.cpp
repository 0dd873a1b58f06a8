#include "util/console/language/ResultText.h"

#include "util/console/CmdLanguage.h"

int Fail(char* result, const char* reason)
{
    ResultText(result).Append(reason);
    return CmdLanguage::kFailed;
}
