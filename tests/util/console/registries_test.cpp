// The symbol table and the command registry, alone and used from several threads.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/support.h"
#include "util/console/CmdClient.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/RegistryHold.h"
#include "util/console/SymListMgr.h"

namespace {
SymListMgr& Symbols()
{
    return *SymListMgr::GetInstance();
}

CmdListMgr& Commands()
{
    return *CmdListMgr::GetInstance();
}

int Execute(const char* text)
{
    CmdParser line(text);
    char result[CmdMgr::kResultSize];
    return CmdMgr::GetInstance(0)->CmdExecute(&line, result);
}

TEST(SymListMgr, ConvertsValuesByType)
{
    struct Case
    {
        int type;
        const char* value;
        int integer;
        const char* text;
        float number;
    };
    const Case cases[] = {
        {1, "42", 42, nullptr, 0},    {2, " -7x", -7, nullptr, 0}, {3, "12", 0, "12", 0},
        {4, "1.5", 0, nullptr, 1.5F}, {5, "1", 0, nullptr, 0},     {77, "9", 9, nullptr, 0},
        {1, "0x10", 0, nullptr, 0},   {4, "-2", 0, nullptr, -2},   {3, "", 0, "", 0},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(Symbols().RegisterSymbol("v", nullptr, expected.type, false), 0);
        EXPECT_EQ(Symbols().GetIntValue("v"), 0);
        EXPECT_EQ(Symbols().GetStringValue("v"), nullptr);
        EXPECT_EQ(Symbols().SetValue("v", expected.value), 0);
        EXPECT_EQ(Symbols().GetIntValue("v"), expected.integer);
        EXPECT_STREQ(Symbols().GetStringValue("v"), expected.text);
        EXPECT_EQ(Symbols().GetFloatValue("v"), expected.number);
        EXPECT_EQ(Symbols().GetPointerValue("v"), nullptr);
        EXPECT_EQ(Symbols().UnregisterSymbol("v"), 0);
    }
    Symbols().RegisterSymbol("odd", "9", 77, false);
    EXPECT_EQ(Symbols().GetIntValue("odd"), 0) << "only an assignment reads a text of that type";
}

TEST(SymListMgr, ReadsWordsThatAreNoSymbolsAsThemselves)
{
    EXPECT_EQ(Symbols().GetIntValue("15"), 15);
    EXPECT_EQ(Symbols().GetIntValue("hello"), 0);
    EXPECT_STREQ(Symbols().GetStringValue("hello"), "hello");
    EXPECT_EQ(Symbols().GetFloatValue("2.5"), 2.5F);
    EXPECT_EQ(Symbols().GetPointerValue("hello"), nullptr);
    EXPECT_EQ(Symbols().GetIntValue(nullptr), 0);
    EXPECT_EQ(Symbols().GetStringValue(nullptr), nullptr);
    EXPECT_EQ(Symbols().SetValue("hello", "1"), -1);
    EXPECT_EQ(Symbols().GetMatch("hello"), nullptr);
}

TEST(SymListMgr, KeepsNamesUniqueAndInOrder)
{
    EXPECT_EQ(Symbols().RegisterSymbol("n", "42", 1, false), 0);
    EXPECT_EQ(Symbols().RegisterSymbol("n", "43", 3, false), -1);
    EXPECT_EQ(Symbols().RegisterSymbol("N", "44", 1, true), 0);
    EXPECT_EQ(Symbols().RegisterSymbol(nullptr, "1", 1, false), -1);
    EXPECT_EQ(Symbols().GetCount(), 2);
    EXPECT_STREQ(Symbols().GetInfo(1)->mName, "N");
    EXPECT_EQ(Symbols().GetMatch("n")->mIntValue, 42);
    EXPECT_EQ(Symbols().GetMatch("N")->mReserved, 1);
    EXPECT_EQ(Symbols().GetIntValue("N"), 0);
    EXPECT_EQ(Symbols().SetValue("N", "5"), -1);
    const std::string longName(300, 'n');
    EXPECT_EQ(Symbols().RegisterSymbol(longName.c_str(), "1", 1, false), 0);
    EXPECT_EQ(Symbols().RegisterSymbol(longName.c_str(), "1", 1, false), -1);
    EXPECT_EQ(std::string(Symbols().GetInfo(2)->mName).size(), 256U);

    EXPECT_EQ(Symbols().UnregisterSymbol("nobody"), -1);
    EXPECT_EQ(Symbols().UnregisterSymbol(3), -1);
    EXPECT_EQ(Symbols().UnregisterSymbol(-1), -1);
    EXPECT_EQ(Symbols().UnregisterSymbol(0), 0);
    EXPECT_STREQ(Symbols().GetInfo(0)->mName, "N");
    EXPECT_EQ(Symbols().GetInfo(2), nullptr);
    EXPECT_EQ(Symbols().GetInfo(-1), nullptr);
}

TEST(SymListMgr, ReleasesRecordsOfTheCaller)
{
    SymInfo* const info = Symbols().NewSymInfo();
    info->mName = new char[2]();
    info->mStringValue = new char[2]();
    EXPECT_EQ(Symbols().FreeSymInfo(info), 0);
    EXPECT_EQ(info->mName, nullptr);
    EXPECT_EQ(info->mStringValue, nullptr);
    EXPECT_EQ(Symbols().FreeSymInfo(nullptr), -1);
    delete info;
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

// Writes its mark and its owner's into a text that all handlers share.
struct Owner
{
    std::string* log;
    char mark;
};

class MarkingClient final : public CmdClient<Owner>
{
public:
    using CmdClient<Owner>::CmdClient;
    int CmdHandler(CmdParser* /*line*/, CmdInfo* /*info*/, char* result) override
    {
        mOwner->log->push_back(mOwner->mark);
        result[0] = mOwner->mark;
        result[1] = '\0';
        return -99;
    }
};

TEST(CmdListMgr, StoresTheTemplate)
{
    std::string log;
    Owner owner{&log, 'a'};
    MarkingClient client(&owner);
    const int before = Commands().GetCount();
    EXPECT_EQ(client.Register("setmode int string foo", std::string(2000, 'h').c_str()), 0);
    EXPECT_EQ(client.Register("many char float Int", nullptr), 0);
    EXPECT_EQ(client.Register("", "no command"), -1);
    EXPECT_EQ(client.Register("x =", "no command"), -1);
    const CmdParser parser("unused");
    EXPECT_EQ(Commands().RegisterCommand(nullptr, &parser, "", nullptr), -1);
    ASSERT_EQ(Commands().GetCount(), before + 2);
    const CmdInfo* const info = Commands().GetInfo(before);
    EXPECT_STREQ(info->mName, "setmode");
    ASSERT_EQ(info->mArgCount, 3);
    EXPECT_EQ(std::string(info->mArgTypes, 3), std::string("\1\3\0", 3));
    EXPECT_EQ(std::string(info->mHelp).size(), 1024U);
    EXPECT_EQ(info->mOwner, &client);
    EXPECT_EQ(std::string(Commands().GetInfo(before + 1)->mArgTypes, 3), std::string("\2\4\0", 3));
    EXPECT_EQ(Commands().GetInfo(before + 1)->mHelp, nullptr);

    const CmdParser same("setmode 1 2 3");
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
    Owner ownerA{&log, 'a'};
    Owner ownerB{&log, 'b'};
    MarkingClient a(&ownerA);
    MarkingClient b(&ownerB);
    a.Register("mark", nullptr);
    b.Register("MARK int", nullptr);
    Symbols().RegisterSymbol("s", nullptr, 3, false);
    EXPECT_EQ(Execute("s = Mark with any arguments"), 0);
    EXPECT_EQ(log, "ab");
    EXPECT_STREQ(Symbols().GetStringValue("s"), "b");

    EXPECT_EQ(Commands().UnregisterCommand("mark", &b), 0) << "another name: nothing happens";
    EXPECT_EQ(Commands().UnregisterCommand("MARK", &b), 0);
    EXPECT_EQ(Execute("mark"), 0);
    EXPECT_EQ(log, "aba");
    EXPECT_EQ(Execute("marks"), 0);
    EXPECT_EQ(log, "aba");
}

// A handler that changes the registry, its own record included, while it runs.
class ChangingClient final : public CmdClient<std::string>
{
public:
    using CmdClient<std::string>::CmdClient;
    int CmdHandler(CmdParser* /*line*/, CmdInfo* info, char* /*result*/) override
    {
        Commands().UnregisterCommand("change", mNext);
        Commands().UnregisterCommand("change", this);
        Register("change", "anew");
        Symbols().RegisterSymbol("made", "1", 1, false);
        mOwner->append(info->mName).append(info->mHelp);
        return 0;
    }
    CmdClient<std::string>* mNext = nullptr;
};

TEST(CmdListMgr, LetsAHandlerChangeTheRegistry)
{
    std::string log;
    ChangingClient first(&log);
    ChangingClient next(&log);
    first.mNext = &next;
    first.Register("change", "-first ");
    next.Register("change", "-next ");
    Execute("change");
    EXPECT_EQ(log, "change-first ") << "what was removed meanwhile is not called";
    Execute("change");
    EXPECT_EQ(log, "change-first changeanew");
}

// A handler that waits inside until it is let go.
class WaitingClient final : public CmdClient<int>
{
public:
    using CmdClient<int>::CmdClient;
    int CmdHandler(CmdParser* /*line*/, CmdInfo* info, char* /*result*/) override
    {
        mInside = true;
        test::WaitUntil([this] { return mGo.load(); });
        mName = info->mName;
        return 0;
    }
    std::atomic<bool> mInside{false};
    std::atomic<bool> mGo{false};
    std::string mName;
};

TEST(CmdListMgr, RemovesACommandWhileItsHandlerRuns)
{
    WaitingClient client(nullptr);
    client.Register("wait", nullptr);
    std::thread console([] { Execute("wait"); });
    ASSERT_TRUE(test::WaitUntil([&] { return client.mInside.load(); }));
    Commands().UnregisterCommand("wait", &client);
    std::atomic<bool> waited{false};
    std::thread remover([&] {
        Commands().WaitForHandlers();
        waited = true;
    });
    EXPECT_FALSE(waited);
    client.mGo = true;
    remover.join();
    console.join();
    EXPECT_EQ(client.mName, "wait");
    Commands().WaitForHandlers();
}

// Registrations and assignments from other threads while scripts run, with their shortcuts.
TEST(Registries, AreSharedByThreads)
{
    testing::internal::CaptureStdout();
    test::WriteFile("script.txt",
                    "INT i\nINT j\nINT shared\nSTRING text\n"
                    "WHILE i < 2000\n"
                    "  i = i + 1\n  shared = shared + i\n  other = i + 1\n  j = j + other\n"
                    "  shared = 5\n  text = mark\n  text = PRINT \"%s\" text\n"
                    "END\n"
                    "PRINT i\n");
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int number = 0; number < 2; ++number) {
        threads.emplace_back([&, number] {
            std::string log;
            Owner owner{&log, 'x'};
            while (!done) {
                {
                    MarkingClient client(&owner);
                    client.Register("mark", "help");
                    Commands().UnregisterCommand("mark", &client);
                    Commands().WaitForHandlers();
                }
                Symbols().RegisterSymbol("other", "1", number == 0 ? 1 : 3, false);
                Symbols().SetValue("text", "from another thread");
                Symbols().SetValue("shared", "3");
                const RegistryHold<SymListMgr> hold(&Symbols());
                const char* const text = Symbols().GetStringValue("text");
                EXPECT_LT(text != nullptr ? std::string(text).size() : 0, 100U);
                Symbols().UnregisterSymbol("other");
            }
        });
    }
    EXPECT_EQ(Execute("FILE script.txt"), 0);
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_NE(output.find("\n2000\n"), std::string::npos);
}
}  // namespace
