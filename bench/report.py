#!/usr/bin/python3
"""Runs the benchmark programs and numpy beside them, and writes one report of every area: report.txt, report.svg
and report.json. With --page also the table and the plot of docs/performance.md.

    bench/report.py BUILD_DIRECTORY [--out DIRECTORY] [--only AREA]... [--quick] [--page]

A ratio is the best peer's time over the library's: above 1 the library is ahead. Each figure is a median; programs
run one after the other, so that none disturbs the next. An area whose program or peer fails is named at the end, and
the exit status is 1.
"""

import argparse
import csv
import datetime
import json
import math
import os
import platform
import re
import subprocess
import sys
import tempfile
from collections import defaultdict
from dataclasses import dataclass
from pathlib import Path

SOURCES = Path(__file__).resolve().parent
LIBRARY = "library"
BEGIN, END = "<!-- made by bench/report.py --page -->\n", "<!-- end -->\n"


@dataclass
class Figure:
    """What one contender does in one row: a time, or a number of things a second."""
    row: str
    contender: str
    value: float
    unit: str
    higher_is_better: bool = False


def run(*command):
    return subprocess.run([str(word) for word in command], check=True, text=True, stdout=subprocess.PIPE).stdout


class Programs:
    def __init__(self, directory, quick):
        self.directory, self.quick = Path(directory), quick

    def path(self, name):
        return self.directory / "bench" / f"{name}_bench"

    def google(self, name):
        """Rows of a program made with Google Benchmark: names and medians, as its own JSON has them."""
        repetitions = 3 if self.quick else 5
        text = run(self.path(name), "--benchmark_format=json", f"--benchmark_repetitions={repetitions}",
                   f"--benchmark_min_time={0.02 if self.quick else 0.1}",
                   "--benchmark_enable_random_interleaving=true")
        rows = defaultdict(list)
        for entry in json.loads(text)["benchmarks"]:
            if entry.get("run_type") != "aggregate" and not entry.get("error_occurred"):
                rows[entry["run_name"]].append(entry)
        for title, entries in rows.items():
            entries.sort(key=lambda entry: entry["real_time"])
            yield title, entries[len(entries) // 2]


def numpy_rows(script):
    """Lines `NAME  items_per_second=VALUE[GM]/s`."""
    for line in run("/usr/bin/python3", SOURCES / script).splitlines():
        found = re.fullmatch(r"(\S+)\s+items_per_second=([\d.]+)([GM])/s", line)
        if found:
            yield found[1], float(found[2]) * {"G": 1e9, "M": 1e6}[found[3]]


def memory(programs):
    with tempfile.NamedTemporaryFile(suffix=".csv") as file:
        run(programs.path("memory"), "--csv", file.name, *(["--quick"] if programs.quick else []))
        with open(file.name, newline="", encoding="utf-8") as rows:
            for row in csv.DictReader(rows):
                contender = LIBRARY if row["allocator"] == "zenthar" else row["allocator"]
                yield Figure(row["row"], contender, float(row["median"]), row["unit"])


def parallel(programs):
    with tempfile.NamedTemporaryFile(suffix=".csv") as file:
        run(programs.path("parallel"), "--csv", file.name, *(["--quick"] if programs.quick else []))
        with open(file.name, newline="", encoding="utf-8") as rows:
            for row in csv.DictReader(rows):
                yield Figure(f"{row['loop']}, {row['threads']} threads", row["contender"], float(row["median"]), "us")


def kernels(programs):
    """The widest target of this machine, with and without checks, beside the loop in C and numpy."""
    targets = ("baseline", "avx2", "avx512")
    speeds, width = {}, {}
    for title, entry in programs.google("kernels"):
        operation, kind, way, length = title.split("/")[:4]
        target, _, checks = way.partition("_")
        row = f"{operation} {kind} {length}"
        if way == "c":
            speeds[row, "C loop"] = speeds[row + ", checked", "C loop"] = entry["items_per_second"]
        elif checks in ("", "checked"):
            row += ", checked" if checks else ""
            if targets.index(target) >= width.get(row, 0):
                width[row] = targets.index(target)
                speeds[row, LIBRARY] = entry["items_per_second"]
    for title, speed in numpy_rows("kernels_numpy.py"):
        operation, kind, _, length = title.split("/")
        row = f"{operation} {kind} {length}"
        speeds[row, "numpy"] = speeds[row + ", checked", "numpy"] = speed
    for (row, contender), speed in speeds.items():
        yield Figure(row, contender, speed / 1e9, "G/s", True)


def functions(programs):
    lines = run(programs.path("functions"), *(["--turns", 3] if programs.quick else [])).splitlines()
    peers = ("numpy", "SLEEF", "libm")
    for line in lines[2:]:
        *_, own, numpy, sleef, libm, _, _, _ = line.split()
        for contender, speed in zip((LIBRARY, *peers), (own, numpy, sleef, libm)):
            if speed != "-":
                yield Figure(" ".join(line[:43].split()), contender, float(speed), "G/s", True)


def scalar(programs):
    for title, entry in programs.google("scalar"):
        found = re.fullmatch(r"(.*?)(?: \((.*)\))?", title)
        yield Figure(found[1], found[2] or LIBRARY, entry["real_time"], "ns")


def hashes(programs):
    for title, entry in programs.google("hash"):
        parts = title.split("/")
        if parts[0] == "hash":
            contender = LIBRARY if parts[2] == "zenthar" else parts[2]
            yield Figure(" ".join([parts[1], *parts[3:]]), contender, entry["real_time"], entry["time_unit"])
        else:
            contender = LIBRARY if parts[3] == "zenthar" else parts[3]
            yield Figure(f"{parts[1]} {parts[2]}, a million keys", contender, entry["real_time"], entry["time_unit"])


def sorting(programs):
    names = {"permutation": ("argsort", LIBRARY), "std-stable_sort-indices": ("argsort", "std::stable_sort"),
             "values": ("sort", LIBRARY), "std-sort-values": ("sort", "std::sort")}
    for title, entry in programs.google("sort"):
        kind, shape, who, *_ = title.split("/") + [""]
        if who in names:
            what, contender = names[who]
            yield Figure(f"{what} {kind} {shape}", contender, entry["cpu_time"], entry["time_unit"])


def random(programs):
    for title, entry in programs.google("random"):
        what, who, count = title.split("/")[:3]
        if who in ("twister", "std"):
            yield Figure(f"{what} {count}", LIBRARY if who == "twister" else "std::mt19937_64",
                         entry["items_per_second"] / 1e6, "M/s", True)
    for title, speed in numpy_rows("random_numpy.py"):
        what, who, count = title.split("/")
        yield Figure(f"{what} {count}", who, speed / 1e6, "M/s", True)


AREAS = {"memory": memory, "arithmetic": kernels, "vector functions": functions, "scalar functions": scalar,
         "hashing": hashes, "sorting": sorting, "parallel loops": parallel, "random numbers": random}


@dataclass
class Row:
    name: str
    figures: dict
    ratio: float  # of the best peer's time to the library's


def compare(figures):
    """Rows in which the library and at least one peer have a figure."""
    rows = defaultdict(list)
    for figure in figures:
        rows[figure.row].append(figure)
    for name, all_figures in rows.items():
        ours = [f for f in all_figures if f.contender == LIBRARY]
        peers = [f for f in all_figures if f.contender != LIBRARY]
        if not ours or not peers or min(f.value for f in all_figures) <= 0:
            continue
        ratios = [ours[0].value / f.value if f.higher_is_better else f.value / ours[0].value for f in peers]
        yield Row(name, {f.contender: (f.value, f.unit) for f in ours + peers}, min(ratios))


def geometric_mean(values):
    return math.exp(sum(map(math.log, values)) / len(values))


def machine():
    model = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                  if line.startswith("model name")), platform.machine())
    return f"{model}, {os.cpu_count()} processors, Linux {platform.release()}"


def number(value):
    return f"{value:.3g}" if value < 1000 else f"{value:.0f}"


def write_text(path, areas, when):
    with open(path, "w", encoding="utf-8") as out:
        print(f"{when:%Y-%m-%d}, {machine()}, load {os.getloadavg()[0]:.1f}", file=out)
        print("Ratios are the best peer's time over the library's: above 1 the library is ahead.\n", file=out)
        print(f"{'area':20} {'rows':>5} {'ahead':>6} {'geometric mean':>15} {'least':>7} {'most':>7}", file=out)
        for area, rows in areas.items():
            ratios = [row.ratio for row in rows]
            print(f"{area:20} {len(rows):5} {sum(r >= 1 for r in ratios):6} {geometric_mean(ratios):15.2f}"
                  f" {min(ratios):7.2f} {max(ratios):7.2f}", file=out)
        for area, rows in areas.items():
            print(f"\n{area}", file=out)
            for row in rows:
                figures = ", ".join(f"{who} {number(value)}" for who, (value, _) in row.figures.items())
                unit = next(iter(row.figures.values()))[1]
                print(f"  {row.name:52} {row.ratio:7.2f}   {unit}: {figures}", file=out)


def write_plot(path, areas, when):
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams["svg.hashsalt"] = "zenthar"
    from matplotlib import pyplot
    figure, axes = pyplot.subplots(figsize=(9, 0.6 * len(areas) + 1.4))
    for height, (area, rows) in enumerate(reversed(areas.items())):
        ratios = sorted(row.ratio for row in rows)
        axes.scatter(ratios, [height] * len(ratios), s=14, alpha=0.45, color="tab:blue", linewidths=0)
        axes.plot([geometric_mean(ratios)] * 2, [height - 0.28, height + 0.28], color="tab:red", linewidth=2)
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_xscale("log", base=2)
    axes.xaxis.set_major_formatter(matplotlib.ticker.FuncFormatter(lambda x, _: f"{x:g}"))
    axes.set_yticks(range(len(areas)), list(reversed(areas)))
    axes.set_xlabel("best peer's time over the library's: right of 1 the library is ahead (dots: rows, bars: geometric means)",
                    fontsize=8)
    axes.set_title(f"{when:%Y-%m-%d}, {machine()}", fontsize=8)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})


def write_page(areas, when):
    """The summary in docs/performance.md, between its marks, and the plot beside it."""
    page = SOURCES.parent / "docs" / "performance.md"
    before, rest = page.read_text(encoding="utf-8").split(BEGIN)
    after = rest.split(END)[1]
    lines = [f"{when:%Y-%m-%d}, {machine()}.", "", "| area | rows | ahead or level | geometric mean | least | most |",
             "|---|---|---|---|---|---|"]
    for area, rows in areas.items():
        ratios = [row.ratio for row in rows]
        lines.append(f"| {area} | {len(rows)} | {sum(r >= 0.95 for r in ratios)} | {geometric_mean(ratios):.2f} |"
                     f" {min(ratios):.2f} | {max(ratios):.2f} |")
    page.write_text(f"{before}{BEGIN}\n" + "\n".join(lines) + f"\n\n{END}{after}", encoding="utf-8")
    write_plot(page.with_suffix(".svg"), areas, when)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", help="build directory of the preset bench")
    parser.add_argument("--out", type=Path, help="where the report goes (BUILD_DIRECTORY/report)")
    parser.add_argument("--only", action="append", metavar="AREA", help=f"one of: {', '.join(AREAS)}")
    parser.add_argument("--quick", action="store_true", help="fewer and shorter turns")
    parser.add_argument("--page", action="store_true", help="write the table and the plot of docs/performance.md too")
    arguments = parser.parse_args()
    unknown = set(arguments.only or []) - set(AREAS)
    if unknown:
        parser.error(f"no area is called {', '.join(sorted(unknown))}")
    out = arguments.out or Path(arguments.build) / "report"
    out.mkdir(parents=True, exist_ok=True)

    areas, failures, when = {}, [], datetime.date.today()
    for area in arguments.only or AREAS:
        print(f"== {area}", flush=True)
        try:
            rows = list(compare(AREAS[area](Programs(arguments.build, arguments.quick))))
        except (OSError, subprocess.CalledProcessError, ValueError) as error:
            failures.append(f"{area}: {error}")
            continue
        if rows:
            areas[area] = rows
        else:
            failures.append(f"{area}: no row with a peer")
    if areas:
        write_text(out / "report.txt", areas, when)
        write_plot(out / "report.svg", areas, when)
        with open(out / "report.json", "w", encoding="utf-8") as file:
            json.dump({"date": str(when), "machine": machine(),
                       "areas": {area: [vars(row) for row in rows] for area, rows in areas.items()}}, file, indent=1)
        if arguments.page:
            write_page(areas, when)
        print((out / "report.txt").read_text(encoding="utf-8"))
        print(f"Written to {out}")
    for failure in failures:
        print(f"Failed: {failure}", file=sys.stderr)
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
