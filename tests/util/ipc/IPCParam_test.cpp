#include "util/ipc/IPCParam.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>

#include "tests/support/RawPeer.h"
#include "tests/support/Records.h"

namespace {
using namespace test;

std::string TextOf(const IPCParam::Arg& argument)
{
    return reinterpret_cast<const char*>(argument.mValue);
}

// One argument of every type, with a block that leaves what follows at an odd offset. Once decoded,
// null is the integer 0.
void FillWithEveryType(IPCParam& record, bool decoded = false)
{
    char name[] = "url";
    char text[] = "ab";
    char block[] = {1, 2, 3};
    record.Add("pos", 5);
    record.Add(name, text);
    record.Add("d", block, 3);
    decoded ? record.Add("name", 0) : record.Add("name", static_cast<const char*>(nullptr));
    record.Add("no", "", 0);
    record.Add("last", -1);
    name[0] = text[0] = block[0] = 'x';  // the record has copies
}

const char kEveryType[] =
    "00 00 00 48 | 69 73 62 6E 62 69 00 00"
    "| 70 6F 73 00 | 05 00 00 00"
    "| 75 72 6C 00 | 61 62 00 00"
    "| 64 00 00 00 | 03 00 00 00 | 01 02 03"
    "| 6E 61 6D 65 00 00 00 00"
    "| 6E 6F 00 00 | 00 00 00 00"
    "| 6C 61 73 74 00 00 00 00 | FF FF FF FF";

TEST(IPCParam, EncodesEveryTypeToTheByte)
{
    IPCParam empty;
    EXPECT_EQ(Encoded(empty), Hex("00 00 00 48 00 00 00 00"));
    IPCParam record;
    FillWithEveryType(record);
    EXPECT_EQ(Encoded(record), Hex(kEveryType));
    EXPECT_EQ(record.GetSeiralizedLength(), static_cast<int>(Hex(kEveryType).size()));
    EXPECT_EQ(record.GetArg(1)->mLen, 4);
    EXPECT_EQ(record.GetArg(3)->mType, 'n');
    EXPECT_EQ(record.GetArg(3)->mNameLen, 8);
    EXPECT_EQ(record.GetArg(3)->mValue, 0);
}

TEST(IPCParam, DecodesWhatWasEncodedAndNullAsZero)
{
    IPCParam expected;
    expected.Add("before", 1);
    FillWithEveryType(expected, true);
    IPCParam record;
    record.Add("before", 1);
    const std::string bytes = Hex(kEveryType);
    EXPECT_EQ(Decode(record, bytes), static_cast<int>(bytes.size()));
    EXPECT_EQ(Encoded(record), Encoded(expected));
    EXPECT_EQ(record.GetArg(3)->mLen, 3);
    // The form without a length reads the same.
    IPCParam trusted;
    EXPECT_EQ(trusted.DeSerialize(reinterpret_cast<const unsigned char*>(bytes.data())),
              static_cast<int>(bytes.size()));
    EXPECT_EQ(trusted.GetCount(), 6);

    IPCParam known;
    const std::string some = Hex("00 00 00 48") + Text("zi?") + Text("a") + Number(9);
    EXPECT_EQ(Decode(known, some), static_cast<int>(some.size()));
    EXPECT_EQ(Encoded(known), Integers({9})) << "unknown types are passed over";
}

// As a peer sends it that leaves what it likes behind a text's NUL.
std::string WithDirtyPadding(std::string name)
{
    const std::size_t padded = Text(name).size();
    name += '\0';
    name.resize(padded, '\x01');
    return name;
}

// The first bytes' values are those that a search for zeros takes for zeros most easily.
TEST(IPCParam, TakesNamesOfEveryLengthFromCallersAndPeers)
{
    const std::string longest = "\x01\x80\xff\x01\x01" + std::string(66, 'n');
    for (std::size_t length = 0; length < longest.size(); ++length) {
        const std::string name = longest.substr(0, length);
        const std::string kept = name.substr(0, 63);
        const std::string encoded = Hex("00 00 00 48 69 00 00 00") + Text(kept) + Number(7);
        const std::vector<char> exact(name.c_str(), name.c_str() + length + 1);
        IPCParam own;
        own.Add(exact.data(), 7);
        EXPECT_EQ(Encoded(own), encoded) << length;
        const std::string sent = encoded.substr(0, 8) + WithDirtyPadding(name) + Number(7);
        IPCParam got;
        EXPECT_EQ(Decode(got, sent), static_cast<int>(sent.size())) << length;
        EXPECT_EQ(Encoded(got), encoded) << length;
        EXPECT_EQ(got.GetArg(0)->mName, kept) << length;
        for (std::size_t cut = 8; cut < sent.size(); ++cut) {
            EXPECT_EQ(Decode(got, sent.substr(0, cut)), -1) << length << ' ' << cut;
        }
        EXPECT_EQ(got.GetCount(), 1) << length;
    }
}

// The first twelve arguments live in the record, the others elsewhere.
TEST(IPCParam, RefusesACutEncodingAtEveryLengthAndKeepsTheRecord)
{
    IPCParam whole;
    for (int round = 0; round < 4; ++round) {
        FillWithEveryType(whole);
    }
    const std::string bytes = Encoded(whole);
    IPCParam record;
    for (int index = 0; index < 10; ++index) {
        record.Add("kept", index);
    }
    const std::string before = Encoded(record);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        ASSERT_EQ(Decode(record, bytes.substr(0, length)), -1) << length;
        ASSERT_EQ(Encoded(record), before) << length;
    }
    EXPECT_EQ(Decode(record, bytes), static_cast<int>(bytes.size()));
    ASSERT_EQ(record.GetCount(), 34);
    for (int index = 10; index < 34; index += 6) {
        EXPECT_EQ(record.GetArg(index)->mValue, 5);
        EXPECT_EQ(TextOf(*record.GetArg(index + 1)), "ab");
    }
}

TEST(IPCParam, GivesBackAllItsMemory)
{
    const auto used = [](const std::string& bytes) {
        {
            IPCParam record;
            record.Add("kept", "text");
            for (int round = 0; round < 4; ++round) {
                Decode(record, bytes);
            }
        }
        return mallinfo2().uordblks;
    };
    const std::string whole = Hex(kEveryType);
    for (const std::string& bytes : {whole, whole.substr(0, whole.size() - 1)}) {
        used(bytes);  // what the first use alone takes
        EXPECT_EQ(used(bytes), used(bytes));
    }
}

TEST(IPCParam, RefusesWrongStartCodesAndLyingLengths)
{
    const CapturedLog log;
    const std::string block = Hex("00 00 00 48 62 00 00 00 | 64 00 00 00");
    const std::string lies[] = {
        Hex("00 00 00 47 00 00 00 00"),  Hex("48 00 00 00 00 00 00 00"),
        block + Number(4) + "123",       block + Number(INT_MAX) + "123",
        block + Number(INT_MIN) + "123", Hex("00 00 00 48") + std::string(64, 'i'),
    };
    for (const std::string& lie : lies) {
        IPCParam record;
        EXPECT_EQ(Decode(record, lie), -1);
        EXPECT_EQ(record.GetCount(), 0);
    }
    EXPECT_EQ(log.Count("[[LOG-ERROR]]"), 6);
    EXPECT_EQ(log.Count("Wrong Start Code : 48 00 00 00"), 1);
}

TEST(IPCParam, BoundsTheNumberOfDecodedArguments)
{
    const auto encoding = [](std::size_t count) {
        return Hex("00 00 00 48") + Text(std::string(count, 'n')) + std::string(4 * count, '\0');
    };
    IPCParam most;
    EXPECT_GT(Decode(most, encoding(65535)), 0);
    EXPECT_EQ(most.GetCount(), 65535);
    IPCParam tooMany;
    EXPECT_EQ(Decode(tooMany, encoding(65536)), -1);
    EXPECT_EQ(tooMany.GetCount(), 0);
}

TEST(IPCParam, LogsEmptyEncodingsAndPositionsOutOfRange)
{
    const CapturedLog log;
    IPCParam record;
    EXPECT_EQ(Decode(record, EmptyRecord()), 0);
    EXPECT_EQ(log.Count("[LOG-WARN]:\033[0;0m No Arguments in IPCParam -> "), 1);
    record.Add("a", 1);
    EXPECT_EQ(record.GetArg(1), nullptr);
    EXPECT_EQ(record.GetArg(-1), nullptr);
    EXPECT_EQ(record.GetArg(INT_MAX), nullptr);
    EXPECT_EQ(log.Count("[[LOG-ERROR]]:\033[0;0m  -> GetArg in (/IPCParam.cpp "), 3);
}
}  // namespace
