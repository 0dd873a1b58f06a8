#include "util/container/HashTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "util/container/SimpleAllocator.h"

namespace {
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

TEST(HashTable, LookupsRunWhileAnotherThreadAdds)
{
    constexpr int kItems = 3000;
    NumberHash hash;
    Table table(50, &hash);
    std::vector<std::unique_ptr<Item>> items;
    for (int number = 0; number < kItems; ++number) {
        items.push_back(std::make_unique<Item>(std::to_string(number)));
    }
    std::atomic<int> added{0};
    std::thread adder([&] {
        for (auto& item : items) {
            Add(table, *item);
            added.fetch_add(1, std::memory_order_release);
        }
    });
    for (int seen = 0; seen < kItems;) {
        seen = added.load(std::memory_order_acquire);
        if (seen > 0) {
            Item& latest = *items[static_cast<std::size_t>(seen - 1)];
            ASSERT_EQ(Get(table, latest.ToString()), &latest);
            ASSERT_EQ(Get(table, "0"), items[0].get());
        }
    }
    adder.join();
}

TEST(HashContainer, LinksBehindTheLastNode)
{
    Item items[] = {Item("a"), Item("b"), Item("c")};
    tavi::HashContainer<Item> nodes[] = {tavi::HashContainer<Item>(&items[0]),
                                         tavi::HashContainer<Item>(&items[1]),
                                         tavi::HashContainer<Item>(&items[2])};
    nodes[0].Add(&nodes[1]);
    nodes[0].Add(&nodes[2]);
    EXPECT_EQ(nodes[0].Next(), &nodes[1]);
    EXPECT_EQ(nodes[1].Next(), &nodes[2]);
    EXPECT_EQ(nodes[2].Next(), nullptr);
    EXPECT_EQ(nodes[2].Get(), &items[2]);
}
}  // namespace
