#include "util/console/language/ResultText.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "util/console/CmdLanguage.h"

namespace {
constexpr std::size_t kNumberSize = 64;  // the largest float has 39 digits, a point and six more
}

void ResultText::Append(const char* text)
{
    if (text != nullptr) {
        AppendBytes(text, std::strlen(text));
    }
}

// By hand, since it is part of each sum that is run as a plain line.
void ResultText::AppendInt(int value)
{
    char text[kNumberSize];
    char* const end = text + sizeof(text);
    char* at = end;
    auto left = static_cast<unsigned>(value);
    left = value < 0 ? 0 - left : left;
    do {
        *--at = static_cast<char>('0' + left % 10);
        left /= 10;
    } while (left != 0);
    if (value < 0) {
        *--at = '-';
    }
    AppendBytes(at, static_cast<std::size_t>(end - at));
}

void ResultText::AppendHex(int value)
{
    char text[kNumberSize];
    std::snprintf(text, sizeof(text), "%x", static_cast<unsigned>(value));
    Append(text);
}

void ResultText::AppendFloat(float value)
{
    char text[kNumberSize];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
    Append(text);
}

void ResultText::AppendBytes(const char* bytes, std::size_t length)
{
    const std::size_t taken = std::min(length, kSize - 1 - mLength);
    std::memcpy(mBuffer + mLength, bytes, taken);
    mLength += taken;
    mBuffer[mLength] = '\0';
}

int Fail(char* result, const char* reason)
{
    ResultText(result).Append(reason);
    return CmdLanguage::kFailed;
}
