"""A wiki made of what the tree says about itself: its documents and its module docstrings."""

from __future__ import annotations

import math
import re
from collections import defaultdict
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

DOCUMENTS = (".md", ".rst")

_UNDERLINE = re.compile(r"([=~^\"'`#*+.:_-])\1{2,}\s*")
_WORD = re.compile(r"[^\W\d_]\w+")
_PLAIN_WORDS = frozenset(
    "an and are as at be by can do does for from how in is it of on or that the this to "
    "use used using what when where which with work works".split()
)


@dataclass(slots=True)
class Section:
    page: Page
    heading: str
    text: str
    line_start: int
    line_end: int

    def citation(self) -> dict[str, Any]:
        return {"path": self.page.path, "line_start": self.line_start, "line_end": self.line_end}


@dataclass(slots=True)
class Page:
    path: str
    title: str
    content: str
    changed: int  # the file's time stamp when the page was made
    sections: list[Section]


class Wiki:
    """Pages by their id, the path of the file that a page was made of."""

    def __init__(self, root: Path) -> None:
        self.root = root
        self.pages: dict[str, Page] = {}
        self.sections: list[Section] = []
        self.holders: dict[str, set[int]] = defaultdict(set)  # word -> positions in `sections`

    def add_document(self, path: str) -> None:
        """Raises OSError where it cannot be read."""
        text = (self.root / path).read_text(encoding="utf-8", errors="replace")
        self.add_page(path, path, text, 1)

    def add_page(self, path: str, title: str, text: str, first_line: int) -> None:
        page = Page(path, title, text, self._time_stamp(path), [])
        for heading, lines, start, end in split_sections(text.rstrip("\n").split("\n"), path.endswith(".md")):
            body = "\n".join(lines).strip()
            if words(body):
                page.sections.append(Section(page, heading or title, body, first_line + start, first_line + end))
        self.pages[path] = page
        for section in page.sections:
            for word in words(f"{title} {section.heading} {section.text}"):
                self.holders[word].add(len(self.sections))
            self.sections.append(section)

    def is_stale(self, page: Page) -> bool:
        return self._time_stamp(page.path) != page.changed

    def best_sections(self, question: str, count: int) -> list[tuple[float, Section]]:
        """Sections that share the question's words, rare words weighing most; shorter ones first."""
        weights = {word: self._weight(word) for word in words(question)}
        scores: dict[int, float] = defaultdict(float)
        for word, weight in weights.items():
            for position in self.holders.get(word, ()):
                scores[position] += weight
        whole = sum(weights.values())
        found = [(round(score / whole, 4), self.sections[position]) for position, score in scores.items()]
        found.sort(key=lambda hit: (-hit[0], len(hit[1].text), hit[1].page.path, hit[1].line_start))
        return found[:count]

    def related_pages(self, page: Page) -> list[str]:
        """A few of the pages beside this one."""
        folder = Path(page.path).parent
        return [path for path in self.pages if Path(path).parent == folder and path != page.path][:5]

    def _weight(self, word: str) -> float:
        return math.log(1 + len(self.sections) / (1 + len(self.holders.get(word, ()))))

    def _time_stamp(self, path: str) -> int:
        try:
            return (self.root / path).stat().st_mtime_ns
        except OSError:
            return 0


def words(text: str) -> set[str]:
    return set(_WORD.findall(text.lower())) - _PLAIN_WORDS


def split_sections(lines: list[str], markdown: bool) -> Iterator[tuple[str, list[str], int, int]]:
    """Heading, lines below it, and the positions of the section's first and last line."""
    headings = [("", 0, 0), *_headings(lines, markdown)]
    ends = [start for _, start, _ in headings[1:]] + [len(lines)]
    for (heading, start, body), end in zip(headings, ends):
        if end > start:
            yield heading, lines[body:end], start, end - 1


def _headings(lines: list[str], markdown: bool) -> Iterator[tuple[str, int, int]]:
    """Heading, its own position, and where its text begins; none inside a fenced block."""
    fenced = False
    for position, line in enumerate(lines):
        below = lines[position + 1] if position + 1 < len(lines) else ""
        if markdown and line.lstrip().startswith(("```", "~~~")):
            fenced = not fenced
        elif fenced:
            continue
        elif markdown and re.match(r"#{1,6}\s", line):
            yield line.strip("# \t\r"), position, position + 1
        elif _is_underlined(line, below):
            yield line.strip(), position, position + 2


def _is_underlined(line: str, below: str) -> bool:
    is_title = re.match(r"[\w`*\"'(]", line) and len(line.rstrip()) <= len(below.rstrip())
    return bool(is_title and _UNDERLINE.fullmatch(below))
