// A whole digest, from an empty context to the twenty bytes, here and in OpenSSL.
#ifndef BENCHMARKS_UTIL_CHECKSUM_SHA1_CASES_H
#define BENCHMARKS_UTIL_CHECKSUM_SHA1_CASES_H

// The low-level functions of OpenSSL are deprecated but its fastest: the others look up the
// algorithm by name for each digest.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/sha.h>

#include <array>
#include <vector>

#include "util/checksum/SHA1.h"

using Digest = std::array<unsigned char, 20>;

inline Digest DigestHere(const std::vector<unsigned char>& message)
{
    Digest digest;
    SHA1_CTX context;
    SHA1Init(&context);
    SHA1Update(&context, message.data(), static_cast<unsigned int>(message.size()));
    SHA1Final(digest.data(), &context);
    return digest;
}

inline Digest DigestByOpenSsl(const std::vector<unsigned char>& message)
{
    Digest digest;
    SHA_CTX context;
    SHA1_Init(&context);
    SHA1_Update(&context, message.data(), message.size());
    SHA1_Final(digest.data(), &context);
    return digest;
}

#endif  // BENCHMARKS_UTIL_CHECKSUM_SHA1_CASES_H
