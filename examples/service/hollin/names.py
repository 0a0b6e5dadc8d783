"""The modules and symbols of a tree, and what a dotted name means in it."""

from __future__ import annotations

import contextlib
import functools
import sys
from collections import Counter
from collections.abc import Iterable
from typing import NamedTuple

from hollin.source_file import NamePath, SourceFile, Symbol


class Located(NamedTuple):
    symbol: Symbol
    path: str  # of its file


class Names:
    def __init__(self, sources: dict[str, SourceFile]) -> None:
        self.modules: dict[str, SourceFile] = {}
        self.by_fqn: dict[str, Located] = {}
        self._sources = sources
        self._packages: set[str] = set()  # the modules, and the packages that contain them
        self._attributes: dict[tuple[str, str], str | None] = {}
        for path, source in sources.items():
            self._add_module(source.module, source)
            for symbol in source.symbols:
                self.by_fqn.setdefault(symbol.fqn, Located(symbol, path))
        for path, source in sources.items():  # a package in a namespace package is imported by its path
            self._add_module(dotted(path), source)
        scripts = [(source.module.rpartition(".")[2], source) for source in sources.values() if source.script_folder]
        counts = Counter(name for name, _ in scripts)
        for name, source in scripts:  # a program can add the folder of another script to its path
            if counts[name] == 1 and name not in sys.stdlib_module_names:
                self._add_module(name, source)

    def _add_module(self, name: str, source: SourceFile) -> None:
        parts = name.split(".")
        self.modules.setdefault(name, source)
        self._packages |= {".".join(parts[:count]) for count in range(1, len(parts) + 1)}

    def find(self, name: str) -> Located | None:
        """The symbol with this fqn, or that a module re-exports under this name."""
        return self.by_fqn.get(name) or self.by_fqn.get(self.resolve(((name,), [])) or "")

    def resolve(self, path: NamePath) -> str | None:
        """The fqn of a symbol or module; None if the tree does not define it."""
        with contextlib.suppress(RecursionError):  # a very long chain of base classes or imports
            return self._target(path)
        return None

    def is_outside(self, path: NamePath) -> bool:
        """Whether the path begins with an imported object that the tree does not define."""
        starts, names = path
        source = self.modules.get(starts[0])
        binding = source.names.get(names[0]) if source and names else None
        return not any(self.resolve(((start,), [])) for start in (binding.targets if binding else starts))

    def _target(self, path: NamePath) -> str | None:
        starts, names = path
        return _first(functools.reduce(self._attribute, names, self._locate(start)) for start in starts)

    def _locate(self, path: str) -> str | None:
        if path in self.by_fqn or path in self._packages:
            return path
        outer, _, name = path.rpartition(".")
        return self._attribute(self._locate(outer), name) if outer else None

    def _attribute(self, owner: str | None, name: str) -> str | None:
        """The fqn of an attribute of a module or class. Memoised; that also ends cycles of imports and base classes."""
        if owner and (owner, name) not in self._attributes:
            self._attributes[owner, name] = None
            self._attributes[owner, name] = self._find_attribute(owner, name)
        return self._attributes.get((owner or "", name))

    def _find_attribute(self, owner: str, name: str) -> str | None:
        path = f"{owner}.{name}"
        if located := self.by_fqn.get(owner):
            if located.symbol.kind != "class":
                return None
            if path in self.by_fqn:
                return path
            bases = self._sources[located.path].bases.get(owner, ())
            return _first(self._attribute(self._target(base), name) for base in bases)
        source = self.modules.get(owner)
        if source and name in source.names:
            binding = source.names[name]
            return _first(map(self._locate, binding.targets)) if binding else None
        if path in self._packages:
            return path
        stars = [each for modules, imported in source.imports if imported == "*" for each in modules] if source else ()
        return _first(self._attribute(self._locate(module), name) for module in stars)


def _first(found: Iterable[str | None]) -> str | None:
    return next(filter(None, found), None)


def dotted(path: str) -> str:
    """The name of a module by the path of its file, relative to the folder from which it is imported."""
    parts = path.removesuffix(".py").split("/")
    return ".".join(parts[:-1] if parts[-1] == "__init__" and len(parts) > 1 else parts)
