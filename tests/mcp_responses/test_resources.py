"""What the library takes it gives back, call after call; many threads, the end of the process, odd surroundings."""

import contextlib
import copy
import ctypes
import gc
import os
import sys
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from differential import real
from hostile import parts
from samples import HERE, SYMBOL, failing_calls, good_calls, make_folder, record, run_python, scaled


class Mallinfo(ctypes.Structure):
    _names = "arena ordblks smblks hblks hblkhd usmblks fsmblks uordblks fordblks keepcost".split()
    _fields_ = [(name, ctypes.c_size_t) for name in _names]


def in_use():
    """Blocks of the interpreter, bytes of everything else that is allocated, and descriptors."""
    gc.collect()
    mallinfo = ctypes.CDLL(None).mallinfo2
    mallinfo.restype = Mallinfo
    allocated = mallinfo()
    return sys.getallocatedblocks(), allocated.uordblks + allocated.hblkhd, len(os.listdir("/proc/self/fd"))


def attempt(function, arguments):
    try:
        function(**arguments)
    except Exception:
        return False
    return True


class Leaks(unittest.TestCase):
    def assert_steady(self, label, call, count):
        for _ in range(20):
            call()
        before = in_use()
        for _ in range(count):
            call()
        blocks, allocated, descriptors = (after - then for after, then in zip(in_use(), before))
        self.assertLess(blocks, count / 4, label)
        self.assertLess(allocated, 8192 + count, label)
        self.assertEqual(descriptors, 0, label)

    def test_each_way_to_fail(self):
        for name, good in good_calls().items():
            function, calls = getattr(real, name), [*failing_calls(name)]
            self.assert_steady(name, lambda: function(**good), scaled(1000))
            self.assertLess(sum(attempt(function, call) for call in calls), len(calls) / 1.3, name)
            self.assert_steady(name, lambda: [attempt(function, call) for call in calls], scaled(40))

    def test_no_reference_to_an_argument_is_kept_or_lost(self):
        for name, good in copy.deepcopy(good_calls()).items():
            function = getattr(real, name)
            held = [part for part in parts(good) if type(part) in (list, tuple, dict, float, str)]
            calls = [good] * 30 + [*failing_calls(name)]
            counts = []
            for _ in range(2):  # the first time, names are kept for good
                for arguments in calls:
                    attempt(function, arguments)
                gc.collect()
                counts.append([*map(sys.getrefcount, held)])
            self.assertEqual(*counts, name)


class Threads(unittest.TestCase):
    def test_eight_threads_against_one_that_changes_what_they_share(self):
        rows = [{"a": [1, "é", {"b": 2.5}]} for _ in range(20)]
        symbol = record(SYMBOL, caller_symbol={"fqn": rows}, signature=rows)
        sections = [{"excerpt": "x" * 300, "citations": [{"path": "a"}], "title": rows}] * 3
        calls = [
            lambda: real.tool_result_text(rows),
            lambda: real.build_paginated_response(rows, 9, 0),
            lambda: real.without_nulls(rows[0]),
            lambda: real.build_symbol_full_details(symbol),
            lambda: real.build_wiki_ask_response(mode=rows, query="", answer=None, sections=sections, token_budget=99),
            lambda: real.code_lines(HERE, [("samples.py", i) for i in range(9)]),
            lambda: real.outline_module(str(key) for row in rows for key in row),
            lambda: real._encoded_size(rows),
        ]

        def work(call):
            for _ in range(scaled(2000)):
                with contextlib.suppress(IndexError, RuntimeError):  # rows[0], or a dict that changes under a generator
                    real.tool_result_text({"answer": str(call())})

        self.addCleanup(sys.setswitchinterval, sys.getswitchinterval())
        sys.setswitchinterval(1e-6)
        with ThreadPoolExecutor(len(calls)) as pool:
            working = [pool.submit(work, call) for call in calls]
            number = 0
            while not all(one.done() for one in working):
                number += 1
                row = {"a": [number, {str(number): rows[:1]}], number: "é" * (number % 50)}
                rows[number % 20 :] = [row] * (number % 7)
                for row in rows[:3]:
                    row.clear()
                    row.update({str(i): [i] for i in range(number % 40)})
                rows.extend({"b": None} for _ in range(20 - len(rows)))
        self.assertEqual([one.exception() for one in working], [None] * 8)

    def test_calls_at_the_end_of_the_process(self):
        for _ in range(scaled(20)):
            run_python(LAST_CALLS)


class Surroundings(unittest.TestCase):
    def test_every_warning_an_error(self):
        run_python(TESTS, "-X", "dev", "-W", "error", "-bb", MCP_RESPONSES_TEST_SCALE="0.1")

    def test_a_locale_that_knows_ascii_alone(self):
        folder = make_folder(self.addCleanup)
        Path(os.fsdecode(os.fsencode(folder) + b"/\xc3\xa9.py")).write_text("one\n", "ascii")
        code = ASCII.format(folder=str(folder))
        run_python(code, LC_ALL="C", PYTHONUTF8="0", PYTHONCOERCECLOCALE="0", PYTHONIOENCODING="ascii")


LAST_CALLS = """
import threading, samples
import hollin.mcp_responses as real
started = threading.Semaphore(0)
def forever():
    started.release()
    while True:
        real.code_lines(samples.HERE, [("samples.py", 1), ("missing.py", 1), ("test_text.py", 3)])
        real.build_paginated_response([samples.ROW], 9, 0)
for _ in range(4):
    threading.Thread(target=forever, daemon=True).start()
for _ in range(4):
    started.acquire()
"""

TESTS = """
import sys, unittest
loader = unittest.defaultTestLoader
loader.testNamePatterns = ["*BesidePlain*", "*Calls*", "*Answers*", "*keys*"]
suite = loader.loadTestsFromNames(["test_calls", "test_hostile", "test_code_lines", "test_builders"])
result = unittest.TextTestRunner(sys.stdout).run(suite)
sys.exit(not result.wasSuccessful() or result.testsRun < 10)
"""

ASCII = """
import sys
from unittest import mock
import hollin.mcp_responses as real
assert sys.getfilesystemencoding() == "ascii" or sys.flags.utf8_mode == 0
places = [("\\xe9.py", 1), ("\\udcc3\\udca9.py", 1), ("\\xe8.py", 1)]
with mock.patch.object(real.logger, "info") as info:
    assert real.code_lines({folder!r}, places) == dict.fromkeys(places[:2], "one")
((_, path, reason),) = [call.args for call in info.mock_calls]
assert path == "\\xe8.py" and reason.startswith("[Errno 2] No such file"), reason
assert real.tool_result_text(["\\xe9\\U0001f600"]) == '["\\xe9\\U0001f600"]'
"""
