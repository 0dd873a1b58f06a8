// The built-in statements.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/IntegerOperation.h"
#include "util/console/ResultText.h"
#include "util/console/StatementKind.h"
#include "util/console/StopSignal.h"
#include "util/console/SymListMgr.h"
#include "util/os_linux/FileDescriptor.h"

namespace {
int Declare(const CmdParser& line, int type)
{
    return SymListMgr::GetInstance()->RegisterSymbol(line.GetNthArg(0), line.GetNthArg(1), type,
                                                     false);
}

int Compute(Arithmetic operation, const CmdParser& line, char* result)
{
    SymListMgr* const symbols = SymListMgr::GetInstance();
    int value = 0;
    if (!Calculate(operation, symbols->GetIntValue(line.GetCommand()),
                   symbols->GetIntValue(line.GetNthArg(1)), &value)) {
        return Fail(result, "argument fail");
    }
    ResultText(result).AppendInt(value);
    return CmdMgr::kDone;
}

// A regular file only: reading a pipe or a device might never end.
FILE* OpenScript(const char* path)
{
    const int descriptor = OpenDescriptor(path, O_RDONLY | O_NONBLOCK);
    struct stat status = {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        if (FILE* const file = fdopen(descriptor, "r")) {
            return file;
        }
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    return nullptr;
}
}  // namespace

// Makes GetLine read the script, and the one before again afterwards, from where it stood.
class CmdMgr::ScriptScope
{
public:
    ScriptScope(CmdMgr& manager, FILE* script)
        : mManager(manager), mFormerScript(mScript), mFormerIsScript(mIsScript)
    {
        mScript = script;
        mIsScript = true;
        ++mManager.mScriptDepth;
    }
    ScriptScope(const ScriptScope&) = delete;
    ScriptScope& operator=(const ScriptScope&) = delete;
    ~ScriptScope()
    {
        std::fclose(mScript);
        mScript = mFormerScript;
        mIsScript = mFormerIsScript;
        --mManager.mScriptDepth;
    }

private:
    CmdMgr& mManager;
    FILE* const mFormerScript;
    const bool mFormerIsScript;
};

int CmdMgr::RunBasic(StatementKind kind, CmdParser* line, char* result)
{
    switch (kind) {
        case StatementKind::kQuit:
            return kQuit;
        case StatementKind::kHelp:
            std::fputs("You can find available command just type 'List'", stdout);
            std::fflush(stdout);
            return kDone;
        case StatementKind::kFile:
            return DoFILE(line, result);
        case StatementKind::kPrint:
            return DoPRINT(line, result);
        case StatementKind::kBreak:
            return kBreak;
        case StatementKind::kInt:
            return NewINT(line, result);
        case StatementKind::kString:
            return NewSTRING(line, result);
        case StatementKind::kFloat:
            return NewFLOAT(line, result);
        case StatementKind::kPointer:
            return NewPOINTER(line, result);
        case StatementKind::kFree:
            return FREE(line, result);
        case StatementKind::kSleep:
            return DoSLEEP(line, result);
        case StatementKind::kArithmetic:
            return Compute(ArithmeticOf(line->GetNthArg(0)), *line, result);
        case StatementKind::kNothing:
        case StatementKind::kCommand:
            break;
    }
    return kFailed;
}

int CmdMgr::NewINT(CmdParser* line, char* /*result*/)
{
    return Declare(*line, SymInfo::kInt);
}

int CmdMgr::NewSTRING(CmdParser* line, char* /*result*/)
{
    return Declare(*line, SymInfo::kString);
}

int CmdMgr::NewFLOAT(CmdParser* line, char* /*result*/)
{
    return Declare(*line, SymInfo::kFloat);
}

int CmdMgr::NewPOINTER(CmdParser* line, char* /*result*/)
{
    return Declare(*line, SymInfo::kPointer);
}

int CmdMgr::FREE(CmdParser* line, char* /*result*/)
{
    return SymListMgr::GetInstance()->UnregisterSymbol(line->GetNthArg(0));
}

int CmdMgr::SET(CmdParser* line, char* /*result*/)
{
    return SymListMgr::GetInstance()->SetValue(line->GetNthArg(0), line->GetNthArg(1));
}

int CmdMgr::DoADD(CmdParser* line, char* result)
{
    return Compute(Arithmetic::kAdd, *line, result);
}

int CmdMgr::DoSUB(CmdParser* line, char* result)
{
    return Compute(Arithmetic::kSubtract, *line, result);
}

int CmdMgr::DoMUL(CmdParser* line, char* result)
{
    return Compute(Arithmetic::kMultiply, *line, result);
}

int CmdMgr::DoDIV(CmdParser* line, char* result)
{
    return Compute(Arithmetic::kDivide, *line, result);
}

int CmdMgr::DoFILE(CmdParser* line, char* result)
{
    if (line->GetCount() != 1) {
        return Fail(result, "argument fail");
    }
    if (mScriptDepth >= kMaxScripts) {
        return Fail(result, "Too many nested files");
    }
    FILE* const script = OpenScript(line->GetNthArg(0));
    if (script == nullptr) {
        return Fail(result, "Can not find file");
    }
    const ScriptScope scope(*this, script);
    RunScript(result);
    return kDone;
}

void CmdMgr::RunScript(char* result)
{
    CmdParser parser;
    char line[kLineSize];
    while (GetLine(line) >= 0 && RunLine(&parser, line, result) != kQuit) {}
}

int CmdMgr::DoSLEEP(CmdParser* line, char* result)
{
    if (line->GetCount() != 1) {
        return Fail(result, "argument fail");
    }
    const int milliseconds = SymListMgr::GetInstance()->GetIntValue(line->GetNthArg(0));
    mSignal->Wait(-1, 0, std::max(milliseconds, 0));
    return kDone;
}
