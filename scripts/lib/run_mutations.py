#!/usr/bin/env python3
"""Puts one fault after the other into a copy of the code and looks whether the tests notice."""

import argparse
import os
import pathlib
import signal
import subprocess
import sys
import time
from dataclasses import dataclass

SECONDS = 240  # that the tests of one folder may take; longer is a hang, which counts as noticed
JOBS = 4


@dataclass
class Mutation:
    source: str
    fault: str
    old: str = ""
    new: str = ""

    def tests(self):
        """The folder of the tests that must notice: the nearest one that there is."""
        folders = (pathlib.Path("tests", parent) for parent in pathlib.Path(self.source).parents)
        return str(next(folder for folder in folders if folder.is_dir()))

    def apply(self, text):
        if text.count(self.old) != 1:
            raise SystemExit(f"{self.source}: stands there {text.count(self.old)} times:\n{self.old}")
        return text.replace(self.old, self.new)


def read(path):
    mutations = []
    for line in path.read_text().splitlines():
        if line.startswith("## "):
            source, fault = line[3:].split(": ", 1)
            mutations.append(Mutation(source, fault))
        elif line.startswith("-"):
            mutations[-1].old += ("\n" if mutations[-1].old else "") + line[1:]
        elif line.startswith("+"):
            mutations[-1].new += ("\n" if mutations[-1].new else "") + line[1:]
    return mutations


class Copy:
    """The copy of the code and its build."""

    def __init__(self, tree):
        self.tree = tree
        self.build = tree / "build" / "debug"

    def compile(self, folders):
        """False, with the compiler's words printed, when it does not compile."""
        result = subprocess.run(["cmake", "--build", self.build, "--target",
                                 *(f"{folder}/all" for folder in folders)],
                                text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if result.returncode != 0:
            print(result.stdout[-3000:], file=sys.stderr)
        return result.returncode == 0

    def test(self, folder):
        """What noticed, or nothing when all passed."""
        command = ["ctest", "--test-dir", str(self.build / folder), "--stop-on-failure",
                   "-LE", "slow", "-j", str(JOBS)]
        with subprocess.Popen(command, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, start_new_session=True) as child:
            try:
                output, _ = child.communicate(timeout=SECONDS)
            except subprocess.TimeoutExpired:
                os.killpg(child.pid, signal.SIGTERM)
                child.communicate()
                return f"no end after {SECONDS} s"
        if child.returncode == 0:
            return ""
        failed = [line.split(" - ", 1)[1] for line in output.splitlines()
                  if line.lstrip()[:1].isdigit() and " - " in line and line.endswith(")")]
        return failed[0] if failed else "the tests can not be run"

    def try_out(self, mutation):
        """What noticed the fault, or nothing."""
        path = self.tree / mutation.source
        text = path.read_text()
        try:
            path.write_text(mutation.apply(text))
            if not self.compile([mutation.tests()]):
                raise SystemExit(f"does not compile: {mutation.source}: {mutation.fault}")
            return self.test(mutation.tests())
        finally:
            path.write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("mutations", type=pathlib.Path)
    parser.add_argument("tree", type=pathlib.Path, help="the copy, configured with the preset debug")
    parser.add_argument("--only", default="", metavar="TEXT",
                        help="those with the text in their source or fault")
    options = parser.parse_args()
    mutations = read(options.mutations)
    for mutation in mutations:
        mutation.apply((options.tree / mutation.source).read_text())
    mutations = [one for one in mutations if options.only in f"{one.source}: {one.fault}"]
    copy = Copy(options.tree)
    folders = sorted({mutation.tests() for mutation in mutations})
    if not copy.compile(folders):
        raise SystemExit("the code does not compile as it is")
    for folder in folders:
        noticed = copy.test(folder)
        if noticed:
            raise SystemExit(f"{folder} fails without any fault: {noticed}")
    survived = 0
    for mutation in mutations:
        begin = time.monotonic()
        noticed = copy.try_out(mutation)
        survived += not noticed
        print(f"{'caught' if noticed else 'SURVIVED'}: {mutation.source}: {mutation.fault} "
              f"[{noticed or 'all tests passed'}, {time.monotonic() - begin:.0f} s]", flush=True)
    print(f"{len(mutations) - survived} of {len(mutations)} caught")
    return 1 if survived else 0


if __name__ == "__main__":
    sys.exit(main())
