// Public. The default order of a directory scan: directories first, then by name.
#ifndef UTIL_OS_LINUX_FSDEFAULTCOMPARE_H
#define UTIL_OS_LINUX_FSDEFAULTCOMPARE_H

#include "util/Export.h"
#include "util/os_linux/FileCompare.h"

class HTML5_VIDEO_API FSDefaultCompare : public FileCompare
{
public:
    int Compare(FileCompareUnit& a, FileCompareUnit& b) override;
};

#endif  // UTIL_OS_LINUX_FSDEFAULTCOMPARE_H
