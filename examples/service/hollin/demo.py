"""The service's answers on a terminal: each with its size, and the time that the library took for it."""

from __future__ import annotations

import argparse
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import sysconfig
import textwrap
import time
from collections.abc import Callable
from pathlib import Path
from types import ModuleType
from typing import Any

from hollin import budget_chart, mcp_responses, tools
from hollin.arguments import TEXT_CHARS, ArgumentError, checked
from hollin.index import PHASES, Index, Progress
from hollin.tools import TOOLS

WIDTH = max(44, min(92, shutil.get_terminal_size((92, 24)).columns))
COLUMNS = WIDTH - 4  # of what is indented
HEAD_LINES, TAIL_LINES = 5, 3
IS_COLOURED = sys.stdout.isatty() and not os.environ.get("NO_COLOR") and os.environ.get("TERM") != "dumb"
HEADING, CALL, KEY = "1", "36", "35"  # ANSI: bold, cyan, magenta
BUDGETS = (1000, 400, 100)
ROWS = 4
SKIPPED_SHOWN = 3


class Stopwatch:
    """Stands before the library and adds up the time spent inside its functions."""

    def __init__(self, library: ModuleType) -> None:
        self._library = library
        self.seconds, self.calls = 0.0, 0

    def __getattr__(self, name: str) -> Callable[..., Any]:
        function = getattr(self._library, name)

        def timed(*args: Any, **kwargs: Any) -> Any:
            start = time.perf_counter()
            try:
                return function(*args, **kwargs)
            finally:
                self.seconds += time.perf_counter() - start
                self.calls += 1

        return timed


class Demo:
    def __init__(self, index: Index) -> None:
        self.index = index
        self.library = tools.responses = Stopwatch(mcp_responses)

    def ask(self, tool: str, **arguments: Any) -> dict[str, Any]:
        """Ask a tool as a client would, and show what it answers."""
        handler, schema = TOOLS[tool].handler, TOOLS[tool].arguments
        call = f"{tool} {json.dumps(arguments, ensure_ascii=False)}"
        answer = self.show(call, lambda: handler(self.index, **checked(arguments, schema)))
        if answer.get("total_count") == 0:
            print("    (This tree has nothing of the kind.)")
        return answer

    def show(self, title: str, answer: Callable[[], dict[str, Any]]) -> dict[str, Any]:
        library = self.library
        library.seconds, library.calls = 0.0, 0
        response = answer()
        text = library.tool_result_text(response)
        print(f"\n{coloured(title[:WIDTH], CALL)}")
        show_text(text)
        size = len(text.encode())
        took = f"the library took {library.seconds * 1e6:,.0f} \N{MICRO SIGN}s in {library.calls} calls"
        print(f"    = {size:,} bytes, {-(-size // 4):,} tokens; {took}")
        return response


def coloured(text: str, colour: str) -> str:
    return f"\x1b[{colour}m{text}\x1b[0m" if IS_COLOURED else text


def show_text(text: str) -> None:
    """A long text is shown by its head and its tail, where the paging stands."""
    head, tail = COLUMNS * HEAD_LINES, COLUMNS * TAIL_LINES
    if len(text) <= head + tail:
        show_lines(text)
        return
    show_lines(text[:head])
    print(f"    [... shortened on this screen: {head + tail:,} of {len(text):,} characters are shown ...]")
    show_lines(text[-tail:])


def show_lines(text: str) -> None:
    shown = "".join(char if char.isprintable() else "\N{MIDDLE DOT}" for char in text)
    lines = "\n".join(shown[start : start + COLUMNS] for start in range(0, len(shown), COLUMNS))
    keys = re.sub(r'"[\w\n]+"(?=\n?:)', lambda key: coloured(key[0], KEY), lines)  # a line may end inside a key
    print("    " + keys.replace("\n", "\n    "))


def section(title: str) -> None:
    print("\n\n" + coloured(f"--- {title} ".ljust(WIDTH, "-"), HEADING))


def say(text: str) -> None:
    print(textwrap.fill(text, WIDTH, break_on_hyphens=False))


class Counter:
    """A line that moves while something is counted; on a terminal alone."""

    def __init__(self) -> None:
        self.is_shown = sys.stdout.isatty()
        self.due = 0.0

    def show(self, progress: Progress) -> None:
        if self.is_shown and time.perf_counter() >= self.due:
            self.due = time.perf_counter() + 0.1
            print(f"\r\x1b[K{progress}"[: WIDTH + 4], end="", flush=True)

    def clear(self) -> None:
        if self.is_shown:
            print("\r\x1b[K", end="")


def make_index(demo: Demo) -> None:
    index, start, shown, counter = demo.index, time.perf_counter(), set(), Counter()
    print(f"Indexing {index.root}")
    say(f"Left out: hidden folders, links and {index.names_left_out}.")
    section("While the index is being built")
    for _ in index.build():
        now = index.progress
        counter.show(now)
        if now.total and now.phase in PHASES[::2] and now.phase not in shown and 2 * now.done >= now.total - 1:
            shown.add(now.phase)
            counter.clear()
            demo.ask("status")
    counter.clear()
    seconds = time.perf_counter() - start
    calls = sum(map(len, index.references.values()))
    print()
    say(f"Indexed {len(index.files):,} files in {seconds:.1f} s: {len(index.symbols):,} symbols, {calls:,} calls, "
        f"{len(index.wiki.pages):,} wiki pages.")
    print(f"Left out, for they cannot be read or do not parse: {len(index.skipped)}")
    for path in index.skipped[:SKIPPED_SHOWN]:
        print(f"    {path}"[:COLUMNS])
    if len(index.skipped) > SKIPPED_SHOWN:
        print("    ...")


def show_code(demo: Demo, word: str) -> None:
    section("The index is ready")
    demo.ask("status")
    section("Search: a page, and the last page")
    total = demo.ask("search", query=word, limit=ROWS)["total_count"]
    demo.ask("search", query=word, offset=max(0, total - 1) // ROWS * ROWS, limit=ROWS)
    found = demo.index.search(word) or demo.index.symbols
    if found:
        section("One symbol: its details, who calls its name, its file")
        demo.ask("symbol", fqn=found[0].symbol.fqn)
        demo.ask("symbol", fqn=found[0].symbol.fqn, action="references", limit=ROWS)
        demo.ask("file", path=found[0].path)
    section("The tree: files, components and API endpoints, tests")
    for tool in ("files", "architecture", "tests"):
        demo.ask(tool, limit=2)


def show_wiki(demo: Demo, word: str) -> None:
    section("The wiki")
    demo.ask("wiki", action="status")
    demo.ask("wiki", action="list", limit=ROWS)
    hits = demo.index.wiki.best_sections(word, 1)
    for page_id in [section.page.path for _, section in hits] or list(demo.index.wiki.pages)[:1]:
        demo.ask("wiki", action="read", page_id=page_id)
    section("A question, whole and within three budgets")
    question = f"How does {word} work?"[:TEXT_CHARS]
    fits = [fit(None, demo.ask("wiki", action="ask", query=question))]
    for budget in BUDGETS:
        fits.append(fit(budget, demo.ask("wiki", action="ask", query=question, token_budget=budget)))
    print()
    say("How the answer gives way: excerpts shrink to 200 bytes each, then sections go, then code.")
    print()
    print("    budget    limit     size  sections  excerpts' characters  citations  code")
    print("\n".join(fits))


def fit(budget: int | None, answer: dict[str, Any]) -> str:
    size = len(mcp_responses.tool_result_text(answer).encode())
    excerpts = sum(len(section["excerpt"]) for section in answer["sections"])
    limit = f"{budget:>10,}{4 * budget:>9,}" if budget else f"{'none':>10}{'':>9}"
    return (f"{limit}{size:>9,}{len(answer['sections']):>10}{excerpts:>22,}{len(answer['citations']):>11}"
            f"  {'yes' if 'code' in answer else 'no'}")


def draw_budgets(index: Index, word: str, file: Path) -> None:
    """The question of the demo, from the smallest budget to the one that the whole answer fits."""
    for _ in index.build():
        pass

    def ask(**budget: int) -> dict[str, Any]:
        arguments = {"action": "ask", "query": f"How does {word} work?"[:TEXT_CHARS], **budget}
        return TOOLS["wiki"].handler(index, **checked(arguments, TOOLS["wiki"].arguments))

    sizes = json.dumps(budget_chart.measured(ask, mcp_responses._encoded_size))
    # Debian's matplotlib goes with Debian's Python, which need not be the one that runs the service.
    subprocess.run(["/usr/bin/python3", budget_chart.__file__, file.resolve()], input=sizes, text=True, check=True)
    print(f"{file} shows how the answer gives way.")


def show_empty(demo: Demo) -> None:
    section("Every tool, before a repository is initialised")
    for tool in mcp_responses.EMPTY_TOOL_RESPONSES:
        demo.show(tool, lambda: demo.library.get_empty_response(tool))


def options() -> tuple[Index, str, Path | None]:
    parser = argparse.ArgumentParser(prog="hollin.demo", description=__doc__)
    tree = "a tree of Python sources (default: this interpreter's standard library, without its folder test)"
    parser.add_argument("--root", type=Path, metavar="FOLDER", help=tree)
    parser.add_argument("--query", metavar="WORD", default="parse", help="what is searched and asked (default: parse)")
    chart = "draw how the answer of the wiki gives way, with Debian's matplotlib, and show nothing else"
    parser.add_argument("--chart", type=Path, metavar="FILE.svg", help=chart)
    chosen = parser.parse_args()
    root = chosen.root or Path(sysconfig.get_path("stdlib"))
    if not root.is_dir():
        parser.exit(2, f"hollin.demo: {root} is not a folder\n")
    index = Index(root, frozenset() if chosen.root else frozenset({"test"}))
    if not any(path.endswith(".py") for path in index.walk()):
        parser.exit(2, f"hollin.demo: {root} holds no Python file outside of {index.names_left_out}\n")
    if chosen.chart and not chosen.chart.absolute().parent.is_dir():
        parser.exit(2, f"hollin.demo: {chosen.chart.parent} is not a folder\n")
    try:
        checked({"query": chosen.query}, TOOLS["search"].arguments)
    except ArgumentError as error:
        parser.exit(2, f"hollin.demo: {error}\n")
    return index, chosen.query, chosen.chart


def main() -> None:
    for number in (signal.SIGPIPE, signal.SIGINT):  # a pager may be left early, and so may the demo
        signal.signal(number, signal.SIG_DFL)
    sys.stdout.reconfigure(errors="replace")
    index, word, chart = options()
    if chart:
        return draw_budgets(index, word, chart)
    demo = Demo(index)
    make_index(demo)
    show_code(demo, word)
    show_wiki(demo, word)
    show_empty(demo)


if __name__ == "__main__":
    main()
