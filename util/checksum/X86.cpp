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

// Whether the system saves the 512-bit registers and their masks when it switches threads.
bool SystemSaves512()
{
    if (!HasAll(Query(1).ecx, bit_OSXSAVE)) {
        return false;
    }
    unsigned int low = 0;
    unsigned int high = 0;
    asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return HasAll(low, 0xE6);  // SSE, AVX, mask registers, both parts of the 512-bit registers
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

bool X86HasCarrylessMultiply512()
{
    const Registers features = Query(7);
    return X86HasCarrylessMultiply() && HasAll(features.ebx, bit_AVX512F | bit_AVX512BW) &&
           HasAll(features.ecx, bit_VPCLMULQDQ) && SystemSaves512();
}
#endif
