// Internal. Numbers as the console reads them from texts: leading blanks, then as far as the text
// is a decimal number; 0 when it begins with none.
#ifndef UTIL_CONSOLE_NUMBERTEXT_H
#define UTIL_CONSOLE_NUMBERTEXT_H

#include <cstdlib>

// A number outside the range of long becomes the nearest long first, and then its low 32 bits.
int IntegerOf(const char* text);

inline float FloatOf(const char* text)
{
    return static_cast<float>(std::strtod(text, nullptr));
}

#endif  // UTIL_CONSOLE_NUMBERTEXT_H
