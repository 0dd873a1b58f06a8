#include "util/console/SymListMgr.h"

#include <climits>
#include <utility>

#include "util/console/HeapText.h"
#include "util/console/NumberText.h"
#include "util/os_linux/Singleton.h"

std::atomic<SymListMgr*> SymListMgr::sSymListMgr{nullptr};

namespace {
constexpr std::size_t kNameLimit = 256;
constexpr std::size_t kNoLimit = INT_MAX;
}  // namespace

SymListMgr* SymListMgr::GetInstance()
{
    static StaticLock sLock;
    return GetOrMake(sSymListMgr, sLock, [] { return new SymListMgr; });
}

SymListMgr::SymListMgr() : mGeneration(1)
{
    sSymListMgr = this;
}

SymListMgr::~SymListMgr()
{
    SymListMgr* expected = this;
    sSymListMgr.compare_exchange_strong(expected, nullptr);
    for (const SymInfo* info : mSymbols) {
        delete info;
    }
}

int SymListMgr::RegisterSymbol(const char* name, const char* valueText, int type, bool reserved)
{
    if (name == nullptr) {
        return -1;
    }
    auto info = std::make_unique<SymInfo>();
    info->mName = NewText(name, kNameLimit);
    info->mReserved = reserved ? 1 : 0;
    info->mType = type;
    if (valueText != nullptr && (type == SymInfo::kInt || type == SymInfo::kChar)) {
        info->mIntValue = IntegerOf(valueText);
    } else if (valueText != nullptr && type == SymInfo::kFloat) {
        info->mFloatValue = FloatOf(valueText);
    } else if (type == SymInfo::kString) {
        info->mStringValue = NewText(valueText, kNoLimit);
    }
    const StaticLockHold hold(mLock);
    if (Find(info->mName) != nullptr) {
        return -1;
    }
    mSymbols.push_back(info.release());
    Changed();
    return 0;
}

int SymListMgr::UnregisterSymbol(const char* name)
{
    const StaticLockHold hold(mLock);
    const SymInfo* const info = Find(name);
    for (std::size_t index = 0; info != nullptr && index < mSymbols.size(); ++index) {
        if (mSymbols[index] == info) {
            Remove(index);
            return 0;
        }
    }
    return -1;
}

int SymListMgr::UnregisterSymbol(int index)
{
    const StaticLockHold hold(mLock);
    if (index < 0 || static_cast<std::size_t>(index) >= mSymbols.size()) {
        return -1;
    }
    Remove(static_cast<std::size_t>(index));
    return 0;
}

void SymListMgr::Remove(std::size_t index)
{
    std::unique_ptr<SymInfo> info(mSymbols[index]);
    mSymbols.erase(mSymbols.begin() + static_cast<std::ptrdiff_t>(index));
    mRetired.Retire(std::move(info));
    Changed();
}

SymInfo* SymListMgr::GetInfo(int index)
{
    const StaticLockHold hold(mLock);
    const bool found = index >= 0 && static_cast<std::size_t>(index) < mSymbols.size();
    return found ? mSymbols[static_cast<std::size_t>(index)] : nullptr;
}

int SymListMgr::GetCount()
{
    const StaticLockHold hold(mLock);
    return static_cast<int>(mSymbols.size());
}

SymInfo* SymListMgr::NewSymInfo()
{
    return new SymInfo;
}

int SymListMgr::FreeSymInfo(SymInfo* info)
{
    if (info == nullptr) {
        return -1;
    }
    info->Free();
    return 0;
}

void SymListMgr::Hold()
{
    const StaticLockHold hold(mLock);
    mRetired.AddHold();
}

void SymListMgr::Release()
{
    const StaticLockHold hold(mLock);
    mRetired.DropHold();
}
