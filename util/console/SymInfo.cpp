#include "util/console/SymInfo.h"

void SymInfo::Free()
{
    delete[] mName;
    delete[] mStringValue;
    mName = nullptr;
    mStringValue = nullptr;
}
