// Public. The process-wide list of console commands. A console line runs every command of its
// name, in any case, in the order of registration; argument counts and types are kept for the
// command's owner and not compared.
//
// Threads: every operation may be called from any thread, from a running handler too; no lock is
// held while a handler runs. A record that is removed is not called again, and stays readable for
// the handlers that run at that moment. Pointers that an operation returns stay valid until the
// command is removed, under a RegistryHold<CmdListMgr> until that ends.
#ifndef UTIL_CONSOLE_CMDLISTMGR_H
#define UTIL_CONSOLE_CMDLISTMGR_H

#include <atomic>
#include <memory>

#include "util/Export.h"
#include "util/console/CmdInfo.h"

class CommandRecords;

class HTML5_VIDEO_API CmdListMgr
{
public:
    // The one instance, made on first use; it lives until the process ends.
    static CmdListMgr* GetInstance();

    CmdListMgr();
    CmdListMgr(const CmdListMgr&) = delete;
    CmdListMgr& operator=(const CmdListMgr&) = delete;
    ~CmdListMgr();

    // Adds a command described by a template line: the command word, then a word for the type of
    // each argument, "int", "char", "string" or "float". Returns 0, or -1 when the handler is null
    // or the template has no command word. Nothing of the parser or the help text (null: none) is
    // kept; the owner is stored as it is. A name that exists gets a second record.
    int RegisterCommand(CmdHandlerFunction handler, const CmdParser* parsedTemplate,
                        const char* help, void* owner);

    // Removes the first record of exactly that name and owner; always 0. Its handler may still be
    // running when this returns: see WaitForHandlers.
    int UnregisterCommand(const char* name, const void* owner);

    // Removes the record at the index; -1 when there is none, else 0.
    int UnregisterCommand(int index);

    // Waits until every handler that runs now has returned. An owner calls it between the removal
    // of its commands and its own end. REQUIRES: not called by a handler, nor under a hold.
    void WaitForHandlers();

    // An empty record of the caller's, and the release of a record's texts: -1 for null, else 0.
    CmdInfo* NewCmdInfo();
    int FreeCmdInfo(CmdInfo* info);

    // The type code of a template word, compared exactly: a SymInfo::Type, or 0.
    static int GetType(const char* word);

    // Records now.
    int GetCount();

    // The record at the index, or null.
    CmdInfo* GetInfo(int index);

    // The first record whose name equals the line's command word exactly and whose argument count
    // equals the line's, or null.
    CmdInfo* GetMatch(const CmdParser* line);

    // Runs the handlers of the line's command, those registered before the call and not removed
    // meanwhile.
    void Dispatch(CmdParser* line, char* result);

    // For RegistryHold.
    void Hold();
    void Release();

private:
    friend class CommandRecords;

    HTML5_VIDEO_LOCAL static std::atomic<CmdListMgr*> sCmdListMgr;

    const std::unique_ptr<CommandRecords> mRecords;
};

#endif  // UTIL_CONSOLE_CMDLISTMGR_H
