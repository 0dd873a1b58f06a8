// Public. One entry of a directory scan. Made with malloc: whoever receives it frees the name and
// then the entry, both with free.
#ifndef UTIL_OS_LINUX_FILECOMPAREUNIT_H
#define UTIL_OS_LINUX_FILECOMPAREUNIT_H

struct FileCompareUnit
{
    char* mName;
    int mDirectory;  // 1 for a directory, 0 for anything else
};

#endif  // UTIL_OS_LINUX_FILECOMPAREUNIT_H
