// Inside a block arithmetic, assignments and conditions take a shorter way than as lines of their
// own. Both must do the same.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/support.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace {
constexpr const char* kNames[] = {"i", "j", "c", "s", "f", "p", "u", "PAL", "gone"};
constexpr const char* kLiterals[] = {"0",          "1",  "-3",   "7x",   "-2147483648",
                                     "2147483647", "-1", "word", "\"\"", "1.5"};
constexpr const char* kSigns[] = {"+", "-", "*", "/"};
constexpr const char* kDeclarations[] = {"INT i 5",     "INT i",   "STRING i 6", "FLOAT i 2.5",
                                         "POINTER i",   "FREE i",  "FREE j",     "INT j -1",
                                         "STRING s 12", "FREE s",  "FREE PAL",   "INT gone 3",
                                         "FREE gone",   "INT u 1", "FREE u"};

class Program
{
public:
    explicit Program(unsigned seed) : mRandom(seed) {}

    std::string Statement()
    {
        switch (Number(5)) {
            case 0:
                return Pick(kDeclarations);
            case 1:
                return std::string(Pick(kNames)) + " = " + Operand();
            case 2:
                return Operand() + " " + Pick(kSigns) + " " + Operand();
            default:
                return std::string(Pick(kNames)) + " = " + Operand() + " " + Pick(kSigns) + " " +
                       Operand();
        }
    }

private:
    unsigned Number(std::size_t below) { return static_cast<unsigned>(mRandom() % below); }

    template <std::size_t N>
    const char* Pick(const char* const (&texts)[N])
    {
        return texts[Number(N)];
    }

    std::string Operand() { return Number(3) == 0 ? Pick(kLiterals) : Pick(kNames); }

    std::mt19937 mRandom;
};

// Every symbol's name, type and value.
std::string State()
{
    std::string state;
    SymListMgr* const symbols = SymListMgr::GetInstance();
    for (int index = 0; index < symbols->GetCount(); ++index) {
        const SymInfo& info = *symbols->GetInfo(index);
        state += std::string(info.mName) + ":" + std::to_string(info.mType) + ":" +
                 std::to_string(info.mIntValue) + ":" + std::to_string(info.mFloatValue) + ":" +
                 (info.mStringValue != nullptr ? info.mStringValue : "-") + "\n";
    }
    return state;
}

void Reset()
{
    SymListMgr* const symbols = SymListMgr::GetInstance();
    while (symbols->UnregisterSymbol(0) == 0) {}
    CmdMgr::GetInstance(0)->Init();
    symbols->RegisterSymbol("i", "1", 1, false);
    symbols->RegisterSymbol("c", "2", 2, false);
    symbols->RegisterSymbol("s", "3", 3, false);
    symbols->RegisterSymbol("f", "4.5", 4, false);
    symbols->RegisterSymbol("p", nullptr, 5, false);
    symbols->RegisterSymbol("odd", nullptr, 77, false);
}

void RunFile(const std::string& text)
{
    test::WriteFile("script.txt", text);
    CmdParser line("FILE script.txt");
    char result[CmdMgr::kResultSize];
    EXPECT_EQ(CmdMgr::GetInstance(0)->CmdExecute(&line, result), 0);
}

TEST(Shortcut, DoesWhatTheLinesDoByThemselves)
{
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Program program(seed);
        std::string lines;
        for (int count = 0; count < 12; ++count) {
            lines += program.Statement() + "\n";
        }
        Reset();
        RunFile(lines + lines + lines);
        const std::string plain = State();
        Reset();
        RunFile("FOR 1 3 1\n" + lines + "END\n");
        ASSERT_EQ(State(), plain) << "seed " << seed << "\n" << lines;
    }
}

int TakeWord(CmdParser* /*line*/, CmdInfo* /*info*/, char* result)
{
    std::snprintf(result, CmdMgr::kResultSize, "77");
    return 0;
}

int RegisterWord(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/)
{
    const CmdParser parser("Word");
    return CmdListMgr::GetInstance()->RegisterCommand(TakeWord, &parser, nullptr, nullptr);
}

TEST(Shortcut, SeesACommandThatAppearsInTheLoop)
{
    Reset();
    const CmdParser parser("appear");
    CmdListMgr::GetInstance()->RegisterCommand(RegisterWord, &parser, nullptr, nullptr);
    RunFile(
        "INT n 5\nINT first\nINT turn\n"
        "WHILE turn < 2\n  n = word\n  IF turn == 0\n    first = n + 0\n    appear\n  END\n"
        "  turn = turn + 1\nEND\n");
    EXPECT_EQ(SymListMgr::GetInstance()->GetIntValue("first"), 0);
    EXPECT_EQ(SymListMgr::GetInstance()->GetIntValue("n"), 77);
}
}  // namespace
