#!/usr/bin/env python3
"""A Markdown table of the lines and branches reached, out of gcovr's JSON, and the lines that were not.

By folder for a run of the suite; with --by-file one row for each source that the run enters.
"""

import argparse
import json
import pathlib
from dataclasses import dataclass, field

ENTERED = 0.25  # of its lines; what initialises itself while it is loaded runs in any program


@dataclass
class Count:
    lines: int = 0
    lines_reached: int = 0
    branches: int = 0
    branches_reached: int = 0
    missed: list = field(default_factory=list)  # line numbers

    def add_line(self, line):
        self.lines += 1
        if line["count"]:
            self.lines_reached += 1
        else:
            self.missed.append(line["line_number"])
        self.branches += len(line["branches"])
        self.branches_reached += sum(1 for branch in line["branches"] if branch["count"])

    def add(self, other):
        self.lines += other.lines
        self.lines_reached += other.lines_reached
        self.branches += other.branches
        self.branches_reached += other.branches_reached

    def share(self):
        return self.lines_reached / self.lines if self.lines else 0.0


def read(path):
    """Counts by source, without those that have no code."""
    counts = {}
    for entry in json.loads(path.read_text())["files"]:
        count = counts.setdefault(entry["file"], Count())
        for line in entry["lines"]:
            if not line.get("gcovr/noncode"):
                count.add_line(line)
    return {name: count for name, count in sorted(counts.items()) if count.lines}


def by_folder(counts):
    folders = {}
    for name, count in counts.items():
        folders.setdefault(str(pathlib.PurePath(name).parent), Count()).add(count)
    total = Count()
    for count in folders.values():
        total.add(count)
    return {**dict(sorted(folders.items())), "all": total}


def percent(part, whole):
    return f"{100 * part / whole:.1f} %" if whole else "none"


def table(counts, title):
    rows = [f"| {title} | lines | reached | branches | reached |", "| --- | --- | --- | --- | --- |"]
    for name, count in counts.items():
        rows.append(f"| `{name}` | {count.lines} | {percent(count.lines_reached, count.lines)} | "
                    f"{count.branches} | {percent(count.branches_reached, count.branches)} |")
    return "\n".join(rows)


def missed_lines(counts, repository):
    for name, count in counts.items():
        text = (repository / name).read_text().splitlines()
        for number in count.missed:
            yield f"{name}:{number}: {text[number - 1].strip()}\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("counts", type=pathlib.Path, help="gcovr's JSON")
    parser.add_argument("--repository", type=pathlib.Path, required=True)
    parser.add_argument("--missed", type=pathlib.Path, required=True, help="file for the lines not reached")
    parser.add_argument("--by-file", action="store_true")
    options = parser.parse_args()
    counts = read(options.counts)
    if options.by_file:
        counts = {name: count for name, count in counts.items() if count.share() >= ENTERED}
    options.missed.write_text("".join(missed_lines(counts, options.repository)))
    print(table(counts, "file") if options.by_file else table(by_folder(counts), "folder"))


if __name__ == "__main__":
    main()
