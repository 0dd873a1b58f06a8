#include "util/os_linux/Logger.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "util/os_linux/ConfigText.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/Sleep.h"

StaticLock Logger::sLock;
std::atomic<bool> Logger::sInitialized{false};
LogConfig Logger::sLogConfig{};
std::atomic<Logger*> Logger::sLoggers[256]{};

// The one formatting buffer of all loggers: the message of the line in work. Guarded by the
// logger's lock.
char PrintBuffer[1024];

namespace {
enum Mode
{
    kNone = 0,
    kStandardError = 1,
    kFile = 2,
    kUdp = 3,
    kUnixStream = 4
};

constexpr int kLoggerCount = 27;
constexpr int kDefaultPort = 7272;

// Guards the creation of loggers; sLock cannot, since making the first one opens the output.
StaticLock sCreationLock;

// Guards the port and the texts of the settings, so that they can be set while the log is locked.
// Held for copies only and taken after sLock.
StaticLock sSettingsLock;

// The mode that the output was opened in, which decides how it is written to: the setting may have
// changed since. Guarded by the logger's lock.
int sOpenMode = kNone;

// A whole decorated line: a prefix of at most 63 characters, the message, the suffix of at most
// 1023. Guarded by the logger's lock.
constexpr std::size_t kPrefixRoom = 64;
char sLine[kPrefixRoom + sizeof(PrintBuffer) + 1024];

std::atomic<int> sConfiguredMode{0};

struct Prefix
{
    const char* before;
    const char* after;
};

constexpr Prefix kPrefixes[] = {
    {"[", "][LOG]: "},
    {" \033[0;35m[", "][LOG-WARN]:\033[0;0m "},
    {"\033[0;31m[", "][[LOG-ERROR]]:\033[0;0m "},
};

char* Append(char* to, const char* text)
{
    return static_cast<char*>(mempcpy(to, text, std::strlen(text)));
}

// Appends at most room characters.
char* AppendBounded(char* to, const char* text, std::size_t room)
{
    return static_cast<char*>(mempcpy(to, text, strnlen(text, room)));
}

// Appends the number in decimal, zero-padded to at least width digits.
char* AppendNumber(char* to, unsigned long number, int width)
{
    char digits[24];
    char* first = digits + sizeof(digits);
    for (; number != 0 || width > 0; number /= 10, --width) {
        *--first = static_cast<char>('0' + number % 10);
    }
    return static_cast<char*>(
        mempcpy(to, first, static_cast<std::size_t>(digits + sizeof(digits) - first)));
}

char* AppendPrefix(char* to, int level, const timespec& now)
{
    const Prefix& prefix = kPrefixes[std::clamp(level, 0, 2)];
    to = Append(to, prefix.before);
    to = AppendNumber(to, static_cast<unsigned long>(now.tv_sec), 8);
    *to++ = '.';
    to = AppendNumber(to, static_cast<unsigned long>(now.tv_nsec / 1000), 6);
    return Append(to, prefix.after);
}

// " -> function in (/File line)\n", cut to 1023 characters in all.
char* AppendSuffix(char* to, const char* function, const char* file, int line)
{
    constexpr char kNull[] = "(null)";
    function = function != nullptr ? function : kNull;
    file = file != nullptr ? file : kNull;
    const char* const slash = std::strrchr(file, '/');
    constexpr std::size_t kNameRoom = 490;  // twice this, a number and the rest stay below 1023
    to = Append(to, " -> ");
    to = AppendBounded(to, function, kNameRoom);
    to = Append(to, " in (");
    to = AppendBounded(to, slash != nullptr ? slash : file, kNameRoom);
    *to++ = ' ';
    if (line < 0) {
        *to++ = '-';
    }
    to = AppendNumber(to, static_cast<unsigned long>(std::labs(line)), 1);
    return Append(to, ")\n");
}

// Formats into PrintBuffer; the length of what stands there.
__attribute__((format(printf, 1, 0))) std::size_t FormatMessage(const char* format,
                                                                va_list arguments)
{
    const int wanted = std::vsnprintf(PrintBuffer, sizeof(PrintBuffer), format, arguments);
    return wanted < 0 ? 0 : std::min(static_cast<std::size_t>(wanted), sizeof(PrintBuffer) - 1);
}

// One write, or one datagram; its outcome is nobody's concern.
void WriteOut(int output, const char* text, std::size_t length)
{
    if (sOpenMode == kUdp || sOpenMode == kUnixStream) {
        SendBytes(output, text, length);
    } else {
        WriteBytes(output, text, length);
    }
}

void WriteDecorated(int output, const char* line, const char* message, const char* suffix,
                    const char* end)
{
    if (sOpenMode != kUdp) {
        WriteOut(output, line, static_cast<std::size_t>(end - line));
        return;
    }
    WriteOut(output, line, static_cast<std::size_t>(message - line));
    WriteOut(output, message, static_cast<std::size_t>(suffix - message));
    WriteOut(output, suffix, static_cast<std::size_t>(end - suffix));
}

int OpenLogFile(const LogConfig& config)
{
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
    char path[sizeof(config.outpath)];
    {
        const StaticLockHold hold(sSettingsLock);
        CopyText(path, config.outpath);
    }
    const int descriptor = OpenDescriptor(path, kFlags, 0700);
    return descriptor >= 0 ? descriptor : OpenDescriptor("/config/debug.out", kFlags, 0700);
}

// A socket connected to the peer, or one whose connect failed and that loses what it is given.
int OpenConnected(int type, const void* peer, std::size_t length)
{
    const sockaddr* const address = static_cast<const sockaddr*>(peer);
    const int descriptor = OpenSocket(address->sa_family, type, 0);
    // Neither kind of connect goes on behind an interruption.
    RestartInterrupted(
        [=] { return connect(descriptor, address, static_cast<socklen_t>(length)); });
    return descriptor;
}

int OpenUdp(LogConfig& config)
{
    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    {
        const StaticLockHold hold(sSettingsLock);
        config.port = config.port < 1 ? kDefaultPort : config.port;
        peer.sin_port = htons(static_cast<uint16_t>(config.port));
        peer.sin_addr.s_addr = inet_addr(config.serverip);
    }
    return OpenConnected(SOCK_DGRAM, &peer, sizeof(peer));
}

int OpenUnixStream(const LogConfig& config)
{
    sockaddr_un peer = {};
    peer.sun_family = AF_UNIX;
    std::size_t length = 0;
    {
        const StaticLockHold hold(sSettingsLock);
        length = CopyText(peer.sun_path, config.outpath);
    }
    return OpenConnected(SOCK_STREAM, &peer, length + 2);
}

// The output of the mode; -1 for none.
int OpenOutput(LogConfig& config, int mode)
{
    switch (mode) {
        case kStandardError:
            return STDERR_FILENO;
        case kFile:
            return OpenLogFile(config);
        case kUdp:
            return OpenUdp(config);
        case kUnixStream:
            return OpenUnixStream(config);
        default:
            return -1;
    }
}
}  // namespace

Logger* Logger::GetLogger(int index)
{
    if (index < 0 || index >= kLoggerCount) {
        return nullptr;
    }
    Logger* logger = sLoggers[index].load(std::memory_order_acquire);
    if (logger == nullptr) {
        const StaticLockHold hold(sCreationLock);
        logger = sLoggers[index].load(std::memory_order_relaxed);
        if (logger == nullptr) {
            logger = new Logger;
            sLoggers[index].store(logger, std::memory_order_release);
        }
    }
    return logger;
}

Logger::Logger() : mLevel(kInfo)
{
    if (!sInitialized.load(std::memory_order_acquire)) {
        Init();
    }
}

Logger::~Logger() = default;

// Opening the output and reading settings are built for size, unlike what a line passes through.
[[gnu::cold]] void Logger::Init()
{
    static StaticLock sInitLock;
    const StaticLockHold hold(sInitLock);
    if (sInitialized.load(std::memory_order_relaxed)) {
        return;
    }
    // In a child the thread that held a lock may not exist; what the locks guard can be used.
    pthread_atfork(nullptr, nullptr, [] {
        new (&sLock) StaticLock;
        new (&sSettingsLock) StaticLock;
    });
    LoadConfig();
    ChangeMode(sLogConfig.mode);
    sConfiguredMode = sLogConfig.mode.load();
    std::printf("mode=%d\nkmsg=%d\nserverip=%s\nport=%d\noutpath=%s\n", sLogConfig.mode.load(),
                sLogConfig.kmsg.load(), sLogConfig.serverip, sLogConfig.port, sLogConfig.outpath);
    sInitialized.store(true, std::memory_order_release);
}

[[gnu::cold]] void Logger::LoadConfig()
{
    ReadConfigFile("./logger.conf", [this](char* line) { ParseConfig(line); });
}

[[gnu::cold]] void Logger::ParseConfig(char* line)
{
    StripLineEnd(line);
    const StaticLockHold hold(sSettingsLock);
    if (const char* value = ConfigValueOf(line, "mode=")) {
        sLogConfig.mode = std::atoi(value);
    } else if ((value = ConfigValueOf(line, "kmsg=")) != nullptr) {
        sLogConfig.kmsg = std::atoi(value);
    } else if ((value = ConfigValueOf(line, "serverip=")) != nullptr) {
        CopyText(sLogConfig.serverip, value);
    } else if ((value = ConfigValueOf(line, "port=")) != nullptr) {
        sLogConfig.port = std::atoi(value);
    } else if ((value = ConfigValueOf(line, "outpath=")) != nullptr) {
        CopyText(sLogConfig.outpath, value);
    }
}

[[gnu::cold]] void Logger::ChangeMode(int mode)
{
    const StaticLockHold hold(sLock);
    if (sLogConfig.fd != 0 && mode == sLogConfig.mode) {
        return;
    }
    // At every moment the descriptor is -1 or open and of the mode beside it: a fork takes what it
    // finds to the child.
    const int former = sLogConfig.fd;
    sLogConfig.fd = -1;
    if (former > STDERR_FILENO) {
        close(former);
    }
    sOpenMode = mode >= kStandardError && mode <= kUnixStream ? mode : kNone;
    sLogConfig.mode = sOpenMode;
    sLogConfig.fd = OpenOutput(sLogConfig, sOpenMode);
}

int Logger::GetMode()
{
    return sLogConfig.mode;
}

int Logger::GetConfiguredMode()
{
    return sConfiguredMode;
}

void Logger::Print(int level, int raw, const char* function, const char* file, int line,
                   const char* format, ...)
{
    if (GetLevel() > level) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    VPrint(level, raw, function, file, line, format, arguments);
    va_end(arguments);
}

void Logger::VPrint(int level, int raw, const char* function, const char* file, int line,
                    const char* format, va_list arguments)
{
    const int savedErrno = errno;
    const StaticLockHold hold(sLock);
    if (sLogConfig.fd > 0) {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        errno = savedErrno;  // for a %m in the format
        const std::size_t length = raw == 0 || raw == 1 ? FormatMessage(format, arguments) : 0;
        if (raw == 1) {
            WriteOut(sLogConfig.fd, PrintBuffer, length);
        } else if (raw == 0) {
            char* const message = AppendPrefix(sLine, level, now);
            char* const suffix = static_cast<char*>(mempcpy(message, PrintBuffer, length));
            char* const end = AppendSuffix(suffix, function, file, line);
            WriteDecorated(sLogConfig.fd, sLine, message, suffix, end);
        }
    }
    errno = savedErrno;
}

void Logger::Assert(int raw, const char* function, const char* file, int line,
                    const char* expression)
{
    char text[128];
    std::snprintf(text, sizeof(text), "%s is FAILED", expression);
    Print(kError, raw, function, file, line, "%s", text);
}

void Logger::SetLevel(int level)
{
    const StaticLockHold hold(sLock);
    mLevel.store(level, std::memory_order_relaxed);
}

void Logger::Lock()
{
    sLock.Lock();
}

void Logger::Unlock()
{
    sLock.Unlock();
}

void* Logger::ThreadKmsg(void*)
{
    const ScopedDescriptor kernel(OpenDescriptor("/proc/kmsg", O_RDONLY));
    if (!kernel.IsOpen()) {
        return nullptr;
    }
    constexpr std::size_t kTag = 5;
    char text[1024] = "KMSG:";
    for (;;) {
        if (sLogConfig.kmsg == 0) {
            USleep(1000000);
            continue;
        }
        pollfd entry = {kernel.Get(), POLLPRI, 0};
        static_cast<void>(poll(&entry, 1, 500));
        ssize_t got = 0;
        while ((got = read(kernel.Get(), text + kTag, sizeof(text) - kTag)) > 0) {
            const StaticLockHold hold(sLock);
            if (sLogConfig.fd > 0) {
                WriteOut(sLogConfig.fd, text, kTag + static_cast<std::size_t>(got));
            }
        }
    }
}

extern "C" void Logger_Print(int index, int level, int raw, const char* function, const char* file,
                             int line, const char* format, ...)
{
    Logger* const logger = Logger::GetLogger(index);
    if (logger == nullptr || logger->GetLevel() > level) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    logger->VPrint(level, raw, function, file, line, format, arguments);
    va_end(arguments);
}
