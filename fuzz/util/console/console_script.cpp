// Script files. Statements in a block take shortcuts that plain lines do not take: the same
// statements must leave the same symbols either way. The input is turned into lines by a small
// grammar, so that loops end and nothing sleeps.
#include <algorithm>
#include <array>
#include <string>

#include "fuzz/support/support.h"
#include "tests/support/support.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
constexpr int kStatements = 24;

// Symbols, literals and words that are neither.
std::string WordOf(std::uint8_t choice)
{
    constexpr std::array words = {"a",          "b",   "s",    "f",   "p",  "PAL",
                                  "none",       "0",   "1",    "7",   "-3", "-2147483648",
                                  "2147483647", "1.5", "0x10", "text"};
    return words[choice % words.size()];
}

std::string StatementOf(fuzz::Input& input)
{
    const std::uint8_t kind = input.TakeByte();
    const std::string first = WordOf(input.TakeByte());
    const std::string second = WordOf(input.TakeByte());
    const std::string third = WordOf(input.TakeByte());
    const std::string assign = first + " = ";
    const std::string statements[] = {
        "INT " + first + " " + second,
        "STRING " + first + " " + second,
        "FLOAT " + first + " " + second,
        "FREE " + first,
        assign + second,
        assign + "PRINT \"%d %s %f %x\" " + second + " " + third,
        assign + "PRINT " + second,
        assign + second + " " + "+-*/"[kind / 10 % 4] + " " + third,
    };
    return statements[std::min(kind % 10, 7)];
}

// The symbols as a handler sees them.
std::string Symbols()
{
    std::string text;
    SymListMgr* const symbols = SymListMgr::GetInstance();
    for (int index = 0; index < symbols->GetCount(); ++index) {
        const SymInfo* const symbol = symbols->GetInfo(index);
        text += std::string(symbol->mName) + "=" + std::to_string(symbol->mType) + ":" +
                std::to_string(symbol->mIntValue) + ":" + std::to_string(symbol->mFloatValue) +
                ":" + (symbol->mStringValue != nullptr ? symbol->mStringValue : "(null)") + "\n";
    }
    return text;
}

void ForgetSymbols()
{
    SymListMgr* const symbols = SymListMgr::GetInstance();
    for (int index = symbols->GetCount() - 1; index >= 0; --index) {
        if (symbols->GetInfo(index)->mReserved == 0) {
            symbols->UnregisterSymbol(index);
        }
    }
    symbols->RegisterSymbol("PAL", "1", 1, true);
}

std::string RunScript(const std::string& text)
{
    ForgetSymbols();
    test::WriteFile("./fuzz.script", text);
    CmdParser line("FILE ./fuzz.script");
    static char result[CmdMgr::kResultSize];
    CmdMgr::GetInstance(0)->CmdExecute(&line, result);
    return Symbols();
}

void SameWithAndWithoutABlock(fuzz::Input& input)
{
    std::string plain = "INT a 1\nINT b 2\nSTRING s text\nFLOAT f 2.5\nPOINTER p\n";
    std::string body;
    for (int count = 0; count < kStatements && !input.IsEmpty(); ++count) {
        body += StatementOf(input) + "\n";
    }
    const std::string expected = RunScript(plain + body + body);
    fuzz::Require(RunScript(plain + "FOR 1 2 1\n" + body + "END\n") == expected,
                  "a block leaves other symbols than its lines");
    fuzz::Require(
        RunScript(plain + "IF 1 == 1\n" + body + body + "ELSE\nFREE a\nEND\n") == expected,
        "a condition leaves other symbols than its lines");
}

// Any text as a script, but for the words that would loop, sleep or read itself again.
void AnyText(std::string text)
{
    for (const char* word : {"FOR", "WHILE", "SLEEP", "FILE"}) {
        for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word)) {
            text[at] = at % 2 == 0 ? 'I' : '#';
        }
    }
    RunScript(text);
    fuzz::Require(
        RunScript("INT after 5\nafter = after + 1\n").find("after=1:6:") != std::string::npos,
        "the next script does not run");
}
}  // namespace

void fuzz::Run(const std::string& bytes)
{
    Input input(bytes);
    if (input.TakeByte() % 2 == 0) {
        SameWithAndWithoutABlock(input);
    } else {
        AnyText(input.TakeRest());
    }
}
