// The statement PRINT.
#include <cstdio>
#include <cstring>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"
#include "util/console/SymbolRecords.h"
#include "util/console/language/BasicStatements.h"
#include "util/console/language/ResultText.h"

namespace {
SymListMgr& Symbols()
{
    return *SymListMgr::GetInstance();
}

// A line feed or a tab for "n" and "t", 0 for any other character.
char EscapedCharacter(char letter)
{
    switch (letter) {
        case 'n':
            return '\n';
        case 't':
            return '\t';
        default:
            return '\0';
    }
}

// A symbol's value by its type; a reserved one reads as 0 or nothing. False for no symbol.
bool AppendSymbol(ResultText& text, const char* word)
{
    const LockedSymbol symbol(SymbolRecords::Get(), word);
    if (!symbol) {
        return false;
    }
    const bool reserved = symbol.IsReserved();
    switch (symbol->mType) {
        case SymInfo::kInt:
        case SymInfo::kChar:
            text.AppendInt(reserved ? 0 : symbol->LoadInt());
            break;
        case SymInfo::kString:
            text.Append(reserved ? nullptr : symbol->mStringValue);
            break;
        case SymInfo::kFloat:
            text.AppendFloat(reserved ? 0 : symbol->mFloatValue);
            break;
        default:
            break;
    }
    return true;
}

// A text of its own: a backslash that escapes nothing is dropped.
void AppendPlain(ResultText& text, const char* word)
{
    for (; *word != '\0'; ++word) {
        if (*word != '\\') {
            text.Append(*word);
        } else if (const char escaped = EscapedCharacter(word[1])) {
            text.Append(escaped);
            ++word;
        }
    }
}

// The symbol's text, nothing for a symbol of another type, or the word itself.
void AppendText(ResultText& text, const char* word)
{
    const LockedSymbol symbol(SymbolRecords::Get(), word);
    if (!symbol) {
        text.Append(word);
    } else if (!symbol.IsReserved()) {
        text.Append(symbol->mStringValue);
    }
}

// Takes the line's next argument for the directive; without one a number is 0 and a text empty.
// False, and nothing taken, for a letter that is none.
bool AppendDirective(ResultText& text, char letter, CmdParser& line)
{
    switch (letter) {
        case 'd':
            text.AppendInt(Symbols().GetIntValue(line.GetNextArg()));
            return true;
        case 'x':
            text.AppendHex(Symbols().GetIntValue(line.GetNextArg()));
            return true;
        case 's':
            AppendText(text, line.GetNextArg());
            return true;
        case 'f':
            text.AppendFloat(Symbols().GetFloatValue(line.GetNextArg()));
            return true;
        default:
            return false;
    }
}

// A format with arguments: what is no directive and no escape is copied.
void AppendFormat(ResultText& text, CmdParser& line)
{
    line.SetCurrentIndex(0);
    for (const char* at = line.GetNthArg(0); *at != '\0'; ++at) {
        const char escaped = *at == '\\' ? EscapedCharacter(at[1]) : '\0';
        if (escaped != '\0') {
            text.Append(escaped);
            ++at;
        } else if (*at == '%' && AppendDirective(text, at[1], line)) {
            ++at;
        } else {
            text.Append(*at);
        }
    }
}
}  // namespace

int statement::Print(StatementContext& /*context*/, CmdParser& line, char* result)
{
    std::memset(result, 0, ResultText::kSize);
    ResultText text(result);
    if (line.GetCount() == 0) {
        return CmdLanguage::kFailed;
    }
    if (line.GetCount() > 1) {
        AppendFormat(text, line);
    } else if (!AppendSymbol(text, line.GetNthArg(0))) {
        AppendPlain(text, line.GetNthArg(0));
    }
    std::fputs(result, stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
    return CmdLanguage::kDone;
}
