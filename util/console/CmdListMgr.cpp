#include "util/console/CmdListMgr.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "util/console/CmdParser.h"
#include "util/console/HeapText.h"
#include "util/console/RegistryHold.h"
#include "util/console/SymInfo.h"
#include "util/os_linux/Singleton.h"
#include "util/os_linux/Sleep.h"

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
}  // namespace

CmdListMgr* CmdListMgr::GetInstance()
{
    static StaticLock sLock;
    return GetOrMake(sCmdListMgr, sLock, [] { return new CmdListMgr; });
}

CmdListMgr::CmdListMgr() : mGeneration(1)
{
    sCmdListMgr = this;
}

CmdListMgr::~CmdListMgr()
{
    CmdListMgr* expected = this;
    sCmdListMgr.compare_exchange_strong(expected, nullptr);
    for (const CmdInfo* info : mCommands) {
        delete info;
    }
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
    const StaticLockHold hold(mLock);
    mCommands.push_back(info.release());
    Changed();
    return 0;
}

int CmdListMgr::UnregisterCommand(const char* name, const void* owner)
{
    const StaticLockHold hold(mLock);
    const auto found = std::find_if(mCommands.begin(), mCommands.end(), [&](const CmdInfo* info) {
        return name != nullptr && info->mOwner == owner && std::strcmp(info->mName, name) == 0;
    });
    if (found != mCommands.end()) {
        Remove(static_cast<std::size_t>(found - mCommands.begin()));
    }
    return 0;
}

int CmdListMgr::UnregisterCommand(int index)
{
    const StaticLockHold hold(mLock);
    if (index < 0 || static_cast<std::size_t>(index) >= mCommands.size()) {
        return -1;
    }
    Remove(static_cast<std::size_t>(index));
    return 0;
}

void CmdListMgr::Remove(std::size_t index)
{
    std::unique_ptr<CmdInfo> info(mCommands[index]);
    mCommands.erase(mCommands.begin() + static_cast<std::ptrdiff_t>(index));
    mRetired.Retire(std::move(info));
    Changed();
}

void CmdListMgr::WaitForHandlers()
{
    bool first = true;
    for (unsigned seen = 0;; MSleep(1)) {
        const StaticLockHold hold(mLock);
        if (!mRetired.IsHeld() || (!first && seen != mRetired.IdleCount())) {
            return;
        }
        seen = mRetired.IdleCount();
        first = false;
    }
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
    const StaticLockHold hold(mLock);
    return static_cast<int>(mCommands.size());
}

CmdInfo* CmdListMgr::GetInfo(int index)
{
    const StaticLockHold hold(mLock);
    const bool found = index >= 0 && static_cast<std::size_t>(index) < mCommands.size();
    return found ? mCommands[static_cast<std::size_t>(index)] : nullptr;
}

CmdInfo* CmdListMgr::GetMatch(const CmdParser* line)
{
    if (line == nullptr || line->GetCommand() == nullptr) {
        return nullptr;
    }
    const StaticLockHold hold(mLock);
    for (CmdInfo* info : mCommands) {
        if (std::strcmp(info->mName, line->GetCommand()) == 0 &&
            info->mArgCount == line->GetCount()) {
            return info;
        }
    }
    return nullptr;
}

void CmdListMgr::Dispatch(CmdParser* line, char* result)
{
    const RegistryHold<CmdListMgr> hold(this);
    for (CmdInfo* info : FindAll(line->GetCommand())) {
        if (IsRegistered(info)) {
            info->mHandler(line, info, result);
        }
    }
}

bool CmdListMgr::IsKnown(const char* name)
{
    return !FindAll(name).empty();
}

std::vector<CmdInfo*> CmdListMgr::FindAll(const char* name)
{
    std::vector<CmdInfo*> found;
    const StaticLockHold hold(mLock);
    for (CmdInfo* info : mCommands) {
        if (name != nullptr && strcasecmp(info->mName, name) == 0) {
            found.push_back(info);
        }
    }
    return found;
}

bool CmdListMgr::IsRegistered(const CmdInfo* info)
{
    const StaticLockHold hold(mLock);
    return std::find(mCommands.begin(), mCommands.end(), info) != mCommands.end();
}

void CmdListMgr::Hold()
{
    const StaticLockHold hold(mLock);
    mRetired.AddHold();
}

void CmdListMgr::Release()
{
    const StaticLockHold hold(mLock);
    mRetired.DropHold();
}
