#include "util/ipc/IPCMethod.h"

#include "util/os_linux/FixedText.h"

IPCMethod::IPCMethod(const char* name, IPCHandler handler) : mName(), mHandler(handler)
{
    CopyText(mName, name);
}
