#include "util/console/CmdParser.h"

#include <strings.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "util/console/NumberText.h"
#include "util/console/SymbolRecords.h"

namespace {
constexpr std::size_t kTokenSize = 256;

const char* TextOrNull(const std::optional<std::string>& text)
{
    return text.has_value() ? text->c_str() : nullptr;
}

bool IsSpace(char character)
{
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

bool IsSign(char character)
{
    return character == '+' || character == '-';
}

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

// A word of a line, without its quotes.
struct Word
{
    const char* begin;
    std::size_t length;
};

// Finds the word that starts at or after from. Returns where to go on, or null when there is none.
const char* FindWord(const char* from, Word& word)
{
    while (IsSpace(*from)) {
        ++from;
    }
    if (*from == '\0') {
        return nullptr;
    }
    const bool quoted = *from == '"';
    from += quoted ? 1 : 0;
    word = {from, std::strcspn(from, quoted ? "\"" : " \t\r\n")};
    const char* const end = from + word.length;
    if (word.length >= kTokenSize || (quoted && *end == '\0')) {
        return nullptr;
    }
    return end + (quoted ? 1 : 0);
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

CmdParser::CmdParser() : mIndex(0), mGeneration(0) {}

CmdParser::CmdParser(const char* text) : CmdParser()
{
    Parse(text);
}

CmdParser::~CmdParser() = default;

void CmdParser::Init()
{
    mLine.reset();
    mCommand.reset();
    mReturn.reset();
    mIndex = 0;
    ++mGeneration;
}

void CmdParser::SetString(const char* text)
{
    mLine.reset();
    if (text != nullptr) {
        mLine.emplace(text);
    }
}

const char* CmdParser::GetString() const
{
    return TextOrNull(mLine);
}

void CmdParser::Parse(const char* text)
{
    Init();
    SetString(text);
    Parse();
}

void CmdParser::Parse()
{
    ++mGeneration;
    mCommand.reset();
    mReturn.reset();
    mArguments.clear();
    Word word = {};
    const char* at = mLine.has_value() ? FindWord(mLine->c_str(), word) : nullptr;
    if (at == nullptr) {
        return;
    }
    mCommand.emplace(word.begin, word.length);
    at = FindWord(at, word);
    if (at != nullptr && word.length == 1 && *word.begin == '=') {
        mReturn.swap(mCommand);
        at = FindWord(at, word);
        if (at == nullptr) {
            return;
        }
        mCommand.emplace(word.begin, word.length);
        at = FindWord(at, word);
    }
    for (; at != nullptr; at = FindWord(at, word)) {
        mArguments.push_back(std::string(word.begin, word.length));
    }
}

const char* CmdParser::GetNextToken(const char* from, char* token)
{
    std::memset(token, 0, kTokenSize);
    Word word = {};
    from = from != nullptr ? FindWord(from, word) : nullptr;
    if (from != nullptr) {
        std::memcpy(token, word.begin, word.length);
    }
    return from;
}

const char* CmdParser::GetCommand() const
{
    return TextOrNull(mCommand);
}

const char* CmdParser::GetReturn() const
{
    return TextOrNull(mReturn);
}

const char* CmdParser::GetNthArg(int index) const
{
    const bool found = index >= 0 && index < GetCount();
    return found ? mArguments[static_cast<std::size_t>(index)].c_str() : nullptr;
}

const char* CmdParser::GetNextArg()
{
    if (mIndex < GetCount() - 1) {
        return GetNthArg(++mIndex);
    }
    mIndex = GetCount() - 1;
    return nullptr;
}

const char* CmdParser::GetPrevArg()
{
    if (mIndex > 0) {
        return GetNthArg(--mIndex);
    }
    mIndex = 0;
    return nullptr;
}

bool CmdParser::CompareCommand(const char* name) const
{
    return mCommand.has_value() && name != nullptr && strcasecmp(mCommand->c_str(), name) == 0;
}

int CmdParser::Search(const char* word) const
{
    for (std::size_t index = 0; word != nullptr && index < mArguments.size(); ++index) {
        if (mArguments[index] == word) {
            return static_cast<int>(index);
        }
    }
    return -1;
}

int CmdParser::GetCmdArgs(CmdValue* values, int max) const
{
    if (values == nullptr) {
        return 0;
    }
    int filled = 0;
    for (int index = 0; index < GetCount() && filled < max; ++index) {
        const char* const word = GetNthArg(index);
        CmdValue& value = values[filled];
        const LockedSymbol symbol(SymbolRecords::Get(), word);
        const bool fits = symbol ? FillFromSymbol(value, *symbol) : FillFromLiteral(value, word);
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
