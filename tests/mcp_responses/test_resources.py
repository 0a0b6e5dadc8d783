"""Calls leak nothing; lifetimes of functions and answers; calls in many threads."""

import contextlib
import copy
import ctypes
import gc
import importlib
import os
import random
import sys
import unittest
import weakref
from concurrent.futures import ThreadPoolExecutor
from unittest import mock

import hollin
from samples import PLACES, RECORDS, failing_calls, good_calls, parts, real, record


class Mallinfo(ctypes.Structure):
    _names = "arena ordblks smblks hblks hblkhd usmblks fsmblks uordblks fordblks keepcost".split()
    _fields_ = [(name, ctypes.c_size_t) for name in _names]


def in_use():
    """Blocks of the interpreter, bytes allocated by malloc, and open file descriptors."""
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

    def test_calls_that_fail(self):
        for name, good in good_calls().items():
            function, calls = getattr(real, name), [*failing_calls(name)]
            self.assert_steady(name, lambda: function(**good), 1000)
            self.assertLess(sum(attempt(function, call) for call in calls), len(calls) / 1.3, name)
            self.assert_steady(name, lambda: [attempt(function, call) for call in calls], 40)

    def test_reference_counts_of_arguments(self):
        for name, good in copy.deepcopy(good_calls()).items():
            function = getattr(real, name)
            held = [part for part in parts(good) if type(part) in (list, tuple, dict, float, str)]
            # Without the objects of the interpreter itself, which are used everywhere.
            held = [part for part in held if sys.getrefcount(part) < 10**8]
            calls = [good] * 30 + [*failing_calls(name)]
            counts = []
            for _ in range(2):  # the first round interns names
                for arguments in calls:
                    attempt(function, arguments)
                gc.collect()
                counts.append([*map(sys.getrefcount, held)])
            self.assertEqual(*counts, name)


    def test_memory_after_a_long_text(self):
        real.tool_result_text("x" * (1 << 20))
        before = in_use()[1]
        for size in (100 << 20, 2 << 20, 1 << 20, 1000_000, 500_000):
            real.tool_result_text(["x" * size])
            self.assertLess(in_use()[1] - before, (1 << 20) + (64 << 10), size)


class Lifetimes(unittest.TestCase):
    def test_a_function_that_is_freed_clears_its_weak_references(self):
        with mock.patch.dict(sys.modules), mock.patch.dict(vars(hollin)):
            del sys.modules[real.__name__]
            module = importlib.import_module(real.__name__)
        gc.disable()
        self.addCleanup(gc.enable)
        for name in good_calls():
            freed = []
            reference = weakref.ref(getattr(module, name), freed.append)
            delattr(module, name)
            self.assertEqual((reference(), freed), (None, [reference]), name)

    def test_the_collector_tracks_each_dict_that_can_be_in_a_cycle(self):
        for place in PLACES:
            if place.where == "result":
                continue
            answer = place.call([{"k": []}])
            containers = [part for part in parts(answer) if isinstance(part, (list, dict))]
            self.assertIn([{"k": []}], containers, place)
            for container in containers:
                may_be_in_a_cycle = isinstance(container, list) or any(
                    isinstance(value, (list, dict)) for value in container.values()
                )
                self.assertTrue(gc.is_tracked(container) or not may_be_in_a_cycle, place)
        for name, fields in RECORDS.items():
            leaves = {key: value for key, value in fields.items() if not isinstance(value, dict)}
            answer = getattr(real, name)(record(leaves, caller_symbol=None))
            self.assertFalse(gc.is_tracked(answer), name)


class Threads(unittest.TestCase):
    def test_eight_threads_against_one_that_changes_what_they_share(self):
        rows = [{"a": [1, "é", {"b": 2.5}]} for _ in range(20)]
        calls = [lambda place=place: place.call(rows) for place in random.Random(61).sample(PLACES, 6)]
        calls += [
            lambda: real.without_nulls(rows[0]),
            lambda: real.outline_module(str(key) for row in rows for key in row),
        ]

        def work(call):
            for _ in range(2000):
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
