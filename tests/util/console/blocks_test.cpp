// Blocks as trees, and the bounds of what one script may ask for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include "tests/support/support.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"
#include "util/console/language/IntegerOperation.h"

namespace {
CmdMgr& Console()
{
    return *CmdMgr::GetInstance(0);
}

// Runs the script and returns the last statement's result text; the output goes to the text.
std::string RunFile(const std::string& script, std::string* output = nullptr)
{
    test::WriteFile("script.txt", script);
    CmdParser line("FILE script.txt");
    char result[CmdMgr::kResultSize];
    testing::internal::CaptureStdout();
    EXPECT_EQ(Console().CmdExecute(&line, result), 0);
    const std::string captured = testing::internal::GetCapturedStdout();
    if (output != nullptr) {
        *output = captured;
    }
    return result;
}

std::string Repeat(const std::string& text, int count)
{
    std::string repeated;
    for (int index = 0; index < count; ++index) {
        repeated += text;
    }
    return repeated;
}

TEST(Blocks, NestToTheirBoundAndFailBeyondIt)
{
    std::string output;
    const int depth = CmdMgr::kMaxBlockDepth;
    RunFile(Repeat("IF 1 == 1\n", depth) + "PRINT inside\n" + Repeat("END\nPRINT up\n", depth),
            &output);
    EXPECT_EQ(output, "inside\n" + Repeat("up\n", depth));
    RunFile(
        Repeat("IF 1 == 1\n", depth + 2) + "PRINT inside\n" + Repeat("END\nPRINT up\n", depth + 2),
        &output);
    EXPECT_EQ(output, Repeat("up\n", depth + 1)) << "the block that is too deep runs nothing";
    RunFile(Repeat("FOR 1 1 1\n", 100000), &output);
    EXPECT_EQ(output, "");
}

TEST(Blocks, ThatAreTooLongAreReadToTheirEndAndNotRun)
{
    std::string output;
    const std::string lines = Repeat("PRINT never\n", CmdMgr::kMaxBlockLines);
    RunFile("IF 1 == 1\n" + lines + "FOR 1 1 1\nPRINT never\nEND\nEND\nPRINT after\n", &output);
    EXPECT_EQ(output, "after\n");
    EXPECT_EQ(RunFile("IF 1 == 1\n" + lines + "END\n"), "Block too long");
    const std::string wide = Repeat("# \n" + std::string(1000, 'w') + "\n", 1100);
    EXPECT_EQ(RunFile("IF 1 == 1\n" + wide + "END\n"), "Block too long");
}

// The handlers below parse blocks themselves, with lines of the script that calls them.
int ReadThreeBlocks(CmdParser* /*line*/, CmdInfo* /*info*/, char* result)
{
    std::string codes;
    for (const int lines : {9000, 9000, 17000}) {
        CmdBlock* const block = Console().NewCmdBlock();
        codes +=
            std::to_string(Console().ParseCmdBlock(block, new CmdParser("FOR 1 1 1"), nullptr));
        int entries = 0;
        for (const CmdBlock* at = block->mFirstChild; at != nullptr; at = at->mNext) {
            ++entries;
        }
        codes += entries == std::min(lines, CmdMgr::kMaxBlockLines) ? " whole, " : " cut, ";
        Console().FreeCmdBlock(block);
    }
    std::snprintf(result, CmdMgr::kResultSize, "%s", codes.c_str());
    return 0;
}

TEST(Blocks, HaveTheirLimitsEach)
{
    const CmdParser command("read_three");
    CmdListMgr::GetInstance()->RegisterCommand(ReadThreeBlocks, &command, nullptr, nullptr);
    std::string output;
    RunFile("STRING codes\ncodes = read_three\n" + Repeat("PRINT a\n", 9000) + "END\n" +
                Repeat("PRINT b\n", 9000) + "END\n" + Repeat("PRINT c\n", 17000) +
                "END\nPRINT codes\n",
            &output);
    EXPECT_EQ(output, "Block too long\n0 whole, 0 whole, -1 whole, \n");
}

TEST(Blocks, AreBuiltPrintedRunAndReleased)
{
    CmdBlock* const block = Console().NewCmdBlock();
    block->mCommand = new CmdParser("WHILE n < 2");
    CmdBlock* const count = block->mFirstChild = Console().NewCmdBlock();
    count->mCommand = new CmdParser("n = n + 1");
    count->mParent = block;
    CmdBlock* const inner = count->mNext = Console().NewCmdBlock();
    inner->mCommand = new CmdParser("IF n == 1");
    inner->mParent = block;
    inner->mFirstChild = Console().NewCmdBlock();
    inner->mFirstChild->mCommand = new CmdParser("m = n");
    inner->mFirstChild->mParent = inner;

    testing::internal::CaptureStdout();
    Console().PrintCmdBlock(block);
    const std::string line = "############################\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              line + "cmd=WHILE\n" + line + "\n\n" + line + "parent=WHILE\ncmd=n\nnext=IF\n" +
                  line + "\n\n" + line + "parent=WHILE\ncmd=IF\n" + line + "\n\n" + line +
                  "parent=IF\ncmd=n\n" + line + "\n\n");

    SymListMgr* const symbols = SymListMgr::GetInstance();
    symbols->RegisterSymbol("n", "0", 1, false);
    symbols->RegisterSymbol("m", "", 3, false);
    char result[CmdMgr::kResultSize] = "before";
    EXPECT_EQ(Console().DoCmdBlock(block, result), 0);
    EXPECT_STREQ(result, "");
    EXPECT_EQ(symbols->GetIntValue("n"), 2);
    EXPECT_STREQ(symbols->GetStringValue("m"), "n");

    EXPECT_EQ(Console().DoMACRO(block, result), 0);
    EXPECT_EQ(Console().DoFOR(block, result), 0) << "from 0 through the number of < by 2";
    block->mCommand->Parse("OTHER a b c");
    EXPECT_EQ(Console().DoCmdBlock(block, result), -1);
    block->mCommand->Parse("IF a");
    EXPECT_EQ(Console().DoCmdBlock(block, result), -1);
    EXPECT_STREQ(result, "argument fail");
    Console().FreeCmdBlock(block);
    Console().FreeCmdBlock(nullptr);
}

int TakeWord(CmdParser* /*line*/, CmdInfo* /*info*/, char* result)
{
    std::snprintf(result, CmdMgr::kResultSize, "77");
    return 0;
}

int RegisterWord(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/)
{
    const CmdParser parser("Word");
    return CmdListMgr::GetInstance()->RegisterCommand(TakeWord, &parser, nullptr, nullptr);
}

// In a block assignments take a shorter way than as lines of their own.
TEST(Blocks, SeeACommandThatAppearsInTheirLoop)
{
    const CmdParser parser("appear");
    CmdListMgr::GetInstance()->RegisterCommand(RegisterWord, &parser, nullptr, nullptr);
    RunFile(
        "INT n 5\nINT first\nINT turn\n"
        "WHILE turn < 2\n  n = word\n  IF turn == 0\n    first = n + 0\n    appear\n  END\n"
        "  turn = turn + 1\nEND\n");
    EXPECT_EQ(SymListMgr::GetInstance()->GetIntValue("first"), 0);
    EXPECT_EQ(SymListMgr::GetInstance()->GetIntValue("n"), 77);
}

int RenewSymbol(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/)
{
    SymListMgr* const symbols = SymListMgr::GetInstance();
    symbols->UnregisterSymbol("n");
    return symbols->RegisterSymbol("n", "50", 1, false);
}

TEST(Blocks, SeeASymbolThatIsReplacedInTheirLoop)
{
    const CmdParser parser("renew");
    CmdListMgr::GetInstance()->RegisterCommand(RenewSymbol, &parser, nullptr, nullptr);
    RunFile(
        "INT n 5\nINT turn\nWHILE turn < 2\n  n = n + 1\n  IF turn == 0\n    renew\n  END\n"
        "  turn = turn + 1\nEND\n");
    EXPECT_EQ(SymListMgr::GetInstance()->GetIntValue("n"), 51);
}

// Becomes, turn by turn, what the line "change" would be if it were written so.
int ChangeLine(CmdParser* line, CmdInfo* /*info*/, char* /*result*/)
{
    line->Parse(line->GetCount() == 0 ? "change twice" : "n = n + 1");
    return 0;
}

int BecomeElse(CmdParser* line, CmdInfo* /*info*/, char* /*result*/)
{
    line->Parse("ELSE");
    return 0;
}

TEST(Blocks, FollowALineThatItsHandlerParsesAnew)
{
    for (const auto handler : {ChangeLine, BecomeElse}) {
        const CmdParser parser(handler == ChangeLine ? "change" : "become_else");
        CmdListMgr::GetInstance()->RegisterCommand(handler, &parser, nullptr, nullptr);
    }
    std::string output;
    RunFile("INT n\nFOR 1 4 1\n  change\nEND\nPRINT n\n", &output);
    EXPECT_EQ(output, "2\n");
    RunFile("FOR 1 2 1\n  IF 1 == 1\n    become_else\n    PRINT once\n  END\nEND\n", &output);
    EXPECT_EQ(output, "once\n");
}

TEST(Blocks, CountForEverWhenTheyDoNotCountUp)
{
    LoopCounter counter(std::numeric_limits<std::int64_t>::min(), 0, -1);
    EXPECT_TRUE(counter.Next());
    EXPECT_TRUE(counter.Next()) << "it does not come round to the other end";
    LoopCounter once(0, std::numeric_limits<int>::max(), std::numeric_limits<int>::max());
    EXPECT_EQ(once.Next() + once.Next() + once.Next() + once.Next(), 2);
}

TEST(Statements, GiveTheirCodes)
{
    const struct
    {
        const char* line;
        int code;
        const char* result;
        bool builtIn;
    } cases[] = {
        {"", -2, "", false},        {"# comment", -2, "", false},
        {"x =", -2, "", false},     {"Quit", -5, "", true},
        {"BREAK now", 1, "", true}, {"INT a 1", 0, "", true},
        {"INT a 1", -1, "", true},  {"PRINT", -1, "", true},
        {"a + 1", 0, "2", true},    {"SLEEP", -1, "argument fail", true},
        {"SLEEP 0", 0, "", true},   {"FILE none", -1, "Can not find file", true},
        {"FREE a", 0, "", true},    {"FREE a", -1, "", true},
        {"unknown", 0, "", false},  {"1 +1 1", 0, "", false},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.line);
        CmdParser line(expected.line);
        char result[CmdMgr::kResultSize] = "old text";
        testing::internal::CaptureStdout();
        EXPECT_EQ(Console().CmdExecute(&line, result), expected.code);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_STREQ(result, expected.result);
        EXPECT_EQ(CmdMgr::IsBasicFunc(&line), expected.builtIn);
    }
    SymListMgr::GetInstance()->RegisterSymbol("kept", "1", 1, false);
    CmdParser set("SET kept 9");
    char result[CmdMgr::kResultSize] = "";
    EXPECT_EQ(Console().SET(&set, result), 0);
    EXPECT_EQ(SymListMgr::GetInstance()->GetIntValue("kept"), 9);
    set.Parse("SET nobody 9");
    EXPECT_EQ(Console().SET(&set, result), -1);
    set.Parse("SET");
    EXPECT_EQ(Console().SET(&set, result), -1);
}

TEST(Statements, CutTheirResultAt4095Characters)
{
    const std::string words = Repeat(" s", 100);
    const std::string longText(255, 'l');
    std::string output;
    RunFile("STRING s " + longText + "\nSTRING t\nt = PRINT \"" + Repeat("%s", 100) + "\"" + words +
                "\n",
            &output);
    EXPECT_EQ(output, std::string(4095, 'l') + "\n");
    EXPECT_EQ(SymListMgr::GetInstance()->GetStringValue("t"), std::string(4095, 'l'));
    RunFile("PRINT t\n", &output);
    EXPECT_EQ(output, std::string(4095, 'l') + "\n");
    RunFile("FLOAT f 1e400\nFLOAT g -3.4e38\nPRINT \"%f %f\" f g\n", &output);
    EXPECT_EQ(output.substr(0, 10), "inf -33999");
}

TEST(Scripts, OfLongLinesAndStrangeFilesEnd)
{
    std::string output;
    // A line is read in pieces of 1023 characters; the last one here is a statement.
    RunFile("# " + std::string(1021, 'c') + "PRINT piece\n", &output);
    EXPECT_EQ(output, "piece\n");
    RunFile(std::string("PRINT a\0b\nPRINT \xff\xfe\nPRINT last", 29), &output);
    EXPECT_EQ(output, "a\n\xff\xfe\nlast\n");
    for (const char* path : {"FILE /dev/zero", "FILE /dev/null", "FILE /"}) {
        CmdParser line(path);
        char result[CmdMgr::kResultSize];
        EXPECT_EQ(Console().CmdExecute(&line, result), -1) << path;
        EXPECT_STREQ(result, "Can not find file");
    }
}
}  // namespace
