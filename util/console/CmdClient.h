// Public. Lets an object of class T offer console commands: derive from CmdClient<T>, override
// CmdHandler, and register each command once.
//
//     class VolumeClient final : public CmdClient<Volume>
//     {
//     public:
//         using CmdClient<Volume>::CmdClient;
//         int CmdHandler(CmdParser* line, CmdInfo* info, char* result) override;
//     };
//     volumeClient.Register("volume int", "volume N : set the volume to N");
//
// A CmdClient<T> as it is registers commands that do nothing.
//
// Neither the client nor its owner is owned by the registry. Both must outlive the registration: a
// client that goes earlier first calls CmdListMgr's UnregisterCommand(name, this) for each command
// and then WaitForHandlers().
//
// The destructor is not virtual, since the table of virtual functions has one slot by contract: a
// client is deleted as what it is, never through this class. Mark derived classes final. (GCC's
// -Wnon-virtual-dtor names every class derived from this one; -Wdelete-non-virtual-dtor, which is
// in -Wall, names the deletes that are wrong.)
#ifndef UTIL_CONSOLE_CMDCLIENT_H
#define UTIL_CONSOLE_CMDCLIENT_H

#include "util/console/CmdInfo.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdParser.h"

template <typename T>
class CmdClient
{
public:
    explicit CmdClient(T* owner) : mOwner(owner) {}

    // Runs a command on the console's thread; CmdHandlerFunction tells what is given. One client
    // may register several commands and tells them apart with line->CompareCommand(name).
    virtual int CmdHandler(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/) { return 0; }

    // Registers a command by its template, the command word and a type word for each argument:
    // 0, or -1 when the template has no command word.
    int Register(const char* templateLine, const char* help)
    {
        const CmdParser parser(templateLine);
        return CmdListMgr::GetInstance()->RegisterCommand(_CmdHandler, &parser, help, this);
    }

    // The registered handler of every client's commands; always 0.
    static int _CmdHandler(CmdParser* line, CmdInfo* info, char* result)
    {
        static_cast<CmdClient<T>*>(info->mOwner)->CmdHandler(line, info, result);
        return 0;
    }

protected:
    T* mOwner;  // as given to the constructor, not owned
};

#endif  // UTIL_CONSOLE_CMDCLIENT_H
