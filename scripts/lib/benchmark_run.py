"""Runs the benchmarks' programs, prints what they say as tables and compares with the goals."""

import argparse
import json
import pathlib
import re
import subprocess
import sys
import tempfile

import benchmark_goals as goals
import benchmark_report as report

ROUND_TRIPS = ["tcp/silent/command", "unix/silent/command", "tcp/null/command", "tcp/file/command",
               "tcp/silent/64KiB", "tcp/silent/64KiB/two-cores", "tcp/silent/1MiB/two-cores"]

# What each topic runs, in order: programs with their arguments.
TOPICS = {
    "round-trip": [["benchmark_round_trip", name] for name in ROUND_TRIPS],
    "record": [["benchmark_record"]],
    "status": [["benchmark_status"]],
    "log": [["benchmark_log"]],
    "load": [["benchmark_load"]],
    "checksum": [["benchmark_sha1"], ["benchmark_sha1_portable"], ["benchmark_crc32"],
                 ["benchmark_crc32_portable"]],
    "console": [["benchmark_console"]],
    "scale": [["benchmark_scale"]],
}
BLOCKS = "scale/round-trip-bytes"
LONGEST = 300  # seconds, for one program


def run(command, folder):
    """The JSON lines of one program; none when it was not built."""
    if not pathlib.Path(command[0]).exists():
        print(f"{pathlib.Path(command[0]).name} was not built", file=sys.stderr)
        return []
    done = subprocess.run(command, cwd=folder, timeout=LONGEST, text=True, stdout=subprocess.PIPE,
                          check=True)
    return [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")]


def count_calls(program, topic, case, calls, folder):
    """System calls of so many round trips, both processes, with starting and connecting."""
    log = pathlib.Path(folder) / "strace"
    subprocess.run(["strace", "-f", "-c", "-o", log, program, "--calls", str(calls), topic, case],
                   cwd=folder, timeout=LONGEST, stdout=subprocess.DEVNULL, check=True)
    total = re.search(r"^100\.00\s+\S+\s+(?:\d+\s+)?(\d+)(?:\s+\d+)?\s+total$",
                      log.read_text(), re.M)
    return int(total.group(1))


def calls_of_a_round_trip(program, cases, folder):
    """Those of the cases; with the log those of this library."""
    few, many = 200, 1200
    for name, topic, case in ([("silent", "tcp/silent/command", case) for case in cases] +
                              [("log", "tcp/null/command", goals.OURS)]):
        more = (count_calls(program, topic, case, many, folder) -
                count_calls(program, topic, case, few, folder))
        yield {"topic": f"calls/{name}", "case": case, "value": round(more / (many - few), 2)}


def page_faults_of_a_round_trip(program, cases, folder):
    """Of a large block, in a process of its own for each case: what others free shapes the heap."""
    for case in cases:
        yield from run([program, "--calls", "200", "tcp/silent/1MiB/two-cores", case], folder)


def stripped_size(library, folder):
    copy = pathlib.Path(folder) / "stripped.so"
    subprocess.run(["strip", "-o", copy, library], check=True)
    text, data = subprocess.run(["size", copy], check=True, text=True,
                                stdout=subprocess.PIPE).stdout.splitlines()[1].split()[:2]
    return {"topic": "load/size", "case": goals.OURS, "value": int(text) + int(data)}


def measure(topic, build, folder):
    lines = []
    for program, *arguments in TOPICS[topic]:
        lines += run([str(build / "bin" / program), *arguments], folder)
    if topic == "round-trip":
        cases = [line["case"] for line in lines
                 if line["topic"] == "round-trip/tcp/silent/command"]
        program = str(build / "bin" / "benchmark_round_trip")
        lines += calls_of_a_round_trip(program, cases, folder)
        lines += page_faults_of_a_round_trip(program, cases, folder)
    if topic == "load":
        lines.append(stripped_size(build / "lib" / "libhtml5_video.so", folder))
    return lines


def collect(lines):
    """Results by topic and case, and the points of the topics that grow."""
    results, points = {}, {}
    for line in lines:
        if "size" in line:
            points.setdefault(line["topic"], []).append((line["size"], line["ns"]))
        elif "case" in line:
            results.setdefault(line["topic"], {})[line["case"]] = line
    for topic, values in points.items():
        results.setdefault(topic, {})[goals.OURS] = {"value": round(report.exponent(values), 2)}
    if BLOCKS in points:
        results["scale/2MB-against-1MiB"] = {goals.OURS: {"value": per_byte(points[BLOCKS])}}
    return results, points


def per_byte(points):
    """The time of a byte of the largest block as a multiple of that of the one before."""
    smaller, larger = (time / size for size, time in points[-2:])
    return round(larger / smaller, 2)


def check(results):
    """The lines of the goals that are missed by more than the tolerance."""
    missed = []
    for goal in goals.GOALS:
        excess = goals.excess(goal, results)
        if excess is not None and excess > goals.tolerance(goal):
            missed.append(f"missed by a factor {excess:.2f}: {goal.topic} ({goal.what})")
    return missed


def unmeasured(results):
    return [f"not measured: {goal.topic} ({goal.what})" for goal in goals.GOALS
            if goals.measured(goal, results) is None]


def parse_options():
    parser = argparse.ArgumentParser()
    parser.add_argument("topics", nargs="*", metavar="TOPIC", help=", ".join(TOPICS))
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    unknown = set(options.topics) - set(TOPICS)
    if unknown:
        parser.error(f"no such topic: {', '.join(sorted(unknown))}")
    return options


def main():
    options = parse_options()
    build = options.build.resolve()
    lines = []
    with tempfile.TemporaryDirectory() as folder:
        for topic in options.topics or TOPICS:
            print(f"measuring {topic}", file=sys.stderr)
            lines += measure(topic, build, folder)
    results, points = collect(lines)
    text = report.tables(results, points)
    print(text)
    if not options.topics:
        report.write(text, results, points)
    if options.check:
        missed = check(results)
        missed += [] if options.topics else unmeasured(results)
        print("\n".join(missed) or "no goal is missed", file=sys.stderr)
        return 1 if missed else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
