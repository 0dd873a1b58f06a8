#include "util/console/NumberText.h"

// What strtol makes of most texts, digits alone and few enough for any integer, takes a fraction of
// its call.
int IntegerOf(const char* text)
{
    constexpr int kDigits = 9;
    const bool negative = *text == '-';
    const char* const begin = text + (negative ? 1 : 0);
    const char* at = begin;
    int value = 0;
    for (; *at >= '0' && *at <= '9' && at - begin < kDigits; ++at) {
        value = value * 10 + (*at - '0');
    }
    if (at == begin || (*at >= '0' && *at <= '9')) {
        return static_cast<int>(std::strtol(text, nullptr, 10));
    }
    return negative ? -value : value;
}
