#!/usr/bin/env python3
"""Runs the benchmark programs row by row and prints how the library stands beside its peers.

The contenders of a row run in one process of their own, in turns; --processes shares the turns among several, since
where things lie in memory differs from process to process. Every figure is the median of all turns. Rows of another
figure than a time run once, each contender in a process of its own.
"""
import argparse
import dataclasses
import datetime
import json
import os
import pathlib
import re
import statistics
import subprocess
import sys

AREAS = ("symbol", "trace", "locks", "tasks", "time", "messages", "localizer", "paths", "lines", "buffers", "binary", "sections", "zip", "queries", "memory", "catalogue")
OURS, FLOOR, OTHER = "lmkutils", "floor: ", "other work: "
# The loader sets room aside for the per-thread data of peers that a program loads later.
ENVIRONMENT = os.environ | {"GLIBC_TUNABLES": "glibc.rtld.optional_static_tls=16384"}


@dataclasses.dataclass(frozen=True)
class Goal:
    """In rows that match `rows`: as fast as `against` (a contender, "peers", "floor" or a figure) times `factor`."""

    area: str
    rows: str
    against: object
    factor: float


GOALS = (
    Goal("symbol", r"^existing text of (8|32) bytes", "boost::flyweight", 2),
    Goal("symbol", r"^existing text of 128 bytes", "boost::flyweight", 1),
    Goal("symbol", r"^(new text|key)", "boost::flyweight", 1),
    Goal("symbol", r"^compare", "boost::flyweight", 1 / 1.05),  # one instruction for both: no slower
    Goal("symbol", r"^copy and drop", "floor", 1 / 1.2),
    Goal("trace", r"^call while tracing is off", 4.0, 1),
    Goal("trace", r"^(plain|JSON) line", "spdlog", 1.5),
    Goal("locks", r"^spin lock", "std::mutex", 1),
    Goal("locks", r"^semaphore", "sem_t", 1),
    Goal("locks", r"^read-write lock: (read|write) lock and unlock(,|$)", "std::shared_mutex", 0.5),
    Goal("locks", r"^read-write lock", "QReadWriteLock, recursive", 1),
    Goal("tasks", r"", "peers", 1),
    Goal("catalogue", r"", "peers", 1),
    Goal("time", r"^print an instant", "peers", 3),
    Goal("messages", r"", "peers", 1),
    Goal("localizer", r"", "peers", 1),
    Goal("paths", r"", "peers", 1),
    Goal("lines", r"", "peers", 1),
    Goal("buffers", r"", "peers", 1),
    Goal("binary", r"", "peers", 1),
    Goal("binary", r"one by one", "floor", 1 / 1.5),
    Goal("binary", r"as an array", "floor", 1 / 1.2),
    Goal("sections", r"", "peers", 1),
    Goal("sections", r"", "floor", 1 / 1.05),
    Goal("zip", r"", "peers", 1),
    Goal("queries", r"^(?!held)", "peers", 1),
    Goal("queries", r"^held", 24.0, 1),
    Goal("memory", r"^(?!held)(?!handed)(?!.*threads$)", "peers", 1 / 1.05),
    Goal("memory", r"^(?!held)(handed|.*threads$)", "peers", 1 / 1.1),
    Goal("memory", r"^held at the peak", 1.2, 1),
    Goal("memory", r"^held after", 2.0, 1),
)


@dataclasses.dataclass
class Row:
    name: str
    times: dict  # contender -> median, in nanoseconds unless there is a unit
    spread: float  # of our turns: half the distance between the quartiles, as a part of the median
    allocations: float | None  # of one turn of ours, where they are counted
    unit: str | None = None  # of figures that are no times

    def peers(self):
        return {name: t for name, t in self.times.items() if name != OURS and not name.startswith((FLOOR, OTHER))}

    def other_work(self):
        return {f"{n[len(OTHER):]} (other work)": t for n, t in self.times.items() if n.startswith(OTHER)}

    def best_peer(self):
        return min(self.peers().items(), key=lambda item: item[1], default=None)

    def floor(self):
        return next(((n[len(FLOOR):], t) for n, t in self.times.items() if n.startswith(FLOOR)), None)


def contenders(program):
    """The names of the program's rows, each with the names of its benchmarks."""
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, stdout=subprocess.PIPE, text=True,
                            env=ENVIRONMENT)
    rows = {}
    for name in listed.stdout.splitlines():
        rows.setdefault(name.split("/")[0], []).append(name)
    return rows


def run_benchmarks(program, start, options, cpus):
    """What the benchmarks give whose names begin with `start`."""
    escaped = re.sub(r"([.()\[\]{}+*?^$|\\])", r"\\\1", start)
    result = subprocess.run(
        [program, f"--benchmark_filter=^{escaped}/", "--benchmark_format=json", *options],
        capture_output=True, text=True, env=ENVIRONMENT, preexec_fn=lambda: os.sched_setaffinity(0, cpus))
    if result.returncode != 0:
        sys.exit(f"{program}, \"{start}\": ended with {result.returncode}\n{result.stderr}")
    return json.loads(result.stdout)["benchmarks"]


def run_row(program, row, names, options):
    cpus = os.sched_getaffinity(0)
    if all("/figure" in name for name in names):
        return read_figures(row, [turn for name in names
                                  for turn in run_benchmarks(program, name.rsplit("/figure")[0], [], cpus)])
    # A row of one thread stays on one processor; those with threads of their own use all.
    if not any("real_time" in name for name in names):
        cpus = {max(cpus)}
    turns = options.turns // options.processes
    return read_row(row, [turn for _ in range(options.processes) for turn in run_benchmarks(
        program, row, ["--benchmark_enable_random_interleaving=true", f"--benchmark_repetitions={turns}",
                       f"--benchmark_min_time={options.min_time}"], cpus)])


def read_figures(row, runs):
    return Row(row, {run["run_name"].split("/")[1]: run["figure"] for run in runs}, 0.0, None, runs[0]["label"])


def read_row(row, turns):
    times, allocations = {}, None
    for turn in turns:
        if turn["run_type"] != "iteration":
            continue
        contender = turn["run_name"].split("/")[1]
        if turn.get("error_occurred"):
            print(f"left out: {row}, {contender}: {turn['error_message']}", file=sys.stderr)
            continue
        scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[turn["time_unit"]]
        kind = "real_time" if "/real_time" in turn["run_name"] else "cpu_time"
        times.setdefault(contender, []).append(turn[kind] * scale)
        if contender == OURS and "allocations" in turn:
            allocations = turn["allocations"]
    spread = 0.0
    if len(times.get(OURS, [])) > 1:
        low, middle, high = statistics.quantiles(times[OURS], n=4)
        spread = (high - low) / 2 / middle
    return Row(row, {name: statistics.median(values) for name, values in times.items()}, spread, allocations)


def goals_of(area, row):
    """What the row should reach, as (text, reached or None when it was not measured)."""
    for goal in GOALS:
        if goal.area != area or not re.search(goal.rows, row.name):
            continue
        if isinstance(goal.against, float):
            limit, text = goal.against, f"at most {goal.against:g} {row.unit or 'ns'}"
        else:
            named = {"peers": row.best_peer(), "floor": row.floor()}.get(
                goal.against, (goal.against, row.times.get(goal.against)))
            if named is None or named[1] is None:
                continue
            limit = named[1] / goal.factor
            name = "the best peer" if goal.against == "peers" else "the floor" if goal.against == "floor" else named[0]
            if goal.factor < 1:
                text = f"within {1 / goal.factor:g} of {name}"
            else:
                text = f"ahead of {name}" + (f" by {goal.factor:g}" if goal.factor != 1 else "")
        yield text, (row.times[OURS] <= limit if OURS in row.times else None)


def shown(nanoseconds, unit=None):
    if unit:
        return f"{nanoseconds:.2f} {unit}"
    for unit, size in (("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size * 10:
            return f"{nanoseconds / size:.1f} {unit}"
    return f"{nanoseconds:.0f} ns" if nanoseconds >= 100 else f"{nanoseconds:.1f} ns"


def cells(area, row):
    ours, best, floor = row.times.get(OURS), row.best_peer(), row.floor()
    others = sorted((t, n) for n, t in (row.peers() | row.other_work()).items() if not best or n != best[0])
    goals = [text + {True: ": met", False: ": NOT met", None: ""}[reached] for text, reached in goals_of(area, row)]
    if row.allocations is not None:
        goals.append(f"{row.allocations:g} allocations")
    spread = "" if row.unit else f" ±{min(row.spread, 9.99):.0%}"
    return (row.name,
            shown(ours, row.unit) + spread if ours is not None else "-",
            f"{shown(best[1], row.unit)} {best[0]}" if best else "-",
            f"{best[1] / ours:.2f}" if best and ours else "-",
            f"{shown(floor[1])} {floor[0]}" if floor else "-",
            ", ".join(f"{shown(t, row.unit)} {n}" for t, n in others) or "-",
            "; ".join(goals) or "-")


HEAD = ("row", "lmkutils", "best peer", "ratio", "floor", "other peers", "goal")


def as_text(area, rows):
    lines = [HEAD] + [cells(area, row) for row in rows]
    widths = [max(len(line[i]) for line in lines) for i in range(len(HEAD))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip() for line in lines)


def as_markdown(area, rows):
    lines = ["| " + " | ".join(HEAD) + " |", "|" + "---|" * len(HEAD)]
    lines += ["| " + " | ".join(cells(area, row)) + " |" for row in rows]
    return "\n".join(lines)


def machine():
    model = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                  if line.startswith("model name")), "unknown processor")
    load = ", ".join(f"{value:.2f}" for value in os.getloadavg())
    return f"{datetime.date.today()}, {model}, {os.cpu_count()} processors, load average {load}"


def write_block(document, area, text):
    """Puts the text between the area's marks; the document keeps everything else."""
    begin, end = f"<!-- {area}: begin -->", f"<!-- {area}: end -->"
    old = document.read_text(encoding="utf-8")
    if begin not in old or end not in old:
        sys.exit(f"{document} has no marks for {area}")
    head, rest = old.split(begin, 1)
    document.write_text(head + begin + "\n" + text + "\n" + end + rest.split(end, 1)[1], encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("areas", nargs="*", metavar="AREA", help=f"of {', '.join(AREAS)}; all when none is given")
    parser.add_argument("--programs", type=pathlib.Path, required=True, help="folder of the benchmark programs")
    parser.add_argument("--rows", default="", help="only the rows that match this expression")
    parser.add_argument("--turns", type=int, default=7, help="turns of every contender (at least 3)")
    parser.add_argument("--processes", type=int, default=1, help="processes that share the turns")
    parser.add_argument("--min-time", type=float, default=0.05, help="seconds of every turn")
    parser.add_argument("--write", type=pathlib.Path, metavar="DOCUMENT", help="put the tables into this document too")
    options = parser.parse_args()
    if unknown := [area for area in options.areas if area not in AREAS]:
        parser.error(f"no such area: {', '.join(unknown)}; there are {', '.join(AREAS)}")
    if options.turns < 3:
        parser.error("fewer than 3 turns give no median")
    if not 1 <= options.processes <= options.turns:
        parser.error("every process has at least one turn")
    if options.write and options.rows:
        parser.error("--write takes whole areas")
    options.turns += -options.turns % options.processes
    shared = f" in {options.processes} processes" if options.processes > 1 else ""
    for area in options.areas or AREAS:
        before = machine()
        program = str(options.programs / f"bench_{area}")
        rows = [run_row(program, row, names, options) for row, names in contenders(program).items()
                if re.search(options.rows, row)]
        print(f"\n{area}: {before}\n{as_text(area, rows)}", flush=True)
        if options.write:
            write_block(options.write, area,
                        f"Medians of {options.turns} turns{shared}. {before}.\n\n{as_markdown(area, rows)}")


if __name__ == "__main__":
    main()
