#include "util/os_linux/FileCompare.h"

#include <cstring>

#include "util/os_linux/FSDefaultCompare.h"

FileCompare::~FileCompare() = default;

int FileCompare::Compare(FileCompareUnit& a, FileCompareUnit& b)
{
    return std::strcoll(a.mName, b.mName);
}

int FSDefaultCompare::Compare(FileCompareUnit& a, FileCompareUnit& b)
{
    return a.mDirectory != b.mDirectory ? b.mDirectory - a.mDirectory : FileCompare::Compare(a, b);
}
