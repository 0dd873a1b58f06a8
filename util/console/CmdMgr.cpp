// The public face of the console: every operation is the server's or the language's.
#include "util/console/CmdMgr.h"

#include <cstdio>
#include <cstring>

#include "util/console/CmdBlock.h"
#include "util/console/CmdParser.h"
#include "util/console/ConsoleServer.h"
#include "util/console/SymListMgr.h"
#include "util/console/language/BasicStatements.h"
#include "util/console/language/BlockReader.h"
#include "util/console/language/BlockTree.h"
#include "util/console/language/IntegerOperation.h"
#include "util/os_linux/Singleton.h"

std::atomic<CmdMgr*> CmdMgr::sCmdMgr{nullptr};

CmdMgr* CmdMgr::GetInstance(int port)
{
    static StaticLock sLock;
    return GetOrMake(sCmdMgr, sLock, [port] { return new CmdMgr(port); });
}

CmdMgr::CmdMgr(int port) : mServer(new ConsoleServer(port))
{
    Init();
    sCmdMgr = this;
}

CmdMgr::~CmdMgr()
{
    mServer->End();
    CmdMgr* expected = this;
    sCmdMgr.compare_exchange_strong(expected, nullptr);
}

void CmdMgr::Init()
{
    SymListMgr* const symbols = SymListMgr::GetInstance();
    symbols->RegisterSymbol("NTSC", "0", SymInfo::kInt, true);
    symbols->RegisterSymbol("PAL", "1", SymInfo::kInt, true);
}

// How a line arrives.

void CmdMgr::LoadConfig()
{
    mServer->LoadConfig();
}

void CmdMgr::ParseConfig(const char* line)
{
    mServer->ParseConfig(line);
}

void CmdMgr::SetAddress(const char* address)
{
    mServer->ChangeSettings([address](ConsoleSettings& settings) {
        settings.address = address != nullptr ? address : "";
    });
}

void CmdMgr::SetTolerant(bool tolerant)
{
    mServer->Set(&ConsoleSettings::tolerant, tolerant ? 1 : 0);
}

void CmdMgr::SetStartTimeout(int milliseconds)
{
    mServer->Set(&ConsoleSettings::startTimeout, milliseconds);
}

void CmdMgr::SetLinger(int seconds)
{
    mServer->Set(&ConsoleSettings::linger, seconds);
}

void CmdMgr::SetVerbose(bool verbose)
{
    mServer->Set(&ConsoleSettings::verbose, verbose ? 1 : 0);
}

int CmdMgr::Start()
{
    return mServer->Start();
}

void CmdMgr::Stop()
{
    mServer->Stop();
}

void* CmdMgr::ThreadLoop(void* manager)
{
    static_cast<CmdMgr*>(manager)->mServer->Run();
    return nullptr;
}

int CmdMgr::Open()
{
    return mServer->Open();
}

void CmdMgr::Close()
{
    mServer->Link().Close();
}

int CmdMgr::GetLine(char* line)
{
    return mServer->Lines().Next(line);
}

int CmdMgr::SetLine(const char* text)
{
    return mServer->Link().Send(text);
}

int CmdMgr::SendResult(const char* /*text*/)
{
    return 0;
}

const char* CmdMgr::RemovePrompt(const char* text)
{
    constexpr std::size_t kLength = sizeof(ConsoleServer::kPrompt) - 1;
    return std::strstr(text, ConsoleServer::kPrompt) != nullptr ? text + kLength : text;
}

// What a line does.

int CmdMgr::CmdExecute(CmdParser* line, char* result)
{
    return mServer->Language().RunPlain(*line, result);
}

int CmdMgr::CmdBlockLoop(const char* firstLine, char* result)
{
    return mServer->Language().RunBlock(firstLine, result);
}

bool CmdMgr::IsComment(const char* line)
{
    return IsCommentLine(line);
}

bool CmdMgr::IsControlCmd(const CmdParser* line)
{
    return OpensBlock(BlockWordOf(*line));
}

bool CmdMgr::IsBasicFunc(const CmdParser* line)
{
    const Statement* const statement = &StatementOf(*line);
    return statement != &kNoStatement && statement != &kCommandStatement;
}

bool CmdMgr::IsSign(const char* word)
{
    return word != nullptr && ArithmeticOf(word) != Arithmetic::kNone;
}

int CmdMgr::DoBasicFunc(CmdParser* line, char* result)
{
    return IsBasicFunc(line) ? StatementOf(*line).run(mServer->Language(), *line, result) : kFailed;
}

int CmdMgr::NewINT(CmdParser* line, char* result)
{
    return statement::Int(mServer->Language(), *line, result);
}

int CmdMgr::NewSTRING(CmdParser* line, char* result)
{
    return statement::String(mServer->Language(), *line, result);
}

int CmdMgr::NewFLOAT(CmdParser* line, char* result)
{
    return statement::Float(mServer->Language(), *line, result);
}

int CmdMgr::NewPOINTER(CmdParser* line, char* result)
{
    return statement::Pointer(mServer->Language(), *line, result);
}

int CmdMgr::FREE(CmdParser* line, char* result)
{
    return statement::Free(mServer->Language(), *line, result);
}

int CmdMgr::SET(CmdParser* line, char* /*result*/)
{
    return SymListMgr::GetInstance()->SetValue(line->GetNthArg(0), line->GetNthArg(1));
}

int CmdMgr::DoADD(CmdParser* line, char* result)
{
    return statement::Compute(Arithmetic::kAdd, *line, result);
}

int CmdMgr::DoSUB(CmdParser* line, char* result)
{
    return statement::Compute(Arithmetic::kSubtract, *line, result);
}

int CmdMgr::DoMUL(CmdParser* line, char* result)
{
    return statement::Compute(Arithmetic::kMultiply, *line, result);
}

int CmdMgr::DoDIV(CmdParser* line, char* result)
{
    return statement::Compute(Arithmetic::kDivide, *line, result);
}

int CmdMgr::DoPRINT(CmdParser* line, char* result)
{
    return statement::Print(mServer->Language(), *line, result);
}

int CmdMgr::DoFILE(CmdParser* line, char* result)
{
    return statement::File(mServer->Language(), *line, result);
}

int CmdMgr::DoSLEEP(CmdParser* line, char* result)
{
    return statement::Sleep(mServer->Language(), *line, result);
}

// Blocks.

CmdBlock* CmdMgr::NewCmdBlock()
{
    return new CmdBlock;
}

// There is no result text here: the reason goes where the other reports of the console go.
int CmdMgr::ParseCmdBlock(CmdBlock* block, CmdParser* line, CmdBlock* parent)
{
    const char* const reason = BlockReader(mServer->Lines()).Read(block, line, parent);
    if (reason == nullptr) {
        return kDone;
    }
    std::puts(reason);
    std::fflush(stdout);
    return kFailed;
}

int CmdMgr::DoCmdBlock(CmdBlock* block, char* result)
{
    return mServer->Language().RunBlock(*block, result);
}

int CmdMgr::DoFOR(CmdBlock* block, char* result)
{
    return mServer->Language().RunBlock(*block, BlockWord::kFor, result);
}

int CmdMgr::DoDO(CmdBlock* block, char* result)
{
    return mServer->Language().RunBlock(*block, BlockWord::kIdle, result);
}

int CmdMgr::DoWHILE(CmdBlock* block, char* result)
{
    return mServer->Language().RunBlock(*block, BlockWord::kWhile, result);
}

int CmdMgr::DoIF(CmdBlock* block, char* result)
{
    return mServer->Language().RunBlock(*block, BlockWord::kIf, result);
}

int CmdMgr::DoMACRO(CmdBlock* block, char* result)
{
    return DoDO(block, result);
}

void CmdMgr::FreeCmdBlock(CmdBlock* block)
{
    FreeBlock(block);
}

void CmdMgr::PrintCmdBlock(const CmdBlock* block)
{
    PrintBlock(*block);
}
