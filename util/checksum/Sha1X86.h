// Internal. Sha1BlocksPortable with the SHA extensions of x86-64. REQUIRES: X86HasSha().
#ifndef UTIL_CHECKSUM_SHA1X86_H
#define UTIL_CHECKSUM_SHA1X86_H

#include <cstddef>
#include <cstdint>

#include "util/checksum/X86.h"

#if CHECKSUM_X86
void Sha1BlocksX86(std::uint32_t* state, const unsigned char* blocks, std::size_t count);
#endif

#endif  // UTIL_CHECKSUM_SHA1X86_H
