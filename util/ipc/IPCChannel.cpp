#include "util/ipc/IPCChannel.h"

#include "util/os_linux/FixedText.h"

namespace {
constexpr int kBuckets = 250;
}

IPCChannel::IPCChannel(const char* name)
    : mName(), mRunning(false), mOpened(false), mBound(false), mMethods(kBuckets, &mHashFunction)
{
    CopyText(mName, name);
}

IPCChannel::~IPCChannel()
{
    mMethods.ForEach([](IPCMethod* method) { delete method; });
}

int IPCChannel::Reopen()
{
    return 0;
}

int IPCChannel::ReceiveRaw(unsigned char*, int)
{
    return 0;
}

void IPCChannel::Register(const char* method, IPCHandler handler)
{
    IPCMethod* const entry = new IPCMethod(method, handler);
    const char* key = entry->ToString();
    const StaticLockHold hold(mRegisterLock);
    mMethods.Add(entry, key);
    // The table holds the entry: without an allocator of its own it never refuses one.
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)
