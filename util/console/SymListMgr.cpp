#include "util/console/SymListMgr.h"

#include "util/console/HeapText.h"
#include "util/console/NumberText.h"
#include "util/console/SymbolRecords.h"
#include "util/os_linux/Singleton.h"

std::atomic<SymListMgr*> SymListMgr::sSymListMgr{nullptr};

namespace {
constexpr std::size_t kNameLimit = 256;
}  // namespace

SymListMgr* SymListMgr::GetInstance()
{
    static StaticLock sLock;
    return GetOrMake(sSymListMgr, sLock, [] { return new SymListMgr; });
}

SymbolRecords& SymbolRecords::Get()
{
    return *SymListMgr::GetInstance()->mRecords;
}

SymListMgr::SymListMgr() : mRecords(new SymbolRecords)
{
    sSymListMgr = this;
}

SymListMgr::~SymListMgr()
{
    SymListMgr* expected = this;
    sSymListMgr.compare_exchange_strong(expected, nullptr);
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
        info->mStringValue = NewText(valueText);
    }
    const StaticLockHold hold(mRecords->lock);
    if (mRecords->Find(info->mName) != nullptr) {
        return -1;
    }
    mRecords->Append(info.release());
    return 0;
}

int SymListMgr::UnregisterSymbol(const char* name)
{
    const StaticLockHold hold(mRecords->lock);
    const SymInfo* const info = mRecords->Find(name);
    if (info == nullptr) {
        return -1;
    }
    mRecords->Remove(info);
    return 0;
}

int SymListMgr::UnregisterSymbol(int index)
{
    return mRecords->RemoveAt(index);
}

SymInfo* SymListMgr::GetInfo(int index)
{
    return mRecords->At(index);
}

int SymListMgr::GetCount()
{
    return mRecords->Count();
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
    mRecords->Hold();
}

void SymListMgr::Release()
{
    mRecords->Release();
}
