#include "util/container/Vector.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
}

TEST_F(VectorTest, AppendsAndRemovesAnElementOfItsOwnBuffer)
{
    Fill(32);
    mVector.Pushback(mVector.At(3));  // grows, which releases the slot just referred to
    EXPECT_EQ(mVector.At(32), Item(3));
    mVector.Remove(mVector.At(3));  // the slot is overwritten by the first removal
    EXPECT_EQ(mVector.Size(), 31);
    for (int number : Contents()) {
        EXPECT_NE(number, 3);
    }
}

TEST_F(VectorTest, RemovesEveryOccurrence)
{
    for (int number : {1, 1, 2, 1, 3, 1, 1}) {
        mVector.Pushback(Item(number));
    }
    mVector.Remove(Item(9));
    EXPECT_EQ(mVector.Size(), 7);
    mVector.Remove(Item(1));
    EXPECT_EQ(Contents(), (std::vector<int>{2, 3}));
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

TEST_F(VectorTest, FlushForgetsAndRefillsFromTheFirstSlot)
{
    Fill(40);
    mVector.Flush();
    EXPECT_EQ(mVector.Size(), 0);
    mVector.Pushback(Item(7));
    EXPECT_EQ(Contents(), (std::vector<int>{7}));
}

TEST_F(VectorTest, AdvanceStaysInsideOrBecomesNull)
{
    struct Case
    {
        int from, by, to;  // to -1: null
    };
    constexpr Case kCases[] = {{0, 0, 0},          {0, 9, 9},          {0, 10, -1},
                               {5, -5, 0},         {5, -6, -1},        {9, 1, -1},
                               {9, INT32_MAX, -1}, {9, INT32_MIN, -1}, {0x7FFFFFFF, -5, -1}};
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

TEST_F(VectorTest, SlotsMayBeOverwritten)
{
    Fill(2);
    mVector.At(0) = Item(5);
    *mVector.Begin() = Item(mVector.At(0) == Item(5) ? 6 : 0);
    EXPECT_EQ(Contents(), (std::vector<int>{6, 1}));
}

TEST_F(VectorTest, AnIndexOutsideEndsTheProcess)
{
    Fill(2);
    // The report goes to standard output, the death test reads standard error.
    const auto at = [this](int index) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::setbuf(stdout, nullptr);
        mVector.At(index);
    };
    EXPECT_DEATH(at(2), "ERROR invalid index = 2/2\n");
    EXPECT_DEATH(at(-1), "ERROR invalid index = ffffffff/2\n");
    EXPECT_DEATH(*tavi::VectorIterator<std::string*>(&mVector, 0x7FFFFFFF), "");
}

struct Counted
{
    explicit Counted(int& alive) : mAlive(alive) { ++mAlive; }
    ~Counted() { --mAlive; }
    int& mAlive;
};

TEST(DestroyVectorContents, DeletesEachObjectOnceAndLeavesTheVectorUsable)
{
    int alive = 0;
    tavi::Vector<Counted*> vector;
    tavi::DestroyVectorContents(vector);
    for (int round = 0; round < 2; ++round) {
        for (int count = 0; count < 70; ++count) {
            vector.Pushback(new Counted(alive));
        }
        tavi::DestroyVectorContents(vector);
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(vector.Size(), 0);
    }
}
}  // namespace
