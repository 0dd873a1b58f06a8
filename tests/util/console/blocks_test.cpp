// Blocks as trees, and the bounds of what one script may ask for.
#include <cstdint>
#include <cstdio>
#include <limits>
#include <tuple>

#include "tests/util/console/console.h"
#include "util/console/CmdBlock.h"
#include "util/console/language/IntegerOperation.h"

namespace {
using test::Console;
using test::RegisterCommand;

test::Executed RunFile(const std::string& script)
{
    test::WriteFile("script.txt", script);
    test::Executed executed = test::Execute("FILE script.txt");
    EXPECT_EQ(executed.code, 0);
    return executed;
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
    const auto nested = [](int depth) {
        return Repeat("IF 1 == 1\n", depth) + "PRINT inside\n" + Repeat("END\nPRINT up\n", depth);
    };
    EXPECT_EQ(RunFile(nested(64)).output, "inside\n" + Repeat("up\n", 64));
    EXPECT_EQ(RunFile(nested(66)).output, Repeat("up\n", 65)) << "what is too deep runs nothing";
    EXPECT_EQ(RunFile(Repeat("FOR 1 1 1\n", 100000)).output, "");
}

TEST(Blocks, ThatAreTooLongAreReadToTheirEndAndNotRun)
{
    const std::string begin = "IF 1 == 1\n";
    EXPECT_EQ(RunFile(begin + Repeat("PRINT never\n", 16384) +
                      "FOR 1 1 1\nPRINT never\nEND\nEND\nPRINT after\n")
                  .output,
              "after\n");
    // With the END 16384 lines exactly, and one line more.
    EXPECT_EQ(RunFile(begin + Repeat("x\n", 16383) + "END\n").result, "");
    EXPECT_EQ(RunFile(begin + Repeat("x\n", 16384) + "END\n").result, "Block too long");
    // With the END a mebibyte exactly, and one byte more.
    const std::string wide = Repeat(std::string(1022, 'w') + "\n", 1024) + std::string(1019, 'w');
    EXPECT_EQ(RunFile(begin + wide + "\nEND\n").result, "");
    EXPECT_EQ(RunFile(begin + wide + "w\nEND\n").result, "Block too long");
}

// Parses blocks itself, with lines of the script that calls it.
int ReadThreeBlocks(CmdParser* /*line*/, CmdInfo* /*info*/, char* result)
{
    std::string read;
    for (int count = 0; count < 3; ++count) {
        CmdBlock* const block = Console().NewCmdBlock();
        read += std::to_string(Console().ParseCmdBlock(block, new CmdParser("FOR 1 1 1"), nullptr));
        read += block->mFirstChild->mCommand->GetNthArg(0);
        Console().FreeCmdBlock(block);
    }
    std::strcpy(result, read.c_str());
    return 0;
}

TEST(Blocks, HaveTheirLimitsEach)
{
    RegisterCommand("read_three", ReadThreeBlocks);
    EXPECT_EQ(RunFile("STRING codes\ncodes = read_three\n" + Repeat("PRINT a\n", 9000) + "END\n" +
                      Repeat("PRINT b\n", 9000) + "END\n" + Repeat("PRINT c\n", 17000) +
                      "END\nPRINT codes\n")
                  .output,
              "Block too long\n0a0b-1c\n");
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
    const std::string bar = "############################\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              bar + "cmd=WHILE\n" + bar + "\n\n" + bar + "parent=WHILE\ncmd=n\nnext=IF\n" + bar +
                  "\n\n" + bar + "parent=WHILE\ncmd=IF\n" + bar + "\n\n" + bar +
                  "parent=IF\ncmd=n\n" + bar + "\n\n");

    test::Symbols().RegisterSymbol("n", "0", 1, false);
    test::Symbols().RegisterSymbol("m", "", 3, false);
    // The operation, its block's line, code and text, and what n is afterwards.
    const std::tuple<int (CmdMgr::*)(CmdBlock*, char*), const char*, int, const char*, int>
        cases[] = {
            {&CmdMgr::DoCmdBlock, "WHILE n < 2", 0, "", 2},
            {&CmdMgr::DoWHILE, "IF n < 4", 0, "", 4},
            {&CmdMgr::DoIF, "WHILE n < 9", 0, "", 5},
            {&CmdMgr::DoFOR, "IF n < 3", 0, "", 5},  // from 5 through the number of "<"
            {&CmdMgr::DoFOR, "IF 1 3 1", 0, "", 8},
            {&CmdMgr::DoDO, "WHILE n < 99", 0, "kept", 8},
            {&CmdMgr::DoMACRO, "WHILE n < 99", 0, "kept", 8},
            {&CmdMgr::DoCmdBlock, "OTHER n < 99", -1, "kept", 8},
            {&CmdMgr::DoCmdBlock, "IF n", -1, "argument fail", 8},
        };
    for (const auto& [run, line, code, text, n] : cases) {
        block->mCommand->Parse(line);
        char result[CmdMgr::kResultSize] = "kept";
        EXPECT_EQ((Console().*run)(block, result), code) << line;
        EXPECT_STREQ(result, text) << line;
        EXPECT_EQ(test::Symbols().GetIntValue("n"), n) << line;
    }
    EXPECT_STREQ(test::Symbols().GetStringValue("m"), "n");
    Console().FreeCmdBlock(block);
    Console().FreeCmdBlock(nullptr);
    const std::size_t before = test::AllocatedBytes();
    for (int round = 0; round < 300; ++round) {
        Console().FreeCmdBlock(Console().NewCmdBlock());
    }
    EXPECT_LT(test::AllocatedBytes(), before + 5000);
}

// In a block assignments take a shorter way than as lines of their own.
TEST(Blocks, SeeACommandThatAppearsInTheirLoop)
{
    RegisterCommand("appear", [](CmdParser*, CmdInfo*, char*) {
        RegisterCommand("Word", [](CmdParser*, CmdInfo*, char* result) {
            return std::snprintf(result, CmdMgr::kResultSize, "77");
        });
        return 0;
    });
    RunFile(
        "INT n 5\nINT first\nINT turn\n"
        "WHILE turn < 2\n  n = word\n  IF turn == 0\n    first = n + 0\n    appear\n  END\n"
        "  turn = turn + 1\nEND\n");
    EXPECT_EQ(test::Symbols().GetIntValue("first"), 0);
    EXPECT_EQ(test::Symbols().GetIntValue("n"), 77);
}

TEST(Blocks, SeeASymbolThatIsMadeOrReplacedInTheirLoop)
{
    RegisterCommand("renew", [](CmdParser*, CmdInfo*, char*) {
        test::Symbols().UnregisterSymbol("n");
        return test::Symbols().RegisterSymbol("n", "50", 1, false);
    });
    RunFile(
        "INT n 5\nINT turn\nWHILE turn < 2\n  n = n + 1\n  IF turn == 0\n    renew\n  END\n"
        "  turn = turn + 1\nEND\n");
    EXPECT_EQ(test::Symbols().GetIntValue("n"), 51);
    EXPECT_EQ(RunFile("INT m\nFOR 1 2 1\n  m = late + 0\n  INT late 7\nEND\nPRINT m\n").output,
              "7\n");
    EXPECT_EQ(RunFile("FOR 1 2 1\n  m = late + 0\n  FREE late\nEND\nPRINT m\n").output, "0\n");
}

TEST(Blocks, FollowALineThatItsHandlerParsesAnew)
{
    // Becomes, turn by turn, what the line "change" would be if it were written so.
    RegisterCommand("change", [](CmdParser* line, CmdInfo*, char*) {
        line->Parse(line->GetCount() == 0 ? "change twice" : "n = n + 1");
        return 0;
    });
    RegisterCommand("become_else", [](CmdParser* line, CmdInfo*, char*) {
        line->Parse("ELSE");
        return 0;
    });
    EXPECT_EQ(RunFile("INT n\nFOR 1 4 1\n  change\nEND\nPRINT n\n").output, "2\n");
    EXPECT_EQ(
        RunFile("FOR 1 2 1\n  IF 1 == 1\n    become_else\n    PRINT once\n  END\nEND\n").output,
        "once\n");
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
        int (CmdMgr::*run)(CmdParser*, char*);
        const char* line;
        int code = 0;
        const char* result = "";
    } cases[] = {
        {&CmdMgr::NewINT, "any a 1"},
        {&CmdMgr::NewSTRING, "any s"},
        {&CmdMgr::NewFLOAT, "any f 1.5"},
        {&CmdMgr::NewPOINTER, "any p"},
        {&CmdMgr::SET, "any s text"},
        {&CmdMgr::SET, "any nobody 9", -1},
        {&CmdMgr::SET, "any", -1},
        {&CmdMgr::DoPRINT, "any s", 0, "text"},
        {&CmdMgr::DoPRINT, "any f", 0, "1.500000"},
        {&CmdMgr::DoPRINT, "any p"},
        {&CmdMgr::DoPRINT, "any", -1},
        {&CmdMgr::DoADD, "7 any 2", 0, "9"},
        {&CmdMgr::DoSUB, "7 any 2", 0, "5"},
        {&CmdMgr::DoMUL, "7 any 2", 0, "14"},
        {&CmdMgr::DoDIV, "7 any 2", 0, "3"},
        {&CmdMgr::DoDIV, "7 any 0", -1, "argument fail"},
        {&CmdMgr::DoSLEEP, "any 0"},
        {&CmdMgr::DoFILE, "any", -1, "argument fail"},
        {&CmdMgr::FREE, "any a"},
        {&CmdMgr::FREE, "any a", -1},
        {&CmdMgr::CmdExecute, "", -2},
        {&CmdMgr::CmdExecute, "x =", -2},
        {&CmdMgr::CmdExecute, "1 +1 1"},
        {&CmdMgr::CmdExecute, "unknown"},
        {&CmdMgr::DoBasicFunc, "unknown", -1},
        {&CmdMgr::DoBasicFunc, "BREAK here", 1},
        {&CmdMgr::DoBasicFunc, "Quit", -5},
    };
    testing::internal::CaptureStdout();
    for (const auto& c : cases) {
        CmdParser line(c.line);
        char result[CmdMgr::kResultSize] = "";
        EXPECT_EQ((Console().*c.run)(&line, result), c.code) << c.line;
        EXPECT_STREQ(result, c.result) << c.line;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "text\n1.500000\n\n");
    const CmdParser loop("FOR 1 2 1");
    const CmdParser sum("a + 1");
    EXPECT_TRUE(CmdMgr::IsComment(" # comment") && !CmdMgr::IsComment("a # b"));
    EXPECT_TRUE(CmdMgr::IsSign("*") && !CmdMgr::IsSign("**") && !CmdMgr::IsSign(nullptr));
    EXPECT_TRUE(CmdMgr::IsControlCmd(&loop) && !CmdMgr::IsControlCmd(&sum));
    EXPECT_TRUE(CmdMgr::IsBasicFunc(&sum) && !CmdMgr::IsBasicFunc(&loop));
}

TEST(Statements, CutTheirResultAt4095Characters)
{
    const std::string whole(4095, 'l');
    EXPECT_EQ(RunFile("STRING s " + std::string(255, 'l') + "\nSTRING t\nt = PRINT \"" +
                      Repeat("%s", 100) + "\"" + Repeat(" s", 100) + "\nPRINT t\n")
                  .output,
              whole + "\n" + whole + "\n");
    EXPECT_EQ(RunFile("FLOAT f 1e400\nFLOAT g -3.4e38\nPRINT \"%f %f\" f g\n").output.substr(0, 10),
              "inf -33999");
}

TEST(Scripts, OfLongLinesAndStrangeFilesEnd)
{
    // A line is read in pieces of 1023 characters; the last one here is a statement.
    EXPECT_EQ(RunFile("# " + std::string(1021, 'c') + "PRINT piece\n").output, "piece\n");
    EXPECT_EQ(RunFile(std::string("PRINT a\0b\nPRINT \xff\xfe\nPRINT last", 29)).output,
              "a\n\xff\xfe\nlast\n");
    for (const char* path : {"/dev/zero", "/dev/null", "/"}) {
        EXPECT_EQ(RunFile(std::string("FILE ") + path).result, "Can not find file");
    }
}
}  // namespace
