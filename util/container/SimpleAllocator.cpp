#include "util/container/SimpleAllocator.h"

#include <cstdlib>

#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(1);

SimpleAllocator::SimpleAllocator(int size)
    : mPool(static_cast<char*>(std::malloc(size > 0 ? static_cast<std::size_t>(size) : 1))),
      mUsed(0),
      mSize(size > 0 ? size : 0)
{}

SimpleAllocator::~SimpleAllocator()
{
    std::free(mPool);
}

void* SimpleAllocator::GetMemory(int size)
{
    const long long raised = (static_cast<long long>(size) + 3) / 4 * 4;
    if (size < 0 || mUsed + raised > mSize) {
        TAVI_ERROR("No Memory.. %d %d %d", mUsed, size < 0 ? size : static_cast<int>(raised),
                   mSize);
        return nullptr;
    }
    char* const block = mPool + mUsed;
    mUsed += static_cast<int>(raised);
    return block;
}

void SimpleAllocator::PutMemory(void*) {}

void SimpleAllocator::Flush()
{
    mUsed = 0;
}

void SimpleAllocator::Print()
{
    const int rest = mSize - mUsed;
    TAVI_INFO("Size = %d, %x ... Used = %d %x ... Free = %d %x", mSize,
              static_cast<unsigned>(mSize), mUsed, static_cast<unsigned>(mUsed), rest,
              static_cast<unsigned>(rest));
}
