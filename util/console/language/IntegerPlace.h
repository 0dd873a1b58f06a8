// Internal. Words that are read and assigned as integers, looked up once and then followed by
// pointer: what SymListMgr::GetIntValue and SetValue would do with the word, without its text.
//
// A place follows a symbol's record, so it may be used only under a hold of the symbol table and
// while the table's generation is the one it was resolved at. Not copied or moved once resolved.
#ifndef UTIL_CONSOLE_LANGUAGE_INTEGERPLACE_H
#define UTIL_CONSOLE_LANGUAGE_INTEGERPLACE_H

#include "util/console/NumberText.h"
#include "util/console/SymbolRecords.h"

class IntegerSource
{
public:
    // A symbol's integer, 0 for a reserved one, else the number the word begins with.
    void Resolve(SymbolRecords& symbols, const char* word)
    {
        const SymInfo* const info = symbols.Match(word);
        const bool follows = info != nullptr && info->mReserved == 0;
        mLiteral = info == nullptr && word != nullptr ? IntegerOf(word) : 0;
        mValue = follows ? &info->mIntValue : &mLiteral;
    }

    int Read() const { return __atomic_load_n(mValue, __ATOMIC_RELAXED); }

private:
    const int* mValue = nullptr;
    int mLiteral = 0;
};

class IntegerTarget
{
public:
    // An integer symbol takes the value. Without a name nothing does. Texts and floats take the
    // value's text, and a name that can not be assigned is to be told of; neither is this class's
    // business: NeedsText.
    void Resolve(SymbolRecords& symbols, const char* name)
    {
        SymInfo* const info = symbols.Match(name);
        mNeedsText = name != nullptr;
        mPlace = &mIgnored;
        if (info == nullptr || info->mReserved != 0 || info->mType == SymInfo::kPointer) {
            return;
        }
        mNeedsText = info->mType == SymInfo::kString || info->mType == SymInfo::kFloat;
        mPlace = &info->mIntValue;
    }

    bool NeedsText() const { return mNeedsText; }
    void Store(int value) { __atomic_store_n(mPlace, value, __ATOMIC_RELAXED); }

private:
    int* mPlace = nullptr;
    int mIgnored = 0;
    bool mNeedsText = true;
};

#endif  // UTIL_CONSOLE_LANGUAGE_INTEGERPLACE_H
