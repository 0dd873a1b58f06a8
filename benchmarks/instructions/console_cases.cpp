// A line as it is typed, split and run; and a turn of a loop around the same line.
#include <string>

#include "benchmarks/instructions/counting.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
const char kLine[] = "i = i + 1";

CmdMgr* NewConsole()
{
    SymListMgr::GetInstance()->RegisterSymbol("i", "0", SymInfo::kInt, false);
    SymListMgr::GetInstance()->RegisterSymbol("n", "0", SymInfo::kInt, false);
    return CmdMgr::GetInstance(0);
}

void CountLines(int lines)
{
    CmdMgr* const console = NewConsole();
    CmdParser parser;
    char result[CmdMgr::kResultSize];
    count::Count(lines, [&] {
        parser.Parse(kLine);
        console->CmdExecute(&parser, result);
    });
}

void CountTurns(int turns)
{
    CmdMgr* const console = NewConsole();
    CmdBlock* const block = console->NewCmdBlock();
    block->mCommand = new CmdParser("WHILE i < n");
    block->mFirstChild = console->NewCmdBlock();
    block->mFirstChild->mCommand = new CmdParser(kLine);
    block->mFirstChild->mParent = block;
    const auto run = [&](int more) {
        char result[CmdMgr::kResultSize];
        SymListMgr::GetInstance()->SetValue("i", "0");
        SymListMgr::GetInstance()->SetValue("n", std::to_string(more).c_str());
        console->DoCmdBlock(block, result);
    };
    run(count::kWarmUp);
    CountingBegins();
    run(turns);
    CountingEnds();
    console->FreeCmdBlock(block);
}

const count::RegisteredCase sLine(8, "console/line", {1000, CountLines});
const count::RegisteredCase sTurn(9, "console/while-turn", {100000, CountTurns});
}  // namespace
