#include "util/ipc/StringHashFunction.h"

#include <cstring>

StringHashFunction::~StringHashFunction() = default;

unsigned int StringHashFunction::Hash(const char*& text)
{
    unsigned int hash = 0;
    for (const char* at = text; *at != '\0'; ++at) {
        hash = hash * 31 + static_cast<unsigned char>(*at);
    }
    return hash;
}

bool StringHashFunction::Compare(const char*& a, const char*& b)
{
    return std::strcmp(a, b) == 0;
}
