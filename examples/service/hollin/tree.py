"""The files of a tree: Python sources and documents."""

from __future__ import annotations

import contextlib
import os
import posixpath
import stat
from collections.abc import Iterator
from pathlib import Path

from hollin.source_file import encodable
from hollin.wiki import DOCUMENTS

EXCLUDED = frozenset({"__pycache__", "build", "site-packages", "dist-packages", "node_modules"})

Stamp = tuple[int, int]  # the size and the modification time of a file


class Tree:
    """`stamps` has the known files, with None for one that is new or deleted. `errors` has the files and folders that
    cannot be read or parsed, with the reason."""

    def __init__(self, root: Path, excluded: frozenset[str] = frozenset()) -> None:
        self.root = root.resolve()
        self.excluded = EXCLUDED | excluded
        self.branch = _branch(self.root)
        self.stamps: dict[str, Stamp | None] = {}
        self.errors: dict[str, str] = {}
        self._prefixes = [f"{each}/" for each in (self.root, root.absolute())]
        self._folders: dict[str, int | None] = {}  # with the modification times

    def walk(self) -> Iterator[tuple[str, Stamp]]:
        """The paths of Python files and documents. Excludes symbolic links and names that are not UTF-8. Files and
        folders whose attributes cannot be read are added to `errors`."""
        self.errors = {path: error for path, error in self.errors.items() if path in self.stamps}
        self._folders = {str(self.root): _folder_time(str(self.root))}
        for folder, names, files in os.walk(self.root, onerror=self._add_error):
            names[:] = sorted(n for n in names if n not in self.excluded and not n.startswith("."))
            # The times are read before os.walk lists these folders, so that a file that is added later is noticed.
            self._folders |= {path: _folder_time(path) for path in (os.path.join(folder, name) for name in names)}
            for path in (Path(folder, name) for name in sorted(files) if name.endswith((".py", *DOCUMENTS))):
                relative = path.relative_to(self.root).as_posix()
                try:
                    stamp = _stamp(path) if relative == encodable(relative) else None
                except OSError as error:
                    self._add_error(error)
                    continue
                if stamp:
                    yield relative, stamp

    def has_changed_folder(self) -> bool:
        """Whether a file may have been added since the last walk."""
        return any(_folder_time(folder) != time for folder, time in self._folders.items())

    def is_stale(self, path: str) -> bool:
        return path in self.stamps and self.stamps[path] != self.current_stamp(path)

    def current_stamp(self, path: str) -> Stamp | None:
        with contextlib.suppress(OSError):
            return _stamp(self.root / path)
        return None

    def relative(self, path: str) -> str:
        """A client's path as the answers have it. That of a folder ends with a slash if the client's does; that of the
        root is empty."""
        for prefix in self._prefixes:
            path = path.removeprefix(prefix) if f"{path}/" != prefix else "."
        normal = posixpath.normpath(path)
        return "" if normal == "." else f"{normal}/" if path.endswith("/") else normal

    def _add_error(self, error: OSError) -> None:
        path = Path(error.filename).relative_to(self.root).as_posix()
        self.errors[encodable(path)] = error.strerror or str(error)


def _stamp(path: Path) -> Stamp | None:
    """None if the path is not a regular file; raises OSError."""
    status = path.lstat()
    return (status.st_size, status.st_mtime_ns) if stat.S_ISREG(status.st_mode) else None


def _folder_time(path: str) -> int | None:
    with contextlib.suppress(OSError):
        return os.lstat(path).st_mtime_ns
    return None


def _branch(root: Path) -> str | None:
    with contextlib.suppress(OSError, ValueError):
        head = (root / ".git" / "HEAD").read_text(encoding="utf-8").strip()
        return head.removeprefix("ref: refs/heads/") if head.startswith("ref: ") else None
    return None
