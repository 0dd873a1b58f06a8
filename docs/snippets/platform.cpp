// The snippets of docs/platform.md: each block of the page stands here to the byte, and this
// program runs them all.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "util/checksum/Crc32.h"
#include "util/checksum/SHA1.h"
#include "util/os_linux/CondVar.h"
#include "util/os_linux/ExecShell.h"
#include "util/os_linux/FSUtil.h"
#include "util/os_linux/FilePath.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/PartitionParser.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"
#include "util/os_linux/ThreadList.h"

namespace {
void* Tune(void* frequency)
{
    std::printf("tuning to %d\n", *static_cast<int*>(frequency));
    return nullptr;
}

void RunAThread()
{
    int frequency = 474000;  // lives until the thread has ended
    Thread tuner("tuner", Tune, false, 0);
    if (tuner.Start(&frequency) != 0) {
        return;
    }
    while (!tuner.IsStarted()) {  // a thread that has not begun cannot be joined
        MSleep(1);
    }
    tuner.Join();
}

void* Watch(void* thread)
{
    std::printf("%s has one\n", Thread::GetCurrentThread()->GetThreadName());
    ThreadList::GetInstance()->ShowThread();  // all threads, into the log
    return thread;
}

void ListThreads()
{
    Thread watcher("watcher", Watch, false, 0);
    watcher.Start(nullptr);
    while (watcher.Join() != 0) {}
}

Mutex queueMutex("queue");
CondVar queueFilled("queue filled");
std::vector<int> queue;  // guarded by queueMutex

void Put(int event)
{
    const MutexHold hold(queueMutex);
    queue.push_back(event);
    queueFilled.Signal();
}

// The next event, or -1 after half a second without one.
int Take()
{
    const MutexHold hold(queueMutex);
    while (queue.empty()) {
        if (queueFilled.WaitTimeout(queueMutex, 500) != 0) {
            return -1;
        }
    }
    const int event = queue.back();
    queue.pop_back();
    return event;
}

Logger* const _logger = Logger::GetLogger(7);  // 0, 3 to 22 and 24 to 26 are the host's

#define LOG(level, ...) _logger->Print(level, 0, __func__, __FILE__, __LINE__, __VA_ARGS__)

void LogSomething()
{
    LOG(Logger::kInfo, "tuned to %d", 474000);
    LOG(Logger::kWarning, "signal is weak");
    _logger->SetLevel(Logger::kError);
    LOG(Logger::kWarning, "not printed: below the level");
    _logger->SetLevel(Logger::kInfo);
}

void RunCommands()
{
    ExecShell shell;
    shell.ExecWait("echo scanned > ./scan.out");  // waits, in the box's environment
    shell.Exec("sleep 0.1");                      // does not wait
    shell.Wait(-1);                               // collects the child that has ended
    shell.System("echo $USER >> ./scan.out");     // waits, in this program's environment
    shell.ExternalExec("mount /dev/sda1");        // by the launcher, if it runs
}

void FindTheStick()
{
    PartitionParser partitions;
    partitions.Parse(false);
    std::printf("%d disks and partitions\n", partitions.GetPartitionCount("sd"));
    if (partitions.FindPartition("/dev/sda1") == 0) {
        return;
    }
    char mountPoint[PartitionParser::kMountText] = "";
    char type[PartitionParser::kMountText] = "";
    bool readOnly = false;
    if (partitions.GetMountedInfo("/dev/sda1", mountPoint, sizeof(mountPoint), readOnly, type,
                                  sizeof(type))) {
        std::printf("%s at %s%s\n", type, mountPoint, readOnly ? ", read-only" : "");
    }
}

void ListADirectory()
{
    FSUtil::Mkdir("./recordings");
    tavi::Vector<FileCompareUnit*> entries;
    FSUtil::ScanDir(".", entries, nullptr);  // directories first, then by name
    for (int index = 0; index < entries.Size(); ++index) {
        FileCompareUnit* const entry = entries.At(index);
        std::printf("%s%s\n", entry->mName, entry->mDirectory != 0 ? "/" : "");
        std::free(entry->mName);
        std::free(entry);
    }
}

void LookAtFiles()
{
    FilePath path("/mnt/usb/film.ts");
    std::printf("%s in ", path.GetLastItem());
    std::printf("%s, on ", path.GetLastDirectory());
    std::printf("%s\n", path.GetItem(1));

    FSStat sizes = {};
    if (FSUtil::StatFS("/", &sizes)) {
        std::printf("%lld MiB free\n", static_cast<long long>(sizes.mFreeSize / 1048576));
    }
    std::printf("init runs: %d\n", FSUtil::IsProcessRunning("/sbin/init"));
}

void Digest()
{
    SHA1Calculator sha1;
    sha1.Start();
    sha1.Update(reinterpret_cast<const unsigned char*>("ab"), 2);  // as the pieces arrive
    sha1.Update(reinterpret_cast<const unsigned char*>("c"), 1);
    sha1.Finish();
    for (unsigned char byte : sha1.mDigest) {
        std::printf("%02x", byte);
    }
    std::printf("\n");
}

bool IsIntact(const unsigned char* section, int length)  // a section ends with its own CRC
{
    return MCrc32(section, length).mCrc == 0;
}
}  // namespace

int main()
{
    RunAThread();
    ListThreads();
    Put(5);
    std::printf("took %d\n", Take());
    std::printf("then %d\n", Take());
    LogSomething();
    RunCommands();
    FindTheStick();
    ListADirectory();
    LookAtFiles();
    Digest();
    const unsigned char section[] = {0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1, 0x00, 0x00,
                                     0x00, 0x01, 0xE0, 0x20, 0xA2, 0xC3, 0x29, 0x41};
    std::printf("section is %s\n", IsIntact(section, sizeof(section)) ? "intact" : "damaged");
    return 0;
}
