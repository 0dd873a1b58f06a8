// The browser stand-in. One thread, beside the library's own.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "tools/browser/Options.h"
#include "tools/browser/OwnOutput.h"
#include "tools/browser/Screen.h"
#include "tools/browser/ScriptRunner.h"
#include "tools/browser/Session.h"
#include "tools/browser/Terminal.h"
#include "tools/browser/VideoLibrary.h"
#include "tools/support/CommandLine.h"
#include "tools/support/LogMode.h"

namespace {
// Descriptors 0 to 2 that are closed would become sockets of the library.
void OpenStandardDescriptors()
{
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

bool WantsScreen(const Options& options)
{
    if (!options.script.empty() || !options.exec.empty() || isatty(STDIN_FILENO) != 1 ||
        isatty(STDOUT_FILENO) != 1) {
        return false;
    }
    const bool can = Terminal::CanBeScreen();
    if (!can) {
        std::fprintf(
            stderr, "No screen on this terminal, whose type (TERM) can not be one: %s\n",
            options.url.empty() ? "type commands, --help lists them" : "playing to the end");
    }
    return can;
}

// What goes to standard error would run through a screen on the same terminal.
bool RedirectError(const Options& options, bool screen)
{
    const bool hide = options.logFile.empty() && screen && isatty(STDERR_FILENO) == 1;
    const char* const path = hide ? "/dev/null" : options.logFile.c_str();
    if (*path == '\0') {
        return true;
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file < 0) {
        std::fprintf(stderr, "%s: %s\n", path, std::strerror(errno));
        return false;
    }
    dup2(file, STDERR_FILENO);
    close(file);
    return true;
}

bool ReadScript(const std::string& path, std::string& text)
{
    std::ifstream file(path, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad()) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), std::strerror(errno));
        return false;
    }
    return true;
}

int RunLines(const Options& options, Session& session, std::FILE* output)
{
    ScriptRunner runner(session, output);
    if (!options.exec.empty()) {
        return runner.RunAll(options.exec);
    }
    if (options.script.empty() && !options.url.empty()) {
        return runner.PlayToEnd();
    }
    if (options.script.empty() || options.script == "-") {
        return runner.RunFrom(STDIN_FILENO);
    }
    std::string text;
    return ReadScript(options.script, text) ? runner.RunAll(SplitLines(text)) : kExitUsage;
}

int RunScreen(Session& session, std::FILE* output)
{
    const Terminal terminal(output);
    if (!terminal.IsOpen()) {
        return kExitUsage;
    }
    Screen(session).Run();
    return 0;
}

// Where the library was loaded from: the folder of the console module stands beside it.
std::string FolderOf(const VideoLibrary& library)
{
    Dl_info place = {};
    if (dladdr(reinterpret_cast<void*>(library.init), &place) == 0) {
        return {};
    }
    const std::string path = place.dli_fname;
    return path.substr(0, path.rfind('/') + 1);  // none without a slash
}

bool StartConsole(const VideoLibrary& library, int port)
{
    void* const module =
        dlopen((FolderOf(library) + BROWSER_CONSOLE).c_str(), RTLD_NOW | RTLD_LOCAL);
    using Starter = int (*)(int);
    const auto start = module != nullptr
                           ? reinterpret_cast<Starter>(dlsym(module, "StartBrowserConsole"))
                           : nullptr;
    if (start == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return false;
    }
    return start(port) == 0;
}

int Run(const Options& options)
{
    std::signal(SIGPIPE, SIG_IGN);
    OpenStandardDescriptors();
    const bool screen = WantsScreen(options);
    if (!RedirectError(options, screen)) {
        return kExitUsage;
    }
    std::FILE* const output = TakeStandardOutput();
    VideoLibrary library;
    std::string reason;
    if (output == nullptr || !library.Open(options.library, reason)) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return kExitNoLibrary;
    }
    library.setLog(ChooseLogMode(options.logMode), 0);
    Session session(library);
    session.Start();
    if (options.console && !StartConsole(library, options.consolePort)) {
        std::fprintf(stderr, "The console can not be started\n");
        return kExitNoLibrary;
    }
    if (!options.url.empty()) {
        session.Load(options.url);
        session.Play();
    }
    return screen ? RunScreen(session, output) : RunLines(options, session, output);
}
}  // namespace

int main(int argc, char** argv)
{
    Options options;
    int exitStatus = 0;
    return ParseOptions(argc, argv, options, exitStatus) ? Run(options) : exitStatus;
}
