// The containers that the library's interface shows.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/support.h"
#include "util/container/HashTable.h"
#include "util/container/SimpleAllocator.h"
#include "util/container/Vector.h"

namespace {
using Texts = tavi::Vector<std::string*>;

// Pointers into one array, so that each test names elements by number.
class VectorTest : public testing::Test
{
protected:
    std::string* Item(int index) { return &mItems[static_cast<std::size_t>(index)]; }

    void Fill(int count)
    {
        for (int index = 0; index < count; ++index) {
            mVector.Pushback(Item(index));
        }
    }

    // The numbers of the elements, by the walk that every user writes.
    std::vector<int> Contents()
    {
        std::vector<int> numbers;
        for (tavi::VectorIterator<std::string*> it = mVector.Begin(); !it.IsNull(); it.Next()) {
            numbers.push_back(static_cast<int>(*it - mItems.data()));
        }
        return numbers;
    }

    std::vector<std::string> mItems = std::vector<std::string>(200);
    Texts mVector;
};

TEST_F(VectorTest, StartsEmptyAndKeepsOrderAcrossGrowth)
{
    EXPECT_EQ(mVector.Size(), 0);
    EXPECT_TRUE(mVector.Begin().IsNull());

    tavi::VectorIterator<std::string*> first(&mVector, 0);
    for (int count = 1; count <= 97; ++count) {  // past 32, 64 and 96 slots
        mVector.Pushback(Item(count - 1));
        ASSERT_EQ(mVector.Size(), count);
        for (int index = 0; index < count; ++index) {
            ASSERT_EQ(mVector.At(index), Item(index));
        }
    }
    EXPECT_EQ(*first, Item(0)) << "an iterator stays usable while the vector grows";
    EXPECT_GE(malloc_usable_size(&mVector.At(0)), 128 * sizeof(void*));
    EXPECT_LT(malloc_usable_size(&mVector.At(0)), 160 * sizeof(void*)) << "128 slots";
}

TEST_F(VectorTest, AppendsInPlaceUpToWhatWasReserved)
{
    mVector.Reserve(97);
    Fill(1);
    const void* const buffer = &mVector.At(0);
    Fill(127);
    mVector.Reserve(3);
    EXPECT_EQ(&mVector.At(0), buffer);
    EXPECT_EQ(mVector.At(127), Item(126));
    EXPECT_LT(malloc_usable_size(&mVector.At(0)), 160 * sizeof(void*)) << "128 slots";
}

TEST_F(VectorTest, AppendsAndRemovesAnElementOfItsOwnBuffer)
{
    Fill(32);
    mVector.Pushback(mVector.At(3));  // grows, which releases the slot just referred to
    EXPECT_EQ(mVector.At(32), Item(3));
    mVector.Remove(mVector.At(3));  // the slot is overwritten by the first removal
    EXPECT_EQ(mVector.Size(), 31) << "every occurrence is removed";
    mVector.Remove(Item(99));
    EXPECT_EQ(mVector.Size(), 31);
    mVector.Remove(Item(0));
    const std::vector<int> left = Contents();
    EXPECT_EQ(std::vector<int>(left.begin(), left.begin() + 3), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(left.size(), 30U);
}

TEST_F(VectorTest, ErasesOnlyWithinItsBounds)
{
    Fill(3);
    for (int index : {-1, 3, 1000, INT32_MIN, INT32_MAX}) {
        mVector.Erase(index);
    }
    EXPECT_EQ(Contents(), (std::vector<int>{0, 1, 2}));
    mVector.Erase(1);
    EXPECT_EQ(Contents(), (std::vector<int>{0, 2}));
    mVector.Erase(1);
    mVector.Erase(0);
    EXPECT_TRUE(mVector.Begin().IsNull());
}

TEST_F(VectorTest, AdvanceStaysInsideOrBecomesNull)
{
    struct Case
    {
        int from, by, to;  // to -1: null
    };
    constexpr Case kCases[] = {{0, 0, 0},
                               {0, 9, 9},
                               {0, 10, -1},
                               {5, -5, 0},
                               {5, -6, -1},
                               {9, 1, -1},
                               {9, INT32_MAX, -1},
                               {9, INT32_MIN, -1},
                               {0x7FFFFFFF, -5, -1},
                               {0x7FFFFFFF, -0x7FFFFFFF, -1}};
    Fill(10);
    for (const Case& c : kCases) {
        tavi::VectorIterator<std::string*> it(&mVector, c.from);
        it.Advance(c.by);
        ASSERT_EQ(it.IsNull(), c.to < 0) << c.from << " by " << c.by;
        if (c.to >= 0) {
            EXPECT_EQ(*it, Item(c.to));
        }
    }
    tavi::VectorIterator<std::string*> last(&mVector, 9);
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
    EXPECT_DEATH(at(0x7FFFFFFF), "ERROR invalid index = 7fffffff/2\n");
    EXPECT_DEATH(*tavi::VectorIterator<std::string*>(&mVector, 0x7FFFFFFF), "");
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
    explicit Item(std::string name) : mName(std::move(name)) {}
    const char* ToString() const { return mName.c_str(); }
    std::string mName;
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

Item* Get(Table& table, const char* key)
{
    return table.Get(key);
}

int Add(Table& table, Item& item)
{
    const char* key = item.ToString();
    return table.Add(&item, key);
}

TEST(HashTable, FindsItemsByTheirOwnKeys)
{
    NumberHash hash;
    for (int buckets : {1, 2, 250}) {
        Table table(buckets, &hash);
        EXPECT_EQ(Get(table, "0"), nullptr);
        // The largest hash must not turn negative; 45 shares its bucket among 250.
        Item items[] = {Item("4294967295"), Item("45"), Item("295"), Item("0"), Item("1 a")};
        for (Item& item : items) {
            ASSERT_EQ(Add(table, item), 0);
        }
        for (Item& item : items) {
            EXPECT_EQ(Get(table, item.ToString()), &item) << item.mName << " in " << buckets;
        }
        EXPECT_EQ(Get(table, "1 b"), nullptr) << "same bucket, other key";
    }
}

TEST(HashTable, FindsTheFirstOfEqualKeysAndKeepsBoth)
{
    NumberHash hash;
    Table table(250, &hash);
    Item first("7"), second("7"), elsewhere("9");
    Add(table, first);
    Add(table, second);
    const char* foreign = "8";
    table.Add(&elsewhere, foreign);  // hashes to a bucket where its own key never looks
    EXPECT_EQ(Get(table, "7"), &first);
    EXPECT_EQ(Get(table, "9"), nullptr);
    EXPECT_EQ(Get(table, "8"), nullptr) << "the item's own key decides";

    std::vector<Item*> visited;
    table.ForEach([&visited](Item* item) { visited.push_back(item); });
    EXPECT_EQ(visited, (std::vector<Item*>{&first, &second, &elsewhere}));
}

TEST(HashTable, TakesNodesFromAnAllocatorUntilItIsExhausted)
{
    NumberHash hash;
    SimpleAllocator allocator(static_cast<int>(2 * sizeof(Table::Node)));
    {
        Table table(3, &hash);
        table.SetAllocator(&allocator);
        Item items[] = {Item("0"), Item("3"), Item("6")};
        EXPECT_EQ(Add(table, items[0]), 0);
        EXPECT_EQ(Add(table, items[1]), 0);
        EXPECT_EQ(Add(table, items[2]), -1);
        EXPECT_EQ(Get(table, "3"), &items[1]);
        EXPECT_EQ(Get(table, "6"), nullptr) << "a refused item is not in the table";
    }
    Table unusable(3, &hash);
    unusable.SetAllocator(&allocator);
    Item item("0");
    EXPECT_EQ(Add(unusable, item), -1);
    EXPECT_EQ(Get(unusable, "0"), nullptr);
}

// A host's pool: blocks one behind the other, the first at an odd multiple of 4 bytes.
class HostPool : public tavi::Allocator
{
public:
    ~HostPool() override { Reset(); }

    void* GetMemory(int size) override
    {
        void* const block = mBytes + mUsed;
        mUsed += static_cast<std::size_t>(size + 3) / 4 * 4;
        return mUsed <= sizeof(mBytes) ? block : nullptr;
    }
    void PutMemory(void*) override {}

    // The blocks get another use.
    void Reset() { std::memset(mBytes, 0xA5, sizeof(mBytes)); }

    // Where the pointer was written, as an offset from a boundary of 16 bytes; -1 when nowhere.
    std::ptrdiff_t Find(const void* pointer) const
    {
        for (std::size_t at = 0; at + sizeof(pointer) <= mUsed; at += 4) {
            if (std::memcmp(mBytes + at, &pointer, sizeof(pointer)) == 0) {
                return static_cast<std::ptrdiff_t>(at);
            }
        }
        return -1;
    }

private:
    alignas(16) unsigned char mBytes[400] = {};
    std::size_t mUsed = 4;
};

TEST(HashTable, LeavesTheNodesOfAnAllocatorToItAndNeverMixesThemWithTheHeaps)
{
    NumberHash hash;
    HostPool pool, other;
    Item items[] = {Item("0"), Item("3"), Item("6"), Item("1")};
    Table inPool(3, &hash), onHeap(3, &hash);
    EXPECT_EQ(inPool.SetAllocator(&other), 0);
    EXPECT_EQ(inPool.SetAllocator(&pool), 0) << "nothing was taken from the other one";
    for (Item& item : items) {
        EXPECT_EQ(Add(onHeap, item), 0);
        EXPECT_EQ(onHeap.SetAllocator(&pool), -1);
        EXPECT_EQ(pool.Find(&item), -1);
        ASSERT_EQ(Add(inPool, item), 0);
        EXPECT_EQ(inPool.SetAllocator(nullptr), -1);
        const std::ptrdiff_t at = pool.Find(&item);
        EXPECT_GE(at, 0);
        EXPECT_EQ(static_cast<std::size_t>(at) % alignof(Table::Node), 0U);
    }
    EXPECT_EQ(Get(inPool, "6"), &items[2]);
    pool.Reset();  // and then the table goes
}

char* At(void* start, int offset)
{
    return static_cast<char*>(start) + offset;
}

TEST(SimpleAllocator, HandsOutBlocksInOrderRaisedToFourBytes)
{
    const test::CapturedLog log;
    SimpleAllocator pool(16);
    void* const start = pool.GetMemory(5);
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % 8, 0U) << "nodes of a table fit";
    EXPECT_EQ(pool.GetMemory(0), At(start, 8)) << "nothing asked, nothing used";
    pool.Print();
    EXPECT_EQ(test::Count(log.Text(), "Size = 16, 10 ... Used = 8 8 ... Free = 8 8 -> "), 1);
    EXPECT_EQ(pool.GetMemory(8), At(start, 8)) << "a request that fills the pool succeeds";
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
