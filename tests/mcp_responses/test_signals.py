"""What ends a call that would not end by itself: the interpreter's recursion guard, and signals."""

import itertools
import json
import os
import signal
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from types import SimpleNamespace

from samples import SYMBOL

from hollin import mcp_responses as real

IS_SANITIZED = "asan" in os.environ.get("LD_PRELOAD", "")


def instance(**members):
    return type("Instance", (), members)()


def reading(function, depth):
    """A record whose attribute calls the function with another such record, so many levels deep."""
    record = SimpleNamespace(**SYMBOL)
    for _ in range(depth):
        deeper = property(lambda self, inner=record: function(inner) and "f")
        record = instance(**SYMBOL | {"fqn": deeper})
    return record


class Endless:
    fqn = property(lambda self: real.build_symbol_search_result(self))
    caller_symbol = property(lambda self: real.build_reference(self))

    def __fspath__(self):
        return real.code_lines(self, [])

    def __len__(self):
        return 1

    def __getitem__(self, position):
        return real._ask_citations([], self)


# Calls that come back to themselves for ever, in part without a frame of the interpreter's.
ENDLESS = {
    "__iter__": lambda: real.outline_module(instance(__iter__=real.outline_module)),
    "__next__": lambda: real.outline_module(
        instance(__iter__=lambda self: self, __next__=real.outline_module),
    ),
    "__getattr__ of a search row": lambda: real.build_symbol_search_result(
        instance(__getattr__=real.build_symbol_search_result),
    ),
    "__getattr__ of an outline row": lambda: real.build_file_symbol(instance(__getattr__=real.build_file_symbol)),
    "a property": lambda: real.build_symbol_search_result(Endless()),
    "a caller": lambda: real.build_reference(Endless()),
    "__fspath__": lambda: real.code_lines(Endless(), []),
    "__getitem__": lambda: real._ask_citations([], Endless()),
}


class Recursion(unittest.TestCase):
    def setUp(self):
        # The frames of a sanitized build are some times as large.
        self.addCleanup(threading.stack_size, threading.stack_size((8 if IS_SANITIZED else 1) << 20))
        self.small_thread = ThreadPoolExecutor(1)
        self.addCleanup(self.small_thread.shutdown)

    def test_endless_calls_end_as_the_interpreters_own(self):
        for name, call in ENDLESS.items():
            with self.subTest(name):
                self.assertRaises(RecursionError, call)
                self.assertRaises(RecursionError, self.small_thread.submit(call).result)

    def test_a_hundred_levels_work(self):
        for function in (real.build_symbol_search_result, real.build_symbol_full_details, real.build_file_symbol):
            record = reading(function, 100)
            for answer in (function(record), self.small_thread.submit(function, record).result()):
                self.assertIn("f", answer.values())


class Alarm(Exception):
    pass


def shared(depth, kind=list):
    """A tree of 2 ** depth leaves in a few containers."""
    value = ["leaf"]
    for _ in range(depth):
        value = [value, value] if kind is list else {"a": value, "b": value}
    return value


def ask(**named):
    return real.build_wiki_ask_response(mode="", query="", answer="", token_budget=9, **{"sections": []} | named)


def outline(value):
    fields = {"fqn": "f", "kind": "k", "signature": None, "docstring": None}
    return real.build_file_symbol(SimpleNamespace(**fields, start_line=value[0], end_line=value[1]))


# Made beforehand, lest the alarm comes while they are made.
PATHS = [(str(number), 1) for number in range(5 * 10**5)]
NUMBERED = dict.fromkeys(range(3 * 10**6))
UPS_AND_DOWNS = "/" + "tmp/../" * 10**7

LONG = {
    "names": lambda: real.outline_module(itertools.repeat("a.b")),
    "places": lambda: real.code_lines("/", itertools.repeat(("a", 1))),
    "a path": lambda: real.code_lines("/", [(UPS_AND_DOWNS, 1)]),
    "paths": lambda: real.code_lines("/", PATHS),
    "a root": lambda: real.code_lines(UPS_AND_DOWNS, [("a", 1)]),
    "text": lambda: real.tool_result_text(shared(40)),
    "text of dicts": lambda: real.tool_result_text(shared(40, dict)),
    "size": lambda: real._encoded_size(shared(40)),
    "keys": lambda: real.without_nulls(NUMBERED),
    "copy": lambda: real.build_test_coverage(shared(40), ""),
    "copy of dicts": lambda: real.build_paginated_response([shared(40, dict)], 1, 0),
    "size of a part": lambda: ask(code=shared(40, dict)),
    "text of an excerpt": lambda: ask(sections=[{"excerpt": shared(40)}]),
    "equality": lambda: outline([shared(40), shared(40)]),
    "citations": lambda: real._ask_citations([], [{"path": "a"}] * 10**7),
}


class Signals(unittest.TestCase):
    def alarm_after(self, seconds, handler, again=0):
        self.addCleanup(signal.signal, signal.SIGALRM, signal.signal(signal.SIGALRM, handler))
        self.addCleanup(signal.setitimer, signal.ITIMER_REAL, 0)
        signal.setitimer(signal.ITIMER_REAL, seconds, again)

    def test_each_long_call_ends_by_a_signal(self):
        def end(*_):
            raise Alarm

        for name, call in LONG.items():
            with self.subTest(name):
                begin = time.process_time()
                self.alarm_after(0.2, end)
                self.assertRaises(Alarm, call)
                self.assertLess(time.process_time() - begin, 15 if IS_SANITIZED else 2)
                self.doCleanups()

    def test_a_handler_takes_away_what_is_being_walked(self):
        for function in (real.tool_result_text, real._encoded_size, lambda value: real.build_test_coverage(value, "")):
            for kind in (list, dict):
                root = [shared(40, kind)]
                open_containers, inner = [root], root[0]
                while len(inner) > 1:
                    open_containers.append(inner)
                    inner = inner["a"] if kind is dict else inner[0]

                def take_away(*_):
                    while open_containers:
                        open_containers.pop(0).clear()

                self.alarm_after(0.1, take_away)
                del inner
                function(root)  # ends, for there is nothing left to walk
                self.assertEqual(root, [])
                self.doCleanups()

    def test_a_handler_makes_a_text_while_one_is_made(self):
        tree, inner = shared(16), ["wider…" * 99] * 99
        text, inner_text = (json.dumps(value, ensure_ascii=False, separators=(",", ":")) for value in (tree, inner))
        made = []
        self.alarm_after(0.001, lambda *_: made.append(real.tool_result_text(inner)), again=0.001)
        while len(made) < 20:
            self.assertTrue(real.tool_result_text(tree) == text)
        self.assertEqual(set(made), {inner_text})
