#include "util/os_linux/ExecShell.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/ShellEnvironment.h"

static Logger* const _logger = Logger::GetLogger(1);

namespace {
constexpr char kLauncherPath[] = "/mtmp/app_launcher";
constexpr char kBlockingWord[] = "EXECBLOCK";
constexpr char kNoWord[] = "";

// A command line in a buffer of its own, after the word that the launcher knows it by.
template <std::size_t N>
class CommandText
{
public:
    // False, with an error line, when there is no command or it does not fit whole. An empty
    // command leaves the text empty, without the word.
    bool Set(const char* word, const char* command)
    {
        if (command == nullptr) {
            TAVI_ERROR("Command refused: there is none");
            return false;
        }
        const std::size_t wordLength = std::strlen(word);
        const std::size_t length = std::strlen(command);
        if (length > N - 1 - wordLength) {
            TAVI_ERROR("Command refused: %zu characters, at most %zu fit", length,
                       N - 1 - wordLength);
            return false;
        }
        if (length != 0) {
            std::memcpy(mText, word, wordLength);
            std::memcpy(mText + wordLength, command, length);
            mLength = wordLength + length;
        }
        return true;
    }

    const char* Get() const { return mText; }
    std::size_t Length() const { return mLength; }

private:
    char mText[N] = {};
    std::size_t mLength = 0;
};

using LocalCommand = CommandText<256>;
using Request = CommandText<512>;

// The child's side: async-signal-safe calls only, but for the log line. The log is not locked over
// the fork, where handlers of the host may log: the logger frees its lock in every child.
[[noreturn]] void BecomeShell(const char* command, const char* const* environment)
{
    const char* const arguments[] = {"sh", "-c", command, nullptr};
    TAVI_INFO("Child PID...");
    execve("/bin/sh", const_cast<char* const*>(arguments), const_cast<char* const*>(environment));
    _exit(127);
}

// Starts the shell; the child's id, or -1 after an error line.
pid_t StartShell(const LocalCommand& command, const char* libraryPath)
{
    const char* environment[kShellEntries + 1];
    const char* entry = kShellEnvironment;
    for (std::size_t index = 0; index < kShellEntries; ++index) {
        environment[index] = entry;
        entry += std::strlen(entry) + 1;
    }
    environment[kShellEntries] = nullptr;
    environment[kLibraryPathEntry] = libraryPath;
    const pid_t child = fork();
    if (child == 0) {
        BecomeShell(command.Get(), environment);
    }
    if (child < 0) {
        TAVI_ERROR("Fork failed with %d for %s", errno, command.Get());
    }
    return child;
}

// Connects to the launcher and sends the request in one write; false after a warning line.
bool SendRequest(int socket, const Request& request)
{
    sockaddr_un peer = {};
    peer.sun_family = AF_UNIX;
    std::memcpy(peer.sun_path, kLauncherPath, sizeof(kLauncherPath));
    constexpr socklen_t kLength = sizeof(kLauncherPath) - 1 + 2;  // the family, and no NUL
    // Interrupted while the launcher's queue was full, a local connect has not begun.
    const int result = RestartInterrupted(
        [&] { return connect(socket, reinterpret_cast<const sockaddr*>(&peer), kLength); });
    if (result != 0) {
        TAVI_WARNING("Socket Connect Error To: %s, %d", kLauncherPath, result);
        return false;
    }
    const ssize_t sent = SendBytes(socket, request.Get(), request.Length());
    if (sent < static_cast<ssize_t>(request.Length())) {
        TAVI_WARNING("Socket Write Failed To : %s", kLauncherPath);
        return false;
    }
    return true;
}
}  // namespace

void ExecShell::Exec(const char* command) const
{
    LocalCommand text;
    if (text.Set(kNoWord, command)) {
        StartShell(text, kLibraryPath);
    }
}

void ExecShell::ExecWait(const char* command) const
{
    const pid_t caller = getpid();
    LocalCommand text;
    if (!text.Set(kNoWord, command)) {
        return;
    }
    const pid_t child = StartShell(text, kWaitedLibraryPath);
    if (child > 0) {
        TAVI_INFO("Invoke %s : PID Parent= %d, Child = %d", text.Get(), caller, child);
        Wait(child);
    }
}

void ExecShell::Wait(int pid) const
{
    const pid_t ended = RestartInterrupted([=] { return waitpid(pid, nullptr, 0); });
    if (ended > 0) {
        TAVI_INFO("Exit PID: %d, Child PID : %d\n", ended, pid);
    }
}

void ExecShell::System(const char* command) const
{
    if (command == nullptr) {
        TAVI_ERROR("Command refused: there is none");
        return;
    }
    // The host's own command, run as the host asks: NOLINTNEXTLINE(cert-env33-c)
    if (std::system(command) == -1) {
        TAVI_ERROR("system failed with %d for %s", errno, command);
    }
}

void ExecShell::ExternalExec(const char* command) const
{
    Request request;
    if (!request.Set(kNoWord, command)) {
        return;
    }
    const ScopedDescriptor socket(OpenSocket(AF_UNIX, SOCK_STREAM, 0));
    if (request.Length() != 0) {
        SendRequest(socket.Get(), request);
    }
}

void ExecShell::ExternalExecWait(const char* command) const
{
    Request request;
    if (!request.Set(kBlockingWord, command)) {
        return;
    }
    const ScopedDescriptor socket(OpenSocket(AF_UNIX, SOCK_STREAM, 0));
    TAVI_INFO("cmdbuffer = %s", request.Get());
    if (request.Length() == 0 || !SendRequest(socket.Get(), request)) {
        return;
    }
    char answer[512];
    const ssize_t got =
        RestartInterrupted([&] { return recv(socket.Get(), answer, sizeof(answer), 0); });
    if (got > 0) {
        TAVI_WARNING(" retSize = %d ", static_cast<int>(got));
    }
}

void ExecShell::WaitExternalExec() const
{
    ExternalExec("echo");
}
