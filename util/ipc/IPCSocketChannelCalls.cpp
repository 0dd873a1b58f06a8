// The calling side of IPCSocketChannel: requests out, replies in, on the send connection.
#include <algorithm>
#include <cstring>

#include "util/ipc/GatherList.h"
#include "util/ipc/IPCLog.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/ReplyReader.h"
#include "util/ipc/StreamSocket.h"
#include "util/ipc/WireFormat.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/Sleep.h"

namespace {
constexpr int kPoll = 10;  // milliseconds
}

// One outgoing exchange: has the mutex while it lives, but lets a Reopen or Close go first. The
// deadline is for the whole of it, the wait for other calls included.
class TAVI_SCOPED_CAPABILITY IPCSocketChannel::Exchange
{
public:
    Exchange(IPCSocketChannel& channel, bool setOptions)
        TAVI_ACQUIRE(channel.mMutex) TAVI_NO_THREAD_SAFETY_ANALYSIS;
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange() TAVI_RELEASE();

    bool IsConnected() const { return mConnected; }
    long long Deadline() const { return mDeadline; }

private:
    const CancelGuard mGuard;
    const long long mDeadline;
    Mutex& mMutex;
    bool mConnected;
};

IPCSocketChannel::Exchange::Exchange(IPCSocketChannel& channel, bool setOptions)
    : mDeadline(StreamSocket::DeadlineAfter(channel.mReplyTimeout)), mMutex(*channel.mMutex)
{
    while (channel.mReopening > 0) {
        MSleep(kPoll);
    }
    mMutex.Lock();
    if (channel.mSendSocket->mStream->TakeInterrupt()) {
        channel.RenewBroken();
    }
    mConnected = channel.EnsureConnected(setOptions, mDeadline);
}

IPCSocketChannel::Exchange::~Exchange()
{
    mMutex.Unlock();
}

// Under mMutex. After a Recover: a connection that is no more makes room for a new one.
[[gnu::cold]] void IPCSocketChannel::RenewBroken()
{
    if (mSendSocket->mStatus == IPCSocket::kConnected && !mSendSocket->mStream->IsAlive()) {
        mSendSocket->Close();
        mSendSocket->Open();
    }
}

// Under mMutex. False, with the reason logged, when the peer cannot be reached.
bool IPCSocketChannel::EnsureConnected(bool setOptions, long long deadline)
{
    if (mSendSocket->mStatus == IPCSocket::kConnected) {
        return true;
    }
    if (setOptions) {
        mSendSocket->SetServerOption();
    }
    StreamSocket& stream = *mSendSocket->mStream;
    stream.SetReceiveTimeout(std::min(mReplyTimeout.load(), StreamSocket::kInterruptSlice));
    stream.SetConnectDeadline(deadline);
    if (mSendSocket->Connect() < 0) {
        TAVI_ERROR("Call Failure, IPCChannel is not activated %s", mName);
        return false;
    }
    mReplies->Reset();
    return true;
}

// Under mMutex. Calls fail from here on until the connection is another one.
[[gnu::cold]] void IPCSocketChannel::ShutDown()
{
    mSendSocket->Shutdown();
    mSendSocket->mStream->Frame().Release();
}

// Under mMutex. A frame that went out in part leaves the peer waiting for the rest: nothing sent
// behind it would be understood.
bool IPCSocketChannel::SendOrShutDown(GatherList& list, long long deadline)
{
    if (mReplies->Send(*mSendSocket->mStream, list, deadline) == Outcome::kDone) {
        return true;
    }
    TAVI_ERROR("Write Failed");
    ShutDown();
    return false;
}

// Under mMutex. Builds the frame, but for the large blocks, and sends it with one system call.
bool IPCSocketChannel::SendRequest(const char* method, IPCParam* request, long long deadline)
{
    const std::size_t nameLength = strnlen(method, sizeof(IPCMethod::mName) - 1);
    const int recordLength = request->GetSeiralizedLength();
    const std::size_t length =
        wire::kCodeSize + wire::Pad4(nameLength) + static_cast<std::size_t>(recordLength);
    if (recordLength < 0 || length > static_cast<std::size_t>(wire::kMaxLength)) {
        TAVI_ERROR("Too big length ( > 2 MB ): %zu", length);
        return false;
    }
    StreamSocket& stream = *mSendSocket->mStream;
    if (!stream.Frame().Reserve(wire::kLengthSize + length)) {
        TAVI_ERROR("No Memory for a request of %zu", length);
        return false;
    }
    unsigned char* const frame = stream.Frame().Data();
    GatherList list(frame);
    unsigned char* at = wire::Store32(frame, static_cast<std::int32_t>(length));
    at = wire::StoreCode(at, wire::kMethodCode);
    at = wire::StoreText(at, method, nameLength);
    if (request->Serialize(at, &list) != recordLength) {
        TAVI_ERROR("Serialization Failure");
        SendBytes(stream.Descriptor(), frame, wire::kLengthSize, MSG_DONTWAIT);
        ShutDown();  // the peer waits for a payload that does not come
        return false;
    }
    list.End(at + recordLength);
    if (!SendOrShutDown(list, deadline)) {
        return false;
    }
    mReplies->Expect();
    return true;
}

// Under mMutex.
int IPCSocketChannel::ReceiveReply(IPCParam* reply, long long deadline)
{
    StreamSocket& stream = *mSendSocket->mStream;
    int length = 0;
    const Outcome outcome = mReplies->ReadLast(stream, length, deadline);
    if (outcome != Outcome::kDone) {
        TAVI_ERROR("Read Failed");
        if (outcome != Outcome::kLate) {
            ShutDown();
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
    reply->DeSerialize(stream.Frame().Data(), length);
    return 0;
}

int IPCSocketChannel::Call(const char* method, IPCParam* request, IPCParam* reply)
{
    TAVI_INFO("Call - %s", method);
    const Exchange exchange(*this, true);
    return exchange.IsConnected() && SendRequest(method, request, exchange.Deadline())
               ? ReceiveReply(reply, exchange.Deadline())
               : -1;
}

int IPCSocketChannel::CallWithoutReturn(const char* method, IPCParam* request)
{
    const Exchange exchange(*this, true);
    return exchange.IsConnected() && SendRequest(method, request, exchange.Deadline()) ? 0 : -1;
}

[[gnu::cold]] int IPCSocketChannel::SendRaw(unsigned char* data, int length)
{
    GatherList list(data);
    list.End(data + std::max(length, 0));
    const Exchange exchange(*this, false);
    return exchange.IsConnected() && SendOrShutDown(list, exchange.Deadline()) ? 0 : -1;
}

[[gnu::cold]] int IPCSocketChannel::ReceiveRaw(unsigned char* buffer, int length)
{
    const Exchange exchange(*this, false);
    if (!exchange.IsConnected()) {
        return -1;
    }
    const int count = mSendSocket->mStream->Read(buffer, length, exchange.Deadline());
    mReplies->Take(buffer, count);
    return count;
}
