"""Endless recursion through Python code raises RecursionError, also in a thread with a small stack."""

import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from types import SimpleNamespace

from samples import SYMBOL, real
from script_helper import IS_SANITIZED


def instance(**members):
    return type("Instance", (), members)()


def reading(function, depth):
    """A record whose attribute calls the function with another such record, `depth` levels deep."""
    record = SimpleNamespace(**SYMBOL)
    for _ in range(depth):
        deeper = property(lambda self, inner=record: function(inner) and "f")
        record = instance(**SYMBOL | {"fqn": deeper})
    return record


# Calls that call themselves without end, some of them without a frame of the interpreter.
ENDLESS = {
    "__iter__": lambda: real.outline_module(instance(__iter__=real.outline_module)),
    "__next__": lambda: real.outline_module(instance(__iter__=lambda self: self, __next__=real.outline_module)),
    "__getattr__": lambda: real.build_file_symbol(instance(__getattr__=real.build_file_symbol)),
    "a property": lambda: real.build_component(instance(name=property(lambda self: real.build_component(self)))),
    "__fspath__": lambda: real.code_lines(instance(__fspath__=lambda self: real.code_lines(self, [])), []),
    "__getitem__": lambda: real._ask_citations(
        [], instance(__len__=lambda self: 1, __getitem__=lambda self, position: real._ask_citations([], self))
    ),
}


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
        for function in (real.build_symbol_search_result, real.build_symbol_full_details, real.build_file_symbol):
            record = reading(function, 100)
            for answer in (function(record), self.small_thread.submit(function, record).result()):
                self.assertIn("f", answer.values())
