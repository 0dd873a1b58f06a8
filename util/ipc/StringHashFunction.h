// Public. Hashes and compares NUL-terminated texts for the method table: h = h * 31 + byte over the
// bytes, modulo 2^32.
#ifndef UTIL_IPC_STRINGHASHFUNCTION_H
#define UTIL_IPC_STRINGHASHFUNCTION_H

#include "util/Export.h"
#include "util/container/HashFunction.h"

class HTML5_VIDEO_API StringHashFunction : public tavi::HashFunction<const char*>
{
public:
    ~StringHashFunction() override;
    unsigned int Hash(const char*& text) override;
    bool Compare(const char*& a, const char*& b) override;
};

#endif  // UTIL_IPC_STRINGHASHFUNCTION_H
