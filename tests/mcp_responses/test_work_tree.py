"""Work trees that do not hold still, files that are none, and what reading them costs the process."""

import json
import os
import random
import resource
import subprocess
import sys
import threading
import unittest
from unittest import mock

from differential import real
from samples import make_folder, run_python, scaled


class WorkTrees(unittest.TestCase):
    def setUp(self):
        self.root = make_folder(self.addCleanup) / "root"
        self.root.mkdir()

    def test_what_is_no_file_is_never_waited_for(self):
        os.mkfifo(self.root / "pipe")
        writer = os.open(self.root / "pipe", os.O_RDWR)
        self.addCleanup(os.close, writer)
        os.write(writer, b"a line\n")
        with mock.patch.object(real.logger, "info") as info:
            self.assertEqual(real.code_lines(self.root, [("pipe", 1), ("gone", 1), ("./pipe", 1)]), {})
            self.assertEqual(real.code_lines("/", [("dev/zero", 1), ("dev/tty", 1), ("dev/stdin", 1)]), {})
        logged = [call.args for call in info.mock_calls]
        self.assertEqual([path for _, path, _ in logged[:4]], ["pipe", "gone", "./pipe", "dev/zero"])
        reason = f"Not a regular file: '{self.root}/pipe'"
        self.assertEqual(logged[0], ("code_lines: %s is not read (%s)", "pipe", reason))
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
            with mock.patch.object(real.logger, "info") as info:
                self.assertEqual(real.code_lines(self.root, [("a.py", 1), ("gone", 1)]), {})
        finally:
            resource.setrlimit(resource.RLIMIT_NOFILE, limits)
        self.assertEqual([call.args[2].split("]")[0] for call in info.mock_calls], ["[Errno 24"] * 2)
        self.assertEqual(real.code_lines(self.root, [("a.py", 1)]), {("a.py", 1): "one"})

    def test_other_threads_run_while_a_file_is_read(self):
        with open(self.root / "big", "wb") as file:
            file.truncate(scaled(5 * 10**7))
        self.addCleanup(sys.setswitchinterval, sys.getswitchinterval())
        sys.setswitchinterval(1000)  # nobody is made to hand over the interpreter
        for _ in range(50):
            go, ran = threading.Event(), []
            thread = threading.Thread(target=lambda: go.wait() and ran.append(True))
            thread.start()
            go.set()
            ran_before = len(ran)
            self.assertEqual(len(real.code_lines(self.root, [("big", 1)])), 1)
            ran_meanwhile = len(ran) > ran_before
            thread.join()
            if ran_meanwhile:
                return
        self.fail("the other thread had to wait")

    def test_a_file_that_changes_while_it_is_read(self):
        file = open(self.root / "a.py", "wb", buffering=0)
        self.addCleanup(file.close)
        hundred = b"x" * 99 + b"\n"
        stop = threading.Event()

        def change():
            rng = random.Random(52)
            while not stop.is_set():
                os.pwrite(file.fileno(), hundred * 3000, rng.randrange(3000) * 100)
                os.ftruncate(file.fileno(), rng.randrange(600000))

        thread = threading.Thread(target=change)
        thread.start()
        self.addCleanup(thread.join)
        self.addCleanup(stop.set)
        lengths = set()
        for number in range(scaled(40000)):
            lines = real.code_lines(self.root, [("a.py", line) for line in (1, 2500, 5999)])
            self.assertTrue(all({*text} <= {*"x\0…"} and len(text) <= 200 for text in lines.values()), lines)
            lengths.add(len(lines))
            if number > scaled(400) and len(lengths) > 1:  # the other thread may come late
                return
        self.fail("the file has never changed")

    def test_nothing_from_outside_while_a_folder_is_exchanged_for_a_link(self):
        for folder, text in (("folder", "inside"), ("../outside", "outside")):
            (self.root / folder).mkdir()
            (self.root / folder / "a.py").write_text(text)
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
import ctypes, struct
steps = [(0x20, 0, 0, 0), (0x15, 0, 1, 437), (6, 0, 0, 0x50000 | 38), (6, 0, 0, 0x7FFF0000)]
filter = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *step) for step in steps))
program = ctypes.create_string_buffer(struct.pack("HxxxxxxQ", len(steps), ctypes.addressof(filter)))
libc = ctypes.CDLL(None, use_errno=True)
assert libc.prctl(38, 1, 0, 0, 0) == 0 and libc.prctl(22, 2, program, 0, 0) == 0
assert libc.syscall(437, -100, b".", None, 0) == -1 and ctypes.get_errno() == 38
"""
