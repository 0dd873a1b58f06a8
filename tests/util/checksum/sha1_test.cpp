#include "util/checksum/SHA1.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <random>
#include <string>

#include "tests/support/RawPeer.h"
#include "tests/support/support.h"

namespace {
using test::Hex;

const std::string kEmptyDigest = Hex("da39a3ee5e6b4b0d3255bfef95601890afd80709");
const std::string kAbcDigest = Hex("a9993e364706816aba3e25717850c26c9cd0d89d");
const std::string kMillionDigest = Hex("34aa973cd4c4daa4f61eeb2bdbad27316534016f");

const unsigned char* Bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string Digest(const SHA1Calculator& calculator)
{
    return std::string(calculator.mDigest, calculator.mDigest + sizeof(calculator.mDigest));
}

// Expects the digest of the message, whole and handed over in random pieces, at any alignment and
// some of them empty.
void ExpectDigest(const std::string& message, const std::string& digest, std::mt19937& random)
{
    SHA1Calculator calculator;
    EXPECT_EQ(calculator.Calculate(Bytes(message), static_cast<int>(message.size())), 0);
    EXPECT_EQ(Digest(calculator), digest) << message.size();
    SHA1_CTX context;
    SHA1Init(&context);
    for (std::size_t at = 0; at < message.size();) {
        const std::size_t length = std::min<std::size_t>(random() % 150, message.size() - at);
        SHA1Update(&context, Bytes(message) + at, static_cast<unsigned int>(length));
        at += length;
    }
    SHA1Final(calculator.mDigest, &context);
    EXPECT_EQ(Digest(calculator), digest) << message.size() << " in pieces";
    const SHA1_CTX wiped = {};
    EXPECT_EQ(std::memcmp(&context, &wiped, sizeof(wiped)), 0);
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
        ExpectDigest(Hex(text).substr(0, bits / 8), Hex(digest), random);
    }
    EXPECT_EQ(count, 129);
}

TEST(Sha1, CarriesTheBitCountIntoTheHighWord)
{
    const unsigned char block[64] = {};
    SHA1_CTX context;
    SHA1Init(&context);
    context.count[0] = 0xFFFFFE00;
    context.count[1] = 6;
    for (const unsigned int length : {64U, 3U}) {
        SHA1Update(&context, block, length);
        EXPECT_EQ(context.count[0], length == 64 ? 0U : 24U);
        EXPECT_EQ(context.count[1], 7U);
    }
}

TEST(Sha1, TransformsStatesOfLongAndOf32BitWordsAlike)
{
    const std::string block = "any sixty-four characters, that is five hundred and twelve bits.";
    SHA1_CTX context;
    SHA1Init(&context);
    SHA1_CTX updated = context;
    unsigned long words[5];
    for (int i = 0; i < 5; ++i) {
        // What stands above 32 bits, where there is room for it, is not part of the word.
        words[i] = context.state[i] | ~0xFFFFFFFFUL;
    }
    SHA1Transform(words, Bytes(block));
    SHA1Transform(context.state, Bytes(block));
    SHA1Update(&updated, Bytes(block), 64);
    EXPECT_TRUE(std::equal(words, words + 5, context.state));
    EXPECT_TRUE(std::equal(updated.state, updated.state + 5, context.state));
}

TEST(Sha1Calculator, TakesTextAndNegativeLengthsAndNullAsEmpty)
{
    const char* const noText = nullptr;
    SHA1Calculator calculator;
    EXPECT_EQ(calculator.Calculate("abc"), 0);
    EXPECT_EQ(Digest(calculator), kAbcDigest);
    EXPECT_EQ(calculator.Calculate(Bytes("abc"), -1), 0);
    EXPECT_EQ(Digest(calculator), kEmptyDigest);
    calculator.Start();
    calculator.Update(Bytes("abc"), 3);
    EXPECT_EQ(calculator.Update(Bytes("abc"), -2147483647 - 1), 0);
    EXPECT_EQ(calculator.Update(nullptr, 1), 0);
    calculator.Finish();
    EXPECT_EQ(Digest(calculator), kAbcDigest);
    EXPECT_EQ(calculator.Calculate(noText), 0);
    EXPECT_EQ(Digest(calculator), kEmptyDigest);
    EXPECT_EQ(calculator.Calculate("abc"), 0);
    EXPECT_EQ(calculator.Calculate(nullptr, 5), 0);
    EXPECT_EQ(Digest(calculator), kEmptyDigest);
}

// The first use, which chooses the code for this processor, falls into the threads too: each test
// is a process of its own.
TEST(Sha1Calculator, RunsInSeveralThreadsAtTheSameTime)
{
    const std::string message(1000000, 'a');
    test::InThreads(4, [&](int id) {
        std::mt19937 random(static_cast<unsigned int>(id));
        ExpectDigest(message, kMillionDigest, random);
    });
}
