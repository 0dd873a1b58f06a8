// The limit: the same bytes, written and read by blocking calls with room for all of them. One more
// case shows what is fixed on top of it: the lines of the log.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/plain_sockets.h"

namespace {
// The frames of "play" with an empty record, of a block under a name of four letters without its
// bytes, and of the answer with an empty record. The first bytes of a request tell its length.
using Length = std::uint32_t;
constexpr std::size_t kCommandFrame = 24;
constexpr std::size_t kBlockFrame = 4 + 4 + 8 + 4 + 4 + 8 + 4;
constexpr std::size_t kAnswerFrame = 12;
constexpr std::size_t kRoom = 4194304;

// What a pair writes beyond the limit.
struct Lines
{
    int caller;
    int server;
};

void WriteLines(int count)
{
    static const char line[] =
        "[00001234.567890][LOG]: length = 20 length2 = 20 -> HandleRequest in (/Channel.cpp 100)\n";
    for (int index = 0; index < count; ++index) {
        bench::Require(write(STDERR_FILENO, line, sizeof(line) - 1) > 0, "a line of log");
    }
}

bool WriteAll(int socket, const unsigned char* bytes, std::size_t length)
{
    return write(socket, bytes, length) == static_cast<ssize_t>(length);
}

// From count up to the length.
bool ReadAll(int socket, std::vector<unsigned char>& room, std::size_t count, std::size_t length)
{
    while (count < length) {
        const ssize_t got = read(socket, room.data() + count, room.size() - count);
        if (got <= 0) {
            return false;
        }
        count += static_cast<std::size_t>(got);
    }
    return true;
}

void Answer(int socket, int lines)
{
    std::vector<unsigned char> room(kRoom);
    const unsigned char answer[kAnswerFrame] = {};
    for (;;) {
        const ssize_t got = read(socket, room.data(), room.size());
        if (got < static_cast<ssize_t>(sizeof(Length))) {
            return;
        }
        WriteLines(lines);
        Length length = 0;
        std::memcpy(&length, room.data(), sizeof(length));
        if (!ReadAll(socket, room, static_cast<std::size_t>(got), length) ||
            !WriteAll(socket, answer, kAnswerFrame)) {
            return;
        }
    }
}

class LimitCaller : public Caller
{
public:
    LimitCaller(const Endpoint& endpoint, const Lines& lines)
        : Caller([&] { Answer(AcceptFrom(ListenAt(endpoint)), lines.server); }),
          mSocket(ConnectTo(endpoint)),
          mLines(lines.caller),
          mBytes(kRoom),
          mRoom(1024)
    {}

    ~LimitCaller() override { close(mSocket); }

    bool Command() override { return Call(kCommandFrame); }
    bool Block(const std::string& block) override { return Call(kBlockFrame + block.size()); }

private:
    bool Call(std::size_t size)
    {
        WriteLines(mLines);
        const auto length = static_cast<Length>(size);
        std::memcpy(mBytes.data(), &length, sizeof(length));
        return WriteAll(mSocket, mBytes.data(), size) && ReadAll(mSocket, mRoom, 0, kAnswerFrame);
    }

    const int mSocket;
    const int mLines;
    std::vector<unsigned char> mBytes;
    std::vector<unsigned char> mRoom;
};

MakeCaller MakerWith(const Lines& lines)
{
    return [lines](const Endpoint& endpoint) {
        return std::make_unique<LimitCaller>(endpoint, lines);
    };
}

const RegisteredCaller sLimit(0, "limit", MakerWith({0, 0}));
const RegisteredCaller sLogLines(1, "limit/log-lines", MakerWith({1, 4}));
}  // namespace
