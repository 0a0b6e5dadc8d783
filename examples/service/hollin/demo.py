"""Shows the answers of the service on a terminal, with their sizes and the time spent in the library."""

from __future__ import annotations

import argparse
import json
import os
import re
import shutil
import signal
import sys
import sysconfig
import textwrap
import time
from collections.abc import Callable
from pathlib import Path
from types import ModuleType
from typing import Any

from hollin import mcp_responses, tools
from hollin.arguments import MAX_CHARS, ToolError, checked
from hollin.catalogue import TOOLS
from hollin.index import Index

WIDTH = max(44, min(120, shutil.get_terminal_size((80, 24)).columns))
COLUMNS = WIDTH - 4  # of indented text
HEAD_LINES, TAIL_LINES = 5, 2
IS_TERMINAL = sys.stdout.isatty()
IS_COLOURED = IS_TERMINAL and not os.environ.get("NO_COLOR") and os.environ.get("TERM") != "dumb"
HEADING, CALL, KEY = "1", "36", "35"  # ANSI: bold, cyan, magenta
BUDGETS = (1000, 400, 100)
ROWS = 4

STRING = r'"[^"\\]*(?:\\.[^"\\]*)*"'
# A member or an element of compact JSON up to its comma; a list or an object up to its first bracket.
PIECE = re.compile(rf'(?:{STRING}:)?(?:[\[{{]|{STRING}|[^\[\]{{}}",:]+)[\]}}]*,?', re.S)


class Stopwatch:
    """A proxy of the library that measures the time spent in its functions."""

    def __init__(self, library: ModuleType) -> None:
        self._library = library
        self.seconds, self.calls = 0.0, 0

    def __getattr__(self, name: str) -> Callable[..., Any]:
        function = getattr(self._library, name)

        def timed(*args: Any, **kwargs: Any) -> Any:
            start = time.perf_counter()
            result = function(*args, **kwargs)
            self.seconds, self.calls = self.seconds + time.perf_counter() - start, self.calls + 1
            return result

        return timed


class Demo:
    def __init__(self, index: Index) -> None:
        self.index = index
        self.library = tools.responses = Stopwatch(mcp_responses)

    def call(self, tool: str, **arguments: Any) -> dict[str, Any]:
        """Calls a tool as a client does, and shows its answer."""
        library = self.library
        library.seconds, library.calls = 0.0, 0
        answer = self.answer(tool, **arguments)
        text = library.tool_result_text(answer)
        title = f"{tool} {json.dumps(arguments, ensure_ascii=False)}"
        print("\n" + coloured(textwrap.fill(title, WIDTH, subsequent_indent="  "), CALL))
        show_text(text)
        size = len(text.encode())
        spent = f"{library.seconds * 1e6:,.0f} \N{MICRO SIGN}s in {library.calls} calls of the library"
        print(f"    = {size:,} bytes, {-(-size // 4):,} tokens; {spent}")
        return answer

    def answer(self, tool: str, **arguments: Any) -> dict[str, Any]:
        return TOOLS[tool].answer(self.index, checked(arguments, TOOLS[tool].arguments))


def coloured(text: str, colour: str) -> str:
    return f"\x1b[{colour}m{text}\x1b[0m" if IS_COLOURED else text


def show_text(text: str) -> None:
    """Shows the first and the last lines of a long text."""
    lines = broken(text, COLUMNS)
    hidden = len(lines) - HEAD_LINES - TAIL_LINES
    if hidden > 1:
        lines[HEAD_LINES:-TAIL_LINES] = [f"[... {hidden:,} lines are not shown ...]"]
    for line in lines:
        print("    " + re.sub(r'"\w+"(?=:)', lambda key: coloured(key[0], KEY), line))


def broken(text: str, columns: int) -> list[str]:
    """Compact JSON in lines, which end after a row or a member, and in a long string between words."""
    lines, depth = [" " * columns], 0  # the first line is removed
    for piece in PIECE.findall("".join(char if char.isprintable() else "\N{MIDDLE DOT}" for char in text)):
        begins_line = piece.startswith("{") or lines[-1].endswith("}],")
        if not begins_line and len(lines[-1]) + len(piece) <= columns:
            lines[-1] += piece
        else:
            indents = {"initial_indent": "  " * depth, "subsequent_indent": "  " * (depth + 1)}
            lines += textwrap.wrap(piece, columns, break_on_hyphens=False, **indents)
        brackets = re.sub(STRING, "", piece)
        depth += sum(brackets.count(each) for each in "[{") - sum(brackets.count(each) for each in "]}")
    return lines[1:]


def section(title: str) -> None:
    print("\n" + coloured(f"--- {title} ".ljust(WIDTH, "-"), HEADING))


def say(text: str) -> None:
    print(textwrap.fill(text, WIDTH, break_on_hyphens=False))


def build_index(demo: Demo) -> None:
    index, start, due = demo.index, time.perf_counter(), 0.0
    say(f"Indexing {index.tree.root}, without hidden folders, links and {', '.join(sorted(index.tree.excluded))}")
    section("While the index is being built")
    is_shown = False
    for _ in index.build():
        now = index.progress
        if IS_TERMINAL and time.perf_counter() >= due:
            due = time.perf_counter() + 0.1
            print(f"\r\x1b[K{now.percent} %", end="", flush=True)
        if not is_shown and now.total and 2 * now.done >= now.total - 1:
            is_shown = True
            print("\r\x1b[K" if IS_TERMINAL else "", end="")
            demo.call("status")
    print("\r\x1b[K" if IS_TERMINAL else "")
    uses = sum(map(len, index.references.values()))
    say(f"Indexed {len(index.sources):,} files in {time.perf_counter() - start:.1f} s: {index.symbol_count:,} symbols, "
        f"{uses:,} references, {len(index.wiki.pages):,} wiki pages. {len(index.tree.errors)} files cannot be parsed.")


def show_code(demo: Demo, word: str) -> None:
    section("Search")
    total = demo.call("search", query=word, limit=ROWS)["total_count"]
    if total > ROWS:
        demo.call("search", query=word, offset=(total - 1) // ROWS * ROWS, limit=ROWS)
    found = demo.index.search(word) or [*demo.index.names.by_fqn.values()]
    if found:
        section("One symbol: its details, its references, its file")
        used = [hit for hit in found if hit.symbol.fqn in demo.index.references]
        fqn = (used or found)[0].symbol.fqn
        path = demo.call("symbol", fqn=fqn)["file"]
        demo.call("symbol", fqn=fqn, action="references", limit=ROWS)
        demo.call("file", path=path, limit=ROWS)
    section("The tree: files, API endpoints, tests")
    for tool, more in (("files", {}), ("architecture", {"action": "endpoints"}), ("tests", {})):
        demo.call(tool, **more, limit=1)


def show_wiki(demo: Demo, word: str) -> None:
    section("A question, without a budget and with three budgets")
    sizes = [budget_row(None, demo.call("wiki", action="ask", query=question(word)))]
    for budget in BUDGETS:
        sizes.append(budget_row(budget, demo.answer("wiki", action="ask", query=question(word), token_budget=budget)))
    print("\nExcerpts are cut to 200 bytes each, then sections are removed, then the code:\n")
    print("    budget    limit     size  sections  excerpts' characters  citations  code", *sizes, sep="\n")


def budget_row(budget: int | None, answer: dict[str, Any]) -> str:
    size = len(mcp_responses.tool_result_text(answer).encode())
    excerpts = sum(len(section["excerpt"]) for section in answer["sections"])
    limit = f"{budget:>10,}{4 * budget:>9,}" if budget else f"{'none':>10}{'':>9}"
    return (f"{limit}{size:>9,}{len(answer['sections']):>10}{excerpts:>22,}{len(answer['citations']):>11}"
            f"  {'yes' if 'code' in answer else 'no'}")


def question(word: str) -> str:
    return f"How does {word} work?"[:MAX_CHARS]


def chosen(parser: argparse.ArgumentParser) -> tuple[argparse.Namespace, Index]:
    """The options of the command line, checked, and an empty index of the chosen tree."""
    tree = "a tree of Python sources (default: the standard library of this interpreter, without its folder test)"
    parser.add_argument("--root", type=Path, metavar="FOLDER", help=tree)
    parser.add_argument("--query", metavar="WORD", default="parse", help="the search and the question (default: parse)")
    options = parser.parse_args()
    root = options.root or Path(sysconfig.get_path("stdlib"))
    index = Index(root, frozenset() if options.root else frozenset({"test"}))
    if not any(path.endswith(".py") for path, _ in index.tree.walk()):
        excluded = ", ".join(sorted(index.tree.excluded))
        problem = f"contains no Python file outside of {excluded}" if root.is_dir() else "is not a folder"
        parser.exit(2, f"{parser.prog}: {root} {problem}\n")
    try:
        checked({"query": options.query}, TOOLS["search"].arguments)
    except ToolError as error:
        parser.exit(2, f"{parser.prog}: {error}\n")
    return options, index


def main() -> None:
    for number in (signal.SIGPIPE, signal.SIGINT):  # end without a traceback
        signal.signal(number, signal.SIG_DFL)
    sys.stdout.reconfigure(errors="replace")
    parser = argparse.ArgumentParser(prog="hollin.demo", description=__doc__)
    parser.add_argument("--chart", metavar="FILE.svg", help="with ./dev demo: draw only how an answer fits budgets")
    options, index = chosen(parser)
    if options.chart:
        parser.error("--chart works only with ./dev demo")
    demo = Demo(index)
    build_index(demo)
    show_code(demo, options.query)
    show_wiki(demo, options.query)


if __name__ == "__main__":
    main()
