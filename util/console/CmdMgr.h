// Public. The debugging console: a server for one client at a time, and the interpreter of its
// script language. docs/console.md describes protocol and language.
//
// The host makes the instance and starts it; nothing in the library does. The console's own thread,
// "Command line Tester thread", then waits for a client on a TCP port (or uses the standard
// streams), sends the prompt "\nCMD>", reads a line, runs it, and so on. What statements print goes
// to this process's standard output; the client receives prompts only. Whoever reaches the port
// may run every registered command, so bind it to one address unless the network is trusted.
//
// Threads: GetInstance, Start, Stop and the setters may be called from any thread. Everything else
// belongs to the console's thread while it runs (a command handler may call it), and to any one
// thread while it does not.
//
// Buffers: a line is read into kLineSize bytes, a result text is written into kResultSize bytes;
// both are the caller's. Statements return one of Code.
#ifndef UTIL_CONSOLE_CMDMGR_H
#define UTIL_CONSOLE_CMDMGR_H

#include <atomic>
#include <memory>

#include "util/Export.h"
#include "util/console/CmdLanguage.h"

class CmdParser;
class ConsoleServer;
struct CmdBlock;

class HTML5_VIDEO_API CmdMgr : public CmdLanguage
{
public:
    // The one instance, made with that port on the first call, which later calls ignore.
    static CmdMgr* GetInstance(int port);

    // A console that is not the one of GetInstance; nothing starts it. 0 or less means port 28282.
    explicit CmdMgr(int port);
    CmdMgr(const CmdMgr&) = delete;
    CmdMgr& operator=(const CmdMgr&) = delete;

    // Stops the console and waits up to two seconds for its thread to end.
    ~CmdMgr();

    // Registers the reserved symbols NTSC (0) and PAL (1). The constructor calls it.
    void Init();

    // Reads "./cmd.conf": lines "key=value", the key in any case at the very start, "#" begins a
    // comment. Without the file "Can not open config file" goes to standard output.
    //   mode=          1 TCP (the default), 0 standard input and output
    //   port=          TCP port; 0 or less means 28282
    //   address=       IPv4 address to listen on; without it every interface
    //   tolerant=      1: a failed handshake costs only that client; 0 (the default): it ends the
    //                  console
    //   starttimeout=  milliseconds a new client may stay silent before the next one is taken,
    //                  10000 without it
    //   linger=        seconds after which a statement whose client has left is stopped as Stop
    //                  stops it, and the next client is served; -1 never, 10 without it
    //   verbose=       1: each statement that failed or named nothing is told on standard output,
    //                  one line with its text, code and result text; 0 (the default): it is not
    void LoadConfig();

    // Applies one such line.
    void ParseConfig(const char* line);

    // The same settings by call; Start lets the file's keys override them. A null address means
    // every interface. All settings hold from the next opening on, which is that of the next
    // client: a client that is served stays, and keeps them, until it leaves.
    void SetAddress(const char* address);
    void SetTolerant(bool tolerant);
    void SetStartTimeout(int milliseconds);
    void SetLinger(int seconds);
    void SetVerbose(bool verbose);

    // Reads the configuration and starts the console's thread: the thread's start result, or -1
    // when it runs already. After Stop it waits up to two seconds for the former thread to end.
    int Start();

    // Tells the console's thread to end. It returns at once; a wait for a client or a line, a
    // SLEEP, a loop or a script ends within a second, a running command handler is waited for.
    void Stop();

    // Prepares the mode's line source, over TCP by listening and waiting for a client whose first
    // line begins with "START". A client of before is left; a socket that listens already at the
    // address and port wanted is kept. 0, or -1 with everything closed again.
    int Open();

    // Closes the client's and the listening socket; nothing for the standard streams. Called by a
    // handler, it makes the console open anew and take the next client after the statement.
    void Close();

    // Reads the next line, from the running script file if there is one, which needs no client: its
    // length, or -1 when it was dropped or none can come. Lines of files and standard input keep
    // their line end.
    int GetLine(char* line);

    // Sends a text to the client: its length, or -1.
    int SetLine(const char* text);

    // The body of the console's thread, with the manager as its argument; always null.
    static void* ThreadLoop(void* manager);

    // Results are not sent: always 0.
    int SendResult(const char* text);

    // For clients: the text advanced by the prompt's five characters when it contains the prompt
    // anywhere, else unchanged. The place returned may be written when the text may.
    static const char* RemovePrompt(const char* text);
    static char* RemovePrompt(char* text)
    {
        return const_cast<char*>(RemovePrompt(static_cast<const char*>(text)));
    }

    // Runs one plain line. A return name, "name = ...", is assigned the result text, or the
    // command word when that is empty and the line has no arguments.
    int CmdExecute(CmdParser* line, char* result);

    // Reads the rest of the block that the line opens, runs it and releases it. A block whose
    // lines end before its END, or that is too long, is abandoned: -1 with the reason as the result
    // text, and nothing of it runs.
    int CmdBlockLoop(const char* firstLine, char* result);

    // What a line is by its first word: a comment, a word that opens a block, a built-in statement;
    // and whether a word is one of the operators.
    static bool IsComment(const char* line);
    static bool IsControlCmd(const CmdParser* line);
    static bool IsBasicFunc(const CmdParser* line);
    static bool IsSign(const char* word);

    // The built-in statements; -1 from DoBasicFunc for a line that is none.
    int DoBasicFunc(CmdParser* line, char* result);
    int NewINT(CmdParser* line, char* result);
    int NewSTRING(CmdParser* line, char* result);
    int NewFLOAT(CmdParser* line, char* result);
    int NewPOINTER(CmdParser* line, char* result);
    int FREE(CmdParser* line, char* result);
    int SET(CmdParser* line, char* result);
    int DoADD(CmdParser* line, char* result);
    int DoSUB(CmdParser* line, char* result);
    int DoMUL(CmdParser* line, char* result);
    int DoDIV(CmdParser* line, char* result);
    int DoPRINT(CmdParser* line, char* result);
    int DoFILE(CmdParser* line, char* result);
    int DoSLEEP(CmdParser* line, char* result);

    // Blocks. ParseCmdBlock takes the line over and reads the body up to END with GetLine: 0, or
    // -1 with a line on standard output when the lines end before or the block is too long; the
    // block holds what was read then, for FreeCmdBlock. DoCmdBlock and the words run a block and
    // leave it unchanged. FreeCmdBlock releases the whole tree; PrintCmdBlock writes it to standard
    // output.
    CmdBlock* NewCmdBlock();
    int ParseCmdBlock(CmdBlock* block, CmdParser* line, CmdBlock* parent);
    int DoCmdBlock(CmdBlock* block, char* result);
    void FreeCmdBlock(CmdBlock* block);
    void PrintCmdBlock(const CmdBlock* block);
    int DoFOR(CmdBlock* block, char* result);
    int DoDO(CmdBlock* block, char* result);
    int DoWHILE(CmdBlock* block, char* result);
    int DoIF(CmdBlock* block, char* result);
    int DoMACRO(CmdBlock* block, char* result);

private:
    HTML5_VIDEO_LOCAL static std::atomic<CmdMgr*> sCmdMgr;

    const std::unique_ptr<ConsoleServer> mServer;
};

#endif  // UTIL_CONSOLE_CMDMGR_H
