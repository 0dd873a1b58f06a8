#include "util/console/SymListMgr.h"

#include <cstring>
#include <utility>

#include "util/console/HeapText.h"
#include "util/console/NumberText.h"
#include "util/console/SymbolRecords.h"
#include "util/os_linux/Singleton.h"

std::atomic<SymListMgr*> SymListMgr::sSymListMgr{nullptr};

namespace {
constexpr std::size_t kNameLimit = 256;

// The text replaced lives on in a retired record of its own, for those who may be reading it. They
// renew their hold when they see the generation change, so that texts do not gather behind a hold
// that lasts.
void ReplaceText(SymbolRecords& records, SymInfo& info, const char* text)
    TAVI_REQUIRES(records.lock)
{
    auto retired = records.IsHeld() ? std::make_unique<SymInfo>() : nullptr;
    char* const former = std::exchange(info.mStringValue, NewText(text));
    if (retired == nullptr) {
        delete[] former;
        return;
    }
    retired->mStringValue = former;
    records.Retire(retired.release());
    records.Changed();
}
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

SymInfo* SymbolRecords::Find(const char* name) const
{
    return name == nullptr
               ? nullptr
               : First([name](const SymInfo& info) { return std::strcmp(info.mName, name) == 0; });
}

LockedSymbol::LockedSymbol(SymbolRecords& records, const char* name) TAVI_NO_THREAD_SAFETY_ANALYSIS
    : mHold(records.lock),
      mInfo(records.Find(name))
{}

LockedSymbol::~LockedSymbol() = default;

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

SymInfo* SymListMgr::GetMatch(const char* name)
{
    return mRecords->Match(name);
}

int SymListMgr::SetValue(const char* name, const char* text)
{
    const StaticLockHold hold(mRecords->lock);
    SymInfo* const info = mRecords->Find(name);
    if (info == nullptr || info->mReserved != 0 || text == nullptr) {
        return -1;
    }
    switch (info->mType) {
        case SymInfo::kString:
            ReplaceText(*mRecords, *info, text);
            break;
        case SymInfo::kFloat:
            info->mFloatValue = FloatOf(text);
            break;
        case SymInfo::kPointer:
            break;
        default:
            info->StoreInt(IntegerOf(text));
            break;
    }
    return 0;
}

int SymListMgr::GetIntValue(const char* name)
{
    const LockedSymbol symbol(*mRecords, name);
    if (symbol) {
        return symbol.IsReserved() ? 0 : symbol->LoadInt();
    }
    return name != nullptr ? IntegerOf(name) : 0;
}

const char* SymListMgr::GetStringValue(const char* name)
{
    const LockedSymbol symbol(*mRecords, name);
    if (symbol) {
        return symbol.IsReserved() ? nullptr : symbol->mStringValue;
    }
    return name;
}

float SymListMgr::GetFloatValue(const char* name)
{
    const LockedSymbol symbol(*mRecords, name);
    if (symbol) {
        return symbol.IsReserved() ? 0 : symbol->mFloatValue;
    }
    return name != nullptr ? FloatOf(name) : 0;
}

void* SymListMgr::GetPointerValue(const char* name)
{
    const LockedSymbol symbol(*mRecords, name);
    return symbol && !symbol.IsReserved() ? symbol->mPointerValue : nullptr;
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
