// The serving side of IPCSocketChannel: one connection of the peer, its requests and their replies.
#include <cstring>
#include <memory>

#include "util/ipc/GatherList.h"
#include "util/ipc/IPCLog.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/ReplyReader.h"
#include "util/ipc/StreamSocket.h"
#include "util/ipc/WireFormat.h"
#include "util/os_linux/FixedText.h"

namespace {
constexpr int kSelectTimeout = 3000;  // milliseconds
constexpr int kMaxZeroLengths = 100;
}  // namespace

void IPCSocketChannel::ServeConnection()
{
    while (mRun) {
        const int ready = mConnSocket->mStream->Select(kSelectTimeout);
        if (ready < 0) {
            TAVI_ERROR("Select Error : ret = %d", ready);
            return;
        }
        if (ready > 0 && HandleRequest() < 0) {
            return;
        }
    }
}

int IPCSocketChannel::HandleRequest()
{
    unsigned char word[wire::kLengthSize] = {};
    StreamSocket& stream = *mConnSocket->mStream;
    const Outcome arrived = stream.Fetch(StreamSocket::kForever);
    if (arrived == Outcome::kDone) {
        stream.Peek(word, sizeof(word));
    }
    const int length2 = wire::Load32(word);
    TAVI_INFO("length2 = %d", length2);
    if (arrived == Outcome::kClosed) {
        return -1;
    }
    int received = 0;
    const bool whole =
        stream.ReceiveAll(word, sizeof(word), StreamSocket::kForever, received) == Outcome::kDone;
    const int length = whole ? wire::Load32(word) : 0;
    TAVI_INFO("length = %d length2 = %d", length, length2);
    return HandleLength(length);
}

int IPCSocketChannel::HandleLength(int length)
{
    if (length == 0) {
        TAVI_ERROR("Zero Length Method !!! %s %d", mName, mZeroCount.load());
        if (++mZeroCount > kMaxZeroLengths) {
            TAVI_ERROR("Trigger Force Quit %s", mName);
            mZeroCount = 0;
            return -1;
        }
        return 0;
    }
    mZeroCount = 0;
    if (length < 0) {
        TAVI_ERROR("Negative length : %d", length);
        return -1;
    }
    StreamSocket& stream = *mConnSocket->mStream;
    if (length > wire::kMaxLength) {
        TAVI_ERROR("Too big length ( > 2 MB ): %d", length);
        return stream.Drop(length, StreamSocket::kForever) == Outcome::kDone ? 0 : -1;
    }
    int received = 0;
    if (stream.ReceiveFrame(length, StreamSocket::kForever, received) != Outcome::kDone) {
        TAVI_ERROR("Payload Cut : %d of %d", received, length);
        return -1;
    }
    return HandlePayload(stream.Frame().Data(), length);
}

int IPCSocketChannel::HandlePayload(const unsigned char* payload, int length)
{
    unsigned char code[wire::kCodeSize] = {};
    const std::size_t size = static_cast<std::size_t>(length);
    std::memcpy(code, payload, size < sizeof(code) ? size : sizeof(code));
    if (size < sizeof(code) || std::memcmp(code, wire::kMethodCode, sizeof(code)) != 0) {
        TAVI_ERROR("Wrong Method Code : %02x %02x %02x %02x", code[0], code[1], code[2], code[3]);
        return 0;
    }
    const char* const name = reinterpret_cast<const char*>(payload + sizeof(code));
    const void* const end = std::memchr(name, '\0', size - sizeof(code));
    if (end == nullptr) {
        TAVI_ERROR("Method Name Without End in %d Bytes", length);
        return -1;
    }
    const std::size_t nameLength = static_cast<std::size_t>(static_cast<const char*>(end) - name);
    const std::size_t offset = sizeof(code) + wire::Pad4(nameLength);
    char method[sizeof(IPCMethod::mName)];
    CopyText(method, name);
    Dispatch(method, payload + (offset < size ? offset : size),
             offset < size ? static_cast<int>(size - offset) : 0);
    return 0;
}

void IPCSocketChannel::Dispatch(const char* method, const unsigned char* parameters, int length)
{
    IPCParam request;
    request.DeSerialize(parameters, length);
    const IPCMethod* const found = FindMethod(method);
    if (found == nullptr) {
        TAVI_ERROR("Method [%s] is Not Registered", method);
        Reply(nullptr);
        return;
    }
    const std::unique_ptr<IPCParam> result(found->mHandler(&request));
    Reply(result.get());
}

// Length word and record leave in one system call, through the frame, which the request has left. A
// record that the peer would not take is left out: it gets its answer, and the connection stays in
// step.
void IPCSocketChannel::Reply(IPCParam* result)
{
    int length = result != nullptr ? result->GetSeiralizedLength() : 0;
    if (length < 0 || length > wire::kMaxLength) {
        TAVI_ERROR("Too big reply ( > 2 MB ): %d", length);
        length = 0;
    }
    StreamSocket& stream = *mConnSocket->mStream;
    if (!stream.Frame().Reserve(wire::kLengthSize + static_cast<std::size_t>(length))) {
        TAVI_ERROR("No Memory for a reply of %d", length);
        mConnSocket->Shutdown();
        return;
    }
    unsigned char* const frame = stream.Frame().Data();
    GatherList list(frame);
    if (length > 0 && result->Serialize(frame + wire::kLengthSize, &list) != length) {
        TAVI_ERROR("Serialization Failure");
        list.Restart(frame);
        length = 0;
    }
    wire::Store32(frame, length);
    list.End(frame + wire::kLengthSize + length);
    ReplyReader none;  // this side calls nothing on the connection: no reply is owed
    none.Send(stream, list, StreamSocket::kForever);
}
