#include "util/checksum/X86.h"

#if CHECKSUM_X86
#include <cpuid.h>

namespace {
struct Registers
{
    unsigned int eax, ebx, ecx, edx;
};

// All zero where the processor does not know the leaf.
Registers Query(unsigned int leaf)
{
    Registers r = {};
    __get_cpuid_count(leaf, 0, &r.eax, &r.ebx, &r.ecx, &r.edx);
    return r;
}

bool HasAll(unsigned int value, unsigned int bits)
{
    return (value & bits) == bits;
}
}  // namespace

bool X86HasSha()
{
    return HasAll(Query(1).ecx, bit_SSSE3 | bit_SSE4_1) && HasAll(Query(7).ebx, bit_SHA);
}

bool X86HasCarrylessMultiply()
{
    return HasAll(Query(1).ecx, bit_PCLMUL | bit_SSSE3 | bit_SSE4_1);
}
#endif
