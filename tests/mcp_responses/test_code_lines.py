"""Lines of code out of a work tree, beside plain Python, which resolves with pathlib and reads whole files."""

import contextlib
import errno
import os
import random
import stat
import unittest
from pathlib import Path
from unittest import mock

import generators
from differential import plain, real
from samples import make_folder, scaled

BREAKS = ["\n", "\r", "\r\n", "\v", "\f", "\x1c", "\x1d", "\x1e", "\x85", "\u2028", "\u2029", "\n\r", "\n\n"]
NAMES = ["a.py", "é.py", "b c", "n\udcff.py", "漢", "-", "...", "🦉.py", "it's", "q\"'", "N" * 255]


def outcome(function, root, places):
    """What it answers, or the kind of its error, and what it logs."""

    def reason_text(reason):
        error = isinstance(reason, OSError)
        return f"[Errno {reason.errno}] {reason.strerror}: '{reason.filename}'" if error else reason

    with mock.patch.object(real.logger, "info") as info:
        try:
            result = list(function(root, places).items())
        except (OSError, RuntimeError, ValueError) as error:
            result = type(error)
    return result, [(text, path, reason_text(reason)) for text, path, reason in (call.args for call in info.mock_calls)]


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
        link = rng.choice(("", "./", f"{base}/root/", "d0/")) + f"l{rng.randrange(30)}"
        with contextlib.suppress(OSError):
            rng.choice(folders).joinpath(f"l{i}").symlink_to(rng.choice((link, path(rng, base, links=0), "..")) or ".")
    os.mknod(base / "root" / "socket", stat.S_IFSOCK | 0o600)
    (base / "root" / "closed").touch(mode=0)
    for link, target in (("into", "root"), ("root/ping", "pong"), ("root/pong", "./ping"), ("root/self", "self/x")):
        (base / link).symlink_to(target)
    return [os.path.relpath(path, base / "root") for path in base.rglob("*")]


def path(rng, base, known=(), links=30):
    if known and rng.random() < 0.6:
        return rng.choice(("", "", f"{base}/root/", "./", "d0/../")) + rng.choice(known) + rng.choice(("", "", "/."))
    parts = [*NAMES, "..", "..", ".", "", "d0", "d1", "d2", "root", "root2", "outside", "socket", "closed", "gone"]
    parts += [f"l{i}" for i in range(links)]
    start = rng.choice([""] * 6 + [f"{base}/", f"{base}/root/", "/", "/etc/"])
    return start + "/".join(rng.choices(parts, k=rng.choice((1, 1, 1, 2, 2, 3, 5))))


def is_circle(path):
    """pathlib overlooks a circle of links when a ".." follows, which it then takes by the letter."""
    for part in Path(path), *Path(path).parents:
        try:
            os.stat(os.path.realpath(part))
        except OSError as error:
            if error.errno == errno.ELOOP:
                return True
    return False


class BesidePlainPython(unittest.TestCase):
    def setUp(self):
        self.base = make_folder(self.addCleanup)
        self.addCleanup(os.chdir, os.getcwd())

    def assert_alike(self, root, places):
        expected = outcome(plain.code_lines, Path(root), places)
        answer = outcome(real.code_lines, root, iter(places))
        if answer[0] != RuntimeError or not any(is_circle(os.path.join(root, path)) for path, line in places):
            self.assertEqual(answer, expected, (root, places))
        return answer

    def test_random_trees(self):
        seen = {"lines": 0, "logged": 0, "failed": 0}
        for seed in range(scaled(25)):
            rng, base = random.Random(seed), self.base / str(seed)
            base.mkdir()
            known = fill(rng, base)
            os.chdir(base / "root")
            roots = [base / "root"] * 6 + ["", ".", "../root2/../root", base / "into", base, "/", base / "gone"]
            roots += [base / "root" / "closed", base / "root" / "l0", base / "root" / "l3", str(base / "root") + "//"]
            for _ in range(100):
                places = [(path(rng, base, known), rng.randint(-1, 20)) for _ in range(rng.choice((1, 1, 4, 20)))]
                result, lines = self.assert_alike(rng.choice(roots), rng.choices(places, k=len(places) * 2))
                seen["failed" if isinstance(result, type) else "lines"] += isinstance(result, type) or len(result)
                seen["logged"] += len(lines)
        self.assertGreater(min(seen.values()), scaled(50), seen)

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
