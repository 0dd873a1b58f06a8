// The symbols' values, read and assigned: what every line of a script passes through.
#include <utility>

#include "util/console/HeapText.h"
#include "util/console/NumberText.h"
#include "util/console/SymListMgr.h"
#include "util/console/SymbolRecords.h"

namespace {
// The text replaced lives on in a retired record of its own, for those who may be reading it. They
// renew their hold when they see the generation change, so that texts do not gather behind a hold
// that lasts.
void ReplaceText(SymbolRecords& records, SymInfo& info, const char* text)
    TAVI_REQUIRES(records.lock)
{
    char* const former = std::exchange(info.mStringValue, NewText(text));
    if (!records.IsHeld()) {
        delete[] former;
        return;
    }
    auto* const retired = new SymInfo;
    retired->mStringValue = former;
    records.Retire(retired);
    records.Changed();
}
}  // namespace

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
    int value = 0;
    const auto read = [&](const SymInfo& info) {
        value = info.mReserved != 0 ? 0 : info.LoadInt();
    };
    if (!mRecords->Read(name, read) && name != nullptr) {
        value = IntegerOf(name);
    }
    return value;
}

const char* SymListMgr::GetStringValue(const char* name)
{
    const char* value = name;
    mRecords->Read(name, [&](const SymInfo& info) {
        value = info.mReserved != 0 ? nullptr : info.mStringValue;
    });
    return value;
}

float SymListMgr::GetFloatValue(const char* name)
{
    float value = 0;
    const auto read = [&](const SymInfo& info) {
        value = info.mReserved != 0 ? 0 : info.mFloatValue;
    };
    if (!mRecords->Read(name, read) && name != nullptr) {
        value = FloatOf(name);
    }
    return value;
}

void* SymListMgr::GetPointerValue(const char* name)
{
    void* value = nullptr;
    mRecords->Read(name, [&](const SymInfo& info) {
        value = info.mReserved != 0 ? nullptr : info.mPointerValue;
    });
    return value;
}
