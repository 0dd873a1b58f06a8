// A message at once whose bit count does not fit in 32 bits; the digest is that of GNU sha1sum 9.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/RawPeer.h"
#include "util/checksum/SHA1.h"

TEST(Sha1Long, DigestsMoreThan512MebibytesAtOnce)
{
    SHA1Calculator calculator;
    calculator.Calculate(std::vector<unsigned char>(600U << 20).data(), 600 << 20);
    EXPECT_EQ(std::string(calculator.mDigest, calculator.mDigest + 20),
              test::Hex("a7bc5ad8146f9bf4d14f7c80a5cff5a1659fe007"));
}
