#include "util/console/language/BasicStatements.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"
#include "util/console/language/IntegerOperation.h"
#include "util/console/language/ResultText.h"
#include "util/console/language/StatementContext.h"
#include "util/console/lines/LineSource.h"
#include "util/console/lines/StopSignal.h"
#include "util/os_linux/FileDescriptor.h"

namespace {
SymListMgr& Symbols()
{
    return *SymListMgr::GetInstance();
}

int Declare(const CmdParser& line, int type)
{
    return Symbols().RegisterSymbol(line.GetNthArg(0), line.GetNthArg(1), type, false);
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

int statement::Quit(StatementContext& /*context*/, CmdParser& /*line*/, char* /*result*/)
{
    return CmdLanguage::kQuit;
}

int statement::Help(StatementContext& /*context*/, CmdParser& /*line*/, char* /*result*/)
{
    std::fputs("You can find available command just type 'List'", stdout);
    std::fflush(stdout);
    return CmdLanguage::kDone;
}

int statement::Break(StatementContext& /*context*/, CmdParser& /*line*/, char* /*result*/)
{
    return CmdLanguage::kBreak;
}

int statement::Int(StatementContext& /*context*/, CmdParser& line, char* /*result*/)
{
    return Declare(line, SymInfo::kInt);
}

int statement::String(StatementContext& /*context*/, CmdParser& line, char* /*result*/)
{
    return Declare(line, SymInfo::kString);
}

int statement::Float(StatementContext& /*context*/, CmdParser& line, char* /*result*/)
{
    return Declare(line, SymInfo::kFloat);
}

int statement::Pointer(StatementContext& /*context*/, CmdParser& line, char* /*result*/)
{
    return Declare(line, SymInfo::kPointer);
}

int statement::Free(StatementContext& /*context*/, CmdParser& line, char* /*result*/)
{
    return Symbols().UnregisterSymbol(line.GetNthArg(0));
}

// Errors inside the script do not end it, and are not this statement's.
int statement::File(StatementContext& context, CmdParser& line, char* result)
{
    if (line.GetCount() != 1) {
        return Fail(result, "argument fail");
    }
    if (context.lines.ScriptDepth() >= CmdLanguage::kMaxScripts) {
        return Fail(result, "Too many nested files");
    }
    FILE* const script = OpenScript(line.GetNthArg(0));
    if (script == nullptr) {
        return Fail(result, "Can not find file");
    }
    const ScriptScope scope(context.lines, script);
    CmdParser parser;
    char text[CmdLanguage::kLineSize];
    while (context.lines.Next(text) >= 0 &&
           context.RunLine(parser, text, result) != CmdLanguage::kQuit) {}
    return CmdLanguage::kDone;
}

// The wait ends early when the console is told to stop, or its client was gone for its time.
int statement::Sleep(StatementContext& context, CmdParser& line, char* result)
{
    if (line.GetCount() != 1) {
        return Fail(result, "argument fail");
    }
    context.stop.Sleep(std::max(Symbols().GetIntValue(line.GetNthArg(0)), 0));
    return CmdLanguage::kDone;
}

int statement::Compute(StatementContext& /*context*/, CmdParser& line, char* result)
{
    return Compute(ArithmeticOf(line.GetNthArg(0)), line, result);
}

int statement::Compute(Arithmetic operation, const CmdParser& line, char* result)
{
    int value = 0;
    if (!Calculate(operation, Symbols().GetIntValue(line.GetCommand()),
                   Symbols().GetIntValue(line.GetNthArg(1)), &value)) {
        return Fail(result, "argument fail");
    }
    ResultText(result).AppendInt(value);
    return CmdLanguage::kDone;
}
