#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/util/checksum/bytes.h"
#include "util/checksum/SHA1.h"

namespace {
using test::Bytes;
using test::Hex;
using test::RandomBytes;

const char kEmptyDigest[] = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
const char kAbcDigest[] = "a9993e364706816aba3e25717850c26c9cd0d89d";

struct Vector
{
    Bytes message;
    std::string digest;
};

Bytes FromHex(const std::string& text, std::size_t length)
{
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<unsigned char>(std::stoi(text.substr(2 * i, 2), nullptr, 16));
    }
    return bytes;
}

// Reads "Len = bits", "Msg = hex", "MD = hex" groups; the empty message has the text 00.
std::vector<Vector> ReadVectors(const std::string& name)
{
    std::ifstream file(std::string(TEST_DATA_DIR) + "/" + name);
    std::vector<Vector> vectors;
    std::size_t length = 0;
    std::string key, equals, value;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        words >> key >> equals >> value;
        if (line.compare(0, 3, "Len") == 0) {
            length = std::stoul(value) / 8;
        } else if (line.compare(0, 3, "Msg") == 0) {
            vectors.push_back({FromHex(value, length), ""});
        } else if (line.compare(0, 2, "MD") == 0) {
            vectors.back().digest = value;
        }
    }
    return vectors;
}

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
    return Hex(digest, sizeof(digest));
}
}  // namespace

TEST(Sha1, DigestsThePublishedVectorsWholeAndInPieces)
{
    std::mt19937 random(1);
    std::vector<Vector> vectors = ReadVectors("SHA1ShortMsg.rsp");
    ASSERT_EQ(vectors.size(), 65u);
    const std::vector<Vector> longer = ReadVectors("SHA1LongMsg.rsp");
    ASSERT_EQ(longer.size(), 64u);
    vectors.insert(vectors.end(), longer.begin(), longer.end());
    for (const Vector& vector : vectors) {
        SCOPED_TRACE(vector.message.size());
        EXPECT_EQ(Digest(vector.message), vector.digest);
        EXPECT_EQ(DigestInPieces(vector.message, random), vector.digest);
    }
}

TEST(Sha1, DigestsAMillionLetters)
{
    EXPECT_EQ(Digest(Bytes(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1, PadsEveryLengthTheSameWholeAndInPieces)
{
    std::mt19937 random(2);
    for (std::size_t length = 0; length < 200; ++length) {
        const Bytes message = RandomBytes(random, length);
        EXPECT_EQ(DigestInPieces(message, random), Digest(message)) << length;
    }
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

TEST(Sha1, WipesTheContextWhenItIsDone)
{
    const Bytes message(100, 'x');
    SHA1_CTX context;
    SHA1Init(&context);
    SHA1Update(&context, message.data(), 100);
    unsigned char digest[20];
    SHA1Final(digest, &context);
    const SHA1_CTX zero = {};
    EXPECT_EQ(std::memcmp(&context, &zero, sizeof(context)), 0);
}

TEST(Sha1, TransformsStatesOfLongAndOf32BitWordsAlike)
{
    std::mt19937 random(4);
    const Bytes block = RandomBytes(random, 64);
    SHA1_CTX context;
    SHA1Init(&context);
    unsigned long words[5];
    for (int i = 0; i < 5; ++i) {
        // What stands above 32 bits, where there is room for it, is not part of the word.
        words[i] = context.state[i] | ~0xFFFFFFFFul;
    }
    SHA1Transform(words, block.data());
    SHA1Transform(context.state, block.data());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(words[i], context.state[i]);
    }
    SHA1_CTX updated;
    SHA1Init(&updated);
    SHA1Update(&updated, block.data(), 64);
    EXPECT_TRUE(std::equal(updated.state, updated.state + 5, context.state));
}

TEST(Sha1Calculator, DigestsTextAndBytesAndPiecesAlike)
{
    const auto* const abc = reinterpret_cast<const unsigned char*>("abc");
    SHA1Calculator calculator;
    EXPECT_EQ(calculator.Calculate("abc"), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kAbcDigest);
    std::memset(calculator.mDigest, 0, 20);
    EXPECT_EQ(calculator.Calculate(abc, 3), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kAbcDigest);
    std::memset(calculator.mDigest, 0, 20);
    EXPECT_EQ(calculator.Start(), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(calculator.Update(abc + i, 1), 0);
    }
    EXPECT_EQ(calculator.Finish(), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kAbcDigest);
}

TEST(Sha1Calculator, TakesNegativeLengthsAndNullAsEmpty)
{
    const auto* const abc = reinterpret_cast<const unsigned char*>("abc");
    SHA1Calculator calculator;
    EXPECT_EQ(calculator.Calculate(abc, -1), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kEmptyDigest);
    EXPECT_EQ(calculator.Calculate(nullptr, 5), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kEmptyDigest);
    EXPECT_EQ(calculator.Calculate(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(Hex(calculator.mDigest, 20), kEmptyDigest);
    calculator.Start();
    calculator.Update(abc, 3);
    EXPECT_EQ(calculator.Update(abc, -2147483647 - 1), 0);
    EXPECT_EQ(calculator.Update(nullptr, 1), 0);
    calculator.Finish();
    EXPECT_EQ(Hex(calculator.mDigest, 20), kAbcDigest);
}
