// Internal. The compression function of SHA-1 (FIPS 180-1, section 7) for any processor. Safe from
// any thread; what it copies of the message is wiped before it returns.
#ifndef UTIL_CHECKSUM_SHA1PORTABLE_H
#define UTIL_CHECKSUM_SHA1PORTABLE_H

#include <cstddef>
#include <cstdint>

// Compresses count blocks of 64 bytes into the five state words.
void Sha1BlocksPortable(std::uint32_t* state, const unsigned char* blocks, std::size_t count);

#endif  // UTIL_CHECKSUM_SHA1PORTABLE_H
