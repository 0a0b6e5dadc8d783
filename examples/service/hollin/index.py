"""The index of a Python source tree: what the service keeps so that its tools can answer."""

from __future__ import annotations

import os
import re
import stat
import warnings
from collections import defaultdict
from collections.abc import Iterator
from dataclasses import dataclass
from datetime import datetime, timezone
from pathlib import Path
from typing import Any, NamedTuple

from hollin.source_file import SourceFile, Symbol, read_source_file
from hollin.wiki import DOCUMENTS, Wiki

LEFT_OUT = frozenset({"__pycache__", "site-packages", "dist-packages", "node_modules"})
PHASES = ("indexing files", "reading documents", "creating edges", "resolving references")

_UNREADABLE = (OSError, SyntaxError, ValueError, RecursionError, MemoryError)


@dataclass(slots=True)
class Reference:
    file_path: str | None
    line: int | None
    caller_symbol: dict[str, Any] | None
    usage_type: str | None


@dataclass(slots=True)
class ComponentInfo:
    name: str
    layer: str | None
    path_pattern: str
    file_count: int
    symbol_count: int


class Located(NamedTuple):
    """A symbol and the file that it stands in."""

    symbol: Symbol
    path: str


@dataclass(slots=True)
class Progress:
    phase: str
    done: int
    total: int

    def __str__(self) -> str:
        return f"{self.phase}, {self.done:,} of {self.total:,}" if self.total else "looking for files"

    @property
    def percent(self) -> int:
        share = self.done / self.total if self.total else 0.0
        return int(100 * (PHASES.index(self.phase) + share) / len(PHASES))


class Index:
    """Grows while `build` runs; `progress` is None from its end on. What cannot be read stands in `skipped`."""

    def __init__(self, root: Path, left_out: frozenset[str] = frozenset()) -> None:
        self.root = root.resolve()
        self.left_out = LEFT_OUT | left_out
        self.branch = _branch(self.root)
        self.wiki = Wiki(self.root)
        self.progress: Progress | None = Progress(PHASES[0], 0, 0)
        self.failure: str | None = None  # why the index could not be made
        self.updated: str | None = None
        self.skipped: list[str] = []
        self._sources: list[SourceFile] = []  # while the index is being built
        self.files: dict[str, list[Symbol]] = {}
        self.modules: dict[str, str] = {}
        self.symbols: list[Located] = []
        self.by_fqn: dict[str, Located] = {}
        self.by_name: dict[str, list[Located]] = defaultdict(list)
        self.references: dict[str, list[Reference]] = defaultdict(list)
        self.endpoints: list[Located] = []
        self.components: list[ComponentInfo] = []
        self.coverage: list[tuple[str, str, list[str]]] = []  # test file, source file, names taken

    def build(self) -> Iterator[None]:
        """Make the index, a step at a time; whoever drives it may look at `progress` or stop."""
        self.skipped.clear()
        paths = []
        for path in self.walk():
            paths.append(path)
            yield
        steps = (
            ([path for path in paths if path.endswith(".py")], self._read),
            ([path for path in paths if path.endswith(DOCUMENTS)], self._add_document),
            (self._sources, self._add_references),
            (self._sources, self._add_coverage),
        )
        for phase, (things, step) in zip(PHASES, steps):
            for done, thing in enumerate(things):
                self.progress = Progress(phase, done, len(things))
                step(thing)
                yield
        self._sources.clear()
        self._add_components()
        self.updated = datetime.now(timezone.utc).isoformat(timespec="seconds")
        self.progress = None

    @property
    def is_ready(self) -> bool:
        return self.progress is None and self.failure is None

    @property
    def remark(self) -> str:
        """Why there is no answer yet."""
        if self.failure:
            return f"The index could not be made ({self.failure}); the server's log says more."
        now = self.progress
        how_far = f"{now}, {now.percent} % in all" if now else "nearly done"
        return f"The index is being built: {how_far}. Ask status, and call again when it is ready."

    @property
    def names_left_out(self) -> str:
        return ", ".join(sorted(self.left_out))

    def walk(self) -> Iterator[str]:
        """The tree's regular files, as paths from the root; links and odd names stay outside. A folder or a file that
        cannot be looked at joins `skipped`."""
        for folder, names, files in os.walk(self.root, onerror=self._skip_unreadable):
            names[:] = sorted(n for n in names if n not in self.left_out and not n.startswith("."))
            for path in (Path(folder, name) for name in sorted(files)):
                relative = path.relative_to(self.root).as_posix()
                if not _is_text(relative):
                    continue
                try:
                    is_regular = stat.S_ISREG(path.lstat().st_mode)
                except OSError:
                    self.skipped.append(relative)
                else:
                    if is_regular:
                        yield relative

    def _skip_unreadable(self, error: OSError) -> None:
        path = Path(error.filename).relative_to(self.root).as_posix()
        self.skipped.append(path.encode("utf-8", "replace").decode())

    def search(self, query: str) -> list[Located]:
        """Symbols whose fqn holds every word, those that are called just so first."""
        whole, words = query.lower(), query.lower().split()
        found = [hit for hit in self.symbols if all(word in hit.symbol.fqn.lower() for word in words)]
        return sorted(found, key=lambda hit: (hit.symbol.name.lower() != whole, hit.symbol.fqn))

    def component_of(self, path: str) -> str:
        folder, slash, _ = path.removeprefix("src/").partition("/")
        return folder if slash else "."

    def _read(self, path: str) -> None:
        try:
            with warnings.catch_warnings():
                warnings.simplefilter("ignore")  # remarks about the tree's own code
                source = read_source_file(self.root, path)
        except _UNREADABLE:
            self.skipped.append(path)
        else:
            self._add(source)

    def _add_document(self, path: str) -> None:
        try:
            self.wiki.add_document(path)
        except OSError:
            self.skipped.append(path)

    def _add(self, source: SourceFile) -> None:
        self._sources.append(source)
        self.files[source.path] = source.symbols
        self.modules[source.module] = source.path
        self.endpoints += [Located(symbol, source.path) for symbol in source.endpoints]
        for located in (Located(symbol, source.path) for symbol in source.symbols):
            self.symbols.append(located)
            self.by_fqn.setdefault(located.symbol.fqn, located)
            self.by_name[located.symbol.name].append(located)
        if source.docstring:
            self.wiki.add_page(source.path, source.module, source.docstring, source.docstring_line)

    def _add_references(self, source: SourceFile) -> None:
        for name, line, caller in sorted(source.calls, key=lambda call: call[1]):
            if name in self.by_name:
                held_by = {"fqn": caller.fqn, "kind": caller.kind} if caller else None
                self.references[name].append(Reference(source.path, line, held_by, "call"))

    def _add_coverage(self, source: SourceFile) -> None:
        covered: dict[str, list[str]] = {}
        for module, name in source.imports if is_test(source.path) else ():
            submodule = self.modules.get(f"{module}.{name}")
            path = submodule or self.modules.get(module)
            if path and not is_test(path):
                names = covered.setdefault(path, [])
                if name and not submodule and name not in names:
                    names.append(name)
        self.coverage += [(source.path, path, names) for path, names in covered.items()]

    def _add_components(self) -> None:
        with_endpoints = {self.component_of(path) for _, path in self.endpoints}
        groups: dict[str, list[str]] = defaultdict(list)
        for path in self.files:
            groups[self.component_of(path)].append(path)
        for name, paths in sorted(groups.items()):
            layer = "tests" if all(map(is_test, paths)) else "api" if name in with_endpoints else None
            symbols = sum(len(self.files[path]) for path in paths)
            pattern = "*.py" if name == "." else f"{name}/**/*.py"
            self.components.append(ComponentInfo(name, layer, pattern, len(paths), symbols))


def is_test(path: str) -> bool:
    return bool(re.search(r"(^|/)(test_[^/]*|[^/]*_test|conftest)\.py$|(^|/)tests?/", path))


def _is_text(path: str) -> bool:
    """False for a name whose bytes are not UTF-8: no answer could carry it."""
    return not any("\ud800" <= char <= "\udfff" for char in path)


def _branch(root: Path) -> str | None:
    try:
        head = (root / ".git" / "HEAD").read_text(encoding="utf-8").strip()
    except (OSError, ValueError):
        return None
    return head.removeprefix("ref: refs/heads/") if head.startswith("ref: ") else None
