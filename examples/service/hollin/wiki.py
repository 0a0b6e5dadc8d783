"""A wiki made from the documents of the tree and its module docstrings."""

from __future__ import annotations

import math
import posixpath
import re
from collections import defaultdict
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

DOCUMENTS = (".md", ".rst")

_TITLE = re.compile(r"[\w`*\"'(]")
_UNDERLINE = re.compile(r"([=~^\"'`#*+.:_-])\1{2,}\s*")
_WORD = re.compile(r"[^\W\d_]\w+")
DOTTED_NAME = re.compile(r"[^\W\d]\w*(?:\.\w+)*")
_FILE_NAME = re.compile(r"[\w./-]+\.(?:py|md|rst)\b")
_STOP_WORDS = frozenset(
    "an and are as at be by can do does for from how in is it of on or that the this to "
    "use used using what when where which with work works".split()
)


@dataclass(slots=True, eq=False)
class Section:
    page: Page
    heading: str
    text: str
    line_start: int
    line_end: int

    def citation(self) -> dict[str, Any]:
        return {"path": self.page.path, "line_start": self.line_start, "line_end": self.line_end}

    def words(self) -> set[str]:
        return words(f"{self.page.title} {self.heading} {self.text}")


@dataclass(slots=True)
class Page:
    path: str
    title: str
    content: str
    sections: list[Section]

    @property
    def name(self) -> str:
        """The name of the module, or of the document without its folder and suffix."""
        return self.title if self.path.endswith(".py") else Path(self.path).stem


class Wiki:
    """The pages, by the path of the file that each is made from."""

    def __init__(self) -> None:
        self.pages: dict[str, Page] = {}
        self._by_word: dict[str, set[Section]] = defaultdict(set)

    def add(self, path: str, title: str, text: str, first_line: int) -> None:
        page = self.pages[path] = Page(path, title, text, [])
        for heading, lines, start, end in split_sections(text.rstrip("\n").split("\n"), path.endswith(".md")):
            body = "\n".join(lines).strip()
            if words(body):
                page.sections.append(Section(page, heading or title, body, first_line + start, first_line + end))
        for section in page.sections:
            for word in section.words():
                self._by_word[word].add(section)

    def remove(self, path: str) -> None:
        page = self.pages.pop(path, None)
        for section in page.sections if page else ():
            for word in section.words():
                self._by_word[word].discard(section)

    def best_sections(self, question: str, count: int) -> list[tuple[float, Section]]:
        """The sections that share words with the question, without those that have none of its rare words. First those
        of a module that the question names; then rare words weigh more, and shorter sections come first."""
        section_count = sum(len(page.sections) for page in self.pages.values())
        found = {word: self._by_word.get(word) or set() for word in sorted(words(question))}
        weights = {word: math.log(1 + section_count / (1 + len(sections))) for word, sections in found.items()}
        whole = sum(weights.values())
        rare = [sections for sections in found.values() if 0 < len(sections) <= max(3, section_count // 20)]
        hits = [(round(sum(weights[word] for word in found if section in found[word]) / whole, 4), section)
                for section in set().union(*(rare or found.values()))]
        names = {*DOTTED_NAME.findall(question.lower())} - _STOP_WORDS
        names |= {name.rpartition(".")[0] for name in names}

        def rank(hit: tuple[float, Section]) -> tuple[bool, bool, float, int, str, int]:
            score, section = hit
            name = section.page.name.lower()
            return (name not in names, name.rpartition(".")[2] not in names, -score,
                    len(section.text), section.page.path, section.line_start)

        return sorted(hits, key=rank)[:count]

    def unknown_words(self, question: str) -> list[str]:
        """The words of the question that no section has."""
        return sorted(word for word in words(question) if not self._by_word.get(word))

    def mentioned_pages(self, path: str) -> list[str]:
        """The files that a page names, relative to its folder or to the root."""
        names, folder = _FILE_NAME.findall(self.pages[path].content), path.rpartition("/")[0]
        return [posixpath.normpath(posixpath.join(start, name)) for name in names for start in (folder, "")]


def words(text: str) -> set[str]:
    return set(_WORD.findall(text.lower())) - _STOP_WORDS


def split_sections(lines: list[str], markdown: bool) -> Iterator[tuple[str, list[str], int, int]]:
    """The heading, the lines below it, and the positions of the first and the last line of each section."""
    headings = [("", 0, 0), *_headings(lines, markdown)]
    ends = [start for _, start, _ in headings[1:]] + [len(lines)]
    for (heading, start, body), end in zip(headings, ends):
        if end > start:
            yield heading, lines[body:end], start, end - 1


def _headings(lines: list[str], markdown: bool) -> Iterator[tuple[str, int, int]]:
    """The heading, its position and the position of its text. A fenced block contains no headings."""
    fenced = False
    for position, line in enumerate(lines):
        below = lines[position + 1] if position + 1 < len(lines) else ""
        if markdown and line.lstrip().startswith(("```", "~~~")):
            fenced = not fenced
        elif fenced:
            continue
        elif markdown and re.match(r"#{1,6}\s", line):
            yield line.strip("# \t\r"), position, position + 1
        elif _TITLE.match(line) and _UNDERLINE.fullmatch(below) and len(line.rstrip()) <= len(below.rstrip()):
            yield line.strip(), position, position + 2
