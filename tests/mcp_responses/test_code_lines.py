"""`code_lines` compared with plain Python, which resolves paths with pathlib and reads whole files, and in cases that
plain Python does not handle, such as files larger than the memory."""

import contextlib
import errno
import os
import random
import signal
import stat
import sys
import threading
import time
import unittest
from pathlib import Path
from unittest import mock

import random_input
from callbacks import class_with
from comparison import outcome
from samples import plain, real
from script_helper import make_folder, run_program

BREAKS = ["\n", "\r", "\r\n", "\v", "\f", "\x1c", "\x1d", "\x1e", "\x85", "\u2028", "\u2029", "\n\r", "\n\n"]
NAMES = ["a.py", "é.py", "b c", "n\udcff.py", "漢", "-", "...", "🦉.py", "it's", "q\"'", "N" * 255]


class LoopsFail(type(Path())):
    """A path that is resolved as before Python 3.13, whose pathlib does not raise an error for a symlink loop."""

    def resolve(self):
        resolved = super().resolve()
        try:
            resolved.stat()
        except OSError as error:
            if error.errno == errno.ELOOP:
                raise RuntimeError(f"Symlink loop from {error.filename!r}") from None
        return resolved


def lines_and_log(function, root, places):
    """The answer or the type of the error, and the arguments of all log messages."""

    def text_of(reason):
        error = isinstance(reason, OSError)
        return f"[Errno {reason.errno}] {reason.strerror}: '{reason.filename}'" if error else reason

    with mock.patch.object(real.logger, "info") as info:
        try:
            result = list(function(root, places).items())
        except (OSError, RuntimeError, ValueError) as error:
            result = type(error)
    return result, [(text, path, text_of(reason)) for text, path, reason in (call.args for call in info.mock_calls)]


def content(rng):
    pieces = [rng.choice(BREAKS) if rng.random() < 0.5 else random_input.text(rng) for _ in range(rng.randint(0, 60))]
    pieces = [piece.encode() if rng.random() < 0.9 else rng.randbytes(9) for piece in pieces]
    return rng.choice((b"", b"", b"\xef\xbb\xbf")) + b"".join(pieces)


def fill(rng, base):
    """Create folders, files and symlinks, in and next to the folder "root", and return their paths relative to it."""
    folders = [base / "root", base / "root2", base / "outside", base / "root" / "é.py"]
    folders += [rng.choice(folders) / f"d{i}" for i in range(6)]
    for folder in folders:
        folder.mkdir(exist_ok=True, parents=True)
    for folder in folders:
        for name in rng.sample(NAMES, 4):
            with contextlib.suppress(IsADirectoryError):
                (folder / name).write_bytes(content(rng))
    for i in range(30):
        link = rng.choice(("", "./", f"{base}/root/", "d0/")) + f"l{rng.randrange(30)}"
        with contextlib.suppress(OSError):
            rng.choice(folders).joinpath(f"l{i}").symlink_to(rng.choice((link, path(rng, base, links=0), "..")) or ".")
    os.mknod(base / "root" / "socket", stat.S_IFSOCK | 0o600)
    (base / "root" / "closed").touch(mode=0)
    links = {"into": "root", "root/ping": "pong", "root/pong": "./ping", "root/self": "self/x"}
    links |= {"root/through_gone": "gone/../through_gone", "root/through_file": "./é.py/-/../through_file"}
    for link, target in links.items():
        (base / link).symlink_to(target)
    return [os.path.relpath(path, base / "root") for path in base.rglob("*")]


def path(rng, base, known=(), links=30):
    if known and rng.random() < 0.6:
        return rng.choice(("", "", f"{base}/root/", "./", "d0/../")) + rng.choice(known) + rng.choice(("", "", "/."))
    parts = [*NAMES, "..", "..", ".", "", "d0", "d1", "d2", "root", "root2", "outside", "socket", "closed", "gone"]
    parts += [f"l{i}" for i in range(links)]
    start = rng.choice([""] * 6 + [f"{base}/", f"{base}/root/", "/", "/etc/"])
    return start + "/".join(rng.choices(parts, k=rng.choice((1, 1, 1, 2, 2, 3, 5))))


class CodeLines(unittest.TestCase):
    def setUp(self):
        self.base = make_folder(self.addCleanup)
        (self.base / "a.py").write_text("one\ntwo")
        self.addCleanup(os.chdir, os.getcwd())

    def assert_alike(self, root, places):
        expected = lines_and_log(plain.code_lines, LoopsFail(root), places)
        answer = lines_and_log(real.code_lines, root, iter(places))
        self.assertEqual(answer, expected, (root, places))
        return answer

    def test_random_trees(self):
        seen = {"lines": 0, "logged": 0, "failed": 0}
        for seed in range(25):
            rng, base = random.Random(seed), self.base / str(seed)
            known = fill(rng, base)
            os.chdir(base / "root")
            roots = [base / "root"] * 6 + ["", ".", "../root2/../root", base / "into", base, "/", base / "gone"]
            roots += [base / "root" / "closed", base / "root" / "l0", base / "root" / "l3", str(base / "root") + "//"]
            for _ in range(100):
                places = [(path(rng, base, known), rng.randint(-1, 20)) for _ in range(rng.choice((1, 1, 4, 20)))]
                result, lines = self.assert_alike(rng.choice(roots), rng.choices(places, k=len(places) * 2))
                seen["failed" if isinstance(result, type) else "lines"] += isinstance(result, type) or len(result)
                seen["logged"] += len(lines)
        self.assertGreater(min(seen.values()), 50, seen)

    def test_paths_that_no_file_can_have(self):
        good = ("a.py", 1)
        for bad in ("\0", "a.py\0", "\ud800", "x/\udfff", "\udc7f"):
            for root, places in ((self.base, [(bad, 1), good]), (self.base / bad, [good])):
                expected = lines_and_log(plain.code_lines, LoopsFail(root), places)[0]
                self.assertEqual(lines_and_log(real.code_lines, root, places)[0], expected, (root, places))
        for long in ("x" * 256, "x/" * 2500, "y" * 5000, "../" * 3000 + "etc/hosts"):
            self.assert_alike(self.base, [(long, 1), good])

    def test_arguments_of_other_types(self):
        pair, null = "must be a pair of str and int, not", "contains a null character"
        limit = "is an int beyond 64 bits (from -2**63 to 2**63 - 1)"
        lone = r"'utf-8' codec can't encode character '\ud800' in position 1: surrogates not allowed"
        bytes_path = class_with(__fspath__=lambda self: b"x")()
        for root, places, error, text in (
            (self.base, ["ab"], TypeError, f"places[0] {pair} str"),
            (self.base, [["a", 1], ("a", 1, 2)], TypeError, f"places[1] {pair} tuple"),
            (self.base, [{"a": 1, "b": 2}], TypeError, f"places[0] {pair} dict"),
            (self.base, [(b"a", 1)], TypeError, f"places[0] {pair} of bytes and int"),
            (self.base, [["a", 1.0]], TypeError, f"places[0] {pair} of str and float"),
            (self.base, [("a", 2**63)], OverflowError, f"places[0][1] {limit}"),
            (self.base, [("a", 1), ("b\0", 1), ("b\0", 2)], ValueError, f"places[1][0] {null}"),
            (self.base, None, TypeError, "places must be iterable, not NoneType"),
            (7, [], TypeError, "root must be str, os.PathLike or None, not int"),
            (b"bytes", [], TypeError, "root must be str, os.PathLike or None, not bytes"),
            (bytes_path, [], TypeError, "root must be a path of str or None, not of bytes"),
            ("a\0", [], ValueError, f"root {null}"),
            ("r\ud800", [], UnicodeEncodeError, f"{lone} in root"),
            (self.base, [("a", 1), ("r\ud800", 1)], UnicodeEncodeError, f"{lone} in places[1][0]"),
        ):
            self.assertEqual(outcome(real.code_lines, [root, places]), (error, text))

    def test_the_time_for_many_files_is_not_quadratic(self):
        (self.base / "loop").symlink_to("loop")  # the first file, at which reading ends
        places = [("loop", 1), *((f"folder/{number:06}.py", 1) for number in range(40_000))]
        start = time.process_time()
        self.assertEqual(len([os.fsencode(path) for path, _ in places]), 40_001)
        middle = time.process_time()
        with self.assertRaisesRegex(RuntimeError, "loop"):
            real.code_lines(self.base, places)
        # Measured: 2 to 9 times as long, and more than 280 times if each file is compared with those before it.
        self.assertLess(time.process_time() - middle, 100 * (middle - start))

    def test_places_are_iterated_once_and_only_with_a_root(self):
        places = iter([("a.py", 1), ("a.py", 2)])
        self.assertEqual((real.code_lines(None, places), next(places)), ({}, ("a.py", 1)))
        self.assertEqual(real.code_lines(self.base, places), {("a.py", 2): "two"})
        self.assertEqual([*places], [])
        self.assertEqual(real.code_lines(None, 5), {})

    def test_names_have_the_encoding_of_the_file_system(self):
        folder = os.fsencode(self.base) + b"/\xc3\xa9"
        os.mkdir(folder)
        Path(os.fsdecode(folder + b"/\xc3\xa9.py")).write_text("one")
        variables = {"LC_ALL": "C", "PYTHONUTF8": "0", "PYTHONCOERCECLOCALE": "0"}
        run_program("read_in_another_encoding.py", os.fsdecode(folder), "ascii", **variables)

    def test_a_relative_root_is_resolved_before_the_places_are_iterated(self):
        (self.base / "other").mkdir()

        def places():
            os.chdir("other")
            yield "a.py", 1

        for root in (".", "../" + self.base.name, ""):
            os.chdir(self.base)
            self.assertEqual(real.code_lines(root, places()), {("a.py", 1): "one"})

    def make_long_file(self, name, size):
        (self.base / name).touch()
        os.truncate(self.base / name, size)

    def test_only_the_needed_part_of_a_long_file_is_read(self):
        self.make_long_file("huge", 10**12)
        self.assertEqual(real.code_lines(self.base, [("huge", 1)]), {("huge", 1): "\0" * 199 + "…"})

    def test_signals_are_handled_between_files_and_within_one(self):
        self.make_long_file("huge", 10**12)
        for i in range(500):
            self.make_long_file(f"big{i}", 4 * 10**7)
        handler = mock.Mock(side_effect=InterruptedError)
        self.addCleanup(signal.signal, signal.SIGALRM, signal.signal(signal.SIGALRM, handler))
        for names in ([f"big{i}" for i in range(500)], ["huge"]):
            signal.setitimer(signal.ITIMER_REAL, 0.3)
            with mock.patch.object(real.logger, "info") as info, self.assertRaises(InterruptedError):
                real.code_lines(self.base, [("missing", 1), *((name, 2) for name in names)])
            self.assertEqual(info.mock_calls, [], "no Python code runs while the handler's error is propagated")

    def test_other_threads_run_while_a_file_is_read(self):
        (self.base / "big").write_bytes(bytes(5 * 10**7) + b"\nlast")
        self.addCleanup(sys.setswitchinterval, sys.getswitchinterval())
        sys.setswitchinterval(1000)  # a thread keeps the GIL until it releases it
        steps, ended = [], threading.Event()
        self.addCleanup(ended.set)
        threading.Thread(target=lambda: [steps.append(time.sleep(0)) for _ in iter(ended.is_set, True)]).start()
        for _ in range(50):
            before = len(steps)
            self.assertEqual(real.code_lines(self.base, [("big", 2)]), {("big", 2): "last"})
            if len(steps) > before:
                return
        self.fail("no other thread ran")
