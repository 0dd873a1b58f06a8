// boxinfo: what the platform layer knows about this box, and an example of how to ask it.
#include <CLI/CLI.hpp>
#include <iostream>

#include "tools/boxinfo/BoxInfo.h"
#include "tools/boxinfo/Report.h"
#include "tools/support/CommandLine.h"
#include "tools/support/HeldOutput.h"
#include "tools/support/LogMode.h"
#include "util/os_linux/Logger.h"

namespace {
constexpr int kComplete = 0;
constexpr int kIncomplete = 1;

constexpr char kDescription[] =
    "Shows what the platform layer of libhtml5_video.so knows about this box.\n"
    "Without questions: the partitions, where they are mounted, and the sizes there.";

constexpr char kFooter[] =
    "Limits: at most 32 partitions; a size of 2147483647 KiB stands for 2 TiB and\n"
    "more; only the first 4096 bytes of /proc/mounts are searched.\n"
    "\n"
    "Exit status:\n"
    "  0  everything asked about was there\n"
    "  1  a device was not mounted, a path could not be read or a process not running\n"
    "  2  options that make no sense\n"
    "\n"
    "Examples:\n"
    "  html5-video-boxinfo --mount /dev/sda1 --space /mnt/usb\n"
    "  html5-video-boxinfo --process /usr/bin/html5-video-player && echo running\n"
    "  html5-video-boxinfo --json --checksum update.bin | jq -r '.checksums[0].sha1'";

struct Options
{
    Questions questions;
    bool json = false;
    int logMode = kLogAsConfigured;
};

void Describe(CLI::App& app, Options& options)
{
    Questions& questions = options.questions;
    app.footer(kFooter);
    app.add_flag("-p,--partitions", questions.partitions, "List the partitions");
    app.add_flag("-a,--mounts", questions.everyMount,
                 "Show where the partitions are mounted, and the sizes there");
    app.add_flag("--skip-hd", questions.skipHd, "Leave out partitions whose names begin with hd");
    app.add_option("-m,--mount", questions.devices,
                   "Show where a device is mounted, named as in /proc/mounts")
        ->type_name("DEVICE");
    app.add_option("-s,--space", questions.fileSystems,
                   "Show the size and the free space of the file system that holds a path")
        ->type_name("PATH");
    app.add_option("-r,--process", questions.processes,
                   "Tell whether a process runs whose command line begins with a text")
        ->type_name("COMMAND");
    app.add_option("-c,--checksum", questions.files,
                   "Show the SHA-1 digest and the CRC-32/MPEG-2 of a file")
        ->type_name("FILE");
    app.add_flag("-j,--json", options.json, "Write one JSON object instead of text");
    AddLogOption(app, options.logMode);
}

void AskTheUsual(Questions& questions)
{
    if (!questions.partitions && !questions.everyMount && questions.devices.empty() &&
        questions.fileSystems.empty() && questions.processes.empty() && questions.files.empty()) {
        questions.partitions = true;
        questions.everyMount = true;
    }
}
}  // namespace

int main(int count, char** arguments)
{
    Options options;
    CLI::App app(kDescription, "html5-video-boxinfo");
    Describe(app, options);
    int exitStatus = kComplete;
    if (!ParseCommandLine(app, count, arguments, exitStatus)) {
        return exitStatus;
    }
    DropHeldOutput();  // the library's log settings are no part of the answer
    if (options.logMode != kLogAsConfigured) {
        Logger::ChangeMode(options.logMode);
    }
    AskTheUsual(options.questions);
    const BoxInfo info = FindOut(options.questions);
    (options.json ? WriteJson : WriteText)(info, std::cout);
    std::cout.flush();
    return info.Complete() && std::cout ? kComplete : kIncomplete;
}
