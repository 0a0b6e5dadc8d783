"""Compares the speed of the extension with that of the same functions in plain Python, and of other encoders."""

from __future__ import annotations

import argparse
import importlib.metadata
import json
import os
import platform
import re
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

import cases  # noqa: E402
import encoding  # noqa: E402
import fresh  # noqa: E402
import memory  # noqa: E402
import others  # noqa: E402
from timing import Result, measure  # noqa: E402

from hollin import mcp_responses as ours  # noqa: E402

NAME, NUMBER = 52, 13  # widths of the columns in characters

Results = dict[tuple[str, str], Result]  # by group and name


class Table:
    """Prints rows and collects the names of those that miss their minimum or limit."""

    def __init__(self, word: str) -> None:
        self.word = word
        self.missed: list[str] = []
        self.group = ""

    def selects(self, group: str, name: str) -> bool:
        return self.word.lower() in f"{group}, {name}".lower()

    def head(self, title: str, *columns: str) -> None:
        self.group = ""
        print(f"\n{title:<{NAME}}" + "".join(f"{column:>{NUMBER}}" for column in columns))

    def row(self, group: str, name: str, *columns: str, missed: bool = False) -> None:
        if group != self.group:
            print(group)
            self.group = group
        mark = "  <- missed" if missed else ""
        print(f"  {name:<{NAME - 2}}" + "".join(f"{column:>{NUMBER}}" for column in columns) + mark, flush=True)
        if missed:
            self.missed.append(f"{group}, {name}")


def duration(seconds: float) -> str:
    for unit, size in (("s ", 1.0), ("ms", 1e-3), ("µs", 1e-6), ("ns", 1e-9)):
        if seconds >= 0.9995 * size:  # printed as 1.00
            break
    return f"{seconds / size:#.3g} {unit}".replace(". ", " ")


def digits(number: float) -> str:
    return f"{number:,.0f}" if number >= 100 else f"{number:.3g}"


def print_machine() -> None:
    cpu = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    compiler = re.search(rb"GCC: \([^)]*\) [\d.]+|[\w ]*clang version [\d.]*", Path(ours.__file__).read_bytes())
    print(f"machine      {cpu[1] if cpu else platform.machine()}, {os.cpu_count()} cores, {platform.platform()}")
    print(f"interpreter  {platform.python_implementation()} {platform.python_version()}, {platform.python_compiler()}")
    version = importlib.metadata.version("mcp_responses")
    print(f"extension    mcp_responses {version}, {compiler[0].decode() if compiler else 'unknown compiler'}")
    versions = [f"{name} {module.__version__}" for name, module in others.MODULES.items()]
    print(f"encoders     {', '.join(['json of this interpreter', *versions])}")


def print_times(table: Table, seconds: float, tries: int) -> Results:
    shown = [case for case in cases.CASES if table.selects(case.group, case.name)]
    if not shown:
        return {}
    table.head("best processor time of a call", "ours", "plain Python", "ratio", "at least", *others.ENCODERS)
    results: Results = {}
    for case in shown:
        result = results[case.group, case.name] = measure(case, seconds, tries)
        times = [duration(side.best) for side in (result.ours, result.plain)]
        least = f"{case.at_least:g}" if case.at_least else ""
        columns = (*times, digits(result.ratio), least, *other_times(result))
        table.row(case.group, case.name, *columns, missed=not result.is_enough)
    print_growth(table, results, seconds, tries)
    return results


def other_times(result: Result) -> list[str]:
    """The times of the other encoders. Those that return a different text are not comparable."""
    if not result.case.is_text:
        return []
    return [duration(result.others[name].best) if name in result.others else "differs" for name in others.ENCODERS]


def print_growth(table: Table, results: Results, seconds: float, tries: int) -> None:
    group, many_name, few_name, at_most = cases.GROWTH
    many, few = results.get((group, many_name)), results.get((group, few_name))
    if many is None or few is None:
        return
    table.head("growth of the time", "ours", "plain Python", "", "at most")
    while (growth := many.ours.best / few.ours.best) > at_most and (tries := tries - 1):
        # Measure again, as for a missed ratio: other load on the machine's memory slows only the large case.
        few.alternate(seconds)
        many.alternate(seconds)
    plain_growth = many.plain.best / few.plain.best
    name = f"{many_name} over {few_name}"
    table.row(group, name, digits(growth), digits(plain_growth), "", f"{at_most:g}", missed=growth > at_most)


def print_fresh(table: Table, tries: int) -> None:
    group = "tool_result_text in a fresh process"
    shown = {name: case for name, case in cases.FRESH.items() if table.selects(group, name)}
    if not shown:
        return
    columns = ("ours", "plain Python", "ratio", "at least", "pages, ours", "plain Python")
    table.head("best processor time of a call, and its page faults", *columns)
    for name, (payload, at_least) in shown.items():
        for offset in fresh.HEAP_OFFSETS:
            for _ in range(tries):
                ours, plain = (fresh.measured(api, payload, offset) for api in ("ours", "plain"))
                ratio = plain.seconds / ours.seconds
                if ratio >= at_least:
                    break
            times = [duration(side.seconds) for side in (ours, plain)]
            least = f"{at_least:g}" if at_least else ""
            pages = [f"{side.faults:.1f}" for side in (ours, plain)]
            name_here = f"{name}, heap + {offset // 1000} KB"
            table.row(group, name_here, *times, digits(ratio), least, *pages, missed=ratio < at_least)


def print_memory(table: Table) -> None:
    shown = [row for row in cases.MEMORY if table.selects("memory of tool_result_text", row[0])]
    if not shown:
        return
    table.head("fresh memory that a call touches, in sizes of its text", "ours", "plain Python", "", "at most")
    for name, payload, at_most in shown:
        touched, plainly = (memory.touched_texts(api, payload) for api in ("ours", "plain"))
        columns = (f"{touched:.2f}", f"{plainly:.2f}", "", f"{at_most:g}")
        table.row("memory of tool_result_text", name, *columns, missed=touched > at_most)


def print_encoding(table: Table, seconds: float) -> None:
    shown = {payload: name for payload, name in cases.ENCODED.items() if table.selects("C++ alone", name)}
    if not shown:
        return
    if not encoding.PROGRAM.exists():
        print(f"\nC++ alone: not built; -DMCP_RESPONSES_BENCHMARKS=ON builds {encoding.PROGRAM}")
        return
    best, context = encoding.bytes_per_second(shown, seconds)
    title = f"GB of output a second (RapidJSON {context['RapidJSON']}, nlohmann {context['nlohmann']})"
    table.head(title, "text", "size only", "RapidJSON", "nlohmann")
    for payload, name in shown.items():
        rates = (digits(best[payload, writer] / 1e9) for writer in encoding.WRITERS)
        table.row("C++ alone", name, *rates)


def draw_chart(results: Results, file: Path) -> None:
    rows = []
    for (group, start), name in cases.CHART.items():
        (result,) = (results[key] for key in results if key[0] == group and key[1].startswith(start))
        others = {other: result.plain.best / side.best for other, side in result.others.items()}
        rows.append({"name": name, "ratios": {"mcp_responses": result.ratio} | others})
    # Debian's matplotlib needs Debian's Python, which may differ from the measured interpreter.
    program = Path(__file__).with_name("chart.py")
    subprocess.run(["/usr/bin/python3", program, file.resolve()], input=json.dumps(rows), text=True, check=True)


def main() -> None:
    parser = argparse.ArgumentParser(prog="./dev bench", description=__doc__)
    parser.add_argument("--check", action="store_true", help="exit with 1 if a row misses its 'at least' or 'at most'")
    parser.add_argument("--chart", type=Path, metavar="FILE.svg", help="also draw the main rows")
    parser.add_argument("--filter", default="", metavar="WORD", help="only rows whose group or name contains this")
    parser.add_argument("--quick", action="store_true", help="a third of the time, less exact")
    options = parser.parse_args()
    if options.chart and options.filter:
        parser.error("--chart needs all rows, so it excludes --filter")
    share = 1 / 3 if options.quick else 1
    table = Table(options.filter)
    print_machine()
    tries = 3 if options.check else 1
    results = print_times(table, share, tries)
    if options.chart:
        draw_chart(results, options.chart)
    print_fresh(table, tries)
    print_memory(table)
    print_encoding(table, share / 4)
    for name in table.missed:
        print(f"missed: {name}")
    sys.exit(bool(options.check and table.missed))


if __name__ == "__main__":
    main()
