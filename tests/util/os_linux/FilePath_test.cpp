#include "util/os_linux/FilePath.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {
TEST(FilePath, SplitsAtItsLastSeparator)
{
    const struct
    {
        const char *path, *item, *directory;
        bool endsInSlash;
    } cases[] = {{"/a/b/c", "c", "/a/b", false},
                 {"/a/b/", "b/", "/a", true},
                 {"/name", "name", "", false},
                 {"name", "name", "name", false},
                 {"name/", "name/", "name/", true},
                 {"/", "/", "/", true},
                 {"//", "/", "", true},
                 {"a//b", "b", "a/", false},
                 {"", "", "", false}};
    for (const auto& c : cases) {
        FilePath path(c.path);
        EXPECT_STREQ(path.GetLastItem(), c.item) << c.path;
        EXPECT_STREQ(path.GetLastDirectory(), c.directory) << c.path;
        EXPECT_EQ(path.GuessDir(), c.endsInSlash) << c.path;
        EXPECT_EQ(path.IsAbsolutePath(), c.path[0] == '/') << c.path;
    }
    EXPECT_STREQ(FilePath(nullptr).GetLastItem(), "");
}

TEST(FilePath, CountsItemsWithoutALeadingSlash)
{
    const struct
    {
        const char* path;
        std::vector<const char*> items;  // from index 0
    } cases[] = {{"/a/b/c", {"a", "b", "c", "", ""}},
                 {"a/b", {"a", "b", "", ""}},
                 {"/a/", {"a", "", ""}},
                 {"//a", {"", "a", ""}},
                 {"/", {"", ""}},
                 {"whole", {"whole", "whole"}},
                 {"", {"", ""}}};
    for (const auto& c : cases) {
        FilePath path(c.path);
        for (std::size_t index = 0; index < c.items.size(); ++index) {
            EXPECT_STREQ(path.GetItem(static_cast<int>(index)), c.items[index])
                << c.path << " item " << index;
        }
    }
    FilePath path("/a/b");
    EXPECT_STREQ(path.GetItem(-1), "");
    EXPECT_STREQ(path.GetItem(INT32_MIN), "");
    EXPECT_STREQ(path.GetItem(INT32_MAX), "");
}

TEST(FilePath, CutsResultsAt255Characters)
{
    const std::string name(1000, 'n');
    FilePath path(("/" + name + "/" + name).c_str());
    EXPECT_EQ(path.GetLastItem(), name.substr(0, 255));
    EXPECT_EQ(path.GetItem(0), name.substr(0, 255));
    EXPECT_EQ(path.GetLastDirectory(), "/" + name.substr(0, 254));
}
}  // namespace
