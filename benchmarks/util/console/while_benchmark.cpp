// A script's counting loop, next to the same loop in Tcl, whose values are texts too, and in other
// programs. One operation is a loop of 1000 turns, so nanoseconds divided by 1000 are those of one
// turn; the last line says so for a single long loop. And the line in it, run plainly.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tcl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
const char kLine[] = "i = i + 1";

CmdBlock* NewCountingLoop(CmdMgr* console, const char* condition)
{
    CmdBlock* const block = console->NewCmdBlock();
    block->mCommand = new CmdParser(condition);
    block->mFirstChild = console->NewCmdBlock();
    block->mFirstChild->mCommand = new CmdParser(kLine);
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

// A loop in another program.
struct Program
{
    const char* name;
    const char* option;  // before the script
    int turns;
    const char* script;
};

const Program kPrograms[] = {
    {"jimsh", "-e", 500000, "set i 0; while {$i < 500000} {incr i}"},
    {"dash", "-c", 20000, "i=0; while [ $i -lt 20000 ]; do i=$((i+1)); done"},
    {"bash", "-c", 20000, "i=0; while [ $i -lt 20000 ]; do i=$((i+1)); done"},
};

// Nanoseconds of processor time, 0 when the program is not installed.
double TimeOf(const Program& program, const char* script)
{
    const pid_t child = fork();
    bench::Require(child >= 0, "fork");
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execlp(program.name, program.name, program.option, script, nullptr);
        _exit(1);
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    return status != 0
               ? 0
               : 1e9 * static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                     1e3 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

// Of 1000 turns, without the program's start.
double TimeOfTurns(const Program& program)
{
    const double turns = TimeOf(program, program.script) - TimeOf(program, "");
    bench::Require(turns > 0, program.name);
    return turns * 1000 / program.turns;
}

// The line of the loop by itself: split and compiled before, and as it is typed.
void TimeLines(CmdMgr* console, CmdParser* line, Tcl_Interp* tcl)
{
    const char kTcl[] = "set i [expr {$i + 1}]";
    char result[CmdMgr::kResultSize];
    CmdParser typed;
    Tcl_Obj* const command = Tcl_NewStringObj(kTcl, -1);
    Tcl_IncrRefCount(command);
    SymListMgr::GetInstance()->SetValue("i", "0");
    Tcl_Eval(tcl, "set i 0");
    bench::Interleave timing("console/line");
    timing.Add("tcl", [&] { return Tcl_EvalObjEx(tcl, command, 0); });
    timing.Add("html5_video", [&] { return console->CmdExecute(line, result); });
    timing.Add("html5_video/as-typed", [&] {
        typed.Parse(kLine);
        return console->CmdExecute(&typed, result);
    });
    timing.Add("tcl/as-typed", [&] { return Tcl_Eval(tcl, kTcl); });
    timing.Run();
    Tcl_DecrRefCount(command);
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
    CmdParser line(kLine);
    Tcl_Interp* const tcl = Tcl_CreateInterp();
    Tcl_Eval(tcl, "set n 1000");
    Tcl_Obj* const script =
        Tcl_NewStringObj("set i 0; while {$i < $n} {set i [expr {$i + 1}]}", -1);
    Tcl_IncrRefCount(script);
    Tcl_Eval(tcl, "proc count {n} {set i 0; while {$i < $n} {incr i}}");
    Tcl_Obj* const call = Tcl_NewStringObj("count 1000", -1);
    Tcl_IncrRefCount(call);

    bench::Interleave timing("console/while/1000-turns");
    timing.Add("tcl", [&] { return Tcl_EvalObjEx(tcl, script, 0); });
    timing.Add("html5_video", [&] { return CountByBlock(console, block), 0; });
    timing.Add("html5_video/line-by-line", [&] { return CountByLines(console, &line), 0; });
    timing.Add("tcl/procedure", [&] { return Tcl_EvalObjEx(tcl, call, 0); });
    for (const Program& program : kPrograms) {
        if (TimeOf(program, "") > 0) {
            timing.AddTimed(program.name, [&program] { return TimeOfTurns(program); });
        }
    }
    timing.Run();
    TimeLines(console, &line, tcl);
    PrintNanosecondsPerTurn(console);

    Tcl_DecrRefCount(call);
    Tcl_DecrRefCount(script);
    Tcl_DeleteInterp(tcl);
    console->FreeCmdBlock(block);
    return 0;
}
