// A script's counting loop, next to the same loop in Tcl, whose values are texts too. One operation
// is a loop of 1000 turns, so nanoseconds divided by 1000 are those of one turn; the last line says
// so for a single long loop.
#include <tcl.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "benchmarks/support/interleave.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
CmdBlock* NewCountingLoop(CmdMgr* console, const char* condition)
{
    CmdBlock* const block = console->NewCmdBlock();
    block->mCommand = new CmdParser(condition);
    block->mFirstChild = console->NewCmdBlock();
    block->mFirstChild->mCommand = new CmdParser("i = i + 1");
    block->mFirstChild->mParent = block;
    return block;
}

void CountByBlock(CmdMgr* console, CmdBlock* block)
{
    char result[CmdMgr::kResultSize];
    SymListMgr::GetInstance()->SetValue("i", "0");
    console->DoCmdBlock(block, result);
}

void CountByLines(CmdMgr* console, CmdParser* line)
{
    char result[CmdMgr::kResultSize];
    SymListMgr* const symbols = SymListMgr::GetInstance();
    symbols->SetValue("i", "0");
    while (symbols->GetIntValue("i") < symbols->GetIntValue("n")) {
        console->CmdExecute(line, result);
    }
}

void PrintNanosecondsPerTurn(CmdMgr* console)
{
    constexpr int kTurns = 20000000;
    SymListMgr::GetInstance()->SetValue("n", std::to_string(kTurns).c_str());
    CmdBlock* const block = NewCountingLoop(console, "WHILE i < n");
    const auto begin = std::chrono::steady_clock::now();
    CountByBlock(console, block);
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    console->FreeCmdBlock(block);
    std::printf("{\"topic\": \"console/while/long\", \"ns_per_turn\": %.2f}\n",
                time.count() / kTurns);
}
}  // namespace

int main()
{
    CmdMgr* const console = CmdMgr::GetInstance(0);
    SymListMgr::GetInstance()->RegisterSymbol("i", "0", SymInfo::kInt, false);
    SymListMgr::GetInstance()->RegisterSymbol("n", "1000", SymInfo::kInt, false);
    CmdBlock* const block = NewCountingLoop(console, "WHILE i < n");
    CmdParser line("i = i + 1");
    Tcl_Interp* const tcl = Tcl_CreateInterp();
    Tcl_Eval(tcl, "set n 1000");
    Tcl_Obj* const script =
        Tcl_NewStringObj("set i 0; while {$i < $n} {set i [expr {$i + 1}]}", -1);
    Tcl_IncrRefCount(script);

    bench::Interleave timing("console/while/1000-turns");
    timing.Add("tcl", [&] { return Tcl_EvalObjEx(tcl, script, 0); });
    timing.Add("html5_video", [&] { return CountByBlock(console, block), 0; });
    timing.Add("html5_video/line-by-line", [&] { return CountByLines(console, &line), 0; });
    timing.Run();
    PrintNanosecondsPerTurn(console);

    Tcl_DecrRefCount(script);
    Tcl_DeleteInterp(tcl);
    console->FreeCmdBlock(block);
    return 0;
}
