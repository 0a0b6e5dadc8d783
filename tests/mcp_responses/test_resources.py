"""Calls do not leak; the collector tracks answers; calls in many threads."""

import contextlib
import ctypes
import gc
import os
import random
import sys
import tracemalloc
import unittest
from concurrent.futures import ThreadPoolExecutor
from functools import partial

from comparison import outcome
from samples import PLACES, RECORDS, failing_calls, good_calls, parts, real, record, with_good_arguments


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


class Templates(unittest.TestCase):
    def test_python_code_cannot_find_the_dicts_that_answers_are_copied_from(self):
        for name, good in good_calls().items():
            answer = getattr(real, name)(**good)
            template = dict.fromkeys(answer) if isinstance(answer, dict) else None
            found = [one for one in gc.get_objects() if type(one) is dict and one == template and one is not template]
            self.assertEqual(found, [], name)


class Leaks(unittest.TestCase):
    def assert_no_leak(self, label, call, count, held):
        """Calls leave neither memory nor references to the held objects."""
        for _ in range(20):
            call()
        references = [*map(sys.getrefcount, held)]
        before = in_use()
        for _ in range(count):
            call()
        blocks, allocated, descriptors = (after - then for after, then in zip(in_use(), before))
        self.assertLess(blocks, count / 4, label)
        self.assertLess(allocated, 8192 + count, label)
        self.assertEqual(descriptors, 0, label)
        changes = [sys.getrefcount(part) - then for part, then in zip(held, references)]
        self.assertLess(max(map(abs, changes)), count / 4, label)

    def test_calls_that_fail(self):
        for name, good in good_calls().items():
            function, calls = getattr(real, name), [*failing_calls(name)]
            failed = [call for call in calls if outcome(function, named=call)[0] != "returned"]
            self.assertGreater(len(failed), len(calls) / 5, name)
            held = [part for part in parts(good) if type(part) in (list, tuple, dict, float, str)]
            self.assert_no_leak(name, lambda: function(**good), 1000, held)
            self.assert_no_leak(name, lambda: [outcome(function, named=call) for call in calls], 40, held)

    def test_memory_while_dicts_with_other_keys_are_encoded(self):
        rows = [{1: [{2: 3}] * 2}] * 5000
        self.addCleanup(tracemalloc.stop)
        tracemalloc.start()
        real._encoded_size(rows)
        self.assertLess(tracemalloc.get_traced_memory()[1], 100_000)

    def test_memory_after_a_long_text(self):
        real.tool_result_text("x" * (1 << 20))
        before = in_use()[1]
        for size in (100 << 20, 2 << 20, 1 << 20, 1000_000, 500_000):
            real.tool_result_text(["x" * size])
            self.assertLess(in_use()[1] - before, (1 << 20) + (64 << 10), size)


def can_be_in_a_cycle(value):
    """True for lists and for dicts that contain a container."""
    members = value.values() if isinstance(value, dict) else ()
    return isinstance(value, list) or any(isinstance(member, (list, dict)) for member in members)


class GarbageCollection(unittest.TestCase):
    def test_the_collector_tracks_each_container_that_can_be_in_a_cycle(self):
        for place in [place for place in PLACES if place.where != "result"]:
            answer = place.call([{"k": []}])
            self.assertIn([{"k": []}], parts(answer), place)
            for part in filter(can_be_in_a_cycle, parts(answer)):
                self.assertTrue(gc.is_tracked(part), place)
        for name, fields in RECORDS.items():
            leaves = {key: None if isinstance(value, dict) else value for key, value in fields.items()}
            answer = with_good_arguments(name)(record(leaves))
            is_always_tracked = gc.is_tracked({"k": None})  # since 3.14
            self.assertEqual(gc.is_tracked(answer), is_always_tracked or can_be_in_a_cycle(answer), name)


class Threads(unittest.TestCase):
    def test_eight_threads_against_one_that_changes_what_they_share(self):
        rows = [{"a": [1, "é", {"b": 2.5}]} for _ in range(20)]
        calls = [partial(place.call, rows) for place in random.Random(61).sample(PLACES, 6)]
        calls.append(lambda: real.without_nulls(rows[0]))
        calls.append(lambda: real.outline_module(str(key) for row in rows for key in row))

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
