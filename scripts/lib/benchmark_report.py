"""The tables and plots of docs/performance.md."""

import datetime
import math
import os
import pathlib
import platform
import re
import subprocess

import benchmark_goals as goals

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
BEGIN, END = "<!-- results: written by scripts/benchmark -->", "<!-- end of results -->"

# Topics of plain numbers that have a table, and what they count.
VALUES = {"calls/silent": "system calls of a round trip, both sides",
          "faults/tcp/silent/1MiB/two-cores": "page faults of a round trip, both sides",
          "load/resident": "KiB"}


def exponent(points):
    """The slope of a straight line through the points on logarithmic axes, by least squares."""
    xs = [math.log(size) for size, _ in points if size > 0]
    ys = [math.log(time) for size, time in points if size > 0]
    x_mean, y_mean = sum(xs) / len(xs), sum(ys) / len(ys)
    return (sum((x - x_mean) * (y - y_mean) for x, y in zip(xs, ys)) /
            sum((x - x_mean) ** 2 for x in xs))


def machine():
    """One line: processor, system, compiler, day."""
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    compiler = subprocess.run(["c++", "--version"], text=True, check=True,
                              stdout=subprocess.PIPE).stdout.splitlines()[0]
    name = model.group(1) if model else platform.machine()
    return (f"{name}, {os.cpu_count()} processors, Linux {platform.release().split('-')[0]}, "
            f"{compiler}, {datetime.date.today()}.")


def number(value):
    return f"{value:,.0f}" if value >= 1000 else f"{value:.3g}" if value < 10 else f"{value:.1f}"


def spread(value):
    median, least, most = value
    if least == most:
        return number(median)
    return f"{number(median)} ({number(least)} to {number(most)})"


def verdict(goal, results):
    """Whether the goal is met, and what fixed behaviour alone costs where that is more."""
    value, floor = goals.measured(goal, results)[0], goals.bound(goal, results)
    missed = goal.goal / value if goal.kind == "speed" else value / goal.goal
    text = "yes" if missed <= 1 else "within noise" if missed <= goals.tolerance(goal) else "no"
    return text if floor == goal.goal else f"{text}; what is fixed costs {number(floor)} ×"


def goal_table(results):
    rows = ["| what | against | goal | here | met |", "| --- | --- | ---: | ---: | --- |"]
    for goal in goals.GOALS:
        value = goals.measured(goal, results)
        if value is None:
            continue
        sign = "≥" if goal.kind == "speed" else "≤"
        times = "" if goal.kind in goals.PLAIN else " ×"
        last = f"{spread(value)}{times} | {verdict(goal, results)} |"
        rows.append(f"| {goal.what} | {goal.limit} | {sign} {number(goal.goal)}{times} | {last}")
    return "\n".join(rows)


def case_table(topic, cases):
    rows = [f"| `{topic}` | time, as a multiple of the first | nanoseconds |",
            "| --- | ---: | ---: |"]
    for case, entry in cases.items():
        rows.append(f"| {case} | {spread(goals.cost(entry))} | {number(entry['ns'])} |")
    return "\n".join(rows)


def point_table(topic, points):
    rows = [f"| `{topic}` | nanoseconds |", "| ---: | ---: |"]
    rows += [f"| {size:,} | {number(time)} |" for size, time in points]
    return "\n".join(rows)


def value_table(topic, unit, cases):
    rows = [f"| `{topic}` | {unit} |", "| --- | ---: |"]
    return "\n".join(rows + [f"| {case} | {entry['value']:,} |" for case, entry in cases.items()])


def group_of(topic):
    return topic.split("/")[0]


def tables(results, points):
    parts = [goal_table(results)]
    for topic, cases in results.items():
        if all("ratio_median" in entry for entry in cases.values()):
            parts.append(case_table(topic, cases))
        elif topic in VALUES:
            parts.append(value_table(topic, VALUES[topic], cases))
    parts += [point_table(topic, values) for topic, values in points.items()]
    return "\n\n".join(parts)


def plot(path, script, data):
    """Runs gnuplot with the data as its block $data."""
    head = (f"set terminal svg size 1000,520 font 'sans,11' background 'white'\n"
            f"set output '{path}'\nset grid\n$data << EOD\n{data}\nEOD\n")
    subprocess.run(["gnuplot"], input=head + script, text=True, check=True)


def plot_costs(group, results):
    """Bars of time as a multiple of each topic's base, with a gap between topics."""
    rows = []
    for topic, cases in results.items():
        entries = [(case, entry) for case, entry in cases.items() if "ratio_median" in entry]
        if group_of(topic) == group and entries:
            rows += ['"" NaN NaN NaN 0'] if rows else []
            rows += [f'"{case} {topic[len(group) + 1:]}" {" ".join(map(str, goals.cost(entry)))} '
                     f"{1 if case == goals.OURS else 2}" for case, entry in entries]
    if not rows:
        return False
    plot(DOCS / "performance" / f"{group}.svg",
         "set style fill solid 0.6 noborder\nset boxwidth 0.7\nset logscale y\nset bmargin 14\n"
         "set ylabel 'time, as a multiple of the base'\nset xtics rotate by -55 left noenhanced\n"
         "set key outside center top horizontal\nset rmargin 12\n"
         "plot $data using 0:($5==2?$2:NaN):xtic(1) with boxes lc rgb '#999999' title 'others', "
         "$data using 0:($5==1?$2:NaN) with boxes lc rgb '#1f77b4' title 'this library', "
         "$data using 0:2:3:4 with yerrorbars lc rgb '#333333' pointtype 7 pointsize 0.3 "
         "title 'least to most'\n", "\n".join(rows))
    return True


def plot_points(points):
    """One curve per topic, on logarithmic axes, with the fitted exponent in its name."""
    blocks = ["\n".join(f"{size} {time}" for size, time in values) for values in points.values()]
    curves = ", ".join(
        f"$data index {index} using 1:2 with linespoints title "
        f"'{topic.split('/')[1]}, exponent {exponent(values):.2f}'"
        for index, (topic, values) in enumerate(points.items()))
    plot(DOCS / "performance" / "scale.svg",
         "set logscale xy\nset key outside right\nset xlabel 'size'\nset ylabel 'nanoseconds'\n"
         f"plot {curves}\n", "\n\n\n".join(blocks))


def write(text, results, points):
    """Puts the results between the markers of docs/performance.md and draws the plots."""
    (DOCS / "performance").mkdir(exist_ok=True)
    groups = dict.fromkeys(group_of(topic) for topic in results)
    drawn = [group for group in groups if group != "scale" and plot_costs(group, results)]
    if points:
        plot_points(points)
        drawn.append("scale")
    images = "\n\n".join(f"![{group}](performance/{group}.svg)" for group in drawn)
    page = DOCS / "performance.md"
    before, rest = page.read_text().split(BEGIN)
    after = rest.split(END)[1]
    page.write_text(f"{before}{BEGIN}\n\n{machine()}\n\n{text}\n\n{images}\n\n{END}{after}")
