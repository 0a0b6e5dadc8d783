"""refuse_openat2.py FOLDER ERRNO: the lines of a work tree are the same with openat2 and where that is answered so."""

import ctypes
import os
import struct
import sys
from pathlib import Path

import hollin.mcp_responses as real

root = Path(sys.argv[1]) / "root"
for folder in (root / "folder", root.with_name("outside")):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "b.py").write_text(folder.name)
for name, target in (("link", "folder"), ("out", "../outside")):
    (root / name).symlink_to(target)


def lines():
    places = [(path, 1) for path in ("folder/b.py", "link/b.py", "out/b.py", "../outside/b.py", "folder")]
    return real.code_lines(root, places)


with_openat2 = lines()
assert with_openat2 == {("folder/b.py", 1): "folder", ("link/b.py", 1): "folder"}, with_openat2

# A filter of system calls, which answers openat2 (437) as an old kernel or a sandbox does.
number = int(sys.argv[2])
steps = [(0x20, 0, 0, 0), (0x15, 0, 1, 437), (6, 0, 0, 0x50000 | number), (6, 0, 0, 0x7FFF0000)]
code = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *step) for step in steps))
program = ctypes.create_string_buffer(struct.pack("HxxxxxxQ", len(steps), ctypes.addressof(code)))
libc = ctypes.CDLL(None, use_errno=True)
assert libc.prctl(38, 1, 0, 0, 0) == 0 and libc.prctl(22, 2, program, 0, 0) == 0, os.strerror(ctypes.get_errno())
assert libc.syscall(437, -100, b".", None, 0) == -1 and ctypes.get_errno() == number
assert lines() == with_openat2, lines()
