// Public. The order of a directory scan: by name, in the collation of the current locale.
#ifndef UTIL_OS_LINUX_FILECOMPARE_H
#define UTIL_OS_LINUX_FILECOMPARE_H

#include "util/Export.h"
#include "util/os_linux/FileCompareUnit.h"

class HTML5_VIDEO_API FileCompare
{
public:
    virtual ~FileCompare();

    // Negative when a goes first, 0 when equal, positive when b goes first. Runs while the scan
    // lock is held: it must not scan.
    virtual int Compare(FileCompareUnit& a, FileCompareUnit& b);
};

#endif  // UTIL_OS_LINUX_FILECOMPARE_H
