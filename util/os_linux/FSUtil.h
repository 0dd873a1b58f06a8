// Public. Small file-system utilities. Failures are logged at info level except where said
// otherwise. Safe from any thread; scans are serialised by one lock.
#ifndef UTIL_OS_LINUX_FSUTIL_H
#define UTIL_OS_LINUX_FSUTIL_H

#include <dirent.h>

#include <atomic>

#include "util/Export.h"
#include "util/container/Vector.h"
#include "util/os_linux/FSDefaultCompare.h"
#include "util/os_linux/FSStat.h"
#include "util/os_linux/FileCompare.h"

class Mutex;

// A 32-bit program has two layouts of dirent, by _FILE_OFFSET_BITS. What is compiled with one of
// them must not stand in for what another source was compiled with: the name tells them apart.
#ifdef __USE_FILE_OFFSET64
#define TAVI_DIRENT_LAYOUT __attribute__((abi_tag("offset64")))
#else
#define TAVI_DIRENT_LAYOUT
#endif

class HTML5_VIDEO_API FSUtil
{
public:
    // mkdir with permission bits 0777 less the umask: its result, errno set on failure.
    static int Mkdir(const char* path);

    // Whether the path is a directory; a symbolic link to one is not.
    static bool IsDirectory(const char* path);

    // Reads the sizes of the file system that holds the path into stat, which may be null. False
    // when they cannot be read; stat is then as before.
    static bool StatFS(const char* path, FSStat* stat);

    // Appends the directory's entries except "." to out, in the given order or, when it is null,
    // directories first and then by name. Each entry belongs to the caller, who frees its name and
    // then the entry with free. 0, or -1 with an error line when the directory cannot be read or
    // there is no memory for an entry; out is then as before. Paths are built in 2048 bytes: an
    // entry whose path is longer counts as no directory, as does one that cannot be examined.
    static int ScanDir(const char* path, tavi::Vector<FileCompareUnit*>& out, FileCompare* compare);

    // The comparison that a scan hands to scandir; meaningful only while a scan runs. It reads the
    // entries as the calling source lays them out.
    TAVI_DIRENT_LAYOUT static int Sort(const dirent** a, const dirent** b)
    {
        return SortNames((*a)->d_name, (*b)->d_name);
    }

    // 1 when a process exists whose command line begins with the text (at most 256 bytes are
    // compared, a longer text is not found), else 0.
    static int IsProcessRunning(const char* command);

private:
    static int SortNames(const char* a, const char* b);

    HTML5_VIDEO_LOCAL static Mutex& ScanLock();
    HTML5_VIDEO_LOCAL static FileCompare& DefaultCompare();

    HTML5_VIDEO_LOCAL static std::atomic<Mutex*> sScanLock;
    HTML5_VIDEO_LOCAL static FileCompare* sFileCompare;     // guarded by sScanLock
    HTML5_VIDEO_LOCAL static const char* sSortCurrentPath;  // guarded by sScanLock
};

#endif  // UTIL_OS_LINUX_FSUTIL_H
