#include "util/console/CmdInfo.h"

void CmdInfo::Free()
{
    delete[] mName;
    delete[] mArgTypes;
    delete[] mHelp;
    mName = nullptr;
    mArgTypes = nullptr;
    mHelp = nullptr;
}
