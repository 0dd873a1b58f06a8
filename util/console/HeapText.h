// Internal. The heap texts of the console's public records.
#ifndef UTIL_CONSOLE_HEAPTEXT_H
#define UTIL_CONSOLE_HEAPTEXT_H

#include <climits>
#include <cstddef>
#include <cstring>

// A copy of the text, cut to limit characters, that the caller releases with delete[]; null for
// null.
inline char* NewText(const char* text, std::size_t limit = INT_MAX)
{
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t length = strnlen(text, limit);
    char* const copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

#endif  // UTIL_CONSOLE_HEAPTEXT_H
