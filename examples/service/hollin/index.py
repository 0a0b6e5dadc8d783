"""The index of a tree of Python sources: the data that the tools answer from."""

from __future__ import annotations

import contextlib
import functools
import os
import re
import stat
import threading
import warnings
from collections import defaultdict
from collections.abc import Iterator
from dataclasses import dataclass
from datetime import datetime, timezone
from pathlib import Path
from typing import Any, NamedTuple

from hollin.source_file import NamePath, SourceFile, Symbol, encodable, read_source_file
from hollin.wiki import DOCUMENTS, Wiki

EXCLUDED = frozenset({"__pycache__", "site-packages", "dist-packages", "node_modules"})
# The phases of `build`, and the relative time of each per byte of its files, measured with the standard library.
PHASES = {"indexing files": 1.0, "reading documents": 0.4, "resolving references": 0.03}

Stamp = tuple[int, int]  # the size and the modification time of a file


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
    symbol: Symbol
    path: str  # of its file


class Progress(NamedTuple):
    phase: str
    done: int
    total: int
    percent: int  # of the whole index


class Index:
    """`build` fills the index, usually in a thread of its own; `progress` is None after that. `skipped` has the files
    that cannot be read or parsed."""

    def __init__(self, root: Path, excluded: frozenset[str] = frozenset()) -> None:
        self.root = root.resolve()
        self.excluded = EXCLUDED | excluded
        self.excluded_names = ", ".join(sorted(self.excluded))
        self.branch = _branch(self.root)
        self.wiki = Wiki()
        self.progress: Progress | None = Progress(next(iter(PHASES)), 0, 0, 0)
        self.failure: str | None = None  # the error that ended `build`
        self.done = threading.Event()  # set by the thread that builds
        self.updated: str | None = None
        self.skipped: list[str] = []
        self.stamps: dict[str, Stamp | None] = {}  # None for a file that has been deleted since
        self.sources: dict[str, SourceFile] = {}
        self._make_tables()

    def build(self) -> Iterator[None]:
        """Builds the index step by step. The caller may read `progress`, or stop, after each step."""
        self.skipped.clear()
        for _ in self.walk():
            yield
        python = [path for path in self.stamps if path.endswith(".py")]
        documents = [path for path in self.stamps if path.endswith(DOCUMENTS)]
        steps = [*zip(PHASES.items(), (python, documents, python), (self._read, self._read, self._resolve))]
        spent, whole = 0.0, sum(1 + cost * self.stamps[path][0] for (_, cost), paths, _ in steps for path in paths)
        for (phase, cost), paths, step in steps:
            if step == self._resolve:
                self._make_tables()
            for done, path in enumerate(paths):
                self.progress = Progress(phase, done, len(paths), int(100 * spent / whole))
                spent += 1 + cost * self.stamps[path][0]
                step(path)
                yield
        self.updated = _now()
        self.progress = None

    def refresh(self, paths: set[str]) -> bool:
        """Indexes changed files again: those of `paths`, skipped and deleted ones. Returns whether there were any."""
        paths = paths.union(self.skipped, (path for path, stamp in self.stamps.items() if not stamp))
        changed = [path for path in self.stamps if path in paths and self.is_stale(path)]
        for path in changed:
            self.stamps[path] = self._current_stamp(path)
            self._read(path)
        if changed:
            self._make_tables()
            for path in self.sources:
                self._resolve(path)
            self.updated = _now()
        return bool(changed)

    def is_stale(self, path: str) -> bool:
        return path in self.stamps and self.stamps[path] != self._current_stamp(path)

    def _current_stamp(self, path: str) -> Stamp | None:
        with contextlib.suppress(OSError):
            return _stamp(self.root / path)
        return None

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

    def walk(self) -> Iterator[str]:
        """The paths of Python files and documents; records their stamps. Excludes symbolic links and names that are not
        UTF-8. Files and folders whose attributes cannot be read are added to `skipped`."""
        for folder, names, files in os.walk(self.root, onerror=self._skip_folder):
            names[:] = sorted(n for n in names if n not in self.excluded and not n.startswith("."))
            for path in (Path(folder, name) for name in sorted(files) if name.endswith((".py", *DOCUMENTS))):
                relative = path.relative_to(self.root).as_posix()
                try:
                    stamp = _stamp(path) if relative == encodable(relative) else None
                except OSError:
                    self.skipped.append(relative)
                    continue
                if stamp:
                    self.stamps[relative] = stamp
                    yield relative

    def _skip_folder(self, error: OSError) -> None:
        path = Path(error.filename).relative_to(self.root).as_posix()
        self.skipped.append(encodable(path))

    def search(self, query: str) -> list[Located]:
        """The symbols whose fqn contains every word: first those with exactly this name, then those whose name begins
        with the query, then those whose name contains every word."""
        query, words = query.lower().strip(), query.lower().split()

        def rank(symbol: Symbol) -> tuple[bool, bool, bool, str]:
            name, is_exact = symbol.name.lower(), query in (symbol.name.lower(), symbol.fqn.lower())
            return not is_exact, not name.startswith(query), not all(word in name for word in words), symbol.fqn

        found = [hit for hit in self.by_fqn.values() if all(word in hit.symbol.fqn.lower() for word in words)]
        return sorted(found, key=lambda hit: rank(hit.symbol))

    def component_of(self, path: str) -> str:
        folder, slash, _ = path.removeprefix("src/").partition("/")
        return folder if slash else "."

    def _read(self, path: str) -> None:
        if path in self.skipped:
            self.skipped.remove(path)
        self.wiki.remove(path)
        if not self.stamps[path]:
            self.sources.pop(path, None)
            return
        try:
            if path.endswith(".py"):
                with warnings.catch_warnings():
                    warnings.simplefilter("ignore")  # about the code of the tree
                    source = self.sources[path] = read_source_file(self.root, path)
                if source.docstring:
                    self.wiki.add(path, source.module, source.docstring, source.docstring_line)
            else:
                self.wiki.add(path, path, (self.root / path).read_text(encoding="utf-8", errors="replace"), 1)
        except (OSError, SyntaxError, ValueError, RecursionError, MemoryError):
            self.sources.pop(path, None)
            self.skipped.append(path)

    def _make_tables(self) -> None:
        """Derives the tables from `sources`, except the references."""
        self.modules: dict[str, SourceFile] = {}
        self.packages: set[str] = set()  # the modules, and the packages that contain them
        self.by_fqn: dict[str, Located] = {}
        self.references: dict[str, list[Reference]] = defaultdict(list)  # by the fqn of the called symbol
        self.coverage: list[tuple[str, str, list[str]]] = []  # test file, source file, imported names
        self._attributes: dict[tuple[str, str], str | None] = {}
        for path, source in self.sources.items():
            parts = source.module.split(".")
            self.modules[source.module] = source
            self.packages |= {".".join(parts[:count]) for count in range(1, len(parts) + 1)}
            for symbol in source.symbols:
                self.by_fqn.setdefault(symbol.fqn, Located(symbol, path))
        for source in self.sources.values():
            self._add_coverage(source)
        self.endpoints = [located for located in self.by_fqn.values() if located.symbol.is_endpoint]
        self.components = self._components()

    def _resolve(self, path: str) -> None:
        """Adds the calls in a file to the references of the called symbols."""
        source = self.sources.get(path)
        for name_path, line, caller in sorted(source.calls, key=lambda call: call[1]) if source else ():
            try:
                fqn = self._target(name_path)
            except RecursionError:  # a very long chain of base classes or imports
                continue
            if fqn in self.by_fqn:
                caller_symbol = {"fqn": caller.fqn, "kind": caller.kind} if caller else None
                self.references[fqn].append(Reference(path, line, caller_symbol, "call"))

    def _target(self, path: NamePath) -> str | None:
        """The fqn of a symbol or module; None if the tree does not define it."""
        start, names = path
        return functools.reduce(self._attribute, names, self._locate(start))

    def _locate(self, path: str) -> str | None:
        if path in self.by_fqn or path in self.packages:
            return path
        outer, _, name = path.rpartition(".")
        return self._attribute(self._locate(outer), name) if outer else None

    def _attribute(self, owner: str | None, name: str) -> str | None:
        """The fqn of an attribute of a module or class. Memoised; that also ends cycles of imports and base classes."""
        if owner and (owner, name) not in self._attributes:
            self._attributes[owner, name] = None
            self._attributes[owner, name] = self._find_attribute(owner, name)
        return self._attributes.get((owner, name))

    def _find_attribute(self, owner: str, name: str) -> str | None:
        path = f"{owner}.{name}"
        if located := self.by_fqn.get(owner):
            if located.symbol.kind != "class":
                return None
            if path in self.by_fqn:
                return path
            bases = self.sources[located.path].bases.get(owner, ())
            return next(filter(None, (self._attribute(self._target(base), name) for base in bases)), None)
        source = self.modules.get(owner)
        if source and name in source.names:
            binding = source.names[name]
            return self._locate(binding.target) if binding else None
        if path in self.packages:
            return path
        stars = [module for module, imported in source.imports if imported == "*"] if source else ()
        return next(filter(None, (self._attribute(module, name) for module in stars)), None)

    def _add_coverage(self, source: SourceFile) -> None:
        covered: dict[str, list[str]] = {}
        for module, name in source.imports if is_test(source.path) else ():
            submodule = self.modules.get(f"{module}.{name}")
            imported = submodule or self.modules.get(module)
            if imported and not is_test(imported.path):
                names = covered.setdefault(imported.path, [])
                names += [name] if name and not submodule and name not in names else []
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


def _stamp(path: Path) -> Stamp | None:
    """None if the path is not a regular file; raises OSError."""
    status = path.lstat()
    return (status.st_size, status.st_mtime_ns) if stat.S_ISREG(status.st_mode) else None


def _now() -> str:
    return datetime.now(timezone.utc).isoformat(timespec="milliseconds")


def _branch(root: Path) -> str | None:
    with contextlib.suppress(OSError, ValueError):
        head = (root / ".git" / "HEAD").read_text(encoding="utf-8").strip()
        return head.removeprefix("ref: refs/heads/") if head.startswith("ref: ") else None
    return None
