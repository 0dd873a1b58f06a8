"""What the benchmarks must reach. Ratios of one run on one machine, so that they hold elsewhere."""

from dataclasses import dataclass

OURS = "html5_video"


@dataclass(frozen=True)
class Goal:
    topic: str  # of the results
    what: str  # for the reader
    limit: str  # what the ratio is taken to
    kind: str  # cost: at most; speed: at least; value, ns: at most, a plain number or a time
    goal: float
    floor: str = ""  # case that has what is fixed on top of the limit; the goal is not below it
    case: str = OURS
    exact: bool = False  # no tolerance: the same in every run


GOALS = [
    Goal("round-trip/tcp/silent/command", "command and empty answer, TCP", "ping-pong",
         "cost", 1.05),
    Goal("round-trip/unix/silent/command", "the same, UNIX socket", "ping-pong", "cost", 1.10),
    Goal("round-trip/tcp/null/command", "the same, TCP, every log line to /dev/null", "ping-pong",
         "cost", 1.20, "limit/log-lines"),
    Goal("round-trip/tcp/file/command", "the same, every log line to a file", "ping-pong", "cost",
         1.40, "limit/log-lines"),
    Goal("round-trip/tcp/silent/64KiB", "64 KiB there, empty answer, TCP", "ping-pong", "cost",
         1.5),
    Goal("round-trip/tcp/silent/64KiB/two-cores", "the same on two cores", "ping-pong", "cost",
         1.5),
    Goal("round-trip/tcp/silent/1MiB/two-cores", "1 MiB there, empty answer, TCP, two cores",
         "ping-pong", "cost", 1.6),
    Goal("faults/tcp/silent/1MiB/two-cores", "page faults of a 1 MiB call, both sides", "", "value",
         16, exact=True),
    Goal("calls/silent", "system calls of a round trip, both sides", "", "value", 4, exact=True),
    Goal("calls/log", "the same with the log", "", "value", 9, exact=True),
    Goal("record/twelve-integers", "record of twelve integers, there and back", "by hand", "cost",
         2.2),
    Goal("record/twelve-integers/protobuf", "the same", "protobuf", "cost", 3),
    Goal("status/1000-updates-a-second", "status read while updates arrive", "mutex", "cost", 0.43),
    Goal("status/1000-updates-a-second", "the same, nanoseconds", "", "ns", 6),
    Goal("log/line-to-a-file", "decorated line to a file", "snprintf and write", "cost", 1.00),
    Goal("log/filtered", "filtered line", "call and test", "cost", 1.1),
    Goal("sha1/1KiB", "SHA-1, 1 KiB", "OpenSSL", "speed", 0.97),
    Goal("sha1/1MiB", "SHA-1, 1 MiB", "OpenSSL", "speed", 0.97),
    Goal("sha1-portable/1KiB", "SHA-1 portable, 1 KiB", "OpenSSL portable", "speed", 1.03),
    Goal("sha1-portable/1MiB", "SHA-1 portable, 1 MiB", "OpenSSL portable", "speed", 1.03),
    Goal("crc32/188B/isa-l", "CRC-32, 188 bytes", "ISA-L", "speed", 0.65),
    Goal("crc32/4KiB", "CRC-32, 4 KiB", "zlib", "speed", 2.2),
    Goal("crc32/1MiB", "CRC-32, 1 MiB", "zlib", "speed", 2.2),
    Goal("crc32-portable/188B", "CRC-32 portable, 188 bytes", "zlib", "speed", 2.5),
    Goal("crc32-portable/4KiB", "CRC-32 portable, 4 KiB", "zlib", "speed", 0.8),
    Goal("crc32-portable/1MiB", "CRC-32 portable, 1 MiB", "zlib", "speed", 0.8),
    Goal("console/while/1000-turns", "turn of a script's WHILE loop", "Tcl, global variables",
         "cost", 0.15),
    Goal("console/while/1000-turns", "the same loop, each line run plainly", "Tcl's loop",
         "cost", 1, case="html5_video/line-by-line"),
    Goal("console/line", "a line run plainly", "Tcl's eval", "cost", 1),
    Goal("load", "loading the library", "zlib", "cost", 2.0),
    Goal("load/resident", "resident memory that loading adds, KiB", "", "value", 600),
    Goal("load/size", "text and data, stripped, bytes", "", "value", 204800, exact=True),
    Goal("scale/round-trip-arguments", "round trip over 0 to 64 arguments, exponent", "",
         "value", 1),
    Goal("scale/round-trip-bytes", "round trip over 1 KiB to 2 MB, exponent", "",
         "value", 1),
    Goal("scale/2MB-against-1MiB", "a byte of 2 MB against one of 1 MiB", "", "value", 1.2),
    Goal("scale/methods", "method lookup over 10 to 2,500 names, exponent", "",
         "value", 1),
    Goal("scale/threads", "thread registry over 10 to 1,000 threads, exponent", "",
         "value", 1),
    Goal("scale/script-lines", "script of 10 to 100,000 lines, exponent", "",
         "value", 1),
]

PLAIN = ("value", "ns")  # kinds that are no ratios

# How far a median may be from the goal. Runs of unchanged programs on a loaded two-processor guest
# gave medians up to a fifth apart (the record 2.16 to 2.59, portable SHA-1 0.87 to 1.02), so less
# would fail by chance. What is lost below that shows in the instructions, which CI counts.
TOLERANCE = 1.2


def measured(goal, results):
    """The value of the goal's case as (median, least, most), or None when it was not measured."""
    entry = results.get(goal.topic, {}).get(goal.case)
    if entry is None:
        return None
    if goal.kind in PLAIN:
        return (entry[goal.kind],) * 3
    return cost(entry) if goal.kind == "cost" else ratio(entry)


def ratio(entry):
    return entry["ratio_median"], entry["ratio_min"], entry["ratio_max"]


def cost(entry):
    """Time as a multiple of the base's."""
    return 1 / entry["ratio_median"], 1 / entry["ratio_max"], 1 / entry["ratio_min"]


def bound(goal, results):
    """The goal, or what fixed behaviour alone costs on this machine where that is more."""
    floor = results.get(goal.topic, {}).get(goal.floor)
    return max(goal.goal, cost(floor)[0]) if floor else goal.goal


def tolerance(goal):
    return 1 if goal.exact else TOLERANCE


def excess(goal, results):
    """Above 1 the goal is missed, by that factor; None when it was not measured."""
    value = measured(goal, results)
    if value is None:
        return None
    limit = bound(goal, results)
    return limit / value[0] if goal.kind == "speed" else value[0] / limit
