// Messages whose bit count does not fit in 32 bits, against another program's digest.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "tests/util/checksum/bytes.h"
#include "util/checksum/SHA1.h"

namespace {
const std::size_t kMapped = 600u << 20;

// The digest that sha1sum gives for so many zero bytes, "" without sha1sum.
std::string ReferenceDigest(std::uint64_t length)
{
    const std::string command = "head -c " + std::to_string(length) + " /dev/zero | sha1sum";
    FILE* const pipe = popen(command.c_str(), "r");
    char digest[41] = "";
    const int found = std::fscanf(pipe, "%40s", digest);
    pclose(pipe);
    return found == 1 ? digest : "";
}

std::string DigestOfZeros(const unsigned char* zeros, std::size_t piece, std::uint64_t length)
{
    SHA1_CTX context;
    SHA1Init(&context);
    for (std::uint64_t left = length; left != 0;) {
        const std::uint64_t next = std::min<std::uint64_t>(left, piece);
        SHA1Update(&context, zeros, static_cast<unsigned int>(next));
        left -= next;
    }
    unsigned char digest[20];
    SHA1Final(digest, &context);
    return test::Hex(digest, sizeof(digest));
}
}  // namespace

TEST(Sha1Long, DigestsMoreThan512MebibytesAtOnceAndMoreThan4GibibytesInPieces)
{
    void* const zeros = mmap(nullptr, kMapped, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    const auto* const data = static_cast<const unsigned char*>(zeros);
    for (const auto& [length, piece] : {std::pair<std::uint64_t, std::size_t>(kMapped, kMapped),
                                        {(std::uint64_t{1} << 32) + 12345, (1u << 20) + 7}}) {
        const std::string expected = ReferenceDigest(length);
        if (expected.empty()) {
            GTEST_SKIP() << "sha1sum is not installed";
        }
        EXPECT_EQ(DigestOfZeros(data, piece, length), expected) << length;
    }
    munmap(zeros, kMapped);
}
