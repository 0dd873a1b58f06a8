// A plugin of the emulator: counts the instructions and the system calls of the thread that sets
// the marks of counting.h, and writes both to the file of its argument "out=FILE" at the second.
//
// The emulator comes without a header for plugins; what is used of the interface that it documents
// (docs/devel/tcg-plugins.rst of QEMU 7.2, version 1) is declared here. It numbers virtual
// processors, which in the emulation of a program are its threads.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

extern "C" {
using qemu_plugin_id_t = std::uint64_t;
struct qemu_info_t;
struct qemu_plugin_tb;  // a block of instructions as it is translated

using TranslatedCallback = void (*)(qemu_plugin_id_t, qemu_plugin_tb*);
using ExecutedCallback = void (*)(unsigned processor, void* data);
using CalledCallback = void (*)(qemu_plugin_id_t, unsigned processor, std::int64_t number,
                                std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t,
                                std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t, TranslatedCallback);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb*);
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb*, ExecutedCallback, int registers, void*);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t, CalledCallback);

// What the emulator looks for.
__attribute__((visibility("default"))) extern const int qemu_plugin_version = 1;
__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t, const qemu_info_t*,
                                                               int count, char** arguments);
}

namespace {
// The marks' system calls by their numbers for 32-bit ARM.
constexpr std::int64_t kCountingEnds = 159;    // sched_get_priority_max
constexpr std::int64_t kCountingBegins = 160;  // sched_get_priority_min

constexpr int kNoRegisters = 0;
constexpr unsigned kProcessors = 64;

struct Counts
{
    std::uint64_t instructions;
    std::uint64_t calls;
};

std::array<Counts, kProcessors> sCounts;  // each changed by its own thread
Counts sBegin;
const char* sFile;

void Executed(unsigned processor, void* instructions)
{
    sCounts[processor % kProcessors].instructions += reinterpret_cast<std::uintptr_t>(instructions);
}

void Translated(qemu_plugin_id_t, qemu_plugin_tb* block)
{
    qemu_plugin_register_vcpu_tb_exec_cb(block, Executed, kNoRegisters,
                                         reinterpret_cast<void*>(qemu_plugin_tb_n_insns(block)));
}

void Write(const Counts& end)
{
    std::FILE* const file = std::fopen(sFile, "we");
    if (file == nullptr) {
        std::perror(sFile);
        return;
    }
    std::fprintf(file, "%ju %ju\n", std::uintmax_t{end.instructions - sBegin.instructions},
                 std::uintmax_t{end.calls - sBegin.calls});
    std::fclose(file);
}

void Called(qemu_plugin_id_t, unsigned processor, std::int64_t number, std::uint64_t, std::uint64_t,
            std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t,
            std::uint64_t)
{
    Counts& own = sCounts[processor % kProcessors];
    if (number == kCountingBegins) {
        sBegin = own;
    } else if (number == kCountingEnds) {
        Write(own);
    } else {
        ++own.calls;
    }
}
}  // namespace

int qemu_plugin_install(qemu_plugin_id_t plugin, const qemu_info_t*, int count, char** arguments)
{
    constexpr char kOption[] = "out=";
    constexpr std::size_t kLength = sizeof(kOption) - 1;
    if (count != 1 || std::strncmp(arguments[0], kOption, kLength) != 0) {
        std::fputs("emulator_counts: the argument is out=FILE\n", stderr);
        return -1;
    }
    sFile = arguments[0] + kLength;
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, Translated);
    qemu_plugin_register_vcpu_syscall_cb(plugin, Called);
    return 0;
}
