"""Counts instructions, system calls, bytes, relocations and memory, and compares them with those that
the repository holds.

Each case of benchmarks/instructions/ is run by itself and counted between its two marks, in the
thread that sets them. The instructions of x86-64 are Callgrind's and its system calls strace's;
those of ARM come from the emulator, through the plugin emulator_counts. The library's memory is what
it made a fresh process write to, the pages of its file that the process then has to itself: those
are the same in each run, while the others are shared and come and go with the kernel's reading.
"""

import argparse
import concurrent.futures
import dataclasses
import os
import pathlib
import re
import subprocess
import sys
import tempfile

FIGURES = pathlib.Path(__file__).resolve().parents[2] / "benchmarks/instructions/figures.txt"
HEAD = """\
# What each operation costs: machine, case, what is counted, how many for one operation.
# Written by scripts/benchmark --instructions --write; docs/performance.md tells how it is counted.
"""
INSTRUCTIONS, CALLS = "instructions", "system-calls"
BYTES, TEXT, DATA, RELOCATIONS = "bytes", "text", "data", "relocations"  # bytes are text and data
MEMORY = "private-KiB"
TOLERANCE = 1.02  # of instructions
PAGE = 4  # KiB, the tolerance of memory; the others have none
PROGRAMS = ["benchmark_instructions", "benchmark_instructions_load"]
LONGEST = 60  # seconds, for one case

# The same on every machine. The C library takes its functions for the plainest x86-64 processor,
# whichever it runs on, and binds names before the first mark. Variables lie on the stack, and what
# is copied there costs more or less as it is aligned.
ENVIRONMENT = {
    "PATH": "/usr/bin:/bin",
    "LD_BIND_NOW": "1",
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX,-SSE4_2,-SSE4_1,-SSSE3,-ERMS,-FSRM,-BMI1,-BMI2",
}
# One of the set-top boxes' cores, in the emulator; where the compiler's libraries for it are.
ARM = ["qemu-arm", "-cpu", "cortex-a7", "-L", "/usr/arm-linux-gnueabihf"]


@dataclasses.dataclass(frozen=True)
class Case:
    program: pathlib.Path
    name: str
    operations: int

    def run(self, *counter):
        """Runs the case under the counter. It stands in the program's folder, since the length of a
        path would shift the stack."""
        done = subprocess.run([*counter, f"./{self.program.name}", self.name],
                              cwd=self.program.parent, env=ENVIRONMENT, timeout=LONGEST, text=True,
                              errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            raise SystemExit(f"{counter[0]} of {self.name} failed:\n{done.stdout[-2000:]}")


def cases(build):
    """What the programs of a build of this machine say they can count."""
    for program in PROGRAMS:
        listed = subprocess.run([build / "bin" / program], text=True, check=True,
                                stdout=subprocess.PIPE).stdout
        for name, operations in re.findall(r"^(\S+) (\d+)$", listed, re.M):
            yield Case(build / "bin" / program, name, int(operations))


def count_by_callgrind(case, folder):
    """The thread's own dump: zeroing at the first mark is the thread's, too."""
    case.run("valgrind", "--tool=callgrind", "--separate-threads=yes",
             f"--callgrind-out-file={folder}/callgrind.%p", "--zero-before=CountingBegins",
             "--dump-before=CountingEnds")
    for dump in folder.glob("callgrind.*.1-*"):
        total = re.search(r"^summary: (\d+)$", dump.read_text(), re.M)
        return {INSTRUCTIONS: int(total.group(1))}
    raise SystemExit(f"Callgrind saw no marks of {case.name}")


def count_by_strace(case, folder):
    log = folder / "strace"
    case.run("strace", "-f", "-o", log)
    thread, count = None, 0
    for line in log.read_text(errors="replace").splitlines():
        caller, what = line.split(maxsplit=1)
        if what.startswith("sched_get_priority_min("):
            thread, count = caller, 0
        elif caller == thread and what.startswith("sched_get_priority_max("):
            return {CALLS: count}
        elif caller == thread and re.match(r"\w+\(", what):
            count += 1
    raise SystemExit(f"strace saw no marks of {case.name}")


def count_by_emulator(case, folder, plugin):
    out = folder / "counts"
    case.run(*ARM, "-plugin", f"{plugin},out={out}")
    if not out.exists():
        raise SystemExit(f"the emulator saw no marks of {case.name}")
    instructions, calls = out.read_text().split()
    return {INSTRUCTIONS: int(instructions), CALLS: int(calls)}


def sizes_of(library):
    """Text and data, as they are loaded, and the entries that the loader works through."""
    def listed(*command):
        return subprocess.run([*command, library], text=True, check=True,
                              stdout=subprocess.PIPE).stdout

    text, data = map(int, listed("size").splitlines()[1].split()[:2])
    relocations = re.findall(r"^[0-9a-f]{8,16} +[0-9a-f]", listed("readelf", "-rW"), re.M)
    return {BYTES: text + data, TEXT: text, DATA: data, RELOCATIONS: len(relocations)}


def private_memory(program, library, *emulator):
    """Of a process that has just loaded the library."""
    with subprocess.Popen([*emulator, program], env=ENVIRONMENT, text=True,
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
        while (line := process.stdout.readline()) != "loaded\n":
            if not line:
                raise SystemExit(f"{program} did not load the library")
        maps = pathlib.Path(f"/proc/{process.pid}/smaps").read_text()
        process.stdin.close()
    kibibytes = [int(size) for path, size in
                 re.findall(r"^[0-9a-f]+-[0-9a-f]+ .*?(/\S+)?$(?:\n[A-Z]\w+: .*)*?"
                            r"\nAnonymous: +(\d+) kB", maps, re.M)
                 if path and pathlib.Path(path).name.startswith(library.name)]
    if not kibibytes:
        raise SystemExit(f"{library.name} is not in the memory of {program}")
    return sum(kibibytes)


def for_one_operation(what, total, operations):
    """A wait that is cut short and repeated now and then is no figure: system calls to 0.01."""
    return round(total / operations, 1 if what == INSTRUCTIONS else 2)


def count(builds):
    """Figures by machine, case and what is counted, in the order of the cases."""
    plugin = builds["x86-64"] / "lib" / "libemulator_counts.so"

    def by_emulator(case, folder):
        return count_by_emulator(case, folder, plugin)

    jobs = []
    for case in cases(builds["x86-64"]):
        arm = dataclasses.replace(case, program=builds["arm"] / "bin" / case.program.name)
        jobs += [("x86-64", case, count_by_callgrind), ("x86-64", case, count_by_strace),
                 ("arm", arm, by_emulator)]

    def do(job):
        machine, case, counter = job
        with tempfile.TemporaryDirectory() as folder:
            totals = counter(case, pathlib.Path(folder))
        return {(machine, case.name, what): for_one_operation(what, total, case.operations)
                for what, total in totals.items()}

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counted = {key: value for figures in pool.map(do, jobs) for key, value in figures.items()}
    for machine, emulator in ("x86-64", []), ("arm", ARM):
        library = builds[machine] / "lib" / "libhtml5_video.so"
        figures = {**sizes_of(library), MEMORY: private_memory(
            builds[machine] / "bin" / "benchmark_loaded", library, *emulator)}
        counted |= {(machine, "library", what): value for what, value in figures.items()}
    return counted


def read_figures():
    if not FIGURES.exists():
        return {}
    lines = [line.split() for line in FIGURES.read_text().splitlines() if line[:1] not in ("#", "")]
    return {(machine, case, what): float(value) for machine, case, what, value in lines}


def write_figures(counted):
    rows = [f"{machine:<6} {case:<19} {what:<12} {shown(value):>9}\n" for (machine, case, what), value
            in sorted(counted.items(), key=lambda figure: (figure[0][0] == "arm", figure[0][2]))]
    FIGURES.write_text(HEAD + "".join(rows))


def shown(value):
    return "none" if value is None else f"{value:.10g}"


def verdict(what, then, now):
    """What became of a figure, and whether that is to fail; then is None for a new one, now for one
    that nothing counts any more."""
    if then is None or now is None:
        return "not in the file" if then is None else "no longer counted", True
    tolerance = {INSTRUCTIONS: then * (TOLERANCE - 1), MEMORY: PAGE}.get(what, 0)
    if now > then + tolerance:
        return "LOST", True
    better = now < then - tolerance
    return "better: write the file anew" if better else "within the tolerance", False


def compare(figures, counted):
    """Prints what changed; returns whether that may pass."""
    passed = True
    for key in {**figures, **counted}:
        then, now = figures.get(key), counted.get(key)
        if then != now:
            text, fails = verdict(key[2], then, now)
            print(f"{' '.join(key)}: {text}, {shown(then)} before, {shown(now)} now")
            passed = passed and not fails
    return passed


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--build-arm", type=pathlib.Path, required=True)
    parser.add_argument("--write", action="store_true")
    options = parser.parse_args()
    counted = count({"x86-64": options.build.resolve(), "arm": options.build_arm.resolve()})
    passed = compare(read_figures(), counted)
    if options.write:
        write_figures(counted)
        print(f"{len(counted)} figures, written")
        return 0
    print(f"{len(counted)} figures" + (", nothing is lost" if passed else ""))
    if not passed:
        print("a change that means this writes the file anew: scripts/benchmark --instructions "
              "--write", file=sys.stderr)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
