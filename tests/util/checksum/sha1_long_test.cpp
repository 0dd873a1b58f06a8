// A message at once whose bit count does not fit in 32 bits; the digest is that of GNU sha1sum 9.
#include <gtest/gtest.h>

#include "tests/util/checksum/bytes.h"
#include "util/checksum/SHA1.h"

TEST(Sha1Long, DigestsMoreThan512MebibytesAtOnce)
{
    const test::Bytes zeros(600u << 20);
    SHA1Calculator calculator;
    calculator.Calculate(zeros.data(), static_cast<int>(zeros.size()));
    EXPECT_EQ(test::Hex(calculator.mDigest, 20), "a7bc5ad8146f9bf4d14f7c80a5cff5a1659fe007");
}
