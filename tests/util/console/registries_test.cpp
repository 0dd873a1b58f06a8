// The symbol table and the command registry, alone and used from several threads.
#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>

#include "tests/support/Background.h"
#include "tests/util/console/console.h"
#include "util/console/CmdClient.h"
#include "util/console/RegistryHold.h"

namespace {
using test::Commands;
using test::Execute;
using test::Symbols;

// A symbol's or word's integer, text, number and pointer.
std::string Values(const char* name)
{
    std::ostringstream values;
    const char* const text = Symbols().GetStringValue(name);
    values << Symbols().GetIntValue(name) << '|' << (text != nullptr ? text : "none") << '|'
           << Symbols().GetFloatValue(name) << '|' << Symbols().GetPointerValue(name);
    return values.str();
}

TEST(SymListMgr, ConvertsValuesByType)
{
    const std::tuple<int, const char*, const char*> cases[] = {
        {1, "42", "42|none|0|0"},   {2, " -7x", "-7|none|0|0"}, {3, "12", "0|12|0|0"},
        {4, "1.5", "0|none|1.5|0"}, {5, "1", "0|none|0|0"},     {77, "9", "9|none|0|0"},
        {1, "0x10", "0|none|0|0"},  {4, "-2", "0|none|-2|0"},   {3, "", "0||0|0"},
    };
    for (const auto& [type, value, read] : cases) {
        EXPECT_EQ(Symbols().RegisterSymbol("v", nullptr, type, false), 0);
        EXPECT_EQ(Values("v"), "0|none|0|0");
        EXPECT_EQ(Symbols().SetValue("v", value), 0);
        EXPECT_EQ(Values("v"), read);
        EXPECT_EQ(Symbols().UnregisterSymbol("v"), 0);
    }
    Symbols().RegisterSymbol("odd", "9", 77, false);
    EXPECT_EQ(Symbols().GetIntValue("odd"), 0) << "only an assignment reads a text of that type";
}

TEST(SymListMgr, ReadsNumbersAsTheCLibraryDoes)
{
    for (const char* text :
         {"", "-", "+7", " 7", "007", "12abc", "-0", "999999999", "1000000000", "-2147483648",
          "2147483648", "4294967297", "--1", "- 1", "-999999999x", "-99999999999999999999"}) {
        EXPECT_EQ(Symbols().GetIntValue(text), static_cast<int>(std::strtol(text, nullptr, 10)))
            << text;
    }
}

TEST(SymListMgr, ReadsWordsThatAreNoSymbolsAsThemselves)
{
    EXPECT_EQ(Values("hello"), "0|hello|0|0");
    EXPECT_EQ(Values("2.5"), "2|2.5|2.5|0");
    EXPECT_EQ(Values(nullptr), "0|none|0|0");
    EXPECT_EQ(Symbols().SetValue("hello", "1"), -1);
}

TEST(SymListMgr, KeepsNamesUniqueAndInOrder)
{
    const std::string longName(300, 'n');
    EXPECT_EQ(Symbols().RegisterSymbol("n", "42", 1, false), 0);
    EXPECT_EQ(Symbols().RegisterSymbol("N", "44", 1, true), 0);
    EXPECT_EQ(Symbols().RegisterSymbol(longName.c_str(), "1", 1, false), 0);
    for (const char* const taken : {"n", longName.c_str(), static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Symbols().RegisterSymbol(taken, "43", 3, false), -1);
    }
    EXPECT_EQ(Symbols().GetCount(), 3);
    EXPECT_EQ(Symbols().GetInfo(2)->mName, longName.substr(0, 256));
    EXPECT_EQ(Symbols().GetMatch("n")->mIntValue, 42);
    EXPECT_EQ(Symbols().GetMatch("N")->mReserved, 1);
    Symbols().GetMatch("N")->mPointerValue = &Symbols();
    EXPECT_EQ(Values("N"), "0|none|0|0");
    EXPECT_EQ(Symbols().GetIntValue("N"), 0);
    EXPECT_EQ(Symbols().SetValue("N", "5"), -1);
    EXPECT_EQ(Symbols().GetMatch("N")->mIntValue, 44);
    EXPECT_EQ(Symbols().SetValue("n", nullptr), -1);

    EXPECT_EQ(Symbols().UnregisterSymbol("nobody"), -1);
    EXPECT_EQ(Symbols().UnregisterSymbol(3), -1);
    EXPECT_EQ(Symbols().UnregisterSymbol(-1), -1);
    EXPECT_EQ(Symbols().UnregisterSymbol(0), 0);
    EXPECT_STREQ(Symbols().GetInfo(0)->mName, "N");
    EXPECT_EQ(Symbols().GetInfo(2), nullptr);
    EXPECT_EQ(Symbols().GetInfo(-1), nullptr);
}

// Records of the caller's own.
TEST(Registries, EmptyARecordButDoNotDeleteIt)
{
    const std::unique_ptr<SymInfo> symbol(Symbols().NewSymInfo());
    EXPECT_EQ(symbol->mType, 0);
    EXPECT_EQ(symbol->mReserved, 0);
    symbol->mName = new char[2]();
    EXPECT_EQ(Symbols().FreeSymInfo(symbol.get()), 0);
    EXPECT_EQ(symbol->mName, nullptr);
    EXPECT_EQ(Symbols().FreeSymInfo(nullptr), -1);
    const std::unique_ptr<CmdInfo> command(Commands().NewCmdInfo());
    command->mName = new char[2]();
    EXPECT_EQ(Commands().FreeCmdInfo(command.get()), 0);
    EXPECT_EQ(command->mName, nullptr);
    EXPECT_EQ(Commands().FreeCmdInfo(nullptr), -1);
}

template <typename Registry>
void ExpectToBeForgotten()
{
    const Registry* const usual = Registry::GetInstance();
    const Registry* other = nullptr;
    {
        const Registry own;
        EXPECT_EQ(Registry::GetInstance(), other = &own);
    }
    EXPECT_NE(Registry::GetInstance(), other);
    delete usual;  // nobody finds it any more
}

TEST(Registries, AreNoLongerFoundWhenTheyHaveEnded)
{
    ExpectToBeForgotten<SymListMgr>();
    ExpectToBeForgotten<CmdListMgr>();
}

TEST(SymListMgr, KeepsWhatWasRemovedReadableUnderAHold)
{
    Symbols().RegisterSymbol("s", "first", 3, false);
    const RegistryHold<SymListMgr> hold(&Symbols());
    const SymInfo* const info = Symbols().GetMatch("s");
    const char* const first = Symbols().GetStringValue("s");
    Symbols().SetValue("s", "second");
    const char* const second = Symbols().GetStringValue("s");
    {
        const RegistryHold<SymListMgr> inner(&Symbols());
        Symbols().UnregisterSymbol("s");
    }
    EXPECT_STREQ(first, "first");
    EXPECT_STREQ(second, "second");
    EXPECT_STREQ(info->mName, "s");
    EXPECT_EQ(Symbols().GetMatch("s"), nullptr);
}

using Handler = std::function<void(CmdInfo*, char*)>;

// A client whose owner is the function to call.
class CallingClient final : public CmdClient<Handler>
{
public:
    using CmdClient<Handler>::CmdClient;
    int CmdHandler(CmdParser* /*line*/, CmdInfo* info, char* result) override
    {
        (*mOwner)(info, result);
        return -99;
    }
};

// Writes its mark into the text and its result.
Handler Marking(std::string& log, const char* mark)
{
    return [&log, mark](CmdInfo* /*info*/, char* result) { log += std::strcpy(result, mark); };
}

TEST(CmdListMgr, StoresTheTemplate)
{
    Handler handler;
    CallingClient client(&handler);
    const int before = Commands().GetCount();
    EXPECT_EQ(client.Register("setmode int string foo", std::string(2000, 'h').c_str()), 0);
    EXPECT_EQ(client.Register("many char float Int", nullptr), 0);
    EXPECT_EQ(client.Register("", "no command"), -1);
    EXPECT_EQ(client.Register("x =", "no command"), -1);
    const CmdParser same("setmode 1 2 3");
    EXPECT_EQ(Commands().RegisterCommand(nullptr, &same, "", nullptr), -1);
    ASSERT_EQ(Commands().GetCount(), before + 2);
    const CmdInfo* const info = Commands().GetInfo(before);
    EXPECT_STREQ(info->mName, "setmode");
    ASSERT_EQ(info->mArgCount, 3);
    EXPECT_EQ(std::string(info->mArgTypes, 3), std::string("\1\3\0", 3));
    EXPECT_EQ(info->mHelp, std::string(1024, 'h'));
    EXPECT_EQ(info->mOwner, &client);
    EXPECT_EQ(std::string(Commands().GetInfo(before + 1)->mArgTypes, 3), std::string("\2\4\0", 3));
    EXPECT_EQ(Commands().GetInfo(before + 1)->mHelp, nullptr);

    const CmdParser otherCase("SETMODE 1 2 3");
    const CmdParser otherCount("setmode 1 2");
    EXPECT_EQ(Commands().GetMatch(&same), info);
    EXPECT_EQ(Commands().GetMatch(&otherCase), nullptr);
    EXPECT_EQ(Commands().GetMatch(&otherCount), nullptr);
    EXPECT_EQ(Commands().UnregisterCommand(before + 2), -1);
    EXPECT_EQ(Commands().UnregisterCommand(-1), -1);
    EXPECT_EQ(Commands().UnregisterCommand(before), 0);
    EXPECT_STREQ(Commands().GetInfo(before)->mName, "many");
}

TEST(CmdListMgr, RunsEveryCommandOfTheNameInOrder)
{
    std::string log;
    Handler markA = Marking(log, "a");
    Handler markB = Marking(log, "b");
    CallingClient a(&markA);
    CallingClient b(&markB);
    a.Register("mark", nullptr);
    b.Register("MARK int", nullptr);
    Symbols().RegisterSymbol("s", nullptr, 3, false);
    EXPECT_EQ(Execute("s = Mark with any arguments").code, 0);
    EXPECT_EQ(log, "ab");
    EXPECT_STREQ(Symbols().GetStringValue("s"), "b");

    EXPECT_EQ(Commands().UnregisterCommand("mark", &b), 0) << "another name: nothing happens";
    EXPECT_EQ(Commands().UnregisterCommand(nullptr, &b), 0);
    EXPECT_EQ(Commands().UnregisterCommand("MARK", &b), 0);
    EXPECT_EQ(Execute("mark").code, 0);
    EXPECT_EQ(log, "aba");
    EXPECT_EQ(Execute("marks").code, 0);
    EXPECT_EQ(log, "aba");
}

// Its own record included.
TEST(CmdListMgr, LetsAHandlerChangeTheRegistry)
{
    std::string log;
    CallingClient* clients[2] = {};
    Handler change = [&](CmdInfo* info, char* /*result*/) {
        Commands().UnregisterCommand("change", clients[1]);
        Commands().UnregisterCommand("change", clients[0]);
        clients[0]->Register("change", "anew");
        log.append(info->mName).append(info->mHelp);
    };
    CallingClient first(&change);
    CallingClient next(&change);
    clients[0] = &first;
    clients[1] = &next;
    first.Register("change", "-first ");
    next.Register("change", "-next ");
    Execute("change");
    EXPECT_EQ(log, "change-first ") << "what was removed meanwhile is not called";
    Execute("change");
    EXPECT_EQ(log, "change-first changeanew");
}

TEST(CmdListMgr, RemovesACommandWhileItsHandlerRuns)
{
    std::atomic<bool> inside{false};
    std::atomic<bool> go{false};
    std::atomic<bool> waited{false};
    std::string name;
    Handler wait = [&](CmdInfo* info, char* /*result*/) {
        inside = true;
        test::WaitUntil([&] { return go.load(); });
        name = info->mName;
    };
    Handler follow = [&](CmdInfo* /*info*/, char* /*result*/) {
        EXPECT_TRUE(test::WaitUntil([&] { return waited.load(); })) << "for nobody who came later";
    };
    CallingClient first(&wait);
    CallingClient next(&follow);
    first.Register("wait", nullptr);
    next.Register("follow", nullptr);
    {
        const test::Background console([] {
            Execute("wait");
            Execute("follow");
        });
        ASSERT_TRUE(test::WaitUntil([&] { return inside.load(); }));
        Commands().UnregisterCommand("wait", &first);
        const test::Background remover([&] {
            Commands().WaitForHandlers();
            waited = true;
        });
        EXPECT_FALSE(remover.Returns(50)) << "the handler runs";
        go = true;
    }
    EXPECT_EQ(name, "wait");
    Commands().WaitForHandlers();
}

// Registrations and assignments from other threads while scripts run, with their shortcuts.
TEST(Registries, AreSharedByThreads)
{
    test::WriteFile("script.txt",
                    "INT i\nINT j\nINT shared\nSTRING text\n"
                    "WHILE i < 2000\n"
                    "  i = i + 1\n  shared = shared + i\n  other = i + 1\n  j = j + other\n"
                    "  shared = 5\n  text = mark\n  text = PRINT \"%s\" text\n"
                    "END\n"
                    "PRINT i\n");
    const test::Background script(
        [] { EXPECT_THAT(Execute("FILE script.txt").output, testing::EndsWith("\n2000\n")); });
    test::InThreads(2, [&](int number) {
        std::string log;
        Handler mark = Marking(log, "x");
        while (!script.Returns(0)) {
            {
                CallingClient client(&mark);
                client.Register("mark", "help");
                Commands().UnregisterCommand("mark", &client);
                Commands().WaitForHandlers();
            }
            Symbols().RegisterSymbol("other", "1", number == 0 ? 1 : 3, false);
            Symbols().SetValue("text", "from another thread");
            Symbols().SetValue("shared", "3");
            EXPECT_EQ(Symbols().UnregisterSymbol(1000), -1);
            EXPECT_EQ(Symbols().GetInfo(Symbols().GetCount() + 10), nullptr);
            const RegistryHold<SymListMgr> hold(&Symbols());
            const char* const text = Symbols().GetStringValue("text");
            EXPECT_LT(text != nullptr ? std::string(text).size() : 0, 100U);
            Symbols().UnregisterSymbol("other");
        }
    });
}

TEST(CmdMgr, WritesASumsDigitsAndNothingElseIntoAUsedBuffer)
{
    for (const int sum : {0, 7, -1, 10, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(Execute("0 + " + std::to_string(sum)).result, std::to_string(sum));
    }
}
}  // namespace
