// The symbols' values, read and assigned: what every line of a script passes through.
#include <climits>
#include <cstring>
#include <utility>

#include "util/console/HeapText.h"
#include "util/console/NumberText.h"
#include "util/console/SymListMgr.h"
#include "util/console/SymbolReader.h"

namespace {
constexpr std::size_t kNoLimit = INT_MAX;
}  // namespace

SymInfo* SymListMgr::Find(const char* name) const
{
    for (SymInfo* info : mSymbols) {
        if (name != nullptr && std::strcmp(info->mName, name) == 0) {
            return info;
        }
    }
    return nullptr;
}

SymInfo* SymListMgr::GetMatch(const char* name)
{
    const StaticLockHold hold(mLock);
    return Find(name);
}

int SymListMgr::SetValue(const char* name, const char* text)
{
    const StaticLockHold hold(mLock);
    SymInfo* const info = Find(name);
    if (info == nullptr || info->mReserved != 0 || text == nullptr) {
        return -1;
    }
    switch (info->mType) {
        case SymInfo::kString:
            ReplaceText(*info, text);
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

// The text replaced lives on in a retired record of its own, for those who may be reading it. They
// renew their hold when they see the generation change, so that texts do not gather behind a hold
// that lasts.
void SymListMgr::ReplaceText(SymInfo& info, const char* text)
{
    auto former = std::make_unique<SymInfo>();
    former->mStringValue = std::exchange(info.mStringValue, NewText(text, kNoLimit));
    if (mRetired.IsHeld()) {
        mRetired.Retire(std::move(former));
        Changed();
    }
}

int SymListMgr::GetIntValue(const char* name)
{
    int value = 0;
    const auto read = [&](const SymInfo& info) {
        value = info.mReserved != 0 ? 0 : info.LoadInt();
    };
    if (!SymbolReader::Read(*this, name, read) && name != nullptr) {
        value = IntegerOf(name);
    }
    return value;
}

const char* SymListMgr::GetStringValue(const char* name)
{
    const char* value = name;
    SymbolReader::Read(*this, name, [&](const SymInfo& info) {
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
    if (!SymbolReader::Read(*this, name, read) && name != nullptr) {
        value = FloatOf(name);
    }
    return value;
}

void* SymListMgr::GetPointerValue(const char* name)
{
    void* value = nullptr;
    SymbolReader::Read(*this, name, [&](const SymInfo& info) {
        value = info.mReserved != 0 ? nullptr : info.mPointerValue;
    });
    return value;
}
