#include "tools/player/MediaAddress.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {
TEST(MediaAddress, TellsTheKindsApart)
{
    const std::tuple<const char*, MediaAddress::Kind, const char*> cases[] = {
        {"/media/a b.webm", MediaAddress::kFile, "/media/a b.webm"},
        {"./12:30 news.ts", MediaAddress::kFile, "./12:30 news.ts"},
        {"100%25.ts", MediaAddress::kFile, "100%25.ts"},  // a path is taken as it is
        {"file:///media/a%20b%C3%A4.webm", MediaAddress::kFile, "/media/a b\xC3\xA4.webm"},
        {"file://localhost/a", MediaAddress::kFile, "/a"},
        {"file:///a%zz%00%2", MediaAddress::kFile, "/a%zz%00%2"},
        {"file://host/a", MediaAddress::kUnknown, ""},
        {"https://host/a", MediaAddress::kNetwork, ""},
        {"", MediaAddress::kUnknown, ""},
    };
    for (const auto& [text, kind, path] : cases) {
        EXPECT_EQ(MediaAddress::Parse(text).kind, kind) << text;
        EXPECT_EQ(MediaAddress::Parse(text).path, path) << text;
    }
}
}  // namespace
