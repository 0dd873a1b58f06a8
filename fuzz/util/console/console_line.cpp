// Splitting and converting one console line. The words found must be in the line in that order, and
// a parser that was used before must find the same as a fresh one.
#include <string>
#include <vector>

#include "fuzz/support/support.h"
#include "util/console/CmdParser.h"
#include "util/console/CmdValue.h"

namespace {
std::vector<std::string> WordsOf(const CmdParser& parser)
{
    const auto text = [](const char* word) { return word != nullptr ? word : "(none)"; };
    std::vector<std::string> words = {text(parser.GetReturn()), text(parser.GetCommand())};
    for (int index = 0; index < parser.GetCount(); ++index) {
        words.emplace_back(parser.GetNthArg(index));
    }
    return words;
}
}  // namespace

void fuzz::Run(const std::string& bytes)
{
    static CmdParser used;
    const std::string line(bytes.c_str());
    used.Parse(line.c_str());
    const CmdParser fresh(line.c_str());
    Require(WordsOf(used) == WordsOf(fresh), "a used parser finds other words");
    std::size_t at = 0;
    for (int index = 0; index < fresh.GetCount(); ++index) {
        const std::string word = fresh.GetNthArg(index);
        Require(word.size() < 256, "a word is too long");
        at = line.find(word, at);
        Require(at != std::string::npos, "a word is not in the line");
        at += word.size();
    }
    static CmdValue values[256];
    const int filled = fresh.GetCmdArgs(values, 256);
    Require(filled >= 0 && filled <= fresh.GetCount(), "more values than arguments");
    for (int index = 0; index < filled; ++index) {
        Require(std::string(values[index].GetString()).size() < 256, "a text is too long");
    }
}
