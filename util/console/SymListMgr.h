// Public. The process-wide table of console variables, the symbols. Values come in as text and go
// out as text or plain numbers; the table converts.
//
// Names are unique and compared exactly. Symbols marked reserved belong to the console: SetValue
// refuses them and the four Get...Value readers report them as 0 or null, while command handlers
// are given their real values (CmdParser::GetCmdArgs).
//
// Threads: every operation may be called from any thread. Pointers that an operation returns stay
// valid until the symbol is removed, a text also only until the symbol is assigned; under a
// RegistryHold<SymListMgr> until that ends. A null name is no symbol.
#ifndef UTIL_CONSOLE_SYMLISTMGR_H
#define UTIL_CONSOLE_SYMLISTMGR_H

#include <atomic>
#include <memory>

#include "util/Export.h"
#include "util/console/SymInfo.h"

class SymbolRecords;

class HTML5_VIDEO_API SymListMgr
{
public:
    // The one instance, made on first use; it lives until the process ends.
    static SymListMgr* GetInstance();

    SymListMgr();
    SymListMgr(const SymListMgr&) = delete;
    SymListMgr& operator=(const SymListMgr&) = delete;
    ~SymListMgr();

    // Adds a symbol: 0, or -1 when the name is null or taken. The name is cut to 256 characters.
    // The value is read from the text by type: an integer (1, 2), a copied text (3), a float (4),
    // nothing for other types; a null text gives 0 or null.
    int RegisterSymbol(const char* name, const char* valueText, int type, bool reserved);

    // Assigns from text: 0, or -1 when there is no such symbol, it is reserved or the text is
    // null. A pointer symbol keeps its value (still 0); types outside the list take an integer.
    int SetValue(const char* name, const char* text);

    // The symbol's value of that kind, 0 or null when its type is another. For a word that is no
    // symbol: the number it begins with, the word itself, null.
    int GetIntValue(const char* name);
    const char* GetStringValue(const char* name);
    float GetFloatValue(const char* name);
    void* GetPointerValue(const char* name);

    // Removes and destroys a symbol, reserved ones included: 0, or -1 when there is none.
    int UnregisterSymbol(const char* name);
    int UnregisterSymbol(int index);

    // A symbol by its name or its place in the order of registration, or null.
    SymInfo* GetMatch(const char* name);
    SymInfo* GetInfo(int index);
    int GetCount();

    // An empty record of the caller's, and the release of a record's texts: -1 for null, else 0.
    SymInfo* NewSymInfo();
    int FreeSymInfo(SymInfo* info);

    // For RegistryHold.
    void Hold();
    void Release();

private:
    friend class SymbolRecords;

    HTML5_VIDEO_LOCAL static std::atomic<SymListMgr*> sSymListMgr;

    const std::unique_ptr<SymbolRecords> mRecords;
};

#endif  // UTIL_CONSOLE_SYMLISTMGR_H
