#!/usr/bin/env python3
"""Makes mutants of the library and looks whether the tests notice them."""

import argparse
import concurrent.futures
import json
import os
import pathlib
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter
from dataclasses import dataclass, field

import mutants
from run_mutations import read

# The tests that judge a folder, where they are more than its own.
JUDGES = {"util/ipc": ["tests/util/ipc", "tests/html5_video", "tests/faults"],
          "util/os_linux": ["tests/util/os_linux", "tests/faults"],
          "util/console": ["tests/util/console", "tests/faults"]}
SANITIZED = {"TSAN_OPTIONS": "halt_on_error=1:second_deadlock_stack=1:report_thread_leaks=0"}
PATIENCE = 240             # seconds for a program that has not been timed yet
LARGEST_FILE = 256 << 20   # bytes: what a test may write
LARGEST_SPACE = 8 << 30    # bytes of address space, but for the sanitizer


def judges(folder):
    return JUDGES.get(folder, ["tests/" + folder])


@dataclass
class Program:
    """A test program, run whole, or case by case where its cases need a process each."""
    folder: str
    command: list                       # relative to the tree
    cases: list = field(default_factory=list)
    whole: bool = True
    seconds: float = 0                  # that all of it takes without a mutant
    longest: float = 0                  # that one process takes

    @property
    def name(self):
        return pathlib.PurePath(self.command[-1]).name

    def runs(self):
        """The arguments of each process."""
        if self.whole:
            return [["--gtest_brief=1", "--gtest_fail_fast"]]
        return [["--gtest_brief=1", case] for case in self.cases]

    def limit(self):
        """Seconds after which a process does not end any more, on a busy machine too."""
        return 20 + 8 * self.longest if self.longest else PATIENCE


class Tree:
    """A copy of the code with its builds."""

    def __init__(self, path):
        self.path = path

    def build_folder(self, preset):
        return self.path / "build" / preset

    def environment(self, preset):
        return {**os.environ, "CCACHE_BASEDIR": str(self.path), "CCACHE_NOHASHDIR": "1",
                "TMPDIR": str(self.path / "tmp"), **SANITIZED}

    def compile(self, preset, folders):
        """What the compiler said when it does not compile, else nothing."""
        result = subprocess.run(["cmake", "--build", self.build_folder(preset), "-j2", "--target",
                                 *(f"{folder}/all" for folder in folders)],
                                env=self.environment(preset), text=True, errors="replace",
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return result.stdout if result.returncode else ""

    def programs(self, preset, folder):
        """The folder's test programs, as CTest knows them, without the slow ones."""
        listing = subprocess.run(["ctest", "--test-dir", self.build_folder(preset) / folder,
                                  "-LE", "slow", "--show-only=json-v1"], check=True,
                                 env=self.environment(preset), stdout=subprocess.PIPE).stdout
        found = {}
        for test in json.loads(listing)["tests"]:
            command = [os.path.relpath(word, self.path) if word.startswith(str(self.path)) else word
                       for word in test["command"] if word != "--gtest_also_run_disabled_tests"]
            filters = [word for word in command if word.startswith("--gtest_filter=")]
            command = [word for word in command if word not in filters]
            program = found.setdefault(tuple(command), Program(folder, command))
            program.cases += filters
        return list(found.values())

    def run(self, preset, program):
        """What noticed, or nothing when all passed. Stops at the first failure."""
        for arguments in program.runs():
            if noticed := self.run_process(preset, program, arguments):
                return noticed
        return ""

    def run_process(self, preset, program, arguments):
        command = [sys.executable, self.path / "tests/support/in_private_network.py",
                   *(self.path / word for word in program.command), *arguments]
        limit = program.limit() * (1 if preset == "debug" else 3)

        def restrict():
            resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            if preset == "debug":
                resource.setrlimit(resource.RLIMIT_AS, (LARGEST_SPACE, LARGEST_SPACE))

        with tempfile.TemporaryFile(dir=self.path / "tmp") as output:
            child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output,
                                     stderr=subprocess.STDOUT, env=self.environment(preset),
                                     start_new_session=True, preexec_fn=restrict)
            try:
                status = child.wait(limit)
            except subprocess.TimeoutExpired:
                status = None
            end_group(child)
            output.seek(-min(output.seek(0, os.SEEK_END), 1 << 20), os.SEEK_END)
            said = output.read().decode(errors="replace")
        if status is None:
            return f"{program.name}: no end after {limit:.0f} s"
        if status == 0:
            return ""
        reason = re.search(r"^\[  FAILED  \] ([^ ,\n]+)|SUMMARY: (.*)$", said, re.MULTILINE)
        return f"{program.name}: {(reason[1] or reason[2]) if reason else f'status {status}'}"

    def machine_code(self, source):
        """What the compiler makes of the source when it optimises; nothing when it is a header."""
        if source.endswith(".h"):
            return b""
        commands = json.loads((self.build_folder("debug") / "compile_commands.json").read_text())
        command = next(c for c in commands if c["file"] == str(self.path / source) and
                       "html5_video_objects.dir" in c["command"])
        with tempfile.NamedTemporaryFile(suffix=".o") as made:
            words = command["command"].split()
            words[words.index("-o") + 1] = made.name
            subprocess.run([*words, "-O2", "-g0"], cwd=command["directory"],
                           env=self.environment("debug"), check=True)
            return pathlib.Path(made.name).read_bytes()


def end_group(child):
    """Ends what the child left behind; the shell around it removes its folder on SIGTERM."""
    for sign, patience in ((signal.SIGTERM, 2), (signal.SIGKILL, 10)):
        try:
            os.killpg(child.pid, sign)
        except ProcessLookupError:
            return
        try:
            child.wait(patience)
        except subprocess.TimeoutExpired:
            pass


class Sampler:
    """Judges mutants one after the other in each tree, until enough of them count."""

    def __init__(self, trees, candidates, wanted, equivalent):
        self.trees = trees
        self.candidates = candidates
        self.wanted = wanted
        self.equivalent = equivalent    # the keys of those that are listed
        self.programs = {}              # by preset and folder of tests
        self.lock = threading.Lock()
        self.next = 0
        self.open = 0                   # begun, and may come to count
        self.counts = Counter()         # by folder and outcome
        self.survivors = []

    def prepare(self):
        """Builds without a mutant; every test must pass as it will be run."""
        sample = self.candidates[:self.wanted * 2]
        self.build("debug", {test for m in sample for test in judges(m.folder)})
        self.build("tsan", {test for m in sample if m.concurrent for test in judges(m.folder)})

    def build(self, preset, folders):
        folders = sorted(folders)
        begin = time.monotonic()
        for tree in self.trees:
            if said := (tree.compile(preset, folders) if folders else ""):
                raise SystemExit(f"the code does not compile as it is:\n{said[-3000:]}")
        for folder in folders:
            self.programs[preset, folder] = self.trees[0].programs(preset, folder)
        programs = [p for folder in folders for p in self.programs[preset, folder]]
        with concurrent.futures.ThreadPoolExecutor(len(self.trees)) as workers:
            list(workers.map(lambda program: self.learn(preset, program), programs))
        print(f"{preset}: {len(programs)} test programs, built and run without a mutant in "
              f"{time.monotonic() - begin:.0f} s; case by case: "
              f"{', '.join(p.name for p in programs if not p.whole) or 'none'}", flush=True)

    def learn(self, preset, program):
        """How the program must be run for its tests to pass, and how long it takes."""
        for program.whole in (True, False):
            durations = []
            for arguments in program.runs():
                begin = time.monotonic()
                noticed = self.trees[0].run_process(preset, program, arguments)
                durations.append(time.monotonic() - begin)
                if noticed:
                    break
            else:
                program.seconds, program.longest = sum(durations), max(durations)
                return
        raise SystemExit(f"{preset} fails without a mutant: {noticed}")

    def work(self, tree):
        try:
            self.judge_all(tree)
        except BaseException:
            self.wanted = 0             # the other trees stop too
            raise

    def judge_all(self, tree):
        while mutant := self.take():
            begin = time.monotonic()
            path = tree.path / mutant.source
            text = path.read_bytes()
            try:
                path.write_bytes(mutant.apply(text))
                outcome, how = self.judge(tree, mutant)
            finally:
                path.write_bytes(text)
            if outcome == "survived" and self.is_same_code(tree, mutant, text):
                outcome, how = "equivalent", "the same machine code"
            self.record(mutant, outcome, f"{how}, {time.monotonic() - begin:.0f} s")

    def take(self):
        """The next mutant, when those that count and those begun are not enough."""
        while True:
            with self.lock:
                counted = sum(n for (_, outcome), n in self.counts.items()
                              if outcome in ("caught", "survived"))
                if counted >= self.wanted or self.next == len(self.candidates):
                    return None
                if counted + self.open < self.wanted:
                    self.open += 1
                    self.next += 1
                    return self.candidates[self.next - 1]
            time.sleep(0.2)

    def judge(self, tree, mutant):
        if mutant.key in self.equivalent:
            return "equivalent", "listed"
        for preset in ("debug", "tsan") if mutant.concurrent else ("debug",):
            folders = judges(mutant.folder)
            if (preset, folders[0]) not in self.programs:
                continue
            if tree.compile(preset, folders):
                return "not compiled", preset
            for program in self.order(preset, mutant):
                if noticed := tree.run(preset, program):
                    return "caught", noticed if preset == "debug" else f"{preset}: {noticed}"
        return "survived", "all tests passed"

    def order(self, preset, mutant):
        """The folder's own programs first, the one with the source's name before them, the quick
        ones before the slow ones."""
        stem = pathlib.PurePath(mutant.source).stem
        folders = judges(mutant.folder)
        programs = [p for folder in folders for p in self.programs[preset, folder]]
        return sorted(programs, key=lambda p: (not p.name.startswith(stem), p.seconds))

    def is_same_code(self, tree, mutant, text):
        path = tree.path / mutant.source
        original = tree.machine_code(mutant.source)
        path.write_bytes(mutant.apply(text))
        try:
            return original and original == tree.machine_code(mutant.source)
        finally:
            path.write_bytes(text)

    def record(self, mutant, outcome, how):
        with self.lock:
            self.open -= 1
            self.counts[mutant.folder, outcome] += 1
            if outcome == "survived":
                self.survivors.append(mutant)
            shown = "SURVIVED" if outcome == "survived" else outcome
            print(f"{shown}: {mutant.source}:{mutant.line}: {mutant.operator}: "
                  f"{one_line(mutant.before)}  =>  {one_line(mutant.after)} [{how}]", flush=True)

    def report(self):
        print("\nSurvivors, in the form of tests/mutations/equivalent.txt:")
        for mutant in sorted(self.survivors, key=lambda m: (m.source, m.line)):
            print(f"\n## {mutant.source}: line {mutant.line}, {mutant.operator}")
            for sign, lines in (("-", mutant.before), ("+", mutant.after)):
                print("\n".join(sign + line for line in lines.split("\n")))
        print("\n| folder | mutants | caught | survived | caught, % | equivalent | not compiled |")
        print("| --- | ---: | ---: | ---: | ---: | ---: | ---: |")
        for folder in (*mutants.FOLDERS, "all"):
            row = Counter()
            for (name, outcome), number in self.counts.items():
                row[outcome] += number if folder in (name, "all") else 0
            counted = row["caught"] + row["survived"]
            share = f"{100 * row['caught'] / counted:.0f}" if counted else ""
            print(f"| {folder} | {counted} | {row['caught']} | {row['survived']} | {share} | "
                  f"{row['equivalent']} | {row['not compiled']} |")


def one_line(text):
    return " ".join(text.split())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--trees", nargs="+", type=pathlib.Path, required=True,
                        help="copies of the code, configured with the presets debug and tsan")
    parser.add_argument("--equivalent", type=pathlib.Path, required=True)
    parser.add_argument("--sample", type=int, required=True)
    parser.add_argument("--seed", type=int, default=random.randrange(1000000))
    parser.add_argument("paths", nargs="*", metavar="PATH")
    options = parser.parse_args()
    trees = [Tree(path.resolve()) for path in options.trees]
    for tree in trees:
        (tree.path / "tmp").mkdir(exist_ok=True)
    names = mutants.library_files(trees[0].path, options.paths)
    found = mutants.find(trees[0].path, trees[0].build_folder("debug"), names)
    listed = {(entry.source, entry.old, entry.new) for entry in read(options.equivalent)}
    random.Random(options.seed).shuffle(found)
    print(f"{len(found)} mutants in {len(names)} files, seed {options.seed}", flush=True)
    sampler = Sampler(trees, found, options.sample, listed)
    sampler.prepare()
    with concurrent.futures.ThreadPoolExecutor(len(trees)) as workers:
        list(workers.map(sampler.work, trees))
    sampler.report()


if __name__ == "__main__":
    main()
