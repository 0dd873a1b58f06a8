// Public. The SHA-1 message digest of FIPS 180-1, as four functions over a context and as a class.
// A context or calculator belongs to one thread at a time; different ones may work at the same
// time on different threads. Nothing here allocates, locks or fails. SHA-1 withstands accidents,
// not attackers: two messages with the same digest can be made on purpose.
#ifndef UTIL_CHECKSUM_SHA1_H
#define UTIL_CHECKSUM_SHA1_H

#include <cstdint>

#include "util/Export.h"

// The state of a message that is being hashed; the caller's, of fixed size.
struct SHA1_CTX
{
    std::uint32_t state[5];    // chaining values
    std::uint32_t count[2];    // bits hashed so far as one 64-bit number, low word first
    unsigned char buffer[64];  // the part of the current block that is not yet hashed
};

// Makes the context ready for a new message. An earlier content is dropped, not wiped.
HTML5_VIDEO_API void SHA1Init(SHA1_CTX* context);

// Hashes len more bytes, which are only read. data may be null when len is 0. The length of the
// whole message counts modulo 2^64 bits.
HTML5_VIDEO_API void SHA1Update(SHA1_CTX* context, const unsigned char* data, unsigned int len);

// Completes the message, writes the 20 bytes of its digest and wipes the context with zeros: it
// must be initialised again before it is used again.
HTML5_VIDEO_API void SHA1Final(unsigned char* digest, SHA1_CTX* context);

// One compression of a 64-byte block, read as sixteen big-endian words, into five state words.
// Where unsigned long has 64 bits each word is taken modulo 2^32 and comes back below 2^32. The
// second form is for SHA1_CTX::state, whose words have 32 bits on every target.
HTML5_VIDEO_API void SHA1Transform(unsigned long* state, const unsigned char* block);
HTML5_VIDEO_API void SHA1Transform(std::uint32_t* state, const unsigned char* block);

// Digests a message given at once (Calculate) or in pieces (Start, any number of Update, Finish).
// Every operation returns 0. Construction leaves the fields as they are.
class HTML5_VIDEO_API SHA1Calculator
{
public:
    // Digests len bytes into mDigest. A negative len or null data counts as an empty message.
    int Calculate(const unsigned char* data, int len);

    // Digests the text up to its terminating NUL, without it; null counts as empty. The text is
    // the message itself, never the name of a file.
    int Calculate(const char* text);

    // Makes mContext ready for a new message.
    int Start();

    // A negative len or null data adds nothing.
    int Update(const unsigned char* data, int len);

    // Writes mDigest and wipes mContext.
    int Finish();

    SHA1_CTX mContext;          // between Start and Finish
    unsigned char mDigest[20];  // of the last Calculate or Finish, in the standard byte order
};

#endif  // UTIL_CHECKSUM_SHA1_H
