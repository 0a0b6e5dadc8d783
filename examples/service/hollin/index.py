"""The index of a tree of Python sources: the data that the tools answer from."""

from __future__ import annotations

import re
import threading
import time
import warnings
from collections import defaultdict
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from datetime import datetime, timezone
from pathlib import Path
from typing import Any, NamedTuple

from hollin.names import Located, Names, dotted
from hollin.source_file import SourceFile, Use, read_source_file
from hollin.tree import Tree
from hollin.wiki import DOCUMENTS, Wiki

# The phases of `build`, and the relative time of each per byte of its files, measured with the standard library.
PHASES = {"indexing files": 1.0, "reading documents": 0.4, "resolving references": 0.06}
RELATED_PAGES = 5


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


class Progress(NamedTuple):
    phase: str
    done: int
    total: int
    percent: int  # of the whole index


class Index:
    """`build` fills the index, usually in a thread of its own; `progress` is None after that."""

    def __init__(self, root: Path, excluded: frozenset[str] = frozenset()) -> None:
        self.tree = Tree(root, excluded)
        self.wiki = Wiki()
        self.progress: Progress | None = Progress(next(iter(PHASES)), 0, 0, 0)
        self.failure: str | None = None  # the error that ended `build`
        self.done = threading.Event()  # set by the thread that builds
        self.updated: str | None = None
        self.sources: dict[str, SourceFile] = {}  # by path, in the order of the paths
        self.look_seconds = 2.0
        self._looked = 0.0
        self._packages: set[str] = set()  # the folders with a file __init__.py
        self._make_tables()

    def build(self) -> Iterator[None]:
        """Builds the index step by step. The caller may read `progress`, or stop, after each step."""
        for path, stamp in self.tree.walk():
            self.tree.stamps[path] = stamp
            yield
        python = sorted(path for path in self.tree.stamps if path.endswith(".py"))
        documents = sorted(path for path in self.tree.stamps if path.endswith(DOCUMENTS))
        paths = {"indexing files": python, "reading documents": documents, "resolving references": python}
        spent, whole = 0.0, sum(self._cost(phase, path) for phase in paths for path in paths[phase])

        def run(phase: str, step: Callable[[str], None]) -> Iterator[None]:
            nonlocal spent
            for done, path in enumerate(paths[phase]):
                self.progress = Progress(phase, done, len(paths[phase]), int(100 * spent / whole))
                spent += self._cost(phase, path)
                step(path)
                yield

        self._find_packages()
        yield from run("indexing files", self._read)
        yield from run("reading documents", self._read)
        self._make_tables()
        yield from run("resolving references", self._resolve)
        self.updated = _now()
        self.progress = None

    def _cost(self, phase: str, path: str) -> float:
        size, _ = self.tree.stamps[path] or (0, 0)
        return 1 + PHASES[phase] * size

    def look(self) -> None:
        """Indexes new, changed and deleted files, at most once in `look_seconds`."""
        if time.monotonic() < self._looked + self.look_seconds:
            return
        if self.tree.has_changed_folder():
            for path, _ in self.tree.walk():
                self.tree.stamps.setdefault(path, None)
        self.refresh({*self.tree.stamps})
        self._looked = time.monotonic()

    def refresh(self, paths: set[str]) -> bool:
        """Indexes new, deleted and unreadable files, and changed ones of `paths`. Returns whether there were any."""
        stamps = self.tree.stamps
        paths = paths.union(self.tree.errors, (path for path, stamp in stamps.items() if not stamp))
        changed = {path: self.tree.current_stamp(path) for path in stamps if path in paths and self.tree.is_stale(path)}
        if changed:
            stamps |= changed
            self._find_packages()
            moved = {s.path for s in self.sources.values() if (s.module, s.script_folder) != self._place(s.path)}
            for path in moved.union(changed):
                self._read(path)
            self.sources = dict(sorted(self.sources.items()))
            self._make_tables()
            for path in self.sources:
                self._resolve(path)
            self.updated = _now()
        return bool(changed)

    @property
    def symbol_count(self) -> int:
        """All symbols of all files, also those with the same fqn. `build` may add files concurrently."""
        return sum(len(source.symbols) for source in [*self.sources.values()])

    @property
    def not_ready(self) -> str:
        """Why tools cannot use the index; empty if they can."""
        if self.failure:
            return f"The index could not be built ({self.failure}); the server's log has the details."
        if now := self.progress:
            return f"The index is being built ({now.percent} % done). Call status, and call again when it is ready."
        return ""

    def search(self, query: str) -> list[Located]:
        """The symbols whose fqn contains every word: first those with exactly this name, also one that a module
        re-exports, then those outside of tests, whose name begins with the query, or whose name contains every word."""
        exact, query = self.names.find(query.strip()), query.lower().strip()
        words = query.split()

        def rank(hit: Located) -> tuple[bool, bool, bool, bool, bool, str]:
            name, fqn = hit.symbol.name.lower(), hit.symbol.fqn
            is_exact, has_words = query in (name, fqn.lower()), all(word in name for word in words)
            return (hit is not exact, not is_exact, is_test(hit.path), not name.startswith(query), not has_words, fqn)

        found = [hit for hit in self.names.by_fqn.values() if all(word in hit.symbol.fqn.lower() for word in words)]
        return sorted(found if not exact or exact in found else [exact, *found], key=rank)

    def component_of(self, path: str) -> str:
        folder, slash, _ = path.removeprefix("src/").partition("/")
        return folder if slash else "."

    def imported_files(self, source: SourceFile) -> Iterator[tuple[str, str | None]]:
        """The files that define what a file imports, with the name of an imported symbol."""
        for modules, name in source.imports:
            fqn = self.names.resolve((modules, [name] if name else [])) or ""
            if located := self.names.by_fqn.get(fqn):
                yield located.path, name
            elif module := self.names.modules.get(fqn):
                yield module.path, None
            elif module := self.names.modules.get(self.names.resolve((modules, [])) or ""):
                yield module.path, name

    def related_pages(self, path: str) -> list[str]:
        """Other pages: of the files that this one imports or mentions, of those that import it, and of its folder."""
        source, folder = self.sources.get(path), path.rpartition("/")[0]
        found = [each for each, _ in self.imported_files(source)] if source else self.wiki.mentioned_pages(path)
        found += [each.path for each in self.sources.values() if path in dict(self.imported_files(each))]
        found += sorted(each for each in self.wiki.pages if each.rpartition("/")[0] == folder)
        return [each for each in dict.fromkeys(found) if each in self.wiki.pages and each != path][:RELATED_PAGES]

    def _find_packages(self) -> None:
        files = (path.rpartition("/") for path, stamp in self.tree.stamps.items() if stamp)
        self._packages = {folder for folder, _, name in files if name == "__init__.py"}

    def _place(self, path: str) -> tuple[str, str]:
        """The module of a file, and the module name of its folder if that is not a package. A package is imported from
        the folder that contains it, other files from `src` or the root."""
        folder = top = path.rpartition("/")[0]
        while top and top in self._packages:
            top = top.rpartition("/")[0]
        if path.startswith("src/"):
            top = "src"
        elif top == folder:
            top = ""
        module = dotted(path.removeprefix(f"{top}/"))
        if not top and "" in self._packages:  # the root is itself a package
            module = dotted(f"{self.tree.root.name}/{path}")
        return module, "" if folder in self._packages else module.rpartition(".")[0]

    def _read(self, path: str) -> None:
        self.tree.errors.pop(path, None)
        self.wiki.remove(path)
        if not self.tree.stamps[path]:
            self.sources.pop(path, None)
            return
        try:
            if path.endswith(".py"):
                with warnings.catch_warnings():
                    warnings.simplefilter("ignore")  # about the code of the tree
                    source = self.sources[path] = read_source_file(self.tree.root, path, *self._place(path))
                if source.docstring:
                    self.wiki.add(path, source.module, source.docstring, source.docstring_line)
            else:
                text = (self.tree.root / path).read_text(encoding="utf-8", errors="replace")
                self.wiki.add(path, path, text, 1)
        except (OSError, SyntaxError, ValueError, RecursionError, MemoryError) as error:
            self.sources.pop(path, None)
            self.tree.errors[path] = _reason(error)

    def _make_tables(self) -> None:
        """Derives the tables from `sources`, except the references."""
        self.names = Names(self.sources)
        self.references: dict[str, list[Reference]] = defaultdict(list)  # by the fqn of the symbol
        self.unresolved: dict[str, list[tuple[str, int]]] = defaultdict(list)  # calls of unknown objects, by attribute
        self.coverage: list[tuple[str, str, list[str]]] = []  # test file, source file, imported names
        for source in self.sources.values():
            self._add_coverage(source)
        self.endpoints = [located for located in self.names.by_fqn.values() if located.symbol.is_endpoint]
        self.components = self._components()

    def _resolve(self, path: str) -> None:
        """Adds the uses in a file to the references of the symbols."""
        source = self.sources.get(path)
        for use in sorted(source.uses, key=lambda use: use.line) if source else ():
            fqn = self.names.resolve(use.path) if use.path else None
            if fqn in self.names.by_fqn:
                is_constant = self.names.by_fqn[fqn].symbol.kind == "constant"
                if is_constant == (use.usage == "read"):
                    caller = {"fqn": use.caller.fqn, "kind": use.caller.kind} if use.caller else None
                    self.references[fqn].append(Reference(path, use.line, caller, use.usage))
            elif use.attribute and use.usage == "call" and not (use.path and self.names.is_outside(use.path)):
                self.unresolved[use.attribute].append((path, use.line))

    def _add_coverage(self, source: SourceFile) -> None:
        covered: dict[str, list[str]] = {}
        for path, name in self.imported_files(source) if is_test(source.path) else ():
            if not is_test(path):
                names = covered.setdefault(path, [])
                names += [name] if name and name not in names else []
        self.coverage += [(source.path, path, names) for path, names in covered.items()]

    def _components(self) -> list[ComponentInfo]:
        with_endpoints = {self.component_of(path) for _, path in self.endpoints}
        groups: dict[str, list[SourceFile]] = defaultdict(list)
        for path, source in self.sources.items():
            groups[self.component_of(path)].append(source)
        components = []
        for name, sources in sorted(groups.items()):
            layer = "api" if name in with_endpoints else None
            layer = "tests" if all(is_test(each.path) for each in sources) else layer
            pattern = "*.py" if name == "." else f"{name}/**/*.py"
            symbols = sum(len(each.symbols) for each in sources)
            components.append(ComponentInfo(name, layer, pattern, len(sources), symbols))
        return components


def is_test(path: str) -> bool:
    return bool(re.search(r"(^|/)(test_[^/]*|[^/]*_test|conftest)\.py$|(^|/)tests?/", path))


def _reason(error: Exception) -> str:
    if isinstance(error, SyntaxError):
        return f"{error.msg} (line {error.lineno})"
    if isinstance(error, (RecursionError, MemoryError)):
        return "nested too deeply"
    return getattr(error, "strerror", None) or str(error)


def _now() -> str:
    return datetime.now(timezone.utc).isoformat(timespec="milliseconds")
