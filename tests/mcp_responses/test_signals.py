"""Signals during a long call. Their handler runs after a bounded amount of work, may raise, and may change anything.

No test waits for a time to pass. C code raises a signal just before a call or in the middle of it, and the signal stays
pending until the extension runs the handlers.
"""

import ctypes
import gc
import itertools
import json
import operator
import signal
import unittest
from collections import OrderedDict
from functools import partial

from samples import REFERENCE, SYMBOL, real, record

SIGNAL = signal.SIGUSR1
raise_signal = ctypes.CDLL(None)["raise"]  # unlike signal.raise_signal, does not run the handler


class Interrupted(Exception):
    pass


def shared(depth, kind=list):
    """A tree of 2 ** depth leaves in a few containers."""
    value = ["leaf"]
    for _ in range(depth):
        value = [value, value] if kind is list else {"a": value, "b": value}
    return value


def ask(**named):
    arguments = {"mode": "", "query": "", "answer": "", "token_budget": 9, "sections": []}
    return partial(real.build_wiki_ask_response, **arguments | named)


LONG = "x" * 10**6
NUMBERED = dict.fromkeys(range(10**5))
UPS_AND_DOWNS = "/" + "tmp/../" * 10**7

# Long by many elements, or by a few elements that are long themselves.
LONG_CALLS = {
    "names": partial(real.outline_module, ["a.b"] * 10**5),
    "long names": partial(real.outline_module, [LONG] * 9),
    "places": partial(real.code_lines, "/", [("a", 1)] * 10**5),
    "places in many files": partial(real.code_lines, "/", [(str(number), 1) for number in range(10**5)]),
    "a long path": partial(real.code_lines, "/", [(UPS_AND_DOWNS, 1)]),
    "a long root": partial(real.code_lines, UPS_AND_DOWNS, [("a", 1)]),
    "text": partial(real.tool_result_text, shared(18)),
    "text of dicts": partial(real.tool_result_text, shared(18, dict)),
    "text of long strings": partial(real.tool_result_text, [LONG] * 9),
    "size": partial(real._encoded_size, shared(18)),
    "size of long strings": partial(real._encoded_size, [LONG] * 9),
    "size of long keys": partial(real._encoded_size, [{LONG: 1}] * 9),
    "size of a part": ask(code=shared(18, dict)),
    "size of long titles": ask(sections=[{"title": LONG}] * 9),
    "size of a part with long strings": ask(code={"k": [LONG] * 9}),
    "text of an excerpt": ask(sections=[{"excerpt": shared(18)}]),
    "sections": ask(sections=[{}] * 10**5),
    "keys": partial(real.without_nulls, NUMBERED),
    "look-up of a key": partial(real.build_reference, record(REFERENCE, caller_symbol=NUMBERED)),
    "copy": partial(real.build_test_coverage, shared(14), ""),
    "copy of dicts": partial(real.build_paginated_response, [shared(14, dict)], 1, 0),
    "copy of a long list": partial(real.build_test_coverage, [0.5] * 10**5, ""),
    "copies of a dict": partial(real.build_test_coverage, [dict.fromkeys(map(str, range(1000)))] * 9, ""),
    "copy of keys": partial(real.build_test_coverage, NUMBERED, ""),
    "equality": partial(real.build_file_symbol, record(SYMBOL, start_line=shared(14), end_line=shared(14))),
    "citations": partial(real._ask_citations, [], [{"path": "a"}] * 10**5),
    "wrong citations": partial(real._ask_citations, [], [None] * 10**5),
    "path of an unsupported object": partial(real.tool_result_text, [None] * 60_000 + [object()]),
}


class RaisingRecord:
    """A record whose first attribute raises the signal, which is then pending while the next ones are copied."""

    _as_parameter_ = SIGNAL  # what ctypes passes for this object
    fqn = property(raise_signal)

    def __init__(self, name):
        self.name = name
        self.kind = self.start_line = self.signature = self.docstring = None


def empty(copy):
    copy.clear()


def shrink(copy):
    for _ in range(len(copy) // 2):
        copy.pop() if isinstance(copy, list) else copy.popitem()


def grow(copy):
    if isinstance(copy, list):
        copy += copy * 3
    else:
        copy.update({f"more {number}": [number] for number in range(10**5)})


def replace(copy):
    for key in range(len(copy)) if isinstance(copy, list) else [*copy]:
        copy[key] = [object]


def rotate(copy):
    if isinstance(copy, list):
        copy.insert(0, copy.pop())
    else:
        key = next(iter(copy))
        copy[key] = copy.pop(key)


CHANGES = (empty, shrink, grow, replace, rotate)


class Signals(unittest.TestCase):
    def handle_by(self, handler):
        self.addCleanup(signal.signal, SIGNAL, signal.signal(SIGNAL, handler))

    def test_a_handler_ends_each_long_call(self):
        def interrupt(*_):
            raise Interrupted

        self.handle_by(interrupt)
        for name, call in LONG_CALLS.items():
            with self.subTest(name):
                ended = []
                # There is no bytecode between the signal and the call, so the interpreter runs no handler there.
                calls = map(operator.call, [partial(raise_signal, SIGNAL), call, partial(ended.append, True)])
                self.assertRaises(Interrupted, list, calls)
                self.assertEqual(ended, [], "the handler ran after the call")

    def test_a_handler_changes_the_containers_that_a_call_traverses(self):
        for call in (real.tool_result_text, real._encoded_size, lambda value: real.build_test_coverage(value, "")):
            for kind in (list, dict):
                with self.subTest(call=call, kind=kind):
                    root, containers = [shared(40, kind)], []
                    inner = root
                    while inner[0 if isinstance(inner, list) else "a"] != "leaf":
                        containers.append(inner)
                        inner = inner[0 if isinstance(inner, list) else "a"]

                    def free_all(*_):
                        while containers:
                            containers.pop(0).clear()

                    self.handle_by(free_all)
                    del inner
                    [*map(operator.call, [partial(raise_signal, SIGNAL), partial(call, root)])]
                    self.assertEqual(root, [])

    def test_a_handler_frees_the_element_that_a_call_has_reached(self):
        calls = (real.tool_result_text, real._encoded_size, lambda value: real.build_test_coverage(value, ""))
        kinds = (list, dict.fromkeys, OrderedDict.fromkeys, str)
        for call, kind, position in itertools.product(calls, kinds, (0, 1)):
            root = [None] * position + [kind([str(number)]) for number in range(80_000)]
            self.handle_by(lambda *_: root.clear())
            [*map(operator.call, [partial(raise_signal, SIGNAL), partial(call, root)])]
            self.assertEqual(root, [])

    def test_a_handler_frees_what_the_search_for_a_path_has_reached(self):
        for position in (0, 1):
            root = [None] * position + [[str(number)] for number in range(30_000)] + [object()]
            self.handle_by(lambda *_: root.clear())
            calls = map(operator.call, [partial(raise_signal, SIGNAL), partial(real.tool_result_text, root)])
            self.assertRaisesRegex(TypeError, "^a value in the answer must be None, bool, .* not object$", list, calls)
            self.assertEqual(root, [])

    def test_a_handler_changes_the_unfinished_copy(self):
        # The handler runs between two elements, or while an element is copied.
        elements_of = {"many": lambda: [["element"] for _ in range(20_000)], "long": lambda: [NUMBERED] * 9 + [[]]}
        for (size, make), kind, change in itertools.product(elements_of.items(), (list, dict), CHANGES):
            with self.subTest(elements=size, kind=kind, change=change.__name__):
                elements = make()
                original = elements if kind is list else {str(n): element for n, element in enumerate(elements)}
                last, sizes = elements[-1], []

                def handler(*_):
                    for found in gc.get_referrers(last):
                        if type(found) is kind and found is not original and found is not elements:
                            sizes.append(len(found))
                            change(found)

                self.handle_by(handler)
                try:
                    real.build_symbol_search_result(RaisingRecord(original))
                except (IndexError, TypeError):  # an element is gone, or is not supported
                    pass
                self.assertEqual(sizes, [len(elements)])
                values = original if kind is list else [*original.values()]
                self.assertEqual([*map(id, values)], [*map(id, elements)])

    def test_a_handler_frees_the_key_of_the_element_that_is_copied(self):
        element, strings = NUMBERED | {"": []}, []
        original = {"".join(["the key ", str(number)]): element for number in range(9)}

        def handler(*_):
            for found in gc.get_referrers(element):
                if type(found) is dict:
                    found.clear()
            strings.extend("".join(["another ", str(number % 10)]) for number in range(100))

        self.handle_by(handler)
        answer = real.build_symbol_search_result(RaisingRecord(original))
        self.assertEqual(({*answer["name"]} - {f"the key {number}" for number in range(9)}, original), (set(), {}))

    def test_a_handler_adds_a_key_that_is_not_a_str_to_the_copy_that_is_encoded(self):
        original = {1: 2, "marker": []}
        root = [original] + [0.5] * 80_000

        def handler(*_):
            for found in gc.get_objects():
                if type(found) is dict and "marker" in found and found is not original:
                    found[7] = None

        self.handle_by(handler)
        text = [*map(operator.call, [partial(raise_signal, SIGNAL), partial(real.tool_result_text, root)])][1]
        self.assertEqual(text[:40], '[{"1":2,"marker":[],"7":null},0.5,0.5,0.')

    def test_a_handler_frees_the_key_that_a_search_has_reached(self):
        class Key(str):
            empties = False

            def __del__(self):
                if Key.empties:
                    container.clear()

        for parity in (0, 1):
            container = {Key(number): [number] for number in range(80_000)}

            def handler(*_):
                for key in [*container][parity::2]:
                    del container[key]
                del key
                Key.empties = True

            self.handle_by(handler)
            with self.assertRaisesRegex(TypeError, "tokens must be"):
                [*map(operator.call, [partial(raise_signal, SIGNAL), ask(model=container, tokens=object())])]
            Key.empties = False

    def test_a_handler_enables_or_disables_garbage_collection(self):
        self.addCleanup(gc.enable)
        for before in (True, False):
            for after in (True, False):
                found = []

                def handler(*_):
                    found.append(gc.isenabled())
                    gc.enable() if after else gc.disable()

                self.handle_by(handler)
                gc.enable() if before else gc.disable()
                real.build_symbol_search_result(RaisingRecord([[number] for number in range(20_000)]))
                self.assertEqual((found, gc.isenabled()), ([before], after))

    def test_a_handler_makes_a_text_during_a_text(self):
        tree, inner = shared(18), ["wider…" * 99] * 99
        text, inner_text = (json.dumps(value, ensure_ascii=False, separators=(",", ":")) for value in (tree, inner))
        texts = []
        self.handle_by(lambda *_: texts.append(real.tool_result_text(inner)))
        for _ in range(3):
            result = [*map(operator.call, [partial(raise_signal, SIGNAL), partial(real.tool_result_text, tree)])][1]
            self.assertTrue(result == text)
        self.assertEqual(texts, [inner_text] * 3)
