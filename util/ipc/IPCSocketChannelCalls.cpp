// The calling side of IPCSocketChannel: requests out, replies in, on the send connection.
#include <cerrno>
#include <cstring>

#include "util/ipc/FrameBuffer.h"
#include "util/ipc/FrameIO.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/WireFormat.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Mutex.h"

static Logger* const _logger = Logger::GetLogger(2);

// Under mMutex. False, with the reason logged, when the peer cannot be reached.
bool IPCSocketChannel::EnsureConnected(bool setOptions)
{
    if (mSendSocket->GetStatus() == IPCSocket::kConnected) {
        return true;
    }
    if (setOptions) {
        mSendSocket->SetServerOption();
    }
    mSendSocket->SetTimeouts(mReplyTimeout);
    if (mSendSocket->Connect() < 0) {
        TAVI_ERROR("Call Failure, IPCChannel is not activated %s", mName);
        return false;
    }
    mReplies.Reset();
    return true;
}

// Under mMutex. A frame that went out in part leaves the peer waiting for the rest: nothing sent
// behind it would be understood.
bool IPCSocketChannel::SendOrShutDown(const unsigned char* data, int length)
{
    if (SendAll(*mSendSocket, data, length, IPCSocket::DeadlineAfter(mReplyTimeout), &mReplies)) {
        return true;
    }
    TAVI_ERROR("Write Failed");
    mSendSocket->Shutdown();
    return false;
}

// Under mMutex. Builds the whole frame and sends it with one system call.
bool IPCSocketChannel::SendRequest(const char* method, IPCParam* request)
{
    const std::size_t nameLength = strnlen(method, sizeof(IPCMethod::mName) - 1);
    const int recordLength = request->GetSeiralizedLength();
    const std::size_t length =
        wire::kCodeSize + wire::Pad4(nameLength) + static_cast<std::size_t>(recordLength);
    if (recordLength < 0 || length > static_cast<std::size_t>(wire::kMaxLength)) {
        TAVI_ERROR("Too big length ( > 2 MB ): %zu", length);
        return false;
    }
    FrameBuffer frame;
    if (!frame.Reserve(wire::kLengthSize + length)) {
        TAVI_ERROR("No Memory for a request of %zu", length);
        return false;
    }
    unsigned char* at = wire::Store32(frame.Data(), static_cast<std::int32_t>(length));
    at = wire::StoreCode(at, wire::kMethodCode);
    at = wire::StoreText(at, method, nameLength);
    if (request->Serialize(at) != recordLength) {
        TAVI_ERROR("Serialization Failure");
        SendAll(*mSendSocket, frame.Data(), wire::kLengthSize, IPCSocket::kNoWait, nullptr);
        mSendSocket->Shutdown();  // the peer waits for a payload that does not come
        return false;
    }
    if (!SendOrShutDown(frame.Data(), static_cast<int>(wire::kLengthSize + length))) {
        return false;
    }
    mReplies.Expect();
    return true;
}

// Under mMutex.
int IPCSocketChannel::ReceiveReply(IPCParam* reply, long long deadline)
{
    FrameBuffer body;
    int length = 0;
    const ReplyReader::Result result = mReplies.ReadLast(*mSendSocket, body, length, deadline);
    if (result != ReplyReader::kDone) {
        TAVI_ERROR("Read Failed");
        if (result == ReplyReader::kBroken) {
            mSendSocket->Shutdown();
        }
        return -1;
    }
    if (length <= 0) {
        return 0;
    }
    if (reply == nullptr) {
        TAVI_ERROR("No Returned Param");
        return 0;
    }
    reply->DeSerialize(body.Data(), length);
    return 0;
}

int IPCSocketChannel::Call(const char* method, IPCParam* request, IPCParam* reply)
{
    TAVI_INFO("Call - %s", method);
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    if (!EnsureConnected(true)) {
        return -1;
    }
    const long long deadline = IPCSocket::DeadlineAfter(mReplyTimeout);
    return SendRequest(method, request) ? ReceiveReply(reply, deadline) : -1;
}

int IPCSocketChannel::CallWithoutReturn(const char* method, IPCParam* request)
{
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    return EnsureConnected(true) && SendRequest(method, request) ? 0 : -1;
}

int IPCSocketChannel::SendRaw(const unsigned char* data, int length)
{
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    return EnsureConnected(false) && SendOrShutDown(data, length) ? 0 : -1;
}

int IPCSocketChannel::ReceiveRaw(unsigned char* buffer, int length)
{
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    if (!EnsureConnected(false)) {
        return -1;
    }
    const long long deadline = IPCSocket::DeadlineAfter(mReplyTimeout);
    int count = 0;
    int received = 1;
    while (count < length && received > 0) {
        received = mSendSocket->Receive(buffer + count, length - count, deadline);
        count += received > 0 ? received : 0;
    }
    return count == 0 && received < 0 ? -1 : count;
}

int IPCSocketChannel::Reopen()
{
    const CancelGuard guard;
    mSendSocket->Shutdown();  // a call that waits for its reply holds the mutex
    const MutexHold hold(*mMutex);
    mSendSocket->Close();
    mSendSocket->Open();
    mReplies.Reset();
    return 0;
}
