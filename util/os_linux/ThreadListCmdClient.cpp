#include "util/os_linux/ThreadListCmdClient.h"

#include "util/os_linux/ThreadList.h"

int ThreadListCmdClient::CmdHandler(CmdParser* line, CmdInfo* /*info*/, char* /*result*/)
{
    if (line->CompareCommand("thread_show")) {
        mOwner->ShowThread();
    }
    return 0;
}
