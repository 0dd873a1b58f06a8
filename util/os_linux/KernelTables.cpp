#include "util/os_linux/KernelTables.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(1);

namespace {
using Partition = PartitionParser::Partition;

constexpr std::size_t kPartitionLine = 127;
constexpr std::size_t kMountLine = 511;

// The first bytes of a file, none when it cannot be read. The kernel hands its tables out in
// pieces of about a page, so one read would not do.
template <std::size_t N>
class FileStart
{
public:
    explicit FileStart(const char* path)
    {
        const ScopedDescriptor file(OpenDescriptor(path, O_RDONLY));
        mIsOpen = file.IsOpen();
        ssize_t got = mIsOpen ? 1 : 0;
        while (got > 0 && mLength < N) {
            got =
                RestartInterrupted([&] { return read(file.Get(), mBytes + mLength, N - mLength); });
            mLength += got > 0 ? static_cast<std::size_t>(got) : 0;
        }
    }

    bool IsOpen() const { return mIsOpen; }
    std::string_view Text() const { return std::string_view(mBytes, mLength); }

private:
    char mBytes[N];
    std::size_t mLength = 0;
    bool mIsOpen = false;
};

using PartitionsText = FileStart<16383>;
using MountsText = FileStart<4096>;

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

// Takes the next line that ends with a line feed; false when there is none left.
bool TakeLine(std::string_view& rest, std::string_view& line)
{
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) {
        return false;
    }
    line = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    return true;
}

// Takes the next field of a line whose fields are parted by runs of blanks; empty at its end.
std::string_view TakeField(std::string_view& rest)
{
    constexpr char kBlanks[] = " \t";
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    const std::string_view field = rest.substr(0, rest.find_first_of(kBlanks));
    rest.remove_prefix(field.size());
    return field;
}

// Takes the next field of a line whose fields are parted by single spaces; false when none is left.
bool TakeMountField(std::string_view& rest, std::string_view& field)
{
    if (rest.data() == nullptr) {
        return false;
    }
    const std::size_t end = rest.find(' ');
    field = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return true;
}

// Copies the text and its NUL. REQUIRES: it fits.
void Store(std::string_view text, char* to)
{
    if (to != nullptr) {
        to[text.copy(to, text.size())] = '\0';
    }
}

bool Fits(std::string_view text, const char* to, std::size_t size)
{
    return to == nullptr || text.size() < size;
}

// Reads as strtoul does, hexadecimal after "0x" and octal after "0"; at most INT_MAX.
int ToNumber(std::string_view field)
{
    char digits[kPartitionLine + 1];
    Store(field, digits);
    const unsigned long number = std::strtoul(digits, nullptr, 0);
    return static_cast<int>(std::min(number, static_cast<unsigned long>(INT_MAX)));
}

// Adds the partition of one line, if it is one to be listed. False when the table is full.
bool AddPartition(std::string_view line, bool skipHd, PartitionParser& table)
{
    if (line.size() > kPartitionLine) {
        TAVI_WARNING("Partition line of %zu characters left out", line.size());
        return true;
    }
    const int major = ToNumber(TakeField(line));
    const int minor = ToNumber(TakeField(line));
    const int blocks = ToNumber(TakeField(line));
    const std::string_view name = TakeField(line);
    if (name.empty() || (skipHd && StartsWith(name, "hd"))) {
        return true;
    }
    if (table.mCount >= PartitionParser::kMaxPartitions) {
        return false;
    }
    if (StartsWith(name, "mtd") || StartsWith(name, "loop")) {
        return true;
    }
    PartitionParser::Partition& entry = table.mPartitions[table.mCount];
    if (!Fits(name, entry.mName, sizeof(entry.mName))) {
        TAVI_WARNING("Partition %.*s left out, its name is too long", static_cast<int>(name.size()),
                     name.data());
        return true;
    }
    Store(name, entry.mName);
    entry.mBlocks = blocks;
    entry.mMajor = major;
    entry.mMinor = minor;
    ++table.mCount;
    return true;
}

// The fields of a mount line that matter here.
struct MountLine
{
    std::string_view device, mountPoint, fsType, options;

    bool Parse(std::string_view line)
    {
        return TakeMountField(line, device) && TakeMountField(line, mountPoint) &&
               TakeMountField(line, fsType) && TakeMountField(line, options);
    }
};

// Copies what a matching line says to the caller; false, with a warning, when it does not fit.
bool StoreMount(const MountLine& line, const MountedInfo& info)
{
    if (!Fits(line.mountPoint, info.mountPoint, info.mountPointSize) ||
        !Fits(line.fsType, info.fsType, info.fsTypeSize)) {
        TAVI_WARNING("Mount left out, its mount point or type is too long");
        return false;
    }
    Store(line.mountPoint, info.mountPoint);
    TAVI_INFO(" Mount Point : %.*s", static_cast<int>(line.mountPoint.size()),
              line.mountPoint.data());
    Store(line.fsType, info.fsType);
    TAVI_INFO(" Filesystem Type : %.*s", static_cast<int>(line.fsType.size()), line.fsType.data());
    const std::string_view first = line.options.substr(0, line.options.find(','));
    info.readOnly = first.find("ro") != std::string_view::npos;
    TAVI_INFO("aIsReadOnly = %d part = %.*s read = %.*s", info.readOnly ? 1 : 0,
              static_cast<int>(line.options.size()), line.options.data(),
              static_cast<int>(first.size()), first.data());
    return true;
}

// Whether the buffer holds a text, not empty, that occurs in the table.
bool MountPointOccurs(std::string_view table, const MountedInfo& info)
{
    if (info.mountPoint == nullptr) {
        return false;
    }
    const std::size_t length = strnlen(info.mountPoint, info.mountPointSize);
    return length != 0 && length < info.mountPointSize &&
           table.find(info.mountPoint, 0, length) != std::string_view::npos;
}
}  // namespace

void ReadPartitions(const char* path, bool skipHd, PartitionParser& table)
{
    table.mCount = 0;
    const PartitionsText text(path);
    std::string_view rest = text.Text();
    std::string_view line;
    TakeLine(rest, line);  // the header
    while (TakeLine(rest, line) && AddPartition(line, skipHd, table)) {}
    for (int index = 0; index < table.mCount; ++index) {
        const PartitionParser::Partition& entry = table.mPartitions[index];
        TAVI_INFO("%dth Partition Name=%s, Blocks=%d, Major=%d, Minor=%d", index, entry.mName,
                  entry.mBlocks, entry.mMajor, entry.mMinor);
    }
}

bool OccursInMounts(const char* path, const char* text)
{
    const MountsText mounts(path);
    return mounts.IsOpen() && text != nullptr && mounts.Text().find(text) != std::string_view::npos;
}

bool FindMount(const char* path, const char* device, const MountedInfo& info)
{
    const std::string_view wanted = device != nullptr ? device : "";
    TAVI_INFO("Device Name = %s", wanted.data());
    const MountsText mounts(path);
    bool found = false;
    std::string_view rest = mounts.Text();
    for (std::string_view line; TakeLine(rest, line);) {
        if (line.size() > kMountLine) {
            TAVI_WARNING("Mount line of %zu characters left out", line.size());
            continue;
        }
        TAVI_INFO("result = %.*s", static_cast<int>(line.size()), line.data());
        MountLine fields;
        if (device != nullptr && fields.Parse(line) && fields.device == wanted) {
            found = StoreMount(fields, info) || found;
        }
    }
    return found || MountPointOccurs(mounts.Text(), info);
}
