// Whole checksums of 1 KiB, by the code for any processor.
#include "benchmarks/instructions/counting.h"
#include "benchmarks/support/interleave.h"
#include "benchmarks/util/checksum/message.h"
#include "util/checksum/Crc32.h"
#include "util/checksum/SHA1.h"

namespace {
constexpr int kLength = 1024;

void CountSha1(int digests)
{
    const std::vector<unsigned char> message = Message(kLength);
    count::Count(digests, [&] {
        unsigned char digest[20];
        SHA1_CTX context;
        SHA1Init(&context);
        SHA1Update(&context, message.data(), kLength);
        SHA1Final(digest, &context);
        bench::Keep(digest);
    });
}

void CountCrc32(int sums)
{
    const std::vector<unsigned char> message = Message(kLength);
    count::Count(sums, [&] { bench::Keep(MCrc32(message.data(), kLength).mCrc); });
}

const count::RegisteredCase sSha1(10, "sha1-portable/1KiB", {100, CountSha1});
const count::RegisteredCase sCrc32(11, "crc32-portable/1KiB", {100, CountCrc32});
}  // namespace
