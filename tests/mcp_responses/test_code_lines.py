"""Lines of code out of a work tree, beside plain Python, which resolves with pathlib and reads whole files."""

import contextlib
import json
import logging
import os
import random
import resource
import socket
import subprocess
import sys
import threading
import unittest
from pathlib import Path

import generators
from differential import plain, real
from samples import run_python, scaled
from service import make_folder

BREAKS = ["\n", "\r", "\r\n", "\v", "\f", "\x1c", "\x1d", "\x1e", "\x85", "\u2028", "\u2029", "\n\r", "\n\n"]
NAMES = ["a.py", "é.py", "b c", "n\udcff.py", "漢", "-", "...", "🦉.py", "it's", "q\"'", "N" * 255]


class Log(logging.Handler):
    """Keeps what the library logs, as it hands it over."""

    def __init__(self):
        super().__init__()
        self.lines = []

    def emit(self, record):
        self.lines.append((record.levelno, record.msg, *record.args))

    def __enter__(self):
        real.logger.addHandler(self)
        self.level_before = real.logger.level
        real.logger.setLevel(logging.INFO)
        return self

    def __exit__(self, *_):
        real.logger.setLevel(self.level_before)
        real.logger.removeHandler(self)


def outcome(function, root, places):
    with Log() as log:
        try:
            result = list(function(root, places).items())
        except (OSError, RuntimeError, ValueError) as error:
            result = type(error)
    return result, [(*line[:3], reason_text(line[3])) for line in log.lines]


def reason_text(reason):
    if isinstance(reason, OSError):
        return f"[Errno {reason.errno}] {reason.strerror}: '{reason.filename}'"
    return reason


def content(rng):
    pieces = [rng.choice(BREAKS) if rng.random() < 0.5 else generators.text(rng) for _ in range(rng.randint(0, 60))]
    pieces = [piece.encode() if rng.random() < 0.9 else rng.randbytes(9) for piece in pieces]
    return rng.choice((b"", b"", b"\xef\xbb\xbf")) + b"".join(pieces)


def fill(rng, base):
    """Folders, files and links of all kinds, in and beside the folder "root"; the paths of all from there."""
    folders = [base / "root", base / "root2", base / "outside", base / "root" / "é.py"]
    for folder in folders:
        folder.mkdir()
    folders += [rng.choice(folders) / f"d{i}" for i in range(6)]
    for folder in folders:
        folder.mkdir(exist_ok=True, parents=True)
        for name in rng.sample(NAMES, 4):
            with contextlib.suppress(IsADirectoryError):
                (folder / name).write_bytes(content(rng))
    for i in range(30):
        target = path(rng, base) if i else f"l{i}"
        with contextlib.suppress(OSError):
            rng.choice(folders).joinpath(f"l{i}").symlink_to(target or ".")
    with socket.socket(socket.AF_UNIX) as unix:
        before = os.getcwd()
        os.chdir(base / "root")
        unix.bind("socket")
        os.chdir(before)
    (base / "root" / "closed").touch(mode=0)
    (base / "into").symlink_to("root")
    return [os.path.relpath(path, base / "root") for path in base.rglob("*")]


def path(rng, base, known=()):
    if known and rng.random() < 0.6:
        return rng.choice(("", "", f"{base}/root/", "./", "d0/../")) + rng.choice(known) + rng.choice(("", "", "/", "/."))
    parts = [*NAMES, "..", "..", ".", "", "d0", "d1", "d2", "root", "root2", "outside", "socket", "closed", "gone"]
    parts += [f"l{i}" for i in range(30)]
    start = rng.choice([""] * 6 + [f"{base}/", f"{base}/root/", "/", "/etc/"])
    return start + "/".join(rng.choices(parts, k=rng.choice((1, 1, 1, 2, 2, 3, 5))))


class BesidePlainPython(unittest.TestCase):
    def setUp(self):
        self.base = make_folder(self.addCleanup).resolve()
        self.addCleanup(os.chdir, os.getcwd())

    def assert_alike(self, root, places):
        expected = outcome(plain.code_lines, Path(root), places)
        self.assertEqual(outcome(real.code_lines, root, iter(places)), expected, (root, places))
        return expected

    def test_random_trees(self):
        seen = {"lines": 0, "logged": 0, "failed": 0}
        for seed in range(scaled(25)):
            rng = random.Random(seed)
            (self.base / str(seed)).mkdir()
            base = self.base / str(seed)
            known = fill(rng, base)
            os.chdir(base / "root")
            roots = [base / "root"] * 6 + ["", ".", "../root2/../root", base / "into", base, "/", base / "gone"]
            roots += [base / "root" / "closed", base / "root" / "l0", base / "root" / "l3", str(base / "root") + "//"]
            for _ in range(100):
                places = [(path(rng, base, known), rng.randint(-1, 20)) for _ in range(rng.choice((1, 1, 4, 20)))]
                result, logged = self.assert_alike(rng.choice(roots), rng.choices(places, k=len(places) * 2))
                seen["failed" if isinstance(result, type) else "lines"] += isinstance(result, type) or len(result)
                seen["logged"] += len(logged)
        self.assertGreater(min(seen.values()), scaled(100), seen)

    def test_every_break_around_every_line(self):
        rng = random.Random(51)
        for _ in range(scaled(300)):
            (self.base / "a.py").write_bytes(content(rng) * rng.choice((1, 1, 5)))
            self.assert_alike(self.base, [("a.py", line) for line in range(-1, rng.choice((3, 200)))])

    def test_paths_that_no_file_can_have(self):
        (self.base / "a.py").write_text("one")
        good = ("a.py", 1)
        for bad in ("\0", "a.py\0", "\ud800", "x/\udfff", "\udc7f"):
            for root, places in ((self.base, [(bad, 1), good]), (self.base / bad, [good])):
                expected = outcome(plain.code_lines, root, places)[0]
                self.assertEqual(outcome(real.code_lines, root, places)[0], expected, (root, places))
        for long in ("x" * 256, "x/" * 2500, "y" * 5000, "../" * 3000 + "etc/hosts"):
            self.assert_alike(self.base, [(long, 1), good])

    def test_places_that_are_none(self):
        for place, text in [
            ("ab", "places[1] must be a pair of str and int, not str"),
            (("a", 1, 2), "places[1] must be a pair of str and int, not tuple"),
            ({"a": 1, "b": 2}, "places[1] must be a pair of str and int, not dict"),
            ((b"a", 1), "places[1] must be a pair of str and int, not of bytes and int"),
            (["a", 1.0], "places[1] must be a pair of str and int, not of str and float"),
            (("a", None), "places[1] must be a pair of str and int, not of str and NoneType"),
            (("a", 2**63), "places[1][1] is an int beyond 64 bits (from -2**63 to 2**63 - 1)"),
        ]:
            with self.assertRaises((TypeError, OverflowError)) as raised:
                real.code_lines(self.base, [("a", 1), place])
            self.assertEqual(str(raised.exception), text)
        for root in (b"bytes", 7, object(), [""]):
            self.assertRaises(TypeError, real.code_lines, root, [])

    def test_places_are_read_once_and_not_at_all_without_a_root(self):
        places = iter([("a.py", 1), ("a.py", 2)])
        self.assertEqual((real.code_lines(None, places), next(places)), ({}, ("a.py", 1)))
        (self.base / "a.py").write_text("one\ntwo")
        self.assertEqual(real.code_lines(self.base, places), {("a.py", 2): "two"})
        self.assertEqual([*places], [])
        self.assertEqual(real.code_lines(None, 5), {})


class Awkward(unittest.TestCase):
    def setUp(self):
        self.base = make_folder(self.addCleanup).resolve()
        (self.base / "root").mkdir()
        (self.base / "outside").mkdir()
        self.root = self.base / "root"

    def test_what_is_no_file_is_never_waited_for(self):
        os.mkfifo(self.root / "pipe")
        writer = os.open(self.root / "pipe", os.O_RDWR)
        self.addCleanup(os.close, writer)
        os.write(writer, b"a line\n")
        with Log() as log:
            self.assertEqual(real.code_lines(self.root, [("pipe", 1), ("gone", 1), ("./pipe", 1)]), {})
            self.assertEqual(real.code_lines("/", [("dev/zero", 1), ("dev/tty", 1), ("dev/stdin", 1)]), {})
        lines = [(logging.INFO, "code_lines: %s is not read (%s)", name) for name in ("pipe", "gone", "./pipe", "dev/zero")]
        self.assertEqual([line[:3] for line in log.lines[:4]], lines)
        self.assertEqual(log.lines[0][3], f"Not a regular file: '{self.root}/pipe'")
        self.assertTrue(real.code_lines("/", [("/proc/self/status", 1)])["/proc/self/status", 1].startswith("Name:"))

    def test_no_descriptor_is_lost(self):
        (self.root / "a.py").write_text("one")
        (self.root / "loop").symlink_to("loop")
        os.mkfifo(self.root / "pipe")
        names = ["gone", "pipe", ".", "a.py/x", "../outside", "x" * 300, "a.py"]
        before = len(os.listdir("/proc/self/fd"))
        for i in range(scaled(10000) // len(names)):
            real.code_lines(self.root, [(name, 1) for name in names])
            with self.assertRaises(RuntimeError):
                real.code_lines(self.root, [("a.py", 1), ("loop", 1), ("pipe", 1)])
        self.assertEqual(len(os.listdir("/proc/self/fd")), before)
        limits = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (3, limits[1]))
        try:
            with Log() as log:
                self.assertEqual(real.code_lines(self.root, [("a.py", 1), ("gone", 1)]), {})
        finally:
            resource.setrlimit(resource.RLIMIT_NOFILE, limits)
        self.assertEqual([line[3].split("]")[0] for line in log.lines], ["[Errno 24"] * 2)
        self.assertEqual(real.code_lines(self.root, [("a.py", 1)]), {("a.py", 1): "one"})

    def test_other_threads_run_while_a_file_is_read(self):
        with open(self.root / "big", "wb") as file:
            file.truncate(scaled(3 * 10**8))
        self.addCleanup(sys.setswitchinterval, sys.getswitchinterval())
        sys.setswitchinterval(1000)  # nobody is made to hand over the interpreter
        for _ in range(10):
            go, ran = threading.Event(), []
            thread = threading.Thread(target=lambda: go.wait() and ran.append(True))
            thread.start()
            go.set()
            ran_before = list(ran)
            self.assertEqual(len(real.code_lines(self.root, [("big", 1)])), 1)
            ran_meanwhile = len(ran) > len(ran_before)
            thread.join()
            if ran_meanwhile:
                return
        self.fail("the other thread had to wait")

    def test_a_file_that_changes_while_it_is_read(self):
        file = open(self.root / "a.py", "wb", buffering=0)
        self.addCleanup(file.close)
        line = b"x" * 99 + b"\n"
        stop = threading.Event()

        def change():
            rng = random.Random(52)
            while not stop.is_set():
                os.pwrite(file.fileno(), line * 3000, rng.randrange(3000) * 100)
                os.ftruncate(file.fileno(), rng.randrange(600000))

        thread = threading.Thread(target=change)
        thread.start()
        lengths = set()
        for _ in range(scaled(400)):
            lines = real.code_lines(self.root, [("a.py", number) for number in (1, 2500, 5999)])
            self.assertTrue(all({*text} <= {*"x\0…"} and len(text) <= 200 for text in lines.values()), lines)
            lengths.add(len(lines))
        stop.set()
        thread.join()
        self.assertGreater(len(lengths), 1)

    def test_nothing_from_outside_while_a_folder_is_exchanged_for_a_link(self):
        for folder, text in ((self.root / "folder", "inside"), (self.base / "outside", "outside")):
            folder.mkdir(exist_ok=True)
            (folder / "a.py").write_text(text)
        (self.root / "link").symlink_to("../outside")
        exchanger = subprocess.Popen([sys.executable, "-c", EXCHANGE], cwd=self.root)
        self.addCleanup(exchanger.wait)
        self.addCleanup(exchanger.kill)
        for prelude in ("", WITHOUT_OPENAT2):
            seen = json.loads(run_python(prelude + RACE.format(root=str(self.root), most=scaled(200000))))
            self.assertEqual({*seen}, {"inside", "nothing"}, seen)


EXCHANGE = """
import ctypes
rename = ctypes.CDLL(None, use_errno=True).renameat2
while True:
    assert rename(-100, b"folder", -100, b"link", 2) == 0
"""

RACE = """
import collections, json
import hollin.mcp_responses as real
seen = collections.Counter()
for i in range({most}):
    lines = real.code_lines({root!r}, [("folder/a.py", 1)])
    seen[lines.get(("folder/a.py", 1), "nothing")] += 1
    if i > 10000 and len(seen) > 1:
        break
print(json.dumps(seen))
"""

# The kernel then answers openat2 (437) as one that is too old for it: errno 38.
WITHOUT_OPENAT2 = """
import ctypes
class Step(ctypes.Structure):
    _fields_ = [("code", ctypes.c_uint16), ("jt", ctypes.c_uint8), ("jf", ctypes.c_uint8), ("k", ctypes.c_uint32)]
class Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_uint16), ("steps", ctypes.POINTER(Step))]
steps = (Step * 4)(Step(0x20, 0, 0, 0), Step(0x15, 0, 1, 437), Step(6, 0, 0, 0x50000 | 38), Step(6, 0, 0, 0x7FFF0000))
libc = ctypes.CDLL(None, use_errno=True)
assert libc.prctl(38, 1, 0, 0, 0) == 0 and libc.prctl(22, 2, ctypes.byref(Program(4, steps)), 0, 0) == 0
assert libc.syscall(437, -100, b".", None, 0) == -1 and ctypes.get_errno() == 38
"""

if __name__ == "__main__":
    unittest.main()
