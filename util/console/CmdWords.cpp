// What the words of a line look like, and what they are worth as arguments of a command.
#include <strings.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "util/console/CmdParser.h"
#include "util/console/NumberText.h"
#include "util/console/SymbolRecords.h"

namespace {
bool IsSign(char character)
{
    return character == '+' || character == '-';
}

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool FillFromSymbol(CmdValue& value, const SymInfo& symbol)
{
    switch (symbol.mType) {
        case SymInfo::kInt:
        case SymInfo::kChar:
            value.SetInt(symbol.LoadInt());
            return true;
        case SymInfo::kString:
            value.SetString(symbol.mStringValue);
            return true;
        case SymInfo::kFloat:
            value.SetFloat(symbol.mFloatValue);
            return true;
        case SymInfo::kPointer:
            value.SetPointer(symbol.mPointerValue);
            return true;
        default:
            return false;
    }
}

bool FillFromLiteral(CmdValue& value, const char* word)
{
    if (CmdParser::IsInteger(word)) {
        value.SetInt(IntegerOf(word));
    } else if (CmdParser::IsHex(word)) {
        value.SetInt(static_cast<int>(std::strtol(word, nullptr, 16)));
    } else if (CmdParser::IsFloat(word)) {
        value.SetFloat(FloatOf(word));
    } else if (CmdParser::IsString(word)) {
        value.SetString(word);
    } else {
        return false;
    }
    return true;
}
}  // namespace

int CmdParser::GetCmdArgs(CmdValue* values, int max) const
{
    if (values == nullptr) {
        return 0;
    }
    int filled = 0;
    for (int index = 0; index < GetCount() && filled < max; ++index) {
        const char* const word = GetNthArg(index);
        CmdValue& value = values[filled];
        bool fits = false;
        const bool symbol = SymbolRecords::Get().Read(
            word, [&](const SymInfo& info) { fits = FillFromSymbol(value, info); });
        if (!symbol) {
            fits = FillFromLiteral(value, word);
        }
        filled += fits ? 1 : 0;
    }
    return filled;
}

bool CmdParser::IsSymbol(const char* word)
{
    return SymbolRecords::Get().Match(word) != nullptr;
}

bool CmdParser::IsInteger(const char* word)
{
    if (IsSign(*word)) {
        ++word;
    }
    while (IsDigit(*word)) {
        ++word;
    }
    return *word == '\0';
}

bool CmdParser::IsHex(const char* word)
{
    return strncasecmp(word, "0x", 2) == 0;
}

bool CmdParser::IsFloat(const char* word)
{
    for (const char* at = IsSign(*word) ? word + 1 : word; *at != '\0'; ++at) {
        if (!IsDigit(*at) && *at != '.') {
            return false;
        }
    }
    const char* const point = std::strrchr(word, '.');
    return point != nullptr && point != word && point[1] != '\0';
}

bool CmdParser::IsString(const char* word)
{
    while (std::isprint(static_cast<unsigned char>(*word)) != 0) {
        ++word;
    }
    return *word == '\0';
}

bool CmdParser::IsChar(const char* word)
{
    return std::strlen(word) == 1;
}
