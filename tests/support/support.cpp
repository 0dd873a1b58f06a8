#include "tests/support/support.h"

#include <fcntl.h>
#include <malloc.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

namespace test {
namespace {
int CountEntries(const char* path)
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator(path), {}));
}
}  // namespace

bool WaitUntil(const std::function<bool()>& condition, int milliseconds)
{
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string OutputOf(const std::string& command, int* status)
{
    FILE* const pipe = popen(command.c_str(), "re");
    std::string text;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
        text += static_cast<char>(byte);
    }
    const int result = pclose(pipe);
    if (status != nullptr) {
        *status = result;
    }
    return text;
}

int FreePort()
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    const bool bound = bind(descriptor, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(descriptor);
    return bound ? ntohs(address.sin_port) : -1;
}

long long Milliseconds(const std::function<void()>& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1);
}

bool UsePrivateNetwork()
{
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        return false;
    }
    SetLoopback(true);
    return true;
}

void SetLoopback(bool up)
{
    ifreq request = {};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = static_cast<short>(up ? IFF_UP | IFF_RUNNING : 0);
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (ioctl(descriptor, SIOCSIFFLAGS, &request) != 0) {
        std::perror("loopback");
    }
    close(descriptor);
}

int CountDescriptors()
{
    return CountEntries("/proc/self/fd");
}

int CountThreads()
{
    return CountEntries("/proc/self/task");
}

std::size_t AllocatedBytes()
{
    const struct mallinfo2 figures = mallinfo2();
    return figures.uordblks + figures.hblkhd;
}

bool IsAsleep(int tid)
{
    return Count(ReadFile("/proc/self/task/" + std::to_string(tid) + "/stat"), ") S ") > 0;
}

void InThreads(int count, const std::function<void(int)>& action)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back(action, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void HandleSignal(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(number, &action, nullptr);
}

Interruptions::Interruptions(int microseconds)
{
    HandleSignal(SIGALRM);
    const itimerval timer = {{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

Interruptions::~Interruptions()
{
    alarm(0);
}

int Count(const std::string& text, const std::string& word)
{
    int count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

CapturedStderr::CapturedStderr() : mOriginal(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10))
{
    char path[] = "./stderr.XXXXXX";
    const int file = mkostemp(path, O_APPEND | O_CLOEXEC);
    mPath = path;
    std::fflush(stderr);
    dup2(file, STDERR_FILENO);
    close(file);
}

CapturedStderr::~CapturedStderr()
{
    std::fflush(stderr);
    dup2(mOriginal, STDERR_FILENO);
    close(mOriginal);
}

}  // namespace test
