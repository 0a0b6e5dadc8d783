"""Endless recursion through Python code raises RecursionError, also in a thread with a small stack."""

import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from functools import partial

from callbacks import CALLBACKS, class_with
from samples import real
from script_helper import IS_SANITIZED


def recurse(call, levels):
    """The result of a call whose hook makes the call again, in total this often."""
    remaining = iter(range(levels))

    def hook():
        if next(remaining, None) is not None:
            call(hook)

    return call(hook)


ENDLESS = {name: partial(recurse, call, 10**9) for name, call in CALLBACKS.items()}
# Without a frame of the interpreter.
ENDLESS["__iter__"] = lambda: real.outline_module(class_with(__iter__=real.outline_module)())
ENDLESS["__getattr__"] = lambda: real.build_file_symbol(class_with(__getattr__=real.build_file_symbol)())


class Recursion(unittest.TestCase):
    def setUp(self):
        # A sanitized build has much larger frames.
        self.addCleanup(threading.stack_size, threading.stack_size((8 if IS_SANITIZED else 1) << 20))
        self.small_thread = ThreadPoolExecutor(1)
        self.addCleanup(self.small_thread.shutdown)

    def test_endless_calls_raise_recursion_error(self):
        for name, call in ENDLESS.items():
            with self.subTest(name):
                self.assertRaises(RecursionError, call)
                self.assertRaises(RecursionError, self.small_thread.submit(call).result)

    def test_a_hundred_levels_work(self):
        # Each level of logging has ten frames of its own.
        for name, call in ((name, call) for name, call in CALLBACKS.items() if name != "log handler"):
            answers = [recurse(call, 100), self.small_thread.submit(recurse, call, 100).result()]
            self.assertEqual(answers, [call(int)] * 2, name)
