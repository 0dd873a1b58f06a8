// Values, words and lines.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "util/console/CmdHistory.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
TEST(CmdValue, IsReadBackByItsOwnTypeOnly)
{
    CmdValue value;
    EXPECT_EQ(value.GetType(), -1);
    value.SetInt(-7);
    EXPECT_EQ(value.GetInt(), -7);
    EXPECT_EQ(value.GetFloat(), 0);
    EXPECT_EQ(value.GetPointer(), nullptr);
    EXPECT_STREQ(value.GetString(), "");
    value.SetPointer(&value);
    EXPECT_EQ(value.GetPointer(), &value);
    EXPECT_EQ(value.GetInt(), 0);
    EXPECT_EQ(CmdValue(4).GetInt(), 4);
    EXPECT_EQ(CmdValue(2.5F).GetFloat(), 2.5F);
    EXPECT_STREQ(CmdValue("word").GetString(), "word");
    EXPECT_STREQ(value.SetString(nullptr), "");
    EXPECT_EQ(std::string(value.SetString(std::string(4095, 'b').c_str())).size(), 255U);
    value.SetInt(0x41414141);
    value.SetType(1);
    EXPECT_LE(std::string(value.GetString()).size(), 255U) << "terminated whatever it holds";
}

// What is given as a text that may be written comes back as one.
TEST(Interfaces, TakeWritableTexts)
{
    char line[] = "x = command";
    char prompt[] = "\nCMD>rest";
    char token[256];
    EXPECT_STREQ(CmdParser::GetNextToken(line, token), " = command");
    EXPECT_STREQ(CmdMgr::RemovePrompt(prompt), "rest");
    static_assert(std::is_same_v<decltype(CmdParser::GetNextToken(line, token)), char*>);
    static_assert(std::is_same_v<decltype(CmdMgr::RemovePrompt(prompt)), char*>);
    static_assert(std::is_same_v<decltype(CmdParser::GetNextToken("x", token)), const char*>);
    static_assert(std::is_same_v<decltype(CmdMgr::RemovePrompt("x")), const char*>);
    EXPECT_STREQ(CmdMgr::RemovePrompt("12345\nCMD>"), "\nCMD>");
    EXPECT_STREQ(CmdMgr::RemovePrompt("CMD>rest"), "CMD>rest");
}

TEST(CmdParser, SplitsLines)
{
    const std::string longest(255, 'w');
    using Words = std::vector<std::string>;
    const std::tuple<std::string, const char*, const char*, Words> cases[] = {
        {"", nullptr, nullptr, {}},
        {" \t\r\n\v\f", nullptr, nullptr, {}},
        {"\tcommand one\ttwo\r\n", nullptr, "command", {"one", "two"}},
        {"x = ADD a b", "x", "ADD", {"a", "b"}},
        {"x = 5", "x", "5", {}},
        {"x =", "x", nullptr, {}},
        {"= = =", "=", "=", {}},
        {"a b = c", nullptr, "a", {"b", "=", "c"}},
        {"a \"\" b", nullptr, "a", {"", "b"}},
        {"\"a b\" c", nullptr, "a b", {"c"}},
        {"c \"ab\"cd", nullptr, "c", {"ab", "cd"}},
        {"c ab\"cd ef\"", nullptr, "c", {"ab\"cd", "ef\""}},
        {"c a\vb \va", nullptr, "c", {"a\vb", "a"}},
        {"c one \"two three", nullptr, "c", {"one"}},
        {"\"open", nullptr, nullptr, {}},
        {"a \"" + longest + "\" b", nullptr, "a", {longest, "b"}},
        {"a \"w" + longest + "\" b", nullptr, "a", {}},
        {"a " + longest + " b", nullptr, "a", {longest, "b"}},
        {"a w" + longest + " b", nullptr, "a", {}},
    };
    CmdParser parser;
    for (const auto& [line, returnName, command, arguments] : cases) {
        SCOPED_TRACE(line);
        parser.SetCurrentIndex(7);
        parser.Parse(line.c_str());
        EXPECT_STREQ(parser.GetReturn(), returnName);
        EXPECT_STREQ(parser.GetCommand(), command);
        EXPECT_EQ(parser.GetString(), line);
        EXPECT_EQ(parser.GetCurrentIndex(), 0);
        Words found;
        for (int index = 0; index < parser.GetCount(); ++index) {
            found.emplace_back(parser.GetNthArg(index));
        }
        EXPECT_EQ(found, arguments);
    }
}

TEST(CmdParser, TakesALineInStepsAndNone)
{
    CmdParser parser("r = old line");
    parser.SetString("new \"the line\"");
    EXPECT_STREQ(parser.GetCommand(), "old");
    parser.Parse();
    EXPECT_STREQ(parser.GetCommand(), "new");
    EXPECT_EQ(parser.GetReturn(), nullptr);
    EXPECT_STREQ(parser.GetNthArg(0), "the line");
    parser.SetCurrentIndex(1);
    parser.Init();
    EXPECT_EQ(parser.GetCommand(), nullptr);
    EXPECT_EQ(parser.GetString(), nullptr);
    EXPECT_EQ(parser.GetCurrentIndex(), 0);
    EXPECT_EQ(parser.GetCount(), 1) << "the arguments stay";
    parser.Parse(nullptr);
    EXPECT_EQ(parser.GetCommand(), nullptr);
    EXPECT_EQ(parser.GetCount(), 0);
}

TEST(CmdParser, ComparesCommandsInAnyCaseAndArgumentsExactly)
{
    const CmdParser parser("THREAD_SHOW one Two two");
    EXPECT_TRUE(parser.CompareCommand("thread_show"));
    EXPECT_FALSE(parser.CompareCommand("thread"));
    EXPECT_FALSE(parser.CompareCommand(nullptr));
    EXPECT_FALSE(CmdParser("").CompareCommand(""));
    EXPECT_EQ(parser.Search("two"), 2);
    EXPECT_EQ(parser.Search("thread_show"), -1);
    EXPECT_EQ(parser.Search(nullptr), -1);
}

TEST(CmdParser, TellsWordsApart)
{
    // Words, and the letters of the tests that pass: i h f s c.
    const std::pair<const char*, std::string> cases[] = {
        {"", "is"},    {"0", "isc"},        {"+12", "is"},   {"-", "isc"},   {"+", "isc"},
        {"1-", "s"},   {"--1", "s"},        {"0x", "hs"},    {"0XZZ", "hs"}, {"x0", "s"},
        {"1.5", "fs"}, {"-.5", "fs"},       {"1.2.3", "fs"}, {".5", "s"},    {"5.", "s"},
        {"..5", "fs"}, {"+1.25", "fs"},     {".", "sc"},     {"1.5e3", "s"}, {"a b", "s"},
        {"\x01", "c"}, {"caf\xc3\xa9", ""}, {"12a", "s"},    {"+.", "s"},
    };
    for (const auto& [word, tests] : cases) {
        std::string passed;
        passed += CmdParser::IsInteger(word) ? "i" : "";
        passed += CmdParser::IsHex(word) ? "h" : "";
        passed += CmdParser::IsFloat(word) ? "f" : "";
        passed += CmdParser::IsString(word) ? "s" : "";
        passed += CmdParser::IsChar(word) ? "c" : "";
        EXPECT_EQ(passed, tests) << word;
    }
}

TEST(CmdParser, ConvertsArgumentsByFormAndSymbolsByType)
{
    SymListMgr& symbols = *SymListMgr::GetInstance();
    symbols.RegisterSymbol("fixed", "1", 1, true);
    symbols.RegisterSymbol("c", "66", 2, false);
    symbols.RegisterSymbol("s", std::string(300, 's').c_str(), 3, false);
    symbols.RegisterSymbol("none", nullptr, 3, false);
    symbols.RegisterSymbol("f", "0.5", 4, false);
    symbols.RegisterSymbol("p", nullptr, 5, false);
    symbols.RegisterSymbol("odd", "9", 77, false);
    const CmdParser parser(
        "c2 -12 0x1F 2.5 abc \"\" 0xZZ odd \xff fixed c s none f p \"two words\"");
    CmdValue values[256];
    ASSERT_EQ(parser.GetCmdArgs(values, 256), 13);
    int index = 0;
    for (const int type : {0, 0, 2, 1, 0, 0, 0, 0, 1, 1, 2, 3, 1}) {
        EXPECT_EQ(values[index].GetType(), type) << index;
        ++index;
    }
    EXPECT_EQ(values[0].GetInt(), -12);
    EXPECT_EQ(values[1].GetInt(), 31);
    EXPECT_EQ(values[2].GetFloat(), 2.5F);
    EXPECT_STREQ(values[3].GetString(), "abc");
    EXPECT_EQ(values[6].GetInt(), 1) << "a handler sees a reserved symbol's value";
    EXPECT_EQ(values[7].GetInt(), 66);
    EXPECT_EQ(values[8].GetString(), std::string(255, 's'));
    EXPECT_STREQ(values[12].GetString(), "two words");

    EXPECT_TRUE(CmdParser::IsSymbol("odd") && !CmdParser::IsSymbol("abc"));
    CmdValue few[2];
    EXPECT_EQ(parser.GetCmdArgs(few, 2), 2);
    EXPECT_EQ(parser.GetCmdArgs(few, 0), 0);
}

// Both stand on their first entry at the beginning.
TEST(Cursors, MoveAndStopAtBothEnds)
{
    CmdParser parser("c f a b");
    CmdHistory history;
    EXPECT_EQ(history.GetPrevHistory(), nullptr);
    EXPECT_EQ(history.GetNextHistory(), nullptr);
    EXPECT_EQ(history.GetPrevHistory(), nullptr) << "and the cursor is where the first entry comes";
    CmdHistory late;
    EXPECT_EQ(late.GetNextHistory(), nullptr) << "and the cursor is before the first entry";
    late.AddHistory("f");
    EXPECT_STREQ(late.GetNextHistory(), "f");
    EXPECT_EQ(late.GetNthHistory(1), nullptr);
    EXPECT_EQ(history.AddHistory(nullptr), -1);
    for (const char* line : {"f", "a", "b"}) {
        EXPECT_EQ(history.AddHistory(line), 0);
    }
    EXPECT_STREQ(history.GetNthHistory(0), "f");
    EXPECT_EQ(history.GetNthHistory(3), nullptr);
    EXPECT_EQ(history.GetNthHistory(INT_MAX), nullptr);
    EXPECT_EQ(history.GetNthHistory(-1), nullptr);
    const std::pair<bool, const char*> steps[] = {
        {false, nullptr}, {true, "a"},      {true, "b"},     {true, nullptr}, {false, "a"},
        {true, "b"},      {true, nullptr},  {true, nullptr}, {false, "a"},    {false, "f"},
        {false, nullptr}, {false, nullptr}, {true, "a"}};
    for (const auto& [forward, entry] : steps) {
        EXPECT_STREQ(forward ? parser.GetNextArg() : parser.GetPrevArg(), entry);
        EXPECT_STREQ(forward ? history.GetNextHistory() : history.GetPrevHistory(), entry);
    }
    history.Clear();
    EXPECT_EQ(history.GetCount(), 0);
    for (const int index : {INT_MIN, -2, 3, 100, INT_MAX}) {
        parser.SetCurrentIndex(index);
        EXPECT_EQ(parser.GetNthArg(index), nullptr);
        EXPECT_EQ(index < 0 ? parser.GetNextArg() : parser.GetPrevArg(),
                  index == 3 ? parser.GetNthArg(2) : nullptr);
    }
    parser.SetCurrentIndex(100);
    EXPECT_EQ(parser.GetNextArg(), nullptr) << "and the cursor is on the last one";
    EXPECT_STREQ(parser.GetPrevArg(), "a");
}
}  // namespace
