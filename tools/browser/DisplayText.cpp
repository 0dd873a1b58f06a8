#include "tools/browser/DisplayText.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace {
struct CharacterRange
{
    wchar_t first;
    wchar_t last;
};

// Characters without a shape, which change the writing direction, the joining or the form of
// others. Terminals disagree on what they do, and on the width of what follows.
constexpr CharacterRange kSteering[] = {
    {0x00AD, 0x00AD}, {0x061C, 0x061C}, {0x180B, 0x180E}, {0x200B, 0x200F}, {0x2028, 0x202E},
    {0x2060, 0x206F}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE0FFF},
};

bool IsSteering(wchar_t character)
{
    return std::any_of(std::begin(kSteering), std::end(kSteering),
                       [character](const CharacterRange& range) {
                           return range.first <= character && character <= range.last;
                       });
}
}  // namespace

std::wstring ToDisplay(const std::string& bytes)
{
    std::wstring text;
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    while (at < end) {
        std::mbstate_t state = {};
        wchar_t character = 0;
        const auto left = static_cast<std::size_t>(end - at);
        const std::size_t length = std::mbrtowc(&character, at, left, &state);
        if (length == 0 || length > left || wcwidth(character) < 0) {
            text += L'?';
        } else if (!IsSteering(character)) {
            text += character;
        }
        at += length == 0 || length > left ? 1 : length;
    }
    return text;
}

int CellsOf(const std::wstring& text)
{
    return wcswidth(text.c_str(), text.size());
}

std::wstring CutEnd(const std::wstring& text, int cells)
{
    std::size_t length = 0;
    while (length < text.size() && (cells -= wcwidth(text[length])) >= 0) {
        ++length;
    }
    return text.substr(0, length);
}

std::wstring CutStart(const std::wstring& text, int cells)
{
    std::size_t first = text.size();
    while (first > 0 && (cells -= wcwidth(text[first - 1])) >= 0) {
        --first;
    }
    return text.substr(first);
}
