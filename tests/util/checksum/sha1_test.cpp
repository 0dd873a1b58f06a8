#include "util/checksum/SHA1.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>

#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "tests/util/checksum/bytes.h"

namespace {
using test::Bytes;
using test::Hex;
using test::RandomBytes;

const char kEmptyDigest[] = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
const char kAbcDigest[] = "a9993e364706816aba3e25717850c26c9cd0d89d";

std::string Digest(const Bytes& message)
{
    SHA1Calculator calculator;
    EXPECT_EQ(calculator.Calculate(message.data(), static_cast<int>(message.size())), 0);
    return Hex(calculator.mDigest, sizeof(calculator.mDigest));
}

// The digest of the message handed over in random pieces, at any alignment and some of them empty.
std::string DigestInPieces(const Bytes& message, std::mt19937& random)
{
    SHA1_CTX context;
    SHA1Init(&context);
    for (std::size_t at = 0; at < message.size();) {
        const std::size_t length = std::min<std::size_t>(random() % 150, message.size() - at);
        SHA1Update(&context, message.data() + at, static_cast<unsigned int>(length));
        at += length;
    }
    unsigned char digest[20];
    SHA1Final(digest, &context);
    const SHA1_CTX wiped = {};
    EXPECT_EQ(std::memcmp(&context, &wiped, sizeof(context)), 0);
    return Hex(digest, sizeof(digest));
}
}  // namespace

TEST(Sha1, DigestsThePublishedVectorsWholeAndInPieces)
{
    std::mt19937 random(1);
    std::ifstream vectors(TEST_DATA_DIR "/sha1_vectors.txt");
    int count = 0;
    std::size_t bits = 0;
    std::string text, digest;
    for (; vectors >> bits >> text >> digest; ++count) {
        const std::string bytes = Hex(text).substr(0, bits / 8);
        const Bytes message(bytes.begin(), bytes.end());
        EXPECT_EQ(Digest(message), digest) << bits;
        EXPECT_EQ(DigestInPieces(message, random), digest) << bits;
    }
    EXPECT_EQ(count, 129);
    EXPECT_EQ(Digest(Bytes(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1, CarriesTheBitCountIntoTheHighWord)
{
    const Bytes block(64);
    SHA1_CTX context;
    SHA1Init(&context);
    context.count[0] = 0xFFFFFE00;
    context.count[1] = 6;
    SHA1Update(&context, block.data(), 64);
    EXPECT_EQ(context.count[0], 0u);
    EXPECT_EQ(context.count[1], 7u);
    SHA1Update(&context, block.data(), 3);
    EXPECT_EQ(context.count[0], 24u);
    EXPECT_EQ(context.count[1], 7u);
}

TEST(Sha1, TransformsStatesOfLongAndOf32BitWordsAlike)
{
    std::mt19937 random(4);
    const Bytes block = RandomBytes(random, 64);
    SHA1_CTX context;
    SHA1Init(&context);
    SHA1_CTX updated = context;
    unsigned long words[5];
    for (int i = 0; i < 5; ++i) {
        // What stands above 32 bits, where there is room for it, is not part of the word.
        words[i] = context.state[i] | ~0xFFFFFFFFul;
    }
    SHA1Transform(words, block.data());
    SHA1Transform(context.state, block.data());
    SHA1Update(&updated, block.data(), 64);
    EXPECT_TRUE(std::equal(words, words + 5, context.state));
    EXPECT_TRUE(std::equal(updated.state, updated.state + 5, context.state));
}

TEST(Sha1Calculator, TakesTextAndNegativeLengthsAndNullAsEmpty)
{
    const auto* const abc = reinterpret_cast<const unsigned char*>("abc");
    SHA1Calculator calculator;
    EXPECT_EQ(calculator.Calculate("abc"), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kAbcDigest);
    EXPECT_EQ(calculator.Calculate(abc, -1), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kEmptyDigest);
    EXPECT_EQ(calculator.Calculate(nullptr, 5), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kEmptyDigest);
    calculator.Start();
    calculator.Update(abc, 3);
    EXPECT_EQ(calculator.Update(abc, -2147483647 - 1), 0);
    EXPECT_EQ(calculator.Update(nullptr, 1), 0);
    calculator.Finish();
    EXPECT_EQ(Hex(calculator.mDigest, 20), kAbcDigest);
    EXPECT_EQ(calculator.Calculate(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kEmptyDigest);
}

// The first use, which chooses the code for this processor, falls into the threads too: each test
// is a process of its own.
TEST(Sha1Calculator, RunsInSeveralThreadsAtTheSameTime)
{
    std::mt19937 random(5);
    const Bytes message = RandomBytes(random, 5000);
    std::string digests[4];
    test::InThreads(4, [&](int id) {
        for (int repeat = 0; repeat < 200; ++repeat) {
            SHA1Calculator calculator;
            calculator.Start();
            for (int at = 0; at < 5000; at += 50) {
                calculator.Update(message.data() + at, 50);
            }
            calculator.Finish();
            const std::string next = Hex(calculator.mDigest, 20);
            digests[id] = repeat == 0 || digests[id] == next ? next : "differs between runs";
        }
    });
    for (const std::string& digest : digests) {
        EXPECT_EQ(digest, Digest(message));
    }
}
