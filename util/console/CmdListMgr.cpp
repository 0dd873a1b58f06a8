#include "util/console/CmdListMgr.h"

#include <strings.h>

#include <cstring>

#include "util/console/CmdParser.h"
#include "util/console/CommandRecords.h"
#include "util/console/HeapText.h"
#include "util/console/RegistryHold.h"
#include "util/console/SymInfo.h"
#include "util/os_linux/Singleton.h"

std::atomic<CmdListMgr*> CmdListMgr::sCmdListMgr{nullptr};

namespace {
constexpr std::size_t kNameLimit = 256;
constexpr std::size_t kHelpLimit = 1024;

char* NewTypes(const CmdParser& parsedTemplate)
{
    const int count = parsedTemplate.GetCount();
    char* const types = count > 0 ? new char[static_cast<std::size_t>(count)] : nullptr;
    for (int index = 0; index < count; ++index) {
        types[index] = static_cast<char>(CmdListMgr::GetType(parsedTemplate.GetNthArg(index)));
    }
    return types;
}

// In any case of its letters; nothing is for null.
bool IsNamed(const CmdInfo& info, const char* name)
{
    return name != nullptr && strcasecmp(info.mName, name) == 0;
}
}  // namespace

CmdListMgr* CmdListMgr::GetInstance()
{
    static StaticLock sLock;
    return GetOrMake(sCmdListMgr, sLock, [] { return new CmdListMgr; });
}

CommandRecords& CommandRecords::Get()
{
    return *CmdListMgr::GetInstance()->mRecords;
}

CmdListMgr::CmdListMgr() : mRecords(new CommandRecords)
{
    sCmdListMgr = this;
}

CmdListMgr::~CmdListMgr()
{
    CmdListMgr* expected = this;
    sCmdListMgr.compare_exchange_strong(expected, nullptr);
}

int CmdListMgr::RegisterCommand(CmdHandlerFunction handler, const CmdParser* parsedTemplate,
                                const char* help, void* owner)
{
    if (handler == nullptr || parsedTemplate == nullptr ||
        parsedTemplate->GetCommand() == nullptr) {
        return -1;
    }
    auto info = std::make_unique<CmdInfo>();
    info->mName = NewText(parsedTemplate->GetCommand(), kNameLimit);
    info->mArgCount = parsedTemplate->GetCount();
    info->mArgTypes = NewTypes(*parsedTemplate);
    info->mHelp = NewText(help, kHelpLimit);
    info->mHandler = handler;
    info->mOwner = owner;
    const StaticLockHold hold(mRecords->lock);
    mRecords->Append(info.release());
    return 0;
}

int CmdListMgr::UnregisterCommand(const char* name, const void* owner)
{
    const StaticLockHold hold(mRecords->lock);
    const CmdInfo* const found = mRecords->First([&](const CmdInfo& info) {
        return name != nullptr && info.mOwner == owner && std::strcmp(info.mName, name) == 0;
    });
    if (found != nullptr) {
        mRecords->Remove(found);
    }
    return 0;
}

int CmdListMgr::UnregisterCommand(int index)
{
    return mRecords->RemoveAt(index);
}

void CmdListMgr::WaitForHandlers()
{
    mRecords->WaitUntilReleased();
}

CmdInfo* CmdListMgr::NewCmdInfo()
{
    return new CmdInfo;
}

int CmdListMgr::FreeCmdInfo(CmdInfo* info)
{
    if (info == nullptr) {
        return -1;
    }
    info->Free();
    return 0;
}

int CmdListMgr::GetType(const char* word)
{
    constexpr const char* kWords[] = {"int", "char", "string", "float"};
    int code = SymInfo::kInt;
    for (const char* known : kWords) {
        if (word != nullptr && std::strcmp(word, known) == 0) {
            return code;
        }
        ++code;
    }
    return 0;
}

int CmdListMgr::GetCount()
{
    return mRecords->Count();
}

CmdInfo* CmdListMgr::GetInfo(int index)
{
    return mRecords->At(index);
}

CmdInfo* CmdListMgr::GetMatch(const CmdParser* line)
{
    if (line == nullptr || line->GetCommand() == nullptr) {
        return nullptr;
    }
    const StaticLockHold hold(mRecords->lock);
    return mRecords->First([line](const CmdInfo& info) {
        return std::strcmp(info.mName, line->GetCommand()) == 0 &&
               info.mArgCount == line->GetCount();
    });
}

void CmdListMgr::Dispatch(CmdParser* line, char* result)
{
    const RegistryHold<CommandRecords> hold(mRecords.get());
    // The lock is not held while a handler runs, so each may have removed those that follow. Under
    // the hold no record's address is used again.
    for (void* record : mRecords->FindAll(line->GetCommand())) {
        auto* const info = static_cast<CmdInfo*>(record);
        if (mRecords->IsRegistered(info)) {
            info->mHandler(line, info, result);
        }
    }
}

void CmdListMgr::Hold()
{
    mRecords->Hold();
}

void CmdListMgr::Release()
{
    mRecords->Release();
}

std::vector<void*> CommandRecords::FindAll(const char* name)
{
    std::vector<void*> found;
    const StaticLockHold hold(lock);
    for (void* record : mRecords) {
        if (IsNamed(*static_cast<const CmdInfo*>(record), name)) {
            found.push_back(record);
        }
    }
    return found;
}

bool CommandRecords::IsKnown(const char* name)
{
    const StaticLockHold hold(lock);
    return First([name](const CmdInfo& info) { return IsNamed(info, name); }) != nullptr;
}

bool CommandRecords::IsRegistered(const CmdInfo* record)
{
    const StaticLockHold hold(lock);
    return First([record](const CmdInfo& info) { return &info == record; }) != nullptr;
}
