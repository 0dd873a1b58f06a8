// Messages whose bit count does not fit in 32 bits; the digests are those of GNU sha1sum 9.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/util/checksum/bytes.h"
#include "util/checksum/SHA1.h"

TEST(Sha1Long, DigestsMoreThan512MebibytesAtOnceAndMoreThan4GibibytesInPieces)
{
    const test::Bytes zeros(600u << 20);
    const struct
    {
        std::uint64_t length;
        std::size_t piece;
        const char* digest;
    } cases[] = {
        {zeros.size(), zeros.size(), "a7bc5ad8146f9bf4d14f7c80a5cff5a1659fe007"},
        {(std::uint64_t{1} << 32) + 12345, (1u << 20) + 7,
         "d1f442b9586a919aa576739fa5f625be541d6912"},
    };
    for (const auto& c : cases) {
        SHA1_CTX context;
        SHA1Init(&context);
        for (std::uint64_t left = c.length; left != 0;) {
            const std::uint64_t next = std::min<std::uint64_t>(left, c.piece);
            SHA1Update(&context, zeros.data(), static_cast<unsigned int>(next));
            left -= next;
        }
        unsigned char digest[20];
        SHA1Final(digest, &context);
        EXPECT_EQ(test::Hex(digest, sizeof(digest)), c.digest) << c.length;
    }
}
