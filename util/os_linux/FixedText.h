// Internal. Texts in fixed arrays, cut to fit and always terminated.
#ifndef UTIL_OS_LINUX_FIXEDTEXT_H
#define UTIL_OS_LINUX_FIXEDTEXT_H

#include <cstddef>
#include <cstring>

// Copies the text, cut to the array's size less one; returns the length stored.
template <std::size_t N>
std::size_t CopyText(char (&field)[N], const char* text)
{
    const std::size_t length = strnlen(text, N - 1);
    std::memcpy(field, text, length);
    field[length] = '\0';
    return length;
}

// The same for names of locks and threads, where null gives "Undefined".
template <std::size_t N>
void CopyName(char (&field)[N], const char* name)
{
    CopyText(field, name != nullptr ? name : "Undefined");
}

#endif  // UTIL_OS_LINUX_FIXEDTEXT_H
