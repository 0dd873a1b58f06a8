// The limit: the same bytes, written and read by blocking calls with room for all of them. Two more
// cases show what is fixed on top of it: reads of at most 1,024 bytes, and the lines of the log.
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/plain_sockets.h"

namespace {
// The frames of "play" with an empty record, of a block under a name of four letters, and of the
// answer with an empty record.
constexpr int kCommandFrame = 24;
constexpr int kBlockFrame = 4 + 4 + 8 + 4 + 4 + 8 + 4 + kBlockSize;
constexpr int kAnswerFrame = 12;

// What a pair does beyond the limit.
struct Extra
{
    std::size_t readSize;
    int callerLines;
    int serverLines;
};

constexpr Extra kNothing = {kBlockFrame, 0, 0};
constexpr Extra kShortReads = {1024, 0, 0};
constexpr Extra kLogLines = {kBlockFrame, 1, 4};

void WriteLines(int count)
{
    static const char line[] =
        "[00001234.567890][LOG]: length = 20 length2 = 20 -> HandleRequest in (/Channel.cpp 100)\n";
    for (int index = 0; index < count; ++index) {
        bench::Require(write(STDERR_FILENO, line, sizeof(line) - 1) > 0, "a line of log");
    }
}

bool WriteAll(int socket, const unsigned char* bytes, int length)
{
    return write(socket, bytes, static_cast<std::size_t>(length)) == length;
}

bool ReadAll(int socket, std::vector<unsigned char>& room, int length)
{
    int count = 0;
    while (count < length) {
        const ssize_t got = read(socket, room.data(), room.size());
        if (got <= 0) {
            return false;
        }
        count += static_cast<int>(got);
    }
    return true;
}

// The first byte of a request tells its length.
void Answer(int socket, const Extra& extra)
{
    std::vector<unsigned char> room(extra.readSize);
    const unsigned char answer[kAnswerFrame] = {};
    for (;;) {
        const ssize_t got = read(socket, room.data(), room.size());
        if (got <= 0) {
            return;
        }
        WriteLines(extra.serverLines);
        const int left = (room[0] != 0 ? kBlockFrame : kCommandFrame) - static_cast<int>(got);
        if (!ReadAll(socket, room, left) || !WriteAll(socket, answer, kAnswerFrame)) {
            return;
        }
    }
}

class LimitCaller : public Caller
{
public:
    LimitCaller(const Endpoint& endpoint, const Extra& extra)
        : Caller([&] { Answer(AcceptFrom(ListenAt(endpoint)), extra); }),
          mSocket(ConnectTo(endpoint)),
          mLines(extra.callerLines),
          mBytes(kBlockFrame),
          mRoom(1024)
    {}

    ~LimitCaller() override { close(mSocket); }

    bool Command() override { return Call(kCommandFrame); }
    bool Block() override { return Call(kBlockFrame); }

private:
    bool Call(int length)
    {
        WriteLines(mLines);
        mBytes[0] = length == kBlockFrame;
        return WriteAll(mSocket, mBytes.data(), length) && ReadAll(mSocket, mRoom, kAnswerFrame);
    }

    const int mSocket;
    const int mLines;
    std::vector<unsigned char> mBytes;
    std::vector<unsigned char> mRoom;
};

MakeCaller MakerWith(const Extra& extra)
{
    return [extra](const Endpoint& endpoint) {
        return std::make_unique<LimitCaller>(endpoint, extra);
    };
}

const RegisteredCaller sLimit(0, "limit", MakerWith(kNothing));
const RegisteredCaller sShortReads(1, "limit/short-reads", MakerWith(kShortReads));
const RegisteredCaller sLogLines(1, "limit/log-lines", MakerWith(kLogLines));
}  // namespace
