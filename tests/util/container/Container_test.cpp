// The containers that the library's interface shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/support.h"
#include "util/container/HashTable.h"
#include "util/container/SimpleAllocator.h"
#include "util/container/Vector.h"

namespace {
using Iterator = tavi::VectorIterator<char*>;

// Pointers into one array of characters, which begins with the capital letters.
class VectorTest : public testing::Test
{
protected:
    VectorTest() { std::iota(mItems, mItems + sizeof(mItems), 'A'); }

    void Fill(int count)
    {
        for (int index = 0; index < count; ++index) {
            mVector.Pushback(mItems + index);
        }
    }

    // What the elements point to, by the walk that every user writes.
    std::string Contents()
    {
        std::string letters;
        for (Iterator it = mVector.Begin(); !it.IsNull(); it.Next()) {
            letters += **it;
        }
        return letters;
    }

    // The allocated slots, give or take what the heap adds.
    std::size_t Slots() { return malloc_usable_size(&mVector.At(0)) / sizeof(void*); }

    char mItems[200];
    tavi::Vector<char*> mVector;
};

TEST_F(VectorTest, StartsEmptyAndKeepsOrderAcrossGrowth)
{
    EXPECT_EQ(mVector.Size(), 0);
    EXPECT_EQ(Contents(), "");
    Iterator first(&mVector, 0);
    for (int count = 1; count <= 97; ++count) {  // past 32, 64 and 96 slots
        mVector.Pushback(mItems + count - 1);
        ASSERT_EQ(mVector.Size(), count);
        ASSERT_EQ(Contents(), std::string(mItems, mItems + count));
    }
    EXPECT_EQ(*first, mItems) << "an iterator stays usable while the vector grows";
    EXPECT_THAT(Slots(), testing::AllOf(testing::Ge(128U), testing::Lt(160U)));
}

TEST_F(VectorTest, AppendsInPlaceUpToWhatWasReserved)
{
    mVector.Reserve(97);
    Fill(1);
    const void* const buffer = &mVector.At(0);
    Fill(127);
    mVector.Reserve(3);
    EXPECT_EQ(&mVector.At(0), buffer);
    EXPECT_EQ(mVector.At(127), mItems + 126);
    EXPECT_THAT(Slots(), testing::AllOf(testing::Ge(128U), testing::Lt(160U)));
}

TEST_F(VectorTest, AppendsAndRemovesAnElementOfItsOwnBuffer)
{
    Fill(32);
    mVector.Pushback(mVector.At(3));  // grows, which releases the slot just referred to
    EXPECT_EQ(mVector.At(32), mItems + 3);
    mVector.Remove(mVector.At(3));  // every occurrence; the first removal overwrites the slot
    mVector.Remove(mItems + 99);
    mVector.Remove(mItems);
    EXPECT_EQ(Contents(), "BCEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`");
}

TEST_F(VectorTest, ErasesOnlyWithinItsBounds)
{
    Fill(3);
    for (int index : {-1, 3, 1000, INT32_MIN, INT32_MAX}) {
        mVector.Erase(index);
    }
    EXPECT_EQ(Contents(), "ABC");
    mVector.Erase(1);
    EXPECT_EQ(Contents(), "AC");
    mVector.Erase(1);
    mVector.Erase(0);
    EXPECT_EQ(Contents(), "");
}

TEST_F(VectorTest, AdvanceStaysInsideOrBecomesNull)
{
    constexpr int kNull = -1;
    constexpr int kCases[][3] = {{0, 9, 9},
                                 {0, 10, kNull},
                                 {5, -5, 0},
                                 {5, -6, kNull},
                                 {9, INT32_MAX, kNull},
                                 {9, INT32_MIN, kNull},
                                 {0x7FFFFFFF, -0x7FFFFFFF, kNull}};
    Fill(10);
    for (const auto& [from, by, to] : kCases) {
        Iterator it(&mVector, from);
        it.Advance(by);
        ASSERT_EQ(it.IsNull() ? kNull : *it - mItems, to) << from << " by " << by;
    }
    Iterator last(&mVector, 9);
    EXPECT_TRUE(last.Next().IsNull());
    EXPECT_TRUE(last.Next().IsNull());
}

TEST_F(VectorTest, AnIndexOutsideEndsTheProcess)
{
    Fill(2);
    // The report goes to standard output, fully buffered as in a file or a pipe; the death test
    // reads standard error.
    const auto at = [this](int index) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
        mVector.At(index);
    };
    EXPECT_DEATH(at(2), "ERROR invalid index = 2/2\n");
    EXPECT_DEATH(at(-1), "ERROR invalid index = ffffffff/2\n");
    EXPECT_DEATH(*Iterator(&mVector, 0x7FFFFFFF), "");
}

TEST(DestroyVectorContents, DeletesEachObjectOnceAndLeavesTheVectorUsable)
{
    const auto alive = std::make_shared<int>();
    tavi::Vector<std::shared_ptr<int>*> vector;
    for (int round = 0; round < 2; ++round) {
        for (int count = 0; count < 70; ++count) {
            vector.Pushback(new std::shared_ptr<int>(alive));
        }
        tavi::DestroyVectorContents(vector);
        EXPECT_EQ(alive.use_count(), 1);
        EXPECT_EQ(vector.Size(), 0);
    }
}

struct Item
{
    const char* ToString() const { return mName; }
    const char* mName;
};

// Hashes a text to the number it begins with.
class NumberHash : public tavi::HashFunction<const char*>
{
public:
    unsigned int Hash(const char*& key) override
    {
        return static_cast<unsigned int>(std::strtoul(key, nullptr, 10));
    }
    bool Compare(const char*& a, const char*& b) override { return std::strcmp(a, b) == 0; }
};

using Table = tavi::HashTable<Item, const char*>;

class HashTable : public testing::Test
{
protected:
    static Item* Get(Table& table, const char* key) { return table.Get(key); }
    static int Add(Table& table, Item& item) { return table.Add(&item, item.mName); }

    NumberHash mHash;
    Item mItems[4] = {{"0"}, {"3"}, {"6"}, {"1"}};
};

TEST_F(HashTable, FindsItemsByTheirOwnKeys)
{
    // The largest hash must not turn negative; 45 shares its bucket among 250.
    Item items[] = {{"4294967295"}, {"45"}, {"295"}, {"0"}, {"1 a"}};
    const std::size_t before = test::AllocatedBytes();
    for (int buckets : {1, 2, 250}) {
        Table table(buckets, &mHash);
        EXPECT_EQ(Get(table, "0"), nullptr);
        for (Item& item : items) {
            ASSERT_EQ(Add(table, item), 0);
        }
        for (Item& item : items) {
            EXPECT_EQ(Get(table, item.mName), &item) << item.mName << " in " << buckets;
        }
        EXPECT_EQ(Get(table, "1 b"), nullptr) << "same bucket, other key";
        for (int count = 0; count < 300; ++count) {
            Add(table, items[0]);
        }
    }
    EXPECT_LT(test::AllocatedBytes(), before + 5000) << "the tables took their nodes with them";
}

TEST_F(HashTable, FindsTheFirstOfEqualKeysAndKeepsBoth)
{
    Table table(250, &mHash);
    Item first{"7"}, second{"7"}, elsewhere{"9"};
    Add(table, first);
    Add(table, second);
    const char* foreign = "8";
    table.Add(&elsewhere, foreign);  // hashes to a bucket where its own key never looks
    EXPECT_EQ(Get(table, "7"), &first);
    EXPECT_EQ(Get(table, "9"), nullptr);
    EXPECT_EQ(Get(table, "8"), nullptr) << "the item's own key decides";

    std::vector<Item*> visited;
    table.ForEach([&visited](Item* item) { visited.push_back(item); });
    EXPECT_THAT(visited, testing::ElementsAre(&first, &second, &elsewhere));
}

TEST_F(HashTable, TakesNodesFromAnAllocatorUntilItIsExhausted)
{
    SimpleAllocator allocator(static_cast<int>(2 * sizeof(Table::Node)));
    for (const int room : {2, 0}) {
        Table table(3, &mHash);
        table.SetAllocator(&allocator);
        for (int index = 0; index < 3; ++index) {  // a refused item is not in the table
            EXPECT_EQ(Add(table, mItems[index]), index < room ? 0 : -1);
            EXPECT_EQ(Get(table, mItems[index].mName), index < room ? &mItems[index] : nullptr);
        }
    }
}

TEST_F(HashTable, LeavesTheNodesOfAnAllocatorToItAndNeverMixesThemWithTheHeaps)
{
    constexpr int kSize = 400;
    SimpleAllocator pool(kSize), other(kSize);
    char* const memory = static_cast<char*>(pool.GetMemory(4));
    std::memset(memory, 0, kSize);
    const auto find = [memory](const Item* item) {
        return reinterpret_cast<std::uintptr_t>(memmem(memory, kSize, &item, sizeof(item)));
    };
    Table inPool(3, &mHash), onHeap(3, &mHash);
    EXPECT_EQ(inPool.SetAllocator(&other), 0);
    EXPECT_EQ(inPool.SetAllocator(&pool), 0) << "nothing was taken from the other one";
    for (Item& item : mItems) {
        EXPECT_EQ(Add(onHeap, item), 0);
        EXPECT_EQ(onHeap.SetAllocator(&pool), -1);
        EXPECT_EQ(find(&item), 0U);
        ASSERT_EQ(Add(inPool, item), 0);
        EXPECT_EQ(inPool.SetAllocator(nullptr), -1);
        EXPECT_NE(find(&item), 0U);
        EXPECT_EQ(find(&item) % alignof(Table::Node), 0U);
        pool.GetMemory(4);  // so that the next block may begin at an odd multiple of 4
    }
    EXPECT_EQ(Get(inPool, "6"), &mItems[2]);
    std::memset(memory, 0xA5, kSize);  // the host's again; and then the table goes
}

TEST(SimpleAllocator, HandsOutBlocksInOrderRaisedToFourBytes)
{
    const test::CapturedLog log;
    SimpleAllocator pool(16);
    char* const start = static_cast<char*>(pool.GetMemory(5));
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % 8, 0U) << "nodes of a table fit";
    EXPECT_EQ(pool.GetMemory(0), start + 8) << "nothing asked, nothing used";
    pool.Print();
    EXPECT_EQ(test::Count(log.Text(), "Size = 16, 10 ... Used = 8 8 ... Free = 8 8 -> "), 1);
    EXPECT_EQ(pool.GetMemory(8), start + 8) << "a request that fills the pool succeeds";
    for (int size : {1, -1, INT_MIN, INT_MAX - 2, INT_MAX}) {
        EXPECT_EQ(pool.GetMemory(size), nullptr) << size;
    }
    EXPECT_EQ(test::Count(log.Text(), "No Memory.. 16 4 16"), 1);
    pool.PutMemory(start);
    EXPECT_EQ(pool.GetMemory(1), nullptr) << "single blocks are not taken back";
    pool.Flush();
    EXPECT_EQ(pool.GetMemory(4), start);
    for (int size : {0, -1, INT_MIN}) {
        EXPECT_EQ(SimpleAllocator(size).GetMemory(1), nullptr);
    }
    Logger::GetLogger(1)->SetLevel(Logger::kWarning);
    pool.Print();
    EXPECT_EQ(test::Count(log.Text(), "Size = "), 1);
}
}  // namespace
