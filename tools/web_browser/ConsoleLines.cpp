#include "tools/web_browser/ConsoleLines.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace {
constexpr std::size_t kMaxLine = 1 << 20;  // what is longer is passed on in pieces

struct Message
{
    bool isLog = false;
    std::string text;
};

void WriteAll(int descriptor, const std::string& text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) {
            return;  // nobody reads it
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

bool TakeWord(std::string& text, const char* word)
{
    const std::string start = std::string(word) + ' ';
    if (text.rfind(start, 0) != 0) {
        return false;
    }
    text.erase(0, start.size());
    return true;
}

// "ADDRESS:LINE:COLUMN: CONSOLE SOURCE LEVEL text"; the address and the source may be absent.
bool Parse(const std::string& line, Message& message)
{
    static const std::string kMark = "CONSOLE ";
    const std::size_t mark = line.find(kMark);
    if (mark == std::string::npos || (mark > 0 && line.compare(mark - 1, 1, " ") != 0) ||
        (mark > 0 && line.find(": ") != mark - 2)) {
        return false;
    }
    std::string rest = line.substr(mark + kMark.size());
    const std::string address = mark > 2 ? "  (" + line.substr(0, mark - 2) + ")" : "";
    if (TakeWord(rest, "LOG")) {
        message = {true, rest};
        return true;
    }
    // That the engine's own playback is blocked is no message of the page.
    message = {false, rest + address};
    return rest.rfind("CONTENTBLOCKER ", 0) != 0;
}
}  // namespace

ConsoleLines::ConsoleLines(std::function<void(bool passed)> onResult)
    : mOnResult(std::move(onResult)),
      mTrueError(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)),
      mPipe(-1),
      mStop(eventfd(0, EFD_CLOEXEC))
{
    std::array<int, 2> ends{};
    if (mTrueError < 0 || mStop < 0 || pipe2(ends.data(), O_CLOEXEC) != 0 ||
        dup2(ends[1], STDERR_FILENO) < 0) {
        throw std::system_error(errno, std::generic_category(), "the page's console");
    }
    close(ends[1]);
    mPipe = ends[0];
    mThread = std::thread([this] { Run(); });
}

ConsoleLines::~ConsoleLines()
{
    dup2(mTrueError, STDERR_FILENO);
    const std::uint64_t one = 1;
    if (write(mStop, &one, sizeof one) > 0) {
        mThread.join();
    }
    close(mPipe);
    close(mStop);
    close(mTrueError);
}

void ConsoleLines::Run()
{
    std::array<pollfd, 2> waits = {{{mPipe, POLLIN, 0}, {mStop, POLLIN, 0}}};
    while (poll(waits.data(), waits.size(), -1) >= 0 || errno == EINTR) {
        if ((waits[0].revents & POLLIN) != 0) {
            ReadSome();
        } else if (waits[1].revents != 0 || waits[0].revents != 0) {
            break;
        }
    }
    if (!mRest.empty()) {
        Pass(std::exchange(mRest, {}));
    }
}

bool ConsoleLines::ReadSome()
{
    std::array<char, 4096> buffer{};
    const ssize_t count = read(mPipe, buffer.data(), buffer.size());
    if (count <= 0) {
        return false;
    }
    mRest.append(buffer.data(), static_cast<std::size_t>(count));
    std::size_t start = 0;
    for (std::size_t end = mRest.find('\n'); end != std::string::npos;
         end = mRest.find('\n', start)) {
        Pass(mRest.substr(start, end - start));
        start = end + 1;
    }
    mRest.erase(0, start);
    if (mRest.size() > kMaxLine) {
        Pass(std::exchange(mRest, {}));
    }
    return true;
}

void ConsoleLines::Pass(const std::string& line)
{
    Message message;
    if (!Parse(line, message)) {
        WriteAll(mTrueError, line + '\n');
        return;
    }
    WriteAll(STDOUT_FILENO, message.text + '\n');
    if (message.isLog && message.text.rfind("RESULT PASS", 0) == 0) {
        mOnResult(true);
    } else if (message.isLog && message.text.rfind("RESULT FAIL", 0) == 0) {
        mOnResult(false);
    }
}
