// Public. The console command "thread_show", which writes the thread registry's listing to the log.
// ThreadList makes one for itself.
#ifndef UTIL_OS_LINUX_THREADLISTCMDCLIENT_H
#define UTIL_OS_LINUX_THREADLISTCMDCLIENT_H

#include "util/Export.h"
#include "util/console/CmdClient.h"

class ThreadList;

class HTML5_VIDEO_API ThreadListCmdClient final : public CmdClient<ThreadList>
{
public:
    explicit ThreadListCmdClient(ThreadList* owner) : CmdClient<ThreadList>(owner) {}

    // The result text stays empty; arguments are ignored. Always 0.
    int CmdHandler(CmdParser* line, CmdInfo* info, char* result) override;
};

#endif  // UTIL_OS_LINUX_THREADLISTCMDCLIENT_H
