// The console's public operations as a host calls them that works with writable texts: every one
// compiles with char*, links against the library's file alone and gives what it should.
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/support/support.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdClient.h"
#include "util/console/CmdHistory.h"
#include "util/console/CmdMgr.h"
#include "util/console/SymListMgr.h"
#include "util/os_linux/ThreadList.h"
#include "util/os_linux/ThreadListCmdClient.h"

namespace {
// A text that may be written.
class Writable
{
public:
    explicit Writable(const char* text)
        : mText(text, text + std::char_traits<char>::length(text) + 1)
    {}
    operator char*() { return mText.data(); }

private:
    std::vector<char> mText;
};

TEST(Interfaces, OfValuesAndLinesTakeWritableTexts)
{
    Writable word("word");
    CmdValue number = 5;
    const CmdValue real = 2.5F;
    const CmdValue text = static_cast<char*>(word);
    number.SetType(0);
    EXPECT_EQ(number.GetInt(), 5);
    EXPECT_EQ(real.GetFloat(), 2.5F);
    EXPECT_STREQ(text.GetString(), number.SetString(word));
    number.SetPointer(&word);
    EXPECT_EQ(number.GetPointer(), &word);

    Writable line("x = command 1 2.5 word");
    char token[256];
    char* const rest = CmdParser::GetNextToken(static_cast<char*>(line), token);
    EXPECT_STREQ(rest, " = command 1 2.5 word");
    static_assert(std::is_same_v<decltype(CmdParser::GetNextToken("x", token)), const char*>);
    CmdParser parser(line);
    parser.SetString(line);
    parser.Parse();
    parser.Parse(line);
    CmdValue values[256];
    EXPECT_EQ(parser.GetCmdArgs(values, 256), 3);
    EXPECT_EQ(parser.Search(word), 2);
    EXPECT_TRUE(parser.CompareCommand(Writable("COMMAND")));
    EXPECT_FALSE(parser.IsSymbol(word) || parser.IsInteger(word) || parser.IsHex(word) ||
                 parser.IsFloat(word) || parser.IsChar(word) || !parser.IsString(word));
    CmdHistory history;
    EXPECT_EQ(history.AddHistory(word), 0);
}

int Handle(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/)
{
    return 0;
}

TEST(Interfaces, OfTheRegistriesTakeWritableTexts)
{
    CmdListMgr* const commands = CmdListMgr::GetInstance();
    Writable name("command");
    CmdParser parsed(name);
    int owner = 0;
    EXPECT_EQ(commands->RegisterCommand(Handle, &parsed, Writable("help"), &owner), 0);
    EXPECT_EQ(commands->GetMatch(&parsed)->mOwner, &owner);
    EXPECT_EQ(commands->UnregisterCommand(name, &owner), 0);
    EXPECT_EQ(commands->GetType(Writable("float")), 4);
    CmdInfo* const info = commands->NewCmdInfo();
    EXPECT_EQ(commands->FreeCmdInfo(info), 0);
    delete info;

    // A client that is nothing more than that.
    CmdClient<int> client(&owner);
    EXPECT_EQ(client.Register(name, Writable("help")), 0);
    CmdInfo* const registered = commands->GetMatch(&parsed);
    char result[CmdMgr::kResultSize] = "";
    EXPECT_EQ(CmdClient<int>::_CmdHandler(&parsed, registered, result), 0);
    client.CmdHandler(&parsed, registered, result);
    EXPECT_EQ(commands->UnregisterCommand(name, &client), 0);

    const test::CapturedLog log;
    ThreadListCmdClient threads(ThreadList::GetInstance());
    CmdParser show(Writable("THREAD_SHOW"));
    EXPECT_EQ(threads.CmdHandler(&show, nullptr, result), 0);
    EXPECT_NE(log.Text().find(" All Thread Count = "), std::string::npos);

    SymListMgr* const symbols = SymListMgr::GetInstance();
    EXPECT_EQ(symbols->RegisterSymbol(name, Writable("7"), 1, false), 0);
    EXPECT_EQ(symbols->SetValue(name, Writable("8")), 0);
    EXPECT_EQ(symbols->GetIntValue(name) + symbols->GetMatch(name)->mIntValue, 16);
    EXPECT_EQ(symbols->GetFloatValue(name), 0);
    EXPECT_EQ(symbols->GetStringValue(name), nullptr);
    EXPECT_EQ(symbols->GetPointerValue(name), nullptr);
    EXPECT_EQ(symbols->UnregisterSymbol(name), 0);
    SymInfo* const symbol = symbols->NewSymInfo();
    EXPECT_EQ(symbols->FreeSymInfo(symbol), 0);
    delete symbol;
}

TEST(Interfaces, OfTheConsoleTakeWritableTexts)
{
    CmdMgr* const console = CmdMgr::GetInstance(0);
    Writable prompt("\nCMD>rest");
    char* const rest = CmdMgr::RemovePrompt(static_cast<char*>(prompt));
    EXPECT_STREQ(rest, "rest");
    static_assert(std::is_same_v<decltype(CmdMgr::RemovePrompt("x")), const char*>);
    console->ParseConfig(Writable("port=1"));
    console->ParseConfig(Writable("mode=0"));
    EXPECT_EQ(console->SendResult(rest), 0);
    EXPECT_TRUE(console->IsComment(Writable(" # comment")));
    EXPECT_TRUE(console->IsSign(Writable("*")));
    char result[CmdMgr::kResultSize] = "";
    const struct
    {
        int (CmdMgr::*statement)(CmdParser*, char*);
        const char* line;
        int code;
    } statements[] = {
        {&CmdMgr::NewINT, "INT i 7", 0},
        {&CmdMgr::NewSTRING, "STRING s", 0},
        {&CmdMgr::NewFLOAT, "FLOAT f", 0},
        {&CmdMgr::NewPOINTER, "POINTER p", 0},
        {&CmdMgr::SET, "SET s text", 0},
        {&CmdMgr::DoADD, "i + 1", 0},
        {&CmdMgr::DoSUB, "i - 1", 0},
        {&CmdMgr::DoMUL, "i * 1", 0},
        {&CmdMgr::DoDIV, "i / 0", -1},
        {&CmdMgr::DoSLEEP, "SLEEP 0", 0},
        {&CmdMgr::DoFILE, "FILE none", -1},
        {&CmdMgr::DoPRINT, "PRINT", -1},
        {&CmdMgr::CmdExecute, "i = i / i", 0},
        {&CmdMgr::FREE, "FREE i", 0},
        {&CmdMgr::DoBasicFunc, "BREAK here", 1},
        {&CmdMgr::DoBasicFunc, "unknown", -1},
    };
    for (const auto& expected : statements) {
        CmdParser line(Writable{expected.line});
        EXPECT_EQ((console->*expected.statement)(&line, result), expected.code) << expected.line;
    }
    int (CmdMgr::*const blocks[])(CmdBlock*, char*) = {&CmdMgr::DoCmdBlock, &CmdMgr::DoFOR,
                                                       &CmdMgr::DoDO,       &CmdMgr::DoWHILE,
                                                       &CmdMgr::DoIF,       &CmdMgr::DoMACRO};
    for (const auto run : blocks) {
        CmdBlock* const block = console->NewCmdBlock();
        block->mCommand = new CmdParser(Writable("FOR 1 > 1"));
        EXPECT_TRUE(console->IsControlCmd(block->mCommand));
        EXPECT_EQ((console->*run)(block, result), 0);
        console->FreeCmdBlock(block);
    }
}
}  // namespace
