// Internal. The command registry's records, for the library's own readers.
#ifndef UTIL_CONSOLE_COMMANDRECORDS_H
#define UTIL_CONSOLE_COMMANDRECORDS_H

#include <vector>

#include "util/console/CmdInfo.h"
#include "util/console/RecordList.h"

class CommandRecords final : public Registry<CmdInfo>
{
public:
    // Those of the process's registry.
    static CommandRecords& Get();

    // Those CmdInfo of the name, in any case, in the order of registration; none for null.
    std::vector<void*> FindAll(const char* name);

    // Whether there is one of the name, in any case.
    bool IsKnown(const char* name);

    bool IsRegistered(const CmdInfo* record);
};

#endif  // UTIL_CONSOLE_COMMANDRECORDS_H
