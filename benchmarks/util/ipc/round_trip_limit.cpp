// The limit: the same bytes, written and read by blocking calls with room for all of them.
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
void Answer(int socket)
{
    std::vector<unsigned char> room(kBlockFrame);
    const unsigned char answer[kAnswerFrame] = {};
    for (;;) {
        const ssize_t got = read(socket, room.data(), room.size());
        if (got <= 0) {
            return;
        }
        const int left = (room[0] != 0 ? kBlockFrame : kCommandFrame) - static_cast<int>(got);
        if (!ReadAll(socket, room, left) || !WriteAll(socket, answer, kAnswerFrame)) {
            return;
        }
    }
}

class LimitCaller : public Caller
{
public:
    explicit LimitCaller(const Endpoint& endpoint)
        : Caller([&endpoint] { Answer(AcceptFrom(ListenAt(endpoint))); }),
          mSocket(ConnectTo(endpoint)),
          mBytes(kBlockFrame),
          mRoom(1024)
    {}

    ~LimitCaller() override { close(mSocket); }

    bool Command() override { return Call(kCommandFrame); }
    bool Block() override { return Call(kBlockFrame); }

private:
    bool Call(int length)
    {
        mBytes[0] = length == kBlockFrame;
        return WriteAll(mSocket, mBytes.data(), length) && ReadAll(mSocket, mRoom, kAnswerFrame);
    }

    const int mSocket;
    std::vector<unsigned char> mBytes;
    std::vector<unsigned char> mRoom;
};

const RegisteredCaller sRegistered(0, "limit", [](const Endpoint& endpoint) {
    return std::make_unique<LimitCaller>(endpoint);
});
}  // namespace
