#include "tools/console/LineEditor.h"

#include <editline/readline.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <set>
#include <vector>

#include "tools/console/Interrupt.h"
#include "tools/console/Language.h"

namespace {
constexpr int kHistoryLines = 1000;

// The editing library calls back without a context.
std::set<std::string> gWords;
int gWatched = -1;
LineEditor::Outcome gOutcome = LineEditor::Outcome::kEnd;

std::string HistoryPath()
{
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && state[0] == '/') {
        return std::string(state) + "/html5_video_console_history";
    }
    const char* const home = std::getenv("HOME");
    return home != nullptr ? std::string(home) + "/.html5_video_console_history" : "";
}

// Whether a key can be read; otherwise the outcome says why not.
bool WaitForKey()
{
    for (;;) {
        pollfd entries[] = {
            {Interrupt::Descriptor(), POLLIN, 0}, {gWatched, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        const int ready = poll(entries, 3, -1);
        if (Interrupt::Take()) {
            gOutcome = LineEditor::Outcome::kInterrupted;
            return false;
        }
        if (ready > 0 && entries[1].revents != 0) {
            gOutcome = LineEditor::Outcome::kLost;
            return false;
        }
        if (ready > 0) {
            return true;
        }
    }
}

// The next character typed, of as many bytes as it has; -1 at the end or when the wait ended.
int ReadKey(FILE* /*stream*/)
{
    mbstate_t state = {};
    wchar_t character = 0;
    for (;;) {
        char byte = 0;
        if (!WaitForKey() || read(STDIN_FILENO, &byte, 1) != 1) {
            return -1;
        }
        const std::size_t used = std::mbrtowc(&character, &byte, 1, &state);
        if (used == static_cast<std::size_t>(-1)) {
            return static_cast<unsigned char>(byte);
        }
        if (used != static_cast<std::size_t>(-2)) {
            return static_cast<int>(character);
        }
    }
}

char* NextCompletion(const char* beginning, int again)
{
    static std::set<std::string>::const_iterator next;
    if (again == 0) {
        next = gWords.lower_bound(beginning);
    }
    if (next == gWords.end() || next->compare(0, std::strlen(beginning), beginning) != 0) {
        return nullptr;
    }
    return strdup((next++)->c_str());
}

// Words only: a file's name would be one of the console's machine, not of this one.
char** Complete(const char* beginning, int /*start*/, int /*end*/)
{
    rl_attempted_completion_over = 1;
    return rl_completion_matches(beginning, NextCompletion);
}

}  // namespace

LineEditor::LineEditor(int watched, const std::vector<std::string>& words)
    : mHistoryPath(HistoryPath())
{
    std::setlocale(LC_CTYPE, "");
    gWatched = watched;
    const std::vector<std::string> language = LanguageWords();
    gWords.insert(language.begin(), language.end());
    gWords.insert(words.begin(), words.end());
    gWords.erase("");
    rl_readline_name = "console";
    rl_catch_signals = 0;        // ^C is waited for in WaitForKey
    rl_getc_function = ReadKey;  // looked at by rl_initialize only
    rl_initialize();
    rl_attempted_completion_function = Complete;
    using_history();
    stifle_history(kHistoryLines);
    read_history(mHistoryPath.c_str());
}

LineEditor::~LineEditor()
{
    gWatched = -1;
}

LineEditor::Outcome LineEditor::Read(const char* prompt, std::string* line)
{
    gOutcome = Outcome::kEnd;
    char* const typed = readline(prompt);
    if (typed == nullptr) {
        return gOutcome;
    }
    *line = typed;
    std::free(typed);
    return Outcome::kLine;
}

void LineEditor::Remember(const std::string& line)
{
    // What was merely typed is not offered: it may have been mistyped.
    const std::string variable = DeclaredVariable(line);
    if (!variable.empty()) {
        gWords.insert(variable);
    }
    const HIST_ENTRY* const last = history_get(history_base + history_length - 1);
    if (line.empty() || (last != nullptr && line == last->line)) {
        return;
    }
    add_history(line.c_str());
    if (!mHistoryPath.empty()) {
        const mode_t former = umask(077);  // lines may name what is nobody else's business
        write_history(mHistoryPath.c_str());
        umask(former);
    }
}
