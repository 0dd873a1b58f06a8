#include "util/os_linux/FSUtil.h"

#include <sys/stat.h>
#include <sys/statfs.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/ProcessSearch.h"
#include "util/os_linux/Singleton.h"

static Logger* const _logger = Logger::GetLogger(1);

std::atomic<Mutex*> FSUtil::sScanLock{nullptr};
FileCompare* FSUtil::sFileCompare = nullptr;
const char* FSUtil::sSortCurrentPath = nullptr;

static std::atomic<FileCompare*> _defaultCompare{nullptr};
static StaticLock sFirstUse;

namespace {
constexpr std::size_t kPathRoom = 2048;
constexpr std::int64_t kMebibyte = 1048576;

using StatCall = int (*)(const char*, struct stat*);

// Whether directory/name is a directory, as the given call (stat or lstat) sees it.
bool IsDirectoryEntry(const char* directory, const char* name, StatCall call)
{
    char path[kPathRoom];
    const int length = std::snprintf(path, sizeof(path), "%s/%s", directory, name);
    struct stat node = {};
    return length > 0 && static_cast<std::size_t>(length) < sizeof(path) &&
           call(path, &node) == 0 && S_ISDIR(node.st_mode);
}

void DeleteUnit(FileCompareUnit* unit)
{
    std::free(unit->mName);
    std::free(unit);
}

// Null without memory.
FileCompareUnit* NewUnit(const char* directory, const char* name)
{
    FileCompareUnit* const unit =
        static_cast<FileCompareUnit*>(std::malloc(sizeof(FileCompareUnit)));
    char* const copy = strdup(name);
    if (unit == nullptr || copy == nullptr) {
        std::free(unit);
        std::free(copy);
        return nullptr;
    }
    unit->mName = copy;
    unit->mDirectory = IsDirectoryEntry(directory, name, lstat) ? 1 : 0;
    return unit;
}
}  // namespace

int FSUtil::Mkdir(const char* path)
{
    return mkdir(path, 0777);
}

bool FSUtil::IsDirectory(const char* path)
{
    struct stat node = {};
    if (lstat(path, &node) != 0) {
        TAVI_INFO("Invalid Node %s", path);
        return false;
    }
    if (!S_ISDIR(node.st_mode)) {
        TAVI_INFO("Not Directory %s %d", path, static_cast<int>(node.st_mode));
        return false;
    }
    return true;
}

bool FSUtil::StatFS(const char* path, FSStat* stat)
{
    struct statfs figures = {};
    if (statfs(path, &figures) != 0) {
        TAVI_INFO("Invalid Node %s", path);
        return false;
    }
    if (stat != nullptr) {
        const auto blockSize = static_cast<std::int64_t>(figures.f_bsize);
        stat->mTotalSize = blockSize * static_cast<std::int64_t>(figures.f_blocks);
        stat->mFreeSize = blockSize * static_cast<std::int64_t>(figures.f_bfree);
        TAVI_INFO("Stat FS : Block Size = %d, Blocks = %d, Free Blocks = %d (%lld %lld/%lld %lld)",
                  static_cast<int>(blockSize), static_cast<int>(figures.f_blocks),
                  static_cast<int>(figures.f_bfree), static_cast<long long>(stat->mTotalSize),
                  static_cast<long long>(stat->mFreeSize),
                  static_cast<long long>(stat->mTotalSize / kMebibyte),
                  static_cast<long long>(stat->mFreeSize / kMebibyte));
    }
    return true;
}

Mutex& FSUtil::ScanLock()
{
    return *GetOrMake(sScanLock, sFirstUse, [] { return new Mutex("FSUtil ScanLock"); });
}

FileCompare& FSUtil::DefaultCompare()
{
    return *GetOrMake(_defaultCompare, sFirstUse,
                      []() -> FileCompare* { return new FSDefaultCompare; });
}

int FSUtil::ScanDir(const char* path, tavi::Vector<FileCompareUnit*>& out, FileCompare* compare)
{
    const CancelGuard guard;
    dirent** entries = nullptr;
    int count = 0;
    {
        const MutexHold hold(ScanLock());
        sFileCompare = compare != nullptr ? compare : &DefaultCompare();
        sSortCurrentPath = path;
        count = scandir(path, &entries, nullptr, Sort);
    }
    if (count < 0) {
        TAVI_ERROR("scandir failed at %s", path);
        return -1;
    }
    const int before = out.Size();
    bool complete = true;
    for (int index = 0; index < count; ++index) {
        const char* const name = entries[index]->d_name;
        if (complete && std::strcmp(name, ".") != 0) {
            FileCompareUnit* const unit = NewUnit(path, name);
            complete = unit != nullptr;
            if (complete) {
                out.Pushback(unit);
            }
        }
        std::free(entries[index]);
    }
    std::free(entries);
    if (!complete) {
        TAVI_ERROR("No memory for the entries of %s", path);
        for (int last = out.Size() - 1; last >= before; --last) {
            DeleteUnit(out.At(last));
            out.Erase(last);
        }
        return -1;
    }
    return 0;
}

int FSUtil::SortNames(const char* a, const char* b)
{
    char* const nameA = const_cast<char*>(a);
    char* const nameB = const_cast<char*>(b);
    FileCompareUnit unitA = {nameA, IsDirectoryEntry(sSortCurrentPath, nameA, ::stat) ? 1 : 0};
    FileCompareUnit unitB = {nameB, IsDirectoryEntry(sSortCurrentPath, nameB, ::stat) ? 1 : 0};
    return sFileCompare->Compare(unitA, unitB);
}

int FSUtil::IsProcessRunning(const char* command)
{
    TAVI_INFO("");
    ProcessSearch search;
    bool found = false;
    while (!found && search.Next()) {
        if (search.ReadCommandLine()) {
            TAVI_INFO("%s %s", search.CommandLine(), command);
            found = search.BeginsWith(command);
        }
    }
    TAVI_INFO("");
    return found ? 1 : 0;
}
