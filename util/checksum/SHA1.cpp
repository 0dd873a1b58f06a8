#include "util/checksum/SHA1.h"

#include <cstddef>
#include <cstring>

#include "util/checksum/BigEndian.h"
#include "util/checksum/Sha1Portable.h"
#include "util/checksum/Sha1X86.h"

namespace {
static_assert(offsetof(SHA1_CTX, count) == 20 && offsetof(SHA1_CTX, buffer) == 28 &&
                  sizeof(SHA1_CTX) == 92 && offsetof(SHA1Calculator, mDigest) == 92,
              "the same on every target, whatever the width of a long");

const std::size_t kBlockSize = sizeof(SHA1_CTX::buffer);
const std::size_t kLengthOffset = kBlockSize - 8;  // the last block ends with the message length

// The work is done by these functions rather than by the exported ones: a program that carries
// public functions of the same, common names takes the place of the latter only.

// Compresses count blocks into the state, in the fastest way that this processor knows.
void Compress(std::uint32_t* state, const unsigned char* blocks, std::size_t count)
{
#if CHECKSUM_X86
    static const auto fastest = X86HasSha() ? Sha1BlocksX86 : Sha1BlocksPortable;
    fastest(state, blocks, count);
#else
    Sha1BlocksPortable(state, blocks, count);
#endif
}

void Initialise(SHA1_CTX& context)
{
    context.state[0] = 0x67452301;
    context.state[1] = 0xEFCDAB89;
    context.state[2] = 0x98BADCFE;
    context.state[3] = 0x10325476;
    context.state[4] = 0xC3D2E1F0;
    context.count[0] = 0;
    context.count[1] = 0;
}

// Bytes of the buffer that wait to be hashed.
std::size_t Waiting(const SHA1_CTX& context)
{
    return context.count[0] / 8 % kBlockSize;
}

void AddToCount(SHA1_CTX& context, std::size_t length)
{
    std::uint64_t bits = std::uint64_t{context.count[1]} << 32 | context.count[0];
    bits += std::uint64_t{length} * 8;
    context.count[0] = static_cast<std::uint32_t>(bits);
    context.count[1] = static_cast<std::uint32_t>(bits >> 32);
}

void Absorb(SHA1_CTX& context, const unsigned char* data, std::size_t length)
{
    if (length == 0) {
        return;
    }
    const std::size_t waiting = Waiting(context);
    const std::size_t room = kBlockSize - waiting;
    AddToCount(context, length);
    if (length < room) {
        std::memcpy(context.buffer + waiting, data, length);
        return;
    }
    if (waiting != 0) {
        std::memcpy(context.buffer + waiting, data, room);
        Compress(context.state, context.buffer, 1);
        data += room;
        length -= room;
    }
    Compress(context.state, data, length / kBlockSize);
    const std::size_t rest = length % kBlockSize;
    std::memcpy(context.buffer, data + length - rest, rest);
}

// Pads: a 1 bit, 0 bits up to the place of the length, the length of the message in bits.
void Pad(SHA1_CTX& context)
{
    std::size_t waiting = Waiting(context);
    context.buffer[waiting++] = 0x80;
    if (waiting > kLengthOffset) {
        std::memset(context.buffer + waiting, 0, kBlockSize - waiting);
        Compress(context.state, context.buffer, 1);
        waiting = 0;
    }
    std::memset(context.buffer + waiting, 0, kLengthOffset - waiting);
    StoreBigEndian32(context.buffer + kLengthOffset, context.count[1]);
    StoreBigEndian32(context.buffer + kLengthOffset + 4, context.count[0]);
    Compress(context.state, context.buffer, 1);
}

void Complete(SHA1_CTX& context, unsigned char* digest)
{
    Pad(context);
    for (std::size_t i = 0; i < 5; ++i) {
        StoreBigEndian32(digest + 4 * i, context.state[i]);
    }
    explicit_bzero(&context, sizeof(context));
}

// The length of what a calculator is given.
std::size_t Length(const unsigned char* data, int len)
{
    return data != nullptr && len > 0 ? static_cast<std::size_t>(len) : 0;
}
}  // namespace

void SHA1Init(SHA1_CTX* context)
{
    Initialise(*context);
}

void SHA1Update(SHA1_CTX* context, const unsigned char* data, unsigned int len)
{
    Absorb(*context, data, len);
}

void SHA1Final(unsigned char* digest, SHA1_CTX* context)
{
    Complete(*context, digest);
}

void SHA1Transform(unsigned long* state, const unsigned char* block)
{
    std::uint32_t words[5];
    for (int i = 0; i < 5; ++i) {
        words[i] = static_cast<std::uint32_t>(state[i]);
    }
    Compress(words, block, 1);
    for (int i = 0; i < 5; ++i) {
        state[i] = words[i];
    }
}

void SHA1Transform(std::uint32_t* state, const unsigned char* block)
{
    Compress(state, block, 1);
}

int SHA1Calculator::Calculate(const unsigned char* data, int len)
{
    Initialise(mContext);
    Absorb(mContext, data, Length(data, len));
    Complete(mContext, mDigest);
    return 0;
}

int SHA1Calculator::Calculate(const char* text)
{
    Initialise(mContext);
    if (text != nullptr) {
        Absorb(mContext, reinterpret_cast<const unsigned char*>(text), std::strlen(text));
    }
    Complete(mContext, mDigest);
    return 0;
}

int SHA1Calculator::Start()
{
    Initialise(mContext);
    return 0;
}

int SHA1Calculator::Update(const unsigned char* data, int len)
{
    Absorb(mContext, data, Length(data, len));
    return 0;
}

int SHA1Calculator::Finish()
{
    Complete(mContext, mDigest);
    return 0;
}
